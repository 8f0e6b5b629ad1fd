#pragma once
// The machine's memory from /proc/meminfo, and its pressure from the
// kernel's pressure stall information (/proc/pressure/memory).
//
// meminfo's lines map to the figures so that used memory is what programs
// hold and the system can't give back:
//
//     total       MemTotal
//     app         AnonPages: programs' own pages, in memory (not swapped)
//     wired       Unevictable + SUnreclaim + KernelStack + PageTables: what
//                 can be neither dropped nor swapped
//     compressed  Zswap (the zswap pool) + each zram device's mem_used_total
//                 (/sys/block/zramN/mm_stat): memory that holds compressed pages
//     cached      Buffers + Cached - Shmem + SReclaimable: what the kernel drops
//                 when a program needs it (Shmem, tmpfs and shared memory,
//                 sits in Cached but can't be dropped, so it is taken out)
//     free        MemFree
//
// Pressure: the "some" line says what share of the last 10 seconds at least
// one task waited for memory, the "full" line what share every running task
// did. A machine that is short of memory but coping spends a little time
// waiting; one that thrashes spends much of it. So:
//
//     critical    full avg10 >= 10: a second in every ten the machine stood still
//     warning     some avg10 >= 10: a second in every ten something waited
//     normal      anything less
//
// A kernel built without pressure information, or booted with psi=0, has no
// such file: the pressure is then unknown, not normal.

#include <optional>
#include <string>
#include <string_view>

#include "SystemStatsKit/MemoryUsage.h"
#include "SystemStatsKit/SystemRoots.h"

namespace tessel {

class MemorySampler {
public:
    explicit MemorySampler(SystemRoots roots = {});

    // None when /proc/meminfo can't be read or lacks MemTotal, MemFree,
    // AnonPages or Cached; failure() says why.
    std::optional<MemoryUsage> sample();
    std::optional<MemoryPressure> readPressure();
    const std::string& failure() const { return failure_; }

    // The figures of a meminfo text, with `zramBytes` counted as compressed.
    static std::optional<MemoryUsage> fromMeminfo(std::string_view meminfo, std::uint64_t zramBytes);
    static std::optional<MemoryPressure> pressureFrom(std::string_view psi);

private:
    std::uint64_t zramBytes() const;

    SystemRoots roots_;
    std::string failure_;
};

} // namespace tessel
