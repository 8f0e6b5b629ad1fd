// tessel activity: the user's processes gathered into apps, from two walks of
// /proc an interval apart so that the processor shares are measured, not
// guessed. The busiest come first, by processor and then by memory; a figure
// the machine did not give is "—", never a zero. The windows are the X11
// window manager's answer (DesktopWindows.h), asked once after the second
// walk; where the desktop can't tell, they are "—" (null in JSON), and a
// sentence under the table says why.

#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>
#include <thread>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/TextFormat.h"
#include "SystemStatsKit/DesktopWindows.h"
#include "SystemStatsKit/ProcessSampler.h"

namespace tessel::cli {

namespace {

using Json = nlohmann::ordered_json;

const std::vector<OptionSpec> activityOptions{{"json", false}, {"interval", true}, {"proc-root", true}};

double monotonicSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

template <class T>
Json orNull(const std::optional<T>& value) {
    return value ? Json(*value) : Json(nullptr);
}

std::optional<FamilyWindows> windowsOf(const ProcessUsage& row, const WindowsReading& windows) {
    if (!windows.byPid) return std::nullopt;
    return WindowFigures::ofFamily(*windows.byPid, row.pids);
}

Json appItem(const ProcessUsage& row, const WindowsReading& windows, const std::map<std::int32_t, const ProcessRecord*>& byPid) {
    Json item;
    putName(item, "name", row.name);
    putNameOrNull(item, "appID", row.appID);
    item["pid"] = row.appPID;
    putNameOrNull(item, "path", row.bundlePath);
    item["cpu"] = orNull(row.cpu);
    item["memoryBytes"] = row.memory;
    item["diskBytesPerSecond"] = orNull(row.disk);
    const std::optional<FamilyWindows> family = windowsOf(row, windows);
    item["visibleWindows"] = family ? Json(family->visibleWindows) : Json(nullptr);
    item["isActive"] = family ? Json(family->isActive) : Json(nullptr);
    item["isHidden"] = family ? Json(family->isHidden) : Json(nullptr);
    Json processes = Json::array();
    for (std::int32_t pid : row.pids) {
        const ProcessRecord& process = *byPid.at(pid);
        Json entry{{"pid", pid}, {"parent", process.parent}};
        putName(entry, "name", process.name);
        putName(entry, "path", process.path);
        entry["memoryBytes"] = process.memory;
        processes.push_back(std::move(entry));
    }
    item["processes"] = std::move(processes);
    return item;
}

std::string cpuText(const std::optional<double>& cpu) { return cpu ? TextFormat::share(*cpu * 100) : "—"; }
std::string diskText(const std::optional<double>& disk) {
    return disk ? ByteFormat::string(std::llround(*disk)) + "/s" : "—";
}

// `text` right-aligned in `width` columns; "—" is three bytes and one column.
std::string right(const std::string& text, std::size_t width) {
    std::size_t columns = 0;
    for (char c : text) columns += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return std::string(width > columns ? width - columns : 0, ' ') + text;
}

void printTable(const std::vector<ProcessUsage>& rows, const WindowsReading& windows, std::size_t processCount, double interval) {
    std::printf("%s in %s of yours, measured over %s\n", TextFormat::counted(static_cast<std::int64_t>(processCount), "process", "processes").c_str(),
                TextFormat::counted(static_cast<std::int64_t>(rows.size()), "group", "groups").c_str(), TextFormat::seconds(interval).c_str());
    std::printf("%s  %s  %s  %s  %s  Name\n", right("CPU", 7).c_str(), right("Memory", 9).c_str(), right("Disk", 12).c_str(),
                right("Processes", 9).c_str(), right("Windows", 11).c_str());
    for (const ProcessUsage& row : rows) {
        std::string name = printable(row.name);
        if (row.appID && *row.appID != row.name) name += " (" + printable(*row.appID) + ")";
        std::printf("%s  %s  %s  %s  %s  %s\n", right(cpuText(row.cpu), 7).c_str(),
                    right(ByteFormat::string(static_cast<std::int64_t>(row.memory)), 9).c_str(), right(diskText(row.disk), 12).c_str(),
                    right(std::to_string(row.pids.size()), 9).c_str(), right(WindowFigures::text(windowsOf(row, windows)), 11).c_str(),
                    name.c_str());
    }
    if (!windows.byPid) std::printf("%s\n", WindowFigures::unknownSentence(windows.why).c_str());
}

} // namespace

int runActivity(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, activityOptions);
    if (!arguments.positionals.empty()) throw UsageError("activity takes no path, not \"" + arguments.positionals.front() + "\"");
    const double interval = arguments.seconds("interval").value_or(1.0);
    const std::string procRoot = kernelRoot(arguments, "proc-root", "/proc");
    if (!ProcessTable::pids(procRoot)) throw RunFailure("opendir(" + printable(procRoot) + ") failed: the process table can't be listed");

    ProcessSampler sampler(procRoot);
    const double start = monotonicSeconds();
    sampler.baseline(start);
    std::this_thread::sleep_for(std::chrono::duration<double>(interval));
    const double now = monotonicSeconds();
    const std::vector<ProcessUsage> rows = sampler.sample({}, now);
    const WindowsReading windows = DesktopWindows().read();

    if (arguments.has("json")) {
        std::map<std::int32_t, const ProcessRecord*> byPid;
        for (const ProcessRecord& process : sampler.processes()) byPid.emplace(process.pid, &process);
        Json apps = Json::array();
        for (const ProcessUsage& row : rows) apps.push_back(appItem(row, windows, byPid));
        printJson({{"intervalSeconds", now - start},
                   {"windowsUnknown", windows.byPid ? Json(nullptr) : Json(WindowFigures::unknownSentence(windows.why))},
                   {"apps", std::move(apps)}});
    } else {
        printTable(rows, windows, sampler.processes().size(), now - start);
    }
    return exitSuccess;
}

} // namespace tessel::cli
