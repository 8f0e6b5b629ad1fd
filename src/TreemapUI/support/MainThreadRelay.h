#pragma once
// Hands work from a background thread to a QObject on the main thread, unless
// the object is gone by then. The object owns the relay and detaches it in its
// destructor; posting happens under the relay's lock, so an object can't be
// destroyed between the check and the post, and Qt drops events still queued
// for an object that was deleted.

#include <QMetaObject>
#include <QObject>

#include <memory>
#include <mutex>
#include <utility>

namespace tessel {

class MainThreadRelay {
public:
    explicit MainThreadRelay(QObject* target) : target_(target) {}

    static std::shared_ptr<MainThreadRelay> make(QObject* target) {
        return std::make_shared<MainThreadRelay>(target);
    }

    void detach() {
        std::lock_guard guard(lock_);
        target_ = nullptr;
    }

    template <class Work>
    void post(Work&& work) {
        std::lock_guard guard(lock_);
        if (target_ != nullptr) QMetaObject::invokeMethod(target_, std::forward<Work>(work), Qt::QueuedConnection);
    }

private:
    std::mutex lock_;
    QObject* target_;
};

} // namespace tessel
