#pragma once
// Where the kernel shows the machine: /proc and /sys on a running system, or
// two folders of a test that describe one. Every sampler takes them from its
// owner, so that a test reads a fixture tree and `tessel stats` reads what
// --proc-root and --sys-root name.

#include <string>

namespace tessel {

struct SystemRoots {
    std::string proc = "/proc";
    std::string sys = "/sys";

    // The running kernel's own, which alone may be asked what no file shows.
    bool areThisMachines() const { return proc == "/proc" && sys == "/sys"; }
};

} // namespace tessel
