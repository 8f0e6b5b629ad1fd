#include "SystemStatsKit/AppActivitySampler.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>
#include <unordered_map>

#include <nlohmann/json.hpp>

namespace tessel {

namespace {

using Json = nlohmann::json;

std::optional<Json> parsed(std::string_view text) {
    Json json = Json::parse(text.begin(), text.end(), nullptr, false);
    if (json.is_discarded()) return std::nullopt;
    return json;
}

std::optional<std::int32_t> pidOf(const Json& value) {
    std::int64_t pid = 0;
    if (value.is_number_integer()) pid = value.get<std::int64_t>();
    else if (value.is_string()) {
        const std::string text = value.get<std::string>();
        if (text.empty() || text.size() > 10 || !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
            return std::nullopt;
        pid = std::stoll(text);
    } else {
        return std::nullopt;
    }
    if (pid <= 0 || pid > INT32_MAX) return std::nullopt;
    return static_cast<std::int32_t>(pid);
}

bool holdsWord(std::string_view list, std::string_view word) {
    std::size_t at = 0;
    while (at <= list.size()) {
        std::size_t end = list.find(':', at);
        if (end == std::string_view::npos) end = list.size();
        if (list.substr(at, end - at) == word) return true;
        at = end + 1;
    }
    return false;
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// Folders where every program lives side by side: being in the same one
// says nothing about whose a program is.
bool sharedFolder(const std::string& folder) {
    static const std::array<std::string_view, 8> shared{"/usr/bin/", "/bin/", "/usr/sbin/", "/sbin/",
                                                        "/usr/local/bin/", "/usr/libexec/", "/usr/games/", "/usr/lib/"};
    return folder.empty() || std::find(shared.begin(), shared.end(), folder) != shared.end();
}

bool ownProgram(const std::string& appProgram, const std::string& program) {
    if (program.empty() || program == appProgram) return true;
    const std::string folder = folderOf(appProgram);
    return !sharedFolder(folder) && program.starts_with(folder);
}

template <class Answer>
std::optional<Answer> ask(const std::function<std::optional<Answer>()>& signal) {
    return signal ? signal() : std::nullopt;
}

bool meets(const std::set<std::int32_t>& family, const PidSet& pids) {
    return std::any_of(family.begin(), family.end(), [&](std::int32_t pid) { return pids.contains(pid); });
}

} // namespace

namespace ActivityAnswers {

std::optional<PidSet> inhibitorHolders(std::string_view busctlJson) {
    const std::optional<Json> answer = parsed(busctlJson);
    if (!answer || !answer->is_object() || !answer->contains("data") || !(*answer)["data"].is_array() || (*answer)["data"].empty() ||
        !(*answer)["data"][0].is_array())
        return std::nullopt;
    PidSet holders;
    // Each inhibitor: what ("sleep:idle"), who, why, mode, uid, pid.
    for (const Json& inhibitor : (*answer)["data"][0]) {
        if (!inhibitor.is_array() || inhibitor.size() != 6 || !inhibitor[0].is_string() || !inhibitor[3].is_string()) continue;
        const std::string what = inhibitor[0].get<std::string>();
        if (inhibitor[3].get<std::string>() != "block" || !(holdsWord(what, "sleep") || holdsWord(what, "idle"))) continue;
        if (std::optional<std::int32_t> pid = pidOf(inhibitor[5])) holders.insert(*pid);
    }
    return holders;
}

std::optional<PidSet> soundClients(std::string_view pactlJson) {
    const std::optional<Json> answer = parsed(pactlJson);
    if (!answer || !answer->is_array()) return std::nullopt;
    PidSet clients;
    for (const Json& stream : *answer) {
        if (!stream.is_object() || stream.value("corked", false) || !stream.contains("properties") || !stream["properties"].is_object())
            continue;
        const Json& properties = stream["properties"];
        if (properties.contains("application.process.id"))
            if (std::optional<std::int32_t> pid = pidOf(properties["application.process.id"])) clients.insert(*pid);
    }
    return clients;
}

} // namespace ActivityAnswers

AppActivitySampler::AppActivitySampler(std::string procRoot, ActivitySignals signals)
    : processes_(std::move(procRoot)), signals_(std::move(signals)) {}

AppActivitySampler::AppActivitySampler(std::string procRoot, std::uint32_t uid, long ticksPerSecond, ActivitySignals signals)
    : processes_(std::move(procRoot), uid, ticksPerSecond), signals_(std::move(signals)) {}

std::vector<AppActivitySampler::App> AppActivitySampler::regular() {
    const std::vector<ProcessRecord> records = processes_.allProcesses();
    std::vector<const ProcessSampler::Owner*> owners;
    for (const ProcessRecord& record : records) owners.push_back(&processes_.owner(record));
    std::vector<App> apps;
    for (const ProcessFamily& family :
         ProcessFamilies::group(records, [&](std::size_t i) { return owners[i]->unit ? &*owners[i]->unit : nullptr; })) {
        if (!family.unit) continue;
        const ProcessRecord& head = records[family.head];
        apps.push_back({head.pid, family.unit->name, family.unit->appID,
                        head.path.empty() ? std::nullopt : std::optional<std::string>(head.path), std::nullopt, std::nullopt, std::nullopt});
    }
    return apps;
}

void AppActivitySampler::begin(double now) {
    processes_.reset();
    processes_.baseline(now);
}

std::vector<RunningAppActivity> AppActivitySampler::finish(const std::vector<App>& apps, double now) {
    const std::vector<ProcessUsage> rows = processes_.sample(apps, now);
    std::unordered_map<std::int32_t, const ProcessRecord*> byPid;
    for (const ProcessRecord& process : processes_.processes()) byPid.emplace(process.pid, &process);
    const std::optional<PidSet> holders = ask(signals_.assertionHolders);
    const std::optional<PidSet> sounding = ask(signals_.audioProcesses);
    const std::optional<WindowsByPid> windows = ask(signals_.windows);

    std::vector<RunningAppActivity> activities;
    for (const App& app : apps) {
        auto row = std::find_if(rows.begin(), rows.end(), [&](const ProcessUsage& r) {
            return std::find(r.pids.begin(), r.pids.end(), app.pid) != r.pids.end();
        });
        if (row == rows.end()) continue; // it quit
        RunningAppActivity activity;
        activity.pid = app.pid;
        activity.name = app.name;
        activity.bundleIdentifier = app.bundleIdentifier;
        activity.bundlePath = app.bundlePath;
        activity.launchDate = app.launchDate;
        activity.isActive = app.isActive;
        activity.isHidden = app.isHidden;
        activity.memory = row->memory;
        activity.cpu = row->cpu;
        activity.family = std::set<std::int32_t>(row->pids.begin(), row->pids.end());
        const std::string appProgram = app.bundlePath.value_or(byPid.contains(app.pid) ? byPid.at(app.pid)->path : std::string());
        for (std::int32_t pid : activity.family)
            if (auto found = byPid.find(pid); found != byPid.end() && !ownProgram(appProgram, found->second->path))
                activity.runsOtherPrograms = true;
        if (holders) activity.keepsMacAwake = meets(activity.family, *holders);
        if (sounding) activity.usesAudio = meets(activity.family, *sounding);
        if (windows) {
            const FamilyWindows family = WindowFigures::ofFamily(*windows, activity.family);
            activity.visibleWindows = family.visibleWindows;
            activity.isActive = family.isActive;
            activity.isHidden = family.isHidden;
        }
        activities.push_back(std::move(activity));
    }
    return activities;
}

std::vector<RunningAppActivity> AppActivitySampler::sample(double interval, const std::vector<App>& apps) {
    auto seconds = [] { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); };
    begin(seconds());
    std::this_thread::sleep_for(std::chrono::duration<double>(interval));
    return finish(apps, seconds());
}

} // namespace tessel
