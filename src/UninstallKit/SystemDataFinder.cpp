// The system data finder's run and the Mac's places.
//
// Each place is measured by a scan of its own with the scan engine, so that
// a hard-linked file counts once and a folder that can't be read is known as
// such: a place that can't be listed at all is reported unreadable and gets
// no row, and the folders inside a place that couldn't be read are reported
// beside its row, whose bytes are then what could be read. Linux's rows are
// in linux/SystemDataRows.cpp.
//
// The Mac's local snapshots come from `tmutil listlocalsnapshots /`, one a
// line, their date in the name:
//   com.apple.TimeMachine.2026-01-02-030405.local (dataless)
// is a dataless snapshot of 2 January 2026, 03:04:05 in the Mac's time zone.
// Simulator runtimes come from `xcrun simctl runtime list -j`, a dictionary
// of runtimes, asked only where an Xcode is installed: without one, xcrun
// would offer to install the command-line tools.

#include "UninstallKit/SystemDataFinder.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <nlohmann/json.hpp>
#include <regex>

#include "Base/FolderNames.h"
#include "Base/Lines.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/Paths.h"
#include "TrashKit/PropertyList.h"
#include "UninstallKit/CommandRunner.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/DockerAnswers.h"
#include "UninstallKit/RecentlyUsed.h"

