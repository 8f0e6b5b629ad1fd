#pragma once
// Running another program from a test: in a process group of its own, with its
// output kept and a deadline after which the whole group is killed, so that a
// hung program never outlives the test.

#include <chrono>
#include <string>
#include <vector>

namespace tessel::test {

struct ChildOutcome {
    int status = -1; // exit status, or 128 + the signal
    bool timedOut = false;
    std::string out;
    std::string err;
};

// `words[0]` is a path or a name looked up in PATH.
ChildOutcome runChild(const std::vector<std::string>& words, std::chrono::milliseconds deadline);
// The executable `name` is found as in PATH, or empty.
std::string findProgram(const std::string& name);

} // namespace tessel::test
