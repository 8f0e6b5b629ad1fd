#include "SystemStatsKit/DiskActivitySampler.h"

#include <algorithm>
#include <utility>

#include "Base/Lines.h"
#include "KernelFiles.h"

namespace tessel {

namespace {

constexpr std::uint64_t sectorBytes = 512;

} // namespace

DiskActivitySampler::DiskActivitySampler(SystemRoots roots) : roots_(std::move(roots)) {}

// "254 0 vda 5046637 623789 747348186 3015984 3894214 1828386 1008455640 ...":
// major minor name, reads, reads merged, sectors read, ms reading, writes,
// writes merged, sectors written, ...
std::map<std::string, CounterPair> DiskActivitySampler::parse(std::string_view diskstats) {
    std::map<std::string, CounterPair> devices;
    forEachLine(diskstats, [&](std::string_view line) {
        const std::vector<std::string_view> w = KernelFiles::words(line);
        if (w.size() < 10) return;
        const std::optional<std::uint64_t> read = KernelFiles::parseUnsigned(w[5]);
        const std::optional<std::uint64_t> written = KernelFiles::parseUnsigned(w[9]);
        // A sector count past 2^55 would overflow as bytes; no disk has moved that much.
        if (read && written && *read < (std::uint64_t{1} << 55) && *written < (std::uint64_t{1} << 55))
            devices[std::string(w[2])] = {*read * sectorBytes, *written * sectorBytes};
    });
    return devices;
}

// Disks come and go rarely, so what /sys/block says of a name is kept. sysfs
// writes a "/" of a name ("cciss/c0d0") as "!".
bool DiskActivitySampler::isWholeDisk(const std::string& name) {
    auto known = wholeDisks_.find(name);
    if (known != wholeDisks_.end()) return known->second;
    std::string inSysfs = name;
    std::replace(inSysfs.begin(), inSysfs.end(), '/', '!');
    const bool whole = inSysfs != "." && inSysfs != ".." &&
                       KernelFiles::exists(roots_.sys + "/block/" + inSysfs + "/device");
    wholeDisks_.emplace(name, whole);
    return whole;
}

std::optional<DiskActivity> DiskActivitySampler::sample(double now) {
    disks_.clear();
    const std::string path = roots_.proc + "/diskstats";
    const std::optional<std::string> text = KernelFiles::text(path, &failure_);
    if (!text) return std::nullopt;
    std::map<std::string, CounterPair> counters = parse(*text);
    std::erase_if(counters, [&](const auto& entry) { return !isWholeDisk(entry.first); });
    const auto rates = rates_.advance(std::move(counters), now);
    if (const PairedRates::NoRate* none = std::get_if<PairedRates::NoRate>(&rates)) {
        for (std::string& name : rates_.names()) disks_.push_back({std::move(name), std::nullopt});
        failure_ = *none == PairedRates::NoRate::first ? "a rate needs two readings of " + path + ", and this was the first"
                                                       : "no time went by since the last reading of " + path;
        return std::nullopt;
    }
    DiskActivity all;
    for (const auto& [name, rate] : std::get<0>(rates)) {
        if (rate) {
            all.read += rate->first;
            all.write += rate->second;
        }
        disks_.push_back({name, rate ? std::optional(DiskActivity{rate->first, rate->second}) : std::nullopt});
    }
    failure_.clear();
    return all;
}

} // namespace tessel
