#pragma once
// One search at a time, off the main thread, for a room that looks for things
// (junk, leftovers): its progress and its answer are handed to the main
// thread, and a search that was stopped or overtaken by a newer one hands
// over nothing, whatever it still finishes. The room that owns it must
// outlive nothing it posts to: the relay is detached and the worker waited
// for when this goes.

#include <QObject>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>

#include "support/MainThreadRelay.h"
#include "support/ThreadName.h"

namespace tessel {

template <typename Result>
class BackgroundSearch {
public:
    using Progress = std::function<void(std::size_t done, std::size_t total)>;
    using Work = std::function<Result(const Progress& progress, const std::function<bool()>& isCancelled)>;

    // `threadName` must outlive the search: a literal.
    BackgroundSearch(QObject* owner, const char* threadName) : relay_(MainThreadRelay::make(owner)), threadName_(threadName) {
        // An overtaken search waits for its turn and then hands over nothing.
        worker_.setMaxThreadCount(1);
    }
    ~BackgroundSearch() {
        relay_->detach();
        stop();
        worker_.waitForDone();
    }
    BackgroundSearch(const BackgroundSearch&) = delete;
    BackgroundSearch& operator=(const BackgroundSearch&) = delete;

    // Starts `work`; `onProgress` and `onResult` are called on the main thread, unless overtaken or stopped first.
    void start(Work work, std::function<void(std::size_t, std::size_t)> onProgress, std::function<void(Result)> onResult) {
        stop();
        const int generation = generation_;
        auto flag = std::make_shared<std::atomic<bool>>(false);
        cancelled_ = flag;
        running_ = true;
        auto current = [this, generation] { return generation == generation_; };
        (void)QtConcurrent::run(&worker_, [relay = relay_, name = threadName_, flag, current, work = std::move(work),
                                           onProgress = std::move(onProgress), onResult = std::move(onResult), this] {
            nameThisThread(name);
            Result result = work(
                [relay, current, onProgress](std::size_t done, std::size_t total) {
                    relay->post([current, onProgress, done, total] {
                        if (current()) onProgress(done, total);
                    });
                },
                [flag] { return flag->load(); });
            relay->post([this, current, onResult, result = std::move(result)]() mutable {
                if (!current()) return;
                running_ = false;
                cancelled_.reset();
                onResult(std::move(result));
            });
        });
    }

    // Whatever the search under way still sends is dropped.
    void stop() {
        if (cancelled_) cancelled_->store(true);
        cancelled_.reset();
        ++generation_;
        running_ = false;
    }

    bool isRunning() const { return running_; }

private:
    std::shared_ptr<MainThreadRelay> relay_;
    const char* threadName_;
    QThreadPool worker_;
    std::shared_ptr<std::atomic<bool>> cancelled_;
    int generation_ = 0;
    bool running_ = false;
};

} // namespace tessel
