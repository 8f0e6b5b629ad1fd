#pragma once
// The platform's Trash, as the trash service needs it: an item leaves its
// place for the Trash and a new path comes back, or an error in words; and an
// item comes back from the Trash to where it was, never over anything. Items
// arrive already followed to the folder that really holds them, and are moved
// through that folder, so a Trash never acts on anything but what was judged.

#include <memory>
#include <string>
#include <variant>

namespace tessel {

class AnchoredPath;

struct TrashError {
    std::string message;
};

class TrashBin {
public:
    virtual ~TrashBin() = default;
    // Moves the item into the Trash: its path there, or why it stayed.
    virtual std::variant<std::string, TrashError> trashItem(const AnchoredPath& item) = 0;
    // Moves an item back out of the Trash to `destination`, which must be free.
    virtual std::variant<std::monostate, TrashError> putBack(const AnchoredPath& trashed,
                                                             const AnchoredPath& destination) = 0;
};

// This system's Trash: on Linux the freedesktop.org Trash of the user's home
// and of each disk.
std::unique_ptr<TrashBin> makeSystemTrash();

} // namespace tessel
