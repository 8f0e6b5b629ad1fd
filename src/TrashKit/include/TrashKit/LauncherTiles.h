#pragma once
// What a desktop pins for apps outside their folders: the Mac's Dock tiles, a
// Linux desktop's favourites and task-manager launchers. The trash service
// tells it what moved, so that a launcher of a moved app goes with it, and
// what came back, so that the launcher comes back at its place.

#include <string>
#include <utility>
#include <vector>

namespace tessel {

class LauncherTiles {
public:
    virtual ~LauncherTiles() = default;
    // Before anything moves, on the trash's own thread: a chance to learn what
    // an item is while it is still where it was.
    virtual void prepare() {}
    // Each pair is where an item was and where it went in the Trash.
    virtual void remove(const std::vector<std::pair<std::string, std::string>>& moved) = 0;
    // The places items came back to.
    virtual void restore(const std::vector<std::string>& originalPaths) = 0;
};

} // namespace tessel
