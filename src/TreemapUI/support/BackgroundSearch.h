#pragma once
// One search at a time, off the main thread, for a room that looks for things
// (junk, leftovers): its progress and its answer are handed to the main
// thread, where `state` shows them, and a search that was stopped or
// overtaken by a newer one hands over nothing, whatever it still finishes. The room that owns it must
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
#include "support/SearchState.h"
#include "support/ThreadName.h"

namespace tessel {

template <typename Result>
class BackgroundSearch {
public:
    using Progress = std::function<void(std::size_t done, std::size_t total)>;
    using Work = std::function<Result(const Progress& progress, const std::function<bool()>& isCancelled)>;

    // `threadName` must outlive the search: a literal.
    BackgroundSearch(QObject* owner, const char* threadName)
        : relay_(MainThreadRelay::make(owner)), threadName_(threadName), state_(owner) {
        // An overtaken search waits for its turn and then hands over nothing.
        worker_.setMaxThreadCount(1);
    }
    ~BackgroundSearch() {
        relay_->detach();
        abandon();
        worker_.waitForDone();
    }
    BackgroundSearch(const BackgroundSearch&) = delete;
    BackgroundSearch& operator=(const BackgroundSearch&) = delete;

    SearchState* state() { return &state_; }

    // Starts `work`, overtaking a search under way; `onResult` is called on
    // the main thread, before the state says the search is done.
    void start(Work work, std::function<void(Result)> onResult) {
        abandon();
        state_.begin();
        const int generation = generation_;
        auto flag = std::make_shared<std::atomic<bool>>(false);
        cancelled_ = flag;
        auto current = [this, generation] { return generation == generation_; };
        (void)QtConcurrent::run(&worker_, [relay = relay_, name = threadName_, flag, current, work = std::move(work),
                                           onResult = std::move(onResult), this] {
            nameThisThread(name);
            Result result = work(
                [relay, current, this](std::size_t done, std::size_t total) {
                    relay->post([current, this, done, total] {
                        if (current()) state_.advance(done, total);
                    });
                },
                [flag] { return flag->load(); });
            relay->post([this, current, onResult, result = std::move(result)]() mutable {
                if (!current()) return;
                cancelled_.reset();
                onResult(std::move(result));
                state_.finish();
            });
        });
    }

    // Stops the search under way, if any: back to idle, and whatever it still sends is dropped.
    void stop() {
        if (state_.phase() != SearchState::Phase::Running) return;
        abandon();
        state_.stop();
    }

private:
    std::shared_ptr<MainThreadRelay> relay_;
    const char* threadName_;
    QThreadPool worker_;
    std::shared_ptr<std::atomic<bool>> cancelled_;
    int generation_ = 0;
    SearchState state_;

    void abandon() {
        if (cancelled_) cancelled_->store(true);
        cancelled_.reset();
        ++generation_;
    }
};

} // namespace tessel
