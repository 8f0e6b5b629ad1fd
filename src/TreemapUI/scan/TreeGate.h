#pragma once
// Who may touch the scanned tree, and when. Background jobs read it (lists,
// lenses, the overview's figures, the duplicate finder's paths, snapshots,
// reports); the main thread changes it when items go to the Trash and come
// back. The main thread must never wait for a walk of a whole tree, so it
// never waits at all:
//
//   - a job enters before it reads and leaves after; any number read at once;
//   - a change on the main thread runs at once when no job is reading, and
//     otherwise waits in a queue on the main thread's side, which runs the
//     moment the last reader leaves (the gate calls `whenIdle`, which posts
//     to the main thread);
//   - while a change waits or runs, a job that wants to enter waits on its
//     own thread, so jobs can't keep a change waiting for ever.
//
// Example: the overview's figures are being added up when the user moves a
// folder to the Trash. The move's detach is queued; the main thread goes on
// drawing. The overview's job leaves 20 ms later, the detach runs, the tree
// says "changed", and the overview starts again on the changed tree.

#include <condition_variable>
#include <functional>
#include <mutex>

namespace tessel {

class TreeGate {
public:
    explicit TreeGate(std::function<void()> whenIdle) : whenIdle_(std::move(whenIdle)) {}

    // Worker threads: waits while a change waits or runs.
    void enter() {
        std::unique_lock guard(lock_);
        opened_.wait(guard, [&] { return !changing_ && !changeWaiting_; });
        ++readers_;
    }
    void leave() {
        bool idleWithChangeWaiting = false;
        {
            std::lock_guard guard(lock_);
            --readers_;
            idleWithChangeWaiting = readers_ == 0 && changeWaiting_;
        }
        if (idleWithChangeWaiting && whenIdle_) whenIdle_();
    }

    // Main thread: true when the change may run now; false when it must wait
    // for readers, who will call `whenIdle` once the last has left.
    bool beginChange() {
        std::lock_guard guard(lock_);
        if (readers_ > 0) {
            changeWaiting_ = true;
            return false;
        }
        changing_ = true;
        return true;
    }
    void endChange() {
        {
            std::lock_guard guard(lock_);
            changing_ = false;
            changeWaiting_ = false;
        }
        opened_.notify_all();
    }

private:
    std::mutex lock_;
    std::condition_variable opened_;
    int readers_ = 0;
    bool changing_ = false;
    bool changeWaiting_ = false;
    std::function<void()> whenIdle_;
};

} // namespace tessel
