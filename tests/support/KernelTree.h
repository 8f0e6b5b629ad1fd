#pragma once
// A machine's /proc and /sys described in a test folder, as the samplers read
// them when handed its roots: the files hold what the test writes, and a
// device link is an empty folder where the real one is a link.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "Fixture.h"
#include "SystemStatsKit/SystemRoots.h"

namespace tessel::test {

// One process as /proc/PID shows it: stat, smaps_rollup, statm (300 pages
// resident), cgroup, comm, io (when `ioBytes` is given) and the link exe to
// /usr/bin/`name`.
struct FixtureProcess {
    std::int32_t pid;
    std::int32_t parent;
    std::string name;
    std::uint64_t cpuTicks = 0; // user ticks; system ticks are always 10
    std::uint64_t startTicks = 1000;
    std::uint64_t pssKilobytes = 100;
    std::string cgroup = "0::/user.slice/user-1000.slice/session-2.scope\n";
    std::optional<std::uint64_t> ioBytes = 0;
    std::uint64_t residentPages = 250;
};

struct KernelTree {
    TempFolder folder;
    SystemRoots roots{folder / "proc", folder / "sys"};

    // proc/`path` holds `text`; "stat", "net/dev".
    void proc(const std::string& path, const std::string& text) const { writeText(roots.proc + "/" + path, text); }
    // sys/`path` holds `text`; "class/power_supply/BAT0/capacity".
    void sys(const std::string& path, const std::string& text) const { writeText(roots.sys + "/" + path, text); }
    // sys/`path` is there, as a device link of a network interface or a disk is.
    void sysEntry(const std::string& path) const { writeText(roots.sys + "/" + path + "/uevent", ""); }
    // proc/PID describes `p`, replacing what it held.
    void process(const FixtureProcess& p) const {
        const std::string pid = std::to_string(p.pid), place = roots.proc + "/" + pid;
        proc(pid + "/stat", pid + " (" + p.name + ") S " + std::to_string(p.parent) + " 1 1 0 -1 4194304 10 0 0 0 " +
                                std::to_string(p.cpuTicks) + " 10 0 0 20 0 1 0 " + std::to_string(p.startTicks) +
                                " 10000000 " + std::to_string(p.residentPages) + " 18446744073709551615\n");
        proc(pid + "/smaps_rollup", "00400000-7fff [rollup]\nRss:    900 kB\nPss:    " + std::to_string(p.pssKilobytes) +
                                        " kB\nPss_Anon:   50 kB\n");
        proc(pid + "/statm", "2000 300 100 10 0 200 0\n");
        proc(pid + "/cgroup", p.cgroup);
        proc(pid + "/comm", p.name + "\n");
        if (p.ioBytes) proc(pid + "/io", "rchar: 5\nwchar: 5\nread_bytes: " + std::to_string(*p.ioBytes) + "\nwrite_bytes: 0\n");
        else std::filesystem::remove(place + "/io");
        std::filesystem::remove(place + "/exe");
        makeSymlink("/usr/bin/" + p.name, place + "/exe");
    }
};

} // namespace tessel::test
