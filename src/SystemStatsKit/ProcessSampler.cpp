#include "SystemStatsKit/ProcessSampler.h"

#include <unistd.h>

#include <algorithm>
#include <set>

namespace tessel {

namespace {

long systemTicksPerSecond() {
    const long ticks = ::sysconf(_SC_CLK_TCK);
    return ticks > 0 ? ticks : 100;
}

std::string baseName(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The command name of stat, which a program may set to say what it is ("Web
// Content"), but which the kernel cuts at 15 bytes: a cut name that begins
// its program's file name gives way to that ("gnome-terminal-server"). A
// program run from memory ("/memfd:…") has no file name worth showing.
std::string programName(const ProcessRecord& process) {
    constexpr std::size_t commandNameLimit = 15;
    const std::string file = baseName(process.path);
    if (process.name.size() == commandNameLimit && file.starts_with(process.name) && !file.ends_with(" (deleted)")) return file;
    return process.name;
}

} // namespace

ProcessSampler::ProcessSampler(std::string procRoot)
    : ProcessSampler(std::move(procRoot), static_cast<std::uint32_t>(::getuid()), systemTicksPerSecond()) {}

ProcessSampler::ProcessSampler(std::string procRoot, std::uint32_t uid, long ticksPerSecond)
    : procRoot_(std::move(procRoot)), uid_(uid), timebase_(ticksPerSecond) {}

// Every file a sample needs; a process's cgroup only when it is first seen,
// since a process never leaves its unit.
WalkReads ProcessSampler::sampleReads() const {
    return {.wantsCgroup = [this](std::int32_t pid, std::uint64_t startTicks) { return !owners_.contains({pid, startTicks}); }};
}

std::vector<ProcessRecord> ProcessSampler::allProcesses() const {
    return ProcessTable::walk(procRoot_, uid_, timebase_, nullptr, sampleReads());
}

const ProcessSampler::Owner& ProcessSampler::owner(const ProcessRecord& process) {
    auto [at, added] = owners_.try_emplace({process.pid, process.startTicks});
    if (added && process.cgroup) at->second.unit = AppLaunchUnits::fromCgroup(*process.cgroup);
    return at->second;
}

void ProcessSampler::keepAsPrevious(double now) {
    previous_.clear();
    std::set<std::pair<std::int32_t, std::uint64_t>> alive;
    for (const ProcessRecord& process : processes_) {
        previous_[process.pid] = {process.startTicks, process.cpu, process.disk};
        alive.emplace(process.pid, process.startTicks);
    }
    std::erase_if(owners_, [&](const auto& entry) { return !alive.contains(entry.first); });
    previousTime_ = now;
}

void ProcessSampler::baseline(double now) {
    processes_ = ProcessTable::walk(procRoot_, uid_, timebase_, &sizes_, {.memory = false, .program = false, .wantsCgroup = {}});
    families_.clear();
    keepAsPrevious(now);
    processes_.clear();
}

void ProcessSampler::reset() {
    previous_.clear();
    previousTime_.reset();
}

std::vector<ProcessUsage> ProcessSampler::sample(const std::vector<RunningApp>& apps, double now) {
    processes_ = ProcessTable::walk(procRoot_, uid_, timebase_, &sizes_, sampleReads());
    std::vector<const Owner*> owners;
    owners.reserve(processes_.size());
    for (const ProcessRecord& process : processes_) owners.push_back(&owner(process));
    families_ = ProcessFamilies::group(processes_, [&](std::size_t i) { return owners[i]->unit ? &*owners[i]->unit : nullptr; });

    const std::optional<double> elapsed =
        previousTime_ && now > *previousTime_ ? std::optional<double>(now - *previousTime_) : std::nullopt;
    std::vector<ProcessUsage> rows;
    rows.reserve(families_.size());
    for (const ProcessFamily& family : families_) {
        const ProcessRecord& head = processes_[family.head];
        ProcessUsage row;
        row.name = family.unit ? family.unit->name : programName(head);
        row.appID = family.unit ? std::optional<std::string>(family.unit->appID) : std::nullopt;
        row.appPID = head.pid;
        if (!head.path.empty()) row.bundlePath = head.path;
        std::uint64_t cpuNanoseconds = 0, diskBytes = 0;
        bool anyDisk = false;
        for (std::size_t i : family.members) {
            const ProcessRecord& process = processes_[i];
            row.pids.push_back(process.pid);
            row.memory += process.memory;
            auto before = previous_.find(process.pid);
            if (before == previous_.end() || before->second.startTicks != process.startTicks) continue;
            // A counter never goes back for the same process; if a fixture's
            // does, it grew by nothing.
            if (process.cpu > before->second.cpu) cpuNanoseconds += process.cpu - before->second.cpu;
            if (process.disk && before->second.disk) {
                anyDisk = true;
                if (*process.disk > *before->second.disk) diskBytes += *process.disk - *before->second.disk;
            }
        }
        if (elapsed) {
            row.cpu = static_cast<double>(cpuNanoseconds) / (*elapsed * 1e9);
            if (anyDisk) row.disk = static_cast<double>(diskBytes) / *elapsed;
        }
        for (const RunningApp& app : apps)
            if (std::find(row.pids.begin(), row.pids.end(), app.pid) != row.pids.end()) {
                row.name = app.name;
                row.appPID = app.pid;
                if (app.bundlePath) row.bundlePath = app.bundlePath;
                break;
            }
        rows.push_back(std::move(row));
    }

    keepAsPrevious(now);

    std::stable_sort(rows.begin(), rows.end(), [](const ProcessUsage& a, const ProcessUsage& b) {
        const double cpuA = a.cpu.value_or(0), cpuB = b.cpu.value_or(0);
        if (cpuA != cpuB) return cpuA > cpuB;
        return a.memory > b.memory;
    });
    return rows;
}

} // namespace tessel
