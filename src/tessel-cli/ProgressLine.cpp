#include "ProgressLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

namespace tessel::cli {

namespace {
std::size_t terminalWidth() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return 80;
}
} // namespace

ProgressLine::ProgressLine()
    : enabled_(isatty(STDERR_FILENO) == 1), start_(std::chrono::steady_clock::now()) {}

ProgressLine::~ProgressLine() { clear(); }

double ProgressLine::elapsed() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void ProgressLine::update(const std::string& text) {
    if (!enabled_) return;
    std::lock_guard guard(lock_);
    // Never wider than the terminal: a wrapped line can't be rewritten in place.
    std::string line = text.substr(0, terminalWidth() - 1);
    std::fprintf(stderr, "\r%s\x1b[K", line.c_str());
    std::fflush(stderr);
    dirty_ = true;
}

void ProgressLine::clear() {
    if (!enabled_) return;
    std::lock_guard guard(lock_);
    if (!dirty_) return;
    std::fputs("\r\x1b[K", stderr);
    std::fflush(stderr);
    dirty_ = false;
}

} // namespace tessel::cli
