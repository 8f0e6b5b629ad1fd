#pragma once
// Named worker threads with a set stack size. They run detached: a thread
// blocked in the kernel on a dead disk can't be joined or killed, only left.

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace tessel {

// The full name, "DiskScanner.worker.3".
std::string threadName(std::string_view prefix, int number);
// What the kernel will hold: Linux keeps 15 characters, so the prefix is cut
// as far as needed to keep the number whole ("DiskScanner.wo3").
std::string kernelThreadName(std::string_view prefix, int number);

// Throws std::system_error when the thread can't be created.
void startDetachedThread(std::string_view prefix, int number, std::size_t stackBytes,
                         std::function<void()> body);

} // namespace tessel
