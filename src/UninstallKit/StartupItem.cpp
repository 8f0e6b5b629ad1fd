#include "UninstallKit/StartupItem.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace tessel::StartupItemKinds {

std::string_view label(StartupItemKind kind) {
    switch (kind) {
    case StartupItemKind::userAgent: return "Launch agent (your account)";
    case StartupItemKind::globalAgent: return "Launch agent (all accounts)";
    case StartupItemKind::daemon: return "Launch daemon";
    case StartupItemKind::helperTool: return "Privileged helper tool";
    case StartupItemKind::systemExtension: return "System extension";
    case StartupItemKind::loginItem: return "Login item";
    case StartupItemKind::backgroundService: return "Background service";
    case StartupItemKind::scheduledJob: return "Scheduled job";
    case StartupItemKind::systemService: return "System service";
    }
    return "";
}

std::string_view title(StartupItemKind kind) {
    switch (kind) {
    case StartupItemKind::userAgent: return "Launch agents (your account)";
    case StartupItemKind::globalAgent: return "Launch agents (all accounts)";
    case StartupItemKind::daemon: return "Launch daemons";
    case StartupItemKind::helperTool: return "Privileged helper tools";
    case StartupItemKind::systemExtension: return "System extensions";
    case StartupItemKind::loginItem: return "Login items";
    case StartupItemKind::backgroundService: return "Background services";
    case StartupItemKind::scheduledJob: return "Scheduled jobs";
    case StartupItemKind::systemService: return "System services";
    }
    return "";
}

std::string_view rawValue(StartupItemKind kind) {
    switch (kind) {
    case StartupItemKind::userAgent: return "userAgent";
    case StartupItemKind::globalAgent: return "globalAgent";
    case StartupItemKind::daemon: return "daemon";
    case StartupItemKind::helperTool: return "helperTool";
    case StartupItemKind::systemExtension: return "systemExtension";
    case StartupItemKind::loginItem: return "loginItem";
    case StartupItemKind::backgroundService: return "backgroundService";
    case StartupItemKind::scheduledJob: return "scheduledJob";
    case StartupItemKind::systemService: return "systemService";
    }
    return "";
}

} // namespace tessel::StartupItemKinds

namespace tessel {

namespace {

// "/media/ann/Backup" of "/media/ann/Backup/x/y": the folder a removable disk is mounted on, or none.
std::string volumeOf(const std::string& path) {
    for (auto [prefix, depth] : {std::pair<std::string_view, int>{"/Volumes/", 1}, {"/run/media/", 2}, {"/media/", 2}, {"/mnt/", 1}}) {
        if (!path.starts_with(prefix)) continue;
        std::size_t end = prefix.size();
        for (int part = 0; part < depth && end != std::string::npos; ++part) end = path.find('/', end + 1);
        return path.substr(0, end == std::string::npos ? path.size() : end);
    }
    return {};
}

bool isMounted(const std::string& folder) {
    struct stat own {};
    struct stat parent {};
    return lstat(folder.c_str(), &own) == 0 && lstat((folder + "/..").c_str(), &parent) == 0 && own.st_dev != parent.st_dev;
}

} // namespace

Presence presenceOf(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0) return Presence::present;
    if (errno != ENOENT && errno != ENOTDIR) return Presence::unknown;
    const std::string volume = volumeOf(path);
    return volume.empty() || isMounted(volume) ? Presence::missing : Presence::unknown;
}

} // namespace tessel
