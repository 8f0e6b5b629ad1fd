#pragma once
// A flag that background work polls. The scan in progress holds one as its
// token: whoever holds the current token may write the coordinator's state.

#include <mutex>

namespace tessel {

class ScanCancellation {
public:
    void cancel() {
        std::lock_guard guard(lock_);
        cancelled_ = true;
    }
    bool isCancelled() const {
        std::lock_guard guard(lock_);
        return cancelled_;
    }

private:
    mutable std::mutex lock_;
    bool cancelled_ = false;
};

// The same form, for the work of tool models.
using CancelFlag = ScanCancellation;

} // namespace tessel