namespace tessel {

namespace {

bool exists(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

bool isFolder(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace

std::int64_t SystemDataReport::rowBytes() const {
    std::int64_t total = 0;
    for (const SystemDataRow& row : rows) total = checkedAdd(total, row.bytes);
    return total;
}

SystemDataFinder::Measure SystemDataFinder::measured(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return {};
    if (!S_ISDIR(info.st_mode)) return {static_cast<std::int64_t>(info.st_blocks) * 512, {}};
    if (DIR* listing = ::opendir(path.c_str())) ::closedir(listing);
    else return {0, {path}};
    ScanOptions options;
    options.workerCount = 2;
    options.crossDeviceBoundaries = false;
    options.fileNodeThreshold = std::numeric_limits<std::int64_t>::max();
    options.skippedPaths = {};
    options.stallTimeout = 30;
    try {
        const ScanResult result = DiskScanner::scan(path, options);
        Measure measure{result.bytes, {}};
        if (result.unreadableDirectories == 0 && result.stalledPaths.empty()) return measure;
        std::vector<const FileNode*> stack{result.root.get()};
        while (!stack.empty()) {
            const FileNode* node = stack.back();
            stack.pop_back();
            if (node->reading() == FolderReading::unreadable || node->reading() == FolderReading::stalled)
                measure.unreadable.push_back(node->path());
            for (const FileNode* child : node->children())
                if (child->isDirectory()) stack.push_back(child);
        }
        std::ranges::sort(measure.unreadable);
        return measure;
    } catch (const DiskScanError&) {
        return {0, {path}};
    }
}

SystemDataFinder::Settings SystemDataFinder::forMachine(const std::string& root, Platform platform) {
    Settings settings;
    settings.platform = platform;
    settings.root = root.empty() ? "/" : root;
    settings.home = Paths::homeFolder();
    settings.dataHome = Paths::xdgFolder("XDG_DATA_HOME", settings.home, ".local/share");
    settings.measure = measured;
    settings.applications = {settings.root == "/" ? "/Applications" : settings.root + "/Applications", settings.home + "/Applications"};
    settings.musicFolders = {settings.home + "/Library/Application Support/GarageBand",
                             settings.home + "/Library/Application Support/Logic",
                             (settings.root == "/" ? std::string() : settings.root) + "/Library/Application Support/GarageBand",
                             (settings.root == "/" ? std::string() : settings.root) + "/Library/Application Support/Logic"};
    if (settings.root != "/") return settings;
    const std::vector<std::string> programs = DesktopMachine::fromEnvironment("/").programFolders;
    settings.snapshots = [] { return CommandRunner::output("/usr/bin/tmutil", {"listlocalsnapshots", "/"}); };
    settings.runtimes = [] { return CommandRunner::output("/usr/bin/xcrun", {"simctl", "runtime", "list", "-j"}); };
    settings.kernelRelease = []() -> std::optional<std::string> {
        struct utsname names {};
        if (::uname(&names) != 0) return std::nullopt;
        return std::string(names.release);
    };
    settings.journalUsage = [] { return CommandRunner::output("/usr/bin/journalctl", {"--disk-usage"}); };
    settings.containerUsage = [programs](const std::string& program) -> std::optional<std::string> {
        if (program == "docker") return DockerAnswers::ask(programs, {"system", "df", "--format", "{{json .}}"});
        for (const std::string& folder : programs)
            if (::access((folder + "/" + program).c_str(), X_OK) == 0)
                return CommandRunner::output(folder + "/" + program, {"system", "df", "--format", "{{json .}}"});
        return std::nullopt;
    };
    return settings;
}

SystemDataFinder::SystemDataFinder(Settings settings) : settings_(std::move(settings)) {
    if (!settings_.measure) settings_.measure = measured;
    if (settings_.dataHome.empty()) settings_.dataHome = settings_.home + "/.local/share";
}

SystemDataReport SystemDataFinder::find(const std::function<bool()>& isCancelled) const {
    SystemDataReport report;
    std::vector<std::string>& unreadable = report.unreadable;
    auto cancelled = [&] { return isCancelled && isCancelled(); };
    if (settings_.platform == Platform::macOS) {
        report.backups = backups(unreadable);
        if (cancelled()) return {};
        report.mailDownloads = place(settings_.home + mailDownloadsFolder, unreadable);
        report.messagesAttachments = place(settings_.home + messagesAttachmentsFolder, unreadable);
        report.trash = place(settings_.home + "/.Trash", unreadable);
        if (cancelled()) return {};
        report.simulatorRuntimes = simulatorRuntimes();
        for (const std::string& folder : settings_.musicFolders)
            if (std::optional<SystemDataReport::Place> found = place(folder, unreadable)) report.musicLibraries.push_back(std::move(*found));
        if (cancelled()) return {};
        for (const LocalSnapshot& snapshot : localSnapshots()) {
            report.snapshots.push_back(snapshot.date);
            if (snapshot.isDataless) ++report.datalessSnapshots;
        }
        return report;
    }
    for (const auto& source : {&SystemDataFinder::packageCaches, &SystemDataFinder::logs, &SystemDataFinder::kernels,
                               &SystemDataFinder::flatpakRuntimes, &SystemDataFinder::snapRevisions,
                               &SystemDataFinder::temporaryFiles, &SystemDataFinder::trashes}) {
        if (cancelled()) return {};
        std::vector<SystemDataRow> rows = (this->*source)(unreadable);
        std::ranges::move(rows, std::back_inserter(report.rows));
    }
    if (cancelled()) return {};
    for (std::vector<SystemDataRow> rows : {containers(), swapFiles()}) std::ranges::move(rows, std::back_inserter(report.rows));
    return report;
}

std::optional<SystemDataRow> SystemDataFinder::measuredRow(SystemDataRow row, std::vector<std::string>& unreadable) const {
    if (!exists(row.path)) return std::nullopt;
    Measure measure = settings_.measure(row.path);
    const bool whollyUnreadable = measure.unreadable.size() == 1 && measure.unreadable.front() == row.path;
    unreadable.insert(unreadable.end(), measure.unreadable.begin(), measure.unreadable.end());
    if (whollyUnreadable || measure.bytes == 0) return std::nullopt;
    row.bytes = measure.bytes;
    return row;
}

std::optional<SystemDataReport::Place> SystemDataFinder::place(const std::string& path, std::vector<std::string>& unreadable) const {
    if (!exists(path)) return std::nullopt;
    DIR* listing = ::opendir(path.c_str());
    if (listing == nullptr) {
        unreadable.push_back(path);
        return std::nullopt;
    }
    ::closedir(listing);
    std::vector<std::string> names = folderNames(path);
    std::erase_if(names, [](const std::string& name) { return name == ".DS_Store" || name == ".localized"; });
    const Measure measure = settings_.measure(path);
    unreadable.insert(unreadable.end(), measure.unreadable.begin(), measure.unreadable.end());
    return SystemDataReport::Place{path, measure.bytes, static_cast<std::int64_t>(names.size())};
}

std::vector<SystemDataReport::Backup> SystemDataFinder::backups(std::vector<std::string>& unreadable) const {
    const std::string folder = settings_.home + backupsFolder;
    std::vector<SystemDataReport::Backup> found;
    if (!exists(folder)) return found;
    DIR* listing = ::opendir(folder.c_str());
    if (listing == nullptr) {
        unreadable.push_back(folder);
        return found;
    }
    ::closedir(listing);
    auto plist = [](const std::string& path) -> std::optional<PropertyList> {
        const SmallFileRead read = readSmallFile(path, 16 << 20);
        if (!read.text) return std::nullopt;
        std::optional<PropertyList> list = PropertyList::parse(*read.text);
        if (!list || list->type() != PropertyList::Type::dictionary) return std::nullopt;
        return list;
    };
    for (const std::string& name : folderNames(folder)) {
        const std::string path = folder + "/" + name;
        if (name.front() == '.' || !isFolder(path)) continue;
        const std::optional<PropertyList> info = plist(path + "/Info.plist");
        const std::optional<PropertyList> manifest = plist(path + "/Manifest.plist");
        SystemDataReport::Backup backup;
        backup.path = path;
        backup.deviceName = "A device";
        if (info) {
            if (std::optional<std::string> device = info->string("Device Name")) backup.deviceName = *device;
            else if (std::optional<std::string> display = info->string("Display Name")) backup.deviceName = *display;
            backup.product = info->string("Product Name");
            if (const std::optional<PropertyList> date = info->get("Last Backup Date")) backup.lastBackup = date->asDate();
        }
        if (manifest)
            if (const std::optional<PropertyList> encrypted = manifest->get("IsEncrypted")) backup.isEncrypted = encrypted->asBoolean().value_or(false);
        const Measure measure = settings_.measure(path);
        unreadable.insert(unreadable.end(), measure.unreadable.begin(), measure.unreadable.end());
        backup.bytes = measure.bytes;
        found.push_back(std::move(backup));
    }
    std::ranges::sort(found, [](const auto& a, const auto& b) { return a.lastBackup.value_or(0) > b.lastBackup.value_or(0); });
    return found;
}

std::vector<SystemDataFinder::LocalSnapshot> SystemDataFinder::localSnapshots() const {
    if (!settings_.snapshots) return {};
    const std::optional<std::string> text = settings_.snapshots();
    if (!text) return {};
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    return snapshots(*text, local.tm_gmtoff);
}

std::vector<SystemDataFinder::LocalSnapshot> SystemDataFinder::snapshots(const std::string& text, std::int64_t utcOffset) {
    static const std::regex stamp(R"((\d{4})-(\d{2})-(\d{2})-(\d{2})(\d{2})(\d{2}))");
    std::vector<LocalSnapshot> found;
    forEachLine(text, [&](std::string_view line) {
        std::match_results<std::string_view::const_iterator> match;
        if (!std::regex_search(line.begin(), line.end(), match, stamp)) return;
        std::tm parts{};
        parts.tm_year = std::stoi(match[1].str()) - 1900;
        parts.tm_mon = std::stoi(match[2].str()) - 1;
        parts.tm_mday = std::stoi(match[3].str());
        parts.tm_hour = std::stoi(match[4].str());
        parts.tm_min = std::stoi(match[5].str());
        parts.tm_sec = std::stoi(match[6].str());
        const std::int64_t seconds = static_cast<std::int64_t>(::timegm(&parts));
        found.push_back({seconds - utcOffset, line.find("(dataless)") != std::string_view::npos});
    });
    std::ranges::stable_sort(found, {}, &LocalSnapshot::date);
    return found;
}

std::vector<SystemDataReport::SimulatorRuntime> SystemDataFinder::simulatorRuntimes() const {
    bool hasXcode = false;
    for (const std::string& folder : settings_.applications)
        for (const std::string& name : folderNames(folder))
            if (name.starts_with("Xcode") && name.ends_with(".app")) hasXcode = true;
    if (!hasXcode || !settings_.runtimes) return {};
    const std::optional<std::string> json = settings_.runtimes();
    return json ? parseRuntimes(*json) : std::vector<SystemDataReport::SimulatorRuntime>{};
}

std::vector<SystemDataReport::SimulatorRuntime> SystemDataFinder::parseRuntimes(const std::string& json) {
    std::vector<SystemDataReport::SimulatorRuntime> found;
    const nlohmann::json all = nlohmann::json::parse(json, nullptr, false);
    if (!all.is_object()) return found;
    auto text = [](const nlohmann::json& object, const char* key) {
        const auto value = object.find(key);
        return value != object.end() && value->is_string() ? value->get<std::string>() : std::string();
    };
    for (const auto& [key, runtime] : all.items()) {
        if (!runtime.is_object()) continue;
        SystemDataReport::SimulatorRuntime entry;
        entry.identifier = text(runtime, "identifier").empty() ? key : text(runtime, "identifier");
        if (const auto size = runtime.find("sizeBytes"); size != runtime.end() && size->is_number_integer())
            entry.bytes = std::max<std::int64_t>(0, size->get<std::int64_t>());
        // "com.apple.CoreSimulator.SimRuntime.iOS-17-2" → "iOS 17.2"; else the system's name from the identifier, and the version.
        std::string platform = text(runtime, "runtimeIdentifier");
        platform = platform.substr(platform.rfind('.') == std::string::npos ? 0 : platform.rfind('.') + 1);
        const std::size_t dash = platform.find('-');
        const std::string system = platform.substr(0, dash);
        const std::string version = text(runtime, "version");
        if (!version.empty() && !system.empty()) entry.name = system + " " + version;
        else if (dash != std::string::npos) {
            std::string number = platform.substr(dash + 1);
            std::ranges::replace(number, '-', '.');
            entry.name = system + " " + number;
        } else entry.name = "A runtime";
        entry.lastUsed = RecentlyUsed::isoSeconds(text(runtime, "lastUsedAt"));
        found.push_back(std::move(entry));
    }
    std::ranges::sort(found, {}, &SystemDataReport::SimulatorRuntime::name);
    return found;
}

} // namespace tessel
