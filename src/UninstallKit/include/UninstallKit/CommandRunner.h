#pragma once
// Runs a helper program and takes what it prints, within a time limit. Every
// failure (it could not start, it outlived the limit, it exited with a status
// other than 0, it printed more than the limit of bytes) is an absent answer,
// which callers read as "unknown". See linux/CommandRunner.cpp for how nothing
// it started, and no file it made, outlives the call.

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tessel::CommandRunner {

struct Limits {
    std::chrono::milliseconds timeout{10'000};
    // What a helper may print before its answer counts as none.
    std::size_t outputBytes = std::size_t{64} << 20;
};

// Runs `program` (a path; no shell, no PATH search) with `arguments`, its
// standard input and error on /dev/null. Blocks the calling thread.
std::optional<std::string> output(const std::string& program, const std::vector<std::string>& arguments,
                                  Limits limits = {});

} // namespace tessel::CommandRunner
