#pragma once
// The platform's Trash, as the trash service needs it: an item leaves its
// place for the Trash and a new path comes back, or an error in words; and an
// item comes back from the Trash to where it was, never over anything.

#include <memory>
#include <string>
#include <variant>

namespace tessel {

struct TrashError {
    std::string message;
};

class TrashBin {
public:
    virtual ~TrashBin() = default;
    // Moves the item into the Trash: its path there, or why it stayed.
    virtual std::variant<std::string, TrashError> trashItem(const std::string& path) = 0;
    // Moves an item back out of the Trash to `originalPath`, which must be free.
    virtual std::variant<std::monostate, TrashError> putBack(const std::string& trashedPath,
                                                             const std::string& originalPath) = 0;
};

// This system's Trash: on Linux the freedesktop.org Trash of the user's home
// and of each disk.
std::unique_ptr<TrashBin> makeSystemTrash();

} // namespace tessel
