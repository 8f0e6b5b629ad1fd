#pragma once
// A machine's /proc and /sys described in a test folder, as the samplers read
// them when handed its roots: the files hold what the test writes, and a
// device link is an empty folder where the real one is a link.

#include <string>

#include "Fixture.h"
#include "SystemStatsKit/SystemRoots.h"

namespace tessel::test {

struct KernelTree {
    TempFolder folder;
    SystemRoots roots{folder / "proc", folder / "sys"};

    // proc/`path` holds `text`; "stat", "net/dev".
    void proc(const std::string& path, const std::string& text) const { writeText(roots.proc + "/" + path, text); }
    // sys/`path` holds `text`; "class/power_supply/BAT0/capacity".
    void sys(const std::string& path, const std::string& text) const { writeText(roots.sys + "/" + path, text); }
    // sys/`path` is there, as a device link of a network interface or a disk is.
    void sysEntry(const std::string& path) const { writeText(roots.sys + "/" + path + "/uevent", ""); }
};

} // namespace tessel::test
