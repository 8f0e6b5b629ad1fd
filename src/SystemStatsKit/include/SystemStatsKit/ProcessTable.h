#pragma once
// The user's processes as /proc shows them, one walk of /proc/PID each:
//
//     owner      the owner of /proc/PID, which the kernel sets to the
//                process's effective user (a process that made itself
//                undumpable shows root, and is not the user's to count)
//     name       the command name of stat, between its first "(" and last ")"
//     parent     stat field 4
//     startTicks stat field 22, clock ticks after boot: with the pid it names
//                one process, as a pid is given again once its process ended
//     cpu        stat fields 14 and 15, user and system ticks, in nanoseconds
//     memory     the "Pss:" of smaps_rollup (each shared page split between
//                the processes that map it, so a family's sum is no more than
//                it holds); RSS from statm on kernels before 4.14 or where
//                smaps_rollup can't be read
//     disk       read_bytes + write_bytes of io, what reached the disks; none
//                where io can't be read
//     path       the link exe, as bytes; empty where it can't be read
//     cgroup     the file cgroup, only for the processes the walk is asked
//                about (it does not change, so one reading serves)
//
// Pss is dear: the kernel walks the process's page tables to sum it, some
// 90 µs for a small process and milliseconds for a compiler or a browser,
// where stat costs a few. A walk given a PssCache reads a process's
// smaps_rollup when it first sees it; then again when its resident size (stat
// field 24, which comes free) has moved by more than a sixteenth, but no
// sooner than `resizedWalks` walks after the last reading, so that a process
// that grows at every walk is not read at every walk; and in any case after
// `refreshWalks` walks, the processes spread over those walks by pid. In
// between, the last Pss is scaled by how the resident size moved.
//
//     walk 1: rss 4000 pages, smaps_rollup read: Pss 10 MB
//     walk 2: rss 4100 pages (+2.5%): 10 MB × 4100 / 4000 = 10.25 MB, not read
//     walk 3: rss 5000 pages (+25%): 12.5 MB, scaled, as walk 1 is too near
//     walk 5: rss 5000 pages: smaps_rollup read again
//
// The root comes from outside, and a test's root is a folder anyone could
// have filled: unless the root is the kernel's own procfs, every file is
// looked at before it is opened, and it is opened without following a link
// or waiting, so a FIFO, a device or a huge file in its
// place makes that process unreadable, and an unreadable process is skipped.
// A process that ends in the middle of its walk is skipped the same way.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tessel {

struct ProcessRecord {
    std::int32_t pid = 0;
    std::int32_t parent = 0;
    std::uint64_t startTicks = 0;
    std::string name;
    std::string path;
    std::uint64_t cpu = 0;    // nanoseconds of processor time since it started
    std::uint64_t memory = 0; // bytes
    std::optional<std::uint64_t> disk;
    std::optional<std::string> cgroup;
};

// What a walk reads of each process beyond stat and io, which it always reads.
// A walk that is only the baseline of the rates needs neither memory nor
// program; each file left out is a system call or two per process.
struct WalkReads {
    bool memory = true;  // Pss, through the cache where one is given
    bool program = true; // the link exe
    // Whether to read the cgroup file of the process with this pid and start.
    std::function<bool(std::int32_t, std::uint64_t)> wantsCgroup;
};

// The fields of one /proc/PID/stat line that a record takes.
struct ProcessStat {
    std::int32_t parent = 0;
    std::uint64_t residentPages = 0;
    std::string name;
    std::uint64_t cpuTicks = 0;
    std::uint64_t startTicks = 0;
    bool kernelThread = false; // a thread of the kernel's, as root sees them
};

// The Pss last read of each process, by pid, kept from one walk to the next.
struct PssCache {
    struct Reading {
        std::uint64_t startTicks = 0;
        std::uint64_t residentPages = 0;
        std::uint64_t pss = 0;
        unsigned walksSince = 0;
    };
    std::unordered_map<std::int32_t, Reading> readings;
    unsigned refreshWalks = 30; // a minute at the Monitor room's two seconds
    unsigned resizedWalks = 4;
};

namespace ProcessTable {

// Every process of `uid` under `procRoot`, in the order of the listing, with
// clock ticks of `ticksPerSecond` (sysconf(_SC_CLK_TCK), 100 on Linux). With
// no cache every Pss is read; with `reads.memory` false none is (memory 0).
std::vector<ProcessRecord> walk(const std::string& procRoot, std::uint32_t uid, long ticksPerSecond, PssCache* cache = nullptr,
                                const WalkReads& reads = {});
// The numbers that name processes in `procRoot`; none when it can't be listed.
std::optional<std::vector<std::int32_t>> pids(const std::string& procRoot);
// A file of /proc/PID (stat, comm, cgroup) under `procRoot` when the process is
// `uid`'s; none when it isn't, or the file can't be read safely.
std::optional<std::string> file(const std::string& procRoot, std::int32_t pid, std::uint32_t uid, const char* name);

std::optional<ProcessStat> parseStat(std::string_view stat);
// "Pss:" of smaps_rollup, in bytes.
std::optional<std::uint64_t> parsePss(std::string_view smapsRollup);
// The second number of statm (resident pages) times `pageBytes`.
std::optional<std::uint64_t> parseStatmResident(std::string_view statm, std::uint64_t pageBytes);
// read_bytes + write_bytes of io.
std::optional<std::uint64_t> parseIo(std::string_view io);

} // namespace ProcessTable
} // namespace tessel
