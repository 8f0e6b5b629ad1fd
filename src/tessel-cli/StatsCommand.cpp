// tessel stats: the machine as it is now, sampled N times S seconds apart:
// processor, memory, network, disks, battery, temperatures and fans. A rate
// needs two readings, so the first sample's rates are null; a reading the
// machine does not give is null with the reason why, never a zero.

#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "Base/AsciiCase.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/TextFormat.h"
#include "SystemStatsKit/SystemSamplers.h"

namespace tessel::cli {

namespace {

using Json = nlohmann::ordered_json;

const std::vector<OptionSpec> statsOptions{{"json", false}, {"samples", true}, {"interval", true}, {"proc-root", true}, {"sys-root", true}};

template <class T, class Make>
Json orNull(const std::optional<T>& value, Make make) {
    return value ? Json(make(*value)) : Json(nullptr);
}

Json loadItem(const CPULoad& load) {
    return {{"user", load.user}, {"system", load.system}, {"nice", load.nice}, {"idle", load.idle}};
}

Json sampleItem(const SystemReadings& r) {
    Json item;
    item["cpu"] = orNull(r.cpu, loadItem);
    if (r.cpu) {
        Json cores = Json::array();
        for (const CoreLoad& core : r.cores) {
            Json entry{{"core", core.core}};
            entry.update(core.load ? loadItem(*core.load) : Json{{"user", nullptr}, {"system", nullptr}, {"nice", nullptr}, {"idle", nullptr}});
            cores.push_back(std::move(entry));
        }
        item["cores"] = std::move(cores);
    } else {
        item["cores"] = nullptr;
    }
    item["memory"] = orNull(r.memory, [](const MemoryUsage& m) {
        Json memory{{"totalBytes", m.total}, {"usedBytes", m.used()}, {"appBytes", m.app}, {"wiredBytes", m.wired},
                    {"compressedBytes", m.compressed}, {"cachedBytes", m.cached}, {"freeBytes", m.free}};
        memory["pressure"] = m.pressure ? Json(asciiLower(label(*m.pressure))) : Json(nullptr);
        return memory;
    });
    if (r.networkTotals) {
        Json link{{"kind", keyOf(r.link.kind)}};
        putNameOrNull(link, "interface", r.link.interface);
        link["rssi"] = orNull(r.link.rssi, [](int v) { return v; });
        link["transmitRate"] = orNull(r.link.transmitRate, [](double v) { return v; });
        link["band"] = orNull(r.link.band, [](const std::string& v) { return v; });
        link["description"] = r.link.description();
        item["network"] = {{"receivedBytesPerSecond", orNull(r.network, [](const NetworkThroughput& t) { return t.received; })},
                           {"sentBytesPerSecond", orNull(r.network, [](const NetworkThroughput& t) { return t.sent; })},
                           {"receivedBytes", r.networkTotals->received},
                           {"sentBytes", r.networkTotals->sent},
                           {"link", std::move(link)}};
    } else {
        item["network"] = nullptr;
    }
    Json disks = Json::array();
    for (const DiskRate& disk : r.disks) {
        Json entry;
        putName(entry, "name", disk.disk);
        entry["readBytesPerSecond"] = orNull(disk.activity, [](const DiskActivity& a) { return a.read; });
        entry["writeBytesPerSecond"] = orNull(disk.activity, [](const DiskActivity& a) { return a.write; });
        disks.push_back(std::move(entry));
    }
    item["disks"] = std::move(disks);
    item["battery"] = orNull(r.battery, [&](const BatteryStatus& b) {
        const bool adapter = b.source == BatteryStatus::PowerSource::adapter;
        return Json{{"percentage", b.percentage()}, {"charge", b.charge}, {"isCharging", b.isCharging}, {"isCharged", b.isCharged},
                    {"source", adapter ? "adapter" : "battery"},
                    {"minutesRemaining", orNull(b.minutesRemaining, [](int v) { return v; })},
                    {"cycleCount", r.batteryHealth ? orNull(r.batteryHealth->cycleCount, [](int v) { return v; }) : Json(nullptr)},
                    {"capacity", r.batteryHealth ? orNull(r.batteryHealth->capacity, [](double v) { return v; }) : Json(nullptr)}};
    });
    Json temperatures = Json::array();
    for (const TemperatureReading& reading : r.temperatures) temperatures.push_back({{"name", reading.place}, {"celsius", reading.celsius}});
    item["temperatures"] = std::move(temperatures);
    Json fans = Json::array();
    for (const FanReader::Fan& fan : r.fans.value_or(std::vector<FanReader::Fan>{})) {
        Json entry;
        putName(entry, "name", fan.name);
        entry["rpm"] = fan.rpm;
        fans.push_back(std::move(entry));
    }
    item["fans"] = std::move(fans);
    Json unavailable = Json::object();
    for (const auto& [name, why] : r.unavailable) putName(unavailable, name, why);
    item["unavailable"] = std::move(unavailable);
    return item;
}

std::string percent(double share) { return TextFormat::share(share * 100); }
std::string rate(double bytesPerSecond) { return ByteFormat::string(std::llround(bytesPerSecond)) + "/s"; }

// "—" and why, for a reading the machine did not give.
std::string absent(const SystemReadings& r, const std::string& name) {
    auto why = r.unavailable.find(name);
    return why == r.unavailable.end() ? "—" : "— (" + printable(why->second) + ")";
}

void printSample(const SystemReadings& r) {
    std::string cpu = absent(r, "cpu");
    if (r.cpu) {
        cpu = percent(r.cpu->busy()) + " busy (user " + percent(r.cpu->user) + ", system " + percent(r.cpu->system) +
              ", nice " + percent(r.cpu->nice) + ")";
        std::string cores;
        for (const CoreLoad& core : r.cores)
            cores += (cores.empty() ? "" : ", ") + std::to_string(core.core) + ": " + (core.load ? percent(core.load->busy()) : "—");
        if (!cores.empty()) cpu += "; cores " + cores;
    }
    std::printf("Processor: %s\n", cpu.c_str());

    std::string memory = absent(r, "memory");
    if (const std::optional<MemoryUsage>& m = r.memory) {
        auto bytes = [](std::uint64_t n) { return ByteFormat::string(static_cast<std::int64_t>(n)); };
        memory = bytes(m->used()) + " used of " + bytes(m->total) + " (apps " + bytes(m->app) + ", wired " + bytes(m->wired) +
                 ", compressed " + bytes(m->compressed) + "); cached " + bytes(m->cached) + ", free " + bytes(m->free) +
                 "; pressure " + (m->pressure ? asciiLower(label(*m->pressure)) : absent(r, "pressure"));
    }
    std::printf("Memory: %s\n", memory.c_str());

    std::string network = absent(r, "network");
    if (r.networkTotals) {
        std::string link = r.link.description();
        if (r.link.interface) link += " (" + printable(*r.link.interface) + ")";
        network = link + "; " + (r.network ? rate(r.network->received) + " in, " + rate(r.network->sent) + " out" : absent(r, "network")) +
                  "; " + ByteFormat::string(static_cast<std::int64_t>(r.networkTotals->received)) + " in and " +
                  ByteFormat::string(static_cast<std::int64_t>(r.networkTotals->sent)) + " out since boot";
    }
    std::printf("Network: %s\n", network.c_str());

    std::string disks;
    for (const DiskRate& disk : r.disks)
        disks += (disks.empty() ? "" : ", ") + printable(disk.disk) +
                 (disk.activity ? " " + rate(disk.activity->read) + " read, " + rate(disk.activity->write) + " written" : "");
    if (!r.disk) disks += (disks.empty() ? "" : " ") + absent(r, "disks");
    std::printf("Disks: %s\n", disks.c_str());

    std::string battery = absent(r, "battery");
    if (const std::optional<BatteryStatus>& b = r.battery) {
        battery = std::to_string(b->percentage()) + "%, " +
                  (b->isCharged ? "charged" : b->isCharging ? "charging" : b->source == BatteryStatus::PowerSource::adapter ? "on the adapter, not charging" : "on battery");
        if (b->minutesRemaining)
            battery += ", " + std::to_string(*b->minutesRemaining / 60) + " h " + std::to_string(*b->minutesRemaining % 60) +
                       (b->isCharging ? " min to full" : " min left");
        if (r.batteryHealth && r.batteryHealth->cycleCount) battery += "; " + std::to_string(*r.batteryHealth->cycleCount) + " cycles";
        if (r.batteryHealth && r.batteryHealth->capacity)
            battery += "; holds " + percent(*r.batteryHealth->capacity) + " of what it held new";
    }
    std::printf("Battery: %s\n", battery.c_str());

    std::string temperatures;
    for (const TemperatureReading& reading : r.temperatures) {
        char degrees[32];
        std::snprintf(degrees, sizeof degrees, "%.1f °C", reading.celsius);
        temperatures += (temperatures.empty() ? "" : ", ") + reading.place + " " + degrees;
    }
    std::printf("Temperatures: %s\n", temperatures.empty() ? absent(r, "temperatures").c_str() : temperatures.c_str());

    std::string fans;
    for (const FanReader::Fan& fan : r.fans.value_or(std::vector<FanReader::Fan>{}))
        fans += (fans.empty() ? "" : ", ") + printable(fan.name) + " " + std::to_string(std::lround(fan.rpm)) + " rpm";
    std::printf("Fans: %s\n", fans.empty() ? absent(r, "fans").c_str() : fans.c_str());
}

} // namespace

int runStats(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, statsOptions);
    if (!arguments.positionals.empty()) throw UsageError("stats takes no path, not \"" + arguments.positionals.front() + "\"");
    const std::int64_t samples = arguments.integer("samples", 1).value_or(1);
    const double interval = arguments.seconds("interval").value_or(1.0);
    const SystemRoots roots{kernelRoot(arguments, "proc-root", "/proc"), kernelRoot(arguments, "sys-root", "/sys")};
    const bool json = arguments.has("json");
    SystemSamplers samplers(roots);
    const auto start = std::chrono::steady_clock::now();
    for (std::int64_t i = 0; i < samples; ++i) {
        if (i > 0) std::this_thread::sleep_until(start + std::chrono::duration<double>(interval * static_cast<double>(i)));
        const double now = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
        const SystemReadings readings = samplers.sample(now);
        if (json) {
            std::printf("%s\n", sampleItem(readings).dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
        } else {
            if (samples > 1) std::printf("%sSample %lld of %lld\n", i > 0 ? "\n" : "", static_cast<long long>(i + 1), static_cast<long long>(samples));
            printSample(readings);
        }
        std::fflush(stdout);
    }
    return exitSuccess;
}

} // namespace tessel::cli
