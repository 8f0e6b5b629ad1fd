#pragma once
// How fast the machine's disks read and write, from /proc/diskstats.
//
// Only whole disks count, and only real ones: those /sys/block lists with a
// device behind them (/sys/block/NAME/device). A partition's bytes are its
// disk's already; a loop device, zram, a device-mapper volume (LVM, LUKS) or
// a software RAID passes its bytes on to a real disk, which counts them.
// diskstats counts in sectors of 512 bytes, whatever the disk's own.
//
// A rate needs two readings: the sampler keeps the previous counters and
// time. A counter that went back, as when a disk was taken away and another
// took its name, gives 0 for that direction; it is not read as a wrap. A
// disk that has just appeared adds nothing until its second reading.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SystemStatsKit/PairedRates.h"
#include "SystemStatsKit/SystemRoots.h"

namespace tessel {

struct DiskActivity {
    double read = 0; // bytes per second
    double write = 0;
    static const DiskActivity zero;
    bool operator==(const DiskActivity&) const = default;
};
inline constexpr DiskActivity DiskActivity::zero{};

struct DiskRate {
    std::string disk; // "nvme0n1", "sda": bytes
    // None for a disk that was not there at the previous reading.
    std::optional<DiskActivity> activity;
};

class DiskActivitySampler {
public:
    explicit DiskActivitySampler(SystemRoots roots = {});

    // All the whole disks together since the previous reading, `now` in
    // seconds of a monotonic clock. None on the first call, when `now` is not
    // later than the previous time, or when /proc/diskstats can't be read
    // (failure() says why).
    std::optional<DiskActivity> sample(double now);
    // Each whole disk over the interval of the last sample(), by name; each
    // without a rate after a sample that gave none.
    const std::vector<DiskRate>& disks() const { return disks_; }
    const std::string& failure() const { return failure_; }

    // Bytes read (first) and written (second) since boot, of every device
    // diskstats lists.
    static std::map<std::string, CounterPair> parse(std::string_view diskstats);

private:
    bool isWholeDisk(const std::string& name);

    SystemRoots roots_;
    // A counter that went back grew by nothing.
    PairedRates rates_{0, [](std::uint64_t before, std::uint64_t now) { return now >= before ? now - before : 0; }};
    std::map<std::string, bool> wholeDisks_; // what /sys/block said of each name
    std::vector<DiskRate> disks_;
    std::string failure_;
};

} // namespace tessel
