#pragma once
// One line on standard error that rewrites itself while a job runs, shown only
// when standard error is a terminal. Safe to update from any thread.

#include <chrono>
#include <mutex>
#include <string>

namespace tessel::cli {

class ProgressLine {
public:
    ProgressLine();
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    bool shown() const { return enabled_; }
    double elapsed() const;
    void update(const std::string& text);
    // Wipes the line so that what follows starts clean.
    void clear();

private:
    bool enabled_;
    bool dirty_ = false;
    std::mutex lock_;
    std::chrono::steady_clock::time_point start_;
};

} // namespace tessel::cli
