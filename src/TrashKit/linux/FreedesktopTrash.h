#pragma once
// The Trash of Linux desktops, as the freedesktop.org Trash standard
// lays it out, so that the desktop's file manager and other tools see what
// Tessel moved, with where it came from, and can put it back.

#include <sys/types.h>

#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "DiskScanKit/AnchoredPath.h"
#include "TrashKit/TrashBin.h"

namespace tessel {

class FreedesktopTrash final : public TrashBin {
public:
    struct Settings {
        std::string home;
        // $XDG_DATA_HOME, or ~/.local/share: the home Trash is its "Trash" folder.
        std::string dataHome;
        uid_t user = 0;
        std::function<std::time_t()> now;
        static Settings fromEnvironment();
    };

    // Where one item goes: the Trash folder, and for a Trash at the top of
    // another disk, that top folder (paths there are recorded relative to it).
    struct Location {
        std::string trash;
        std::string top; // empty for the home Trash
    };

    explicit FreedesktopTrash(Settings settings);

    std::variant<std::string, TrashError> trashItem(const AnchoredPath& item) override;
    std::variant<std::monostate, TrashError> putBack(const AnchoredPath& trashed,
                                                     const AnchoredPath& destination) override;

    // The Trash an item on `device` belongs in, made if need be.
    std::variant<Location, TrashError> trashFor(const AnchoredPath& item, dev_t device);
    // The name an item called `name` gets in the Trash on the given attempt:
    // "report.pdf", then "report 2.pdf", "report 3.pdf"... A name too long to
    // take ".trashinfo" after it is shortened, keeping its extension.
    static std::string trashName(std::string_view name, int attempt);
    // Bytes outside A-Z a-z 0-9 - _ . ~ / as %XX, as "Path=" keys hold raw names.
    static std::string encode(std::string_view raw);
    static std::optional<std::string> decode(std::string_view encoded);
    // "2026-11-21T19:03:05", in local time, as "DeletionDate=" keys hold it.
    static std::string deletionDate(std::time_t when);

private:
    Settings settings_;
};

} // namespace tessel
