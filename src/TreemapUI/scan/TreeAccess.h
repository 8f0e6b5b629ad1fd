#pragma once
// The scanned tree is read by background work (lenses, lists, the overview's
// figures) and changed on the main thread when items go to the Trash or come
// back. Readers hold the lock shared for the length of a walk; a change holds
// it alone, for the few microseconds of a detach or a reattach.

#include <shared_mutex>

namespace tessel::TreeAccess {

inline std::shared_mutex& lock() {
    static std::shared_mutex treeLock;
    return treeLock;
}

} // namespace tessel::TreeAccess
