// Reading the Flatpak and snap installations.
//
// Flatpak keeps each app at INSTALLATION/app/ID/ARCH/BRANCH/COMMIT, with two
// links that say which is in use: app/ID/current → ARCH/BRANCH, and
// ARCH/BRANCH/active → COMMIT. The deployment holds `metadata` (a key file
// whose [Application] group names the app) and the app's own files under
// files/, among them its AppStream description in files/share/metainfo
// (older apps: files/share/appdata), whose first <release> is the newest.
// An app whose links lead nowhere is half installed or half removed, and is
// left out.
//
// snapd mounts each snap's image at /snap/NAME/REVISION, with /snap/NAME/current
// → REVISION; the snap's meta/snap.yaml gives its name and version. Only the
// top-level `name:` and `version:` lines are read: they are plain scalars,
// quoted or not, and nothing else of the YAML is needed.
//
// Every file read here may be hostile: readSmallFile refuses pipes and
// devices and stops at a limit.

#include "UninstallKit/SandboxedApps.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <pugixml.hpp>

#include "Base/FolderNames.h"
#include "Base/Lines.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/Paths.h"
#include "linux/KeyFile.h"

namespace tessel::SandboxedApps {

namespace {

namespace fs = std::filesystem;
constexpr std::int64_t metadataLimit = 1 << 20;

bool isFolder(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::optional<std::string> linkTarget(const std::string& path) {
    std::error_code error;
    const fs::path target = fs::read_symlink(path, error);
    if (error) return std::nullopt;
    return target.string();
}

std::optional<std::string> versionOfDeployment(const std::string& deploy, const std::string& id) {
    for (const char* place : {"/files/share/metainfo/", "/files/share/appdata/"})
        for (const char* suffix : {".metainfo.xml", ".appdata.xml"}) {
            const SmallFileRead read = readSmallFile(deploy + place + id + suffix, metadataLimit);
            if (read.text) return metainfoVersion(*read.text);
        }
    return std::nullopt;
}

void addInstallation(const std::string& installation, bool perUser, std::vector<FlatpakApp>& apps) {
    const std::string appsFolder = installation + "/app";
    for (const std::string& id : folderNames(appsFolder)) {
        const std::string appFolder = appsFolder + "/" + id;
        const std::optional<std::string> current = linkTarget(appFolder + "/current");
        if (!current) continue;
        const std::size_t slash = current->find('/');
        if (slash == std::string::npos) continue;
        const std::string branchFolder = appFolder + "/" + *current;
        const std::optional<std::string> active = linkTarget(branchFolder + "/active");
        if (!active || active->find('/') != std::string::npos) continue;
        const std::string deploy = branchFolder + "/" + *active;
        const SmallFileRead metadata = readSmallFile(deploy + "/metadata", metadataLimit);
        if (!metadata.text || keyFileValue(*metadata.text, "Application", "name") != id) continue;
        apps.push_back({id, current->substr(0, slash), current->substr(slash + 1), versionOfDeployment(deploy, id), perUser,
                        deploy});
    }
}

// A top-level scalar of a snap.yaml: `key: value`, `key: 'value'` or `key: "value"`.
std::optional<std::string> yamlScalar(const std::string& text, std::string_view key) {
    std::optional<std::string> value;
    bool found = false;
    forEachLine(text, [&](std::string_view line) {
        if (found || !line.starts_with(key) || line.size() <= key.size() || line[key.size()] != ':') return;
        found = true;
        line.remove_prefix(key.size() + 1);
        while (!line.empty() && (line.front() == ' ' || line.front() == '\t')) line.remove_prefix(1);
        while (!line.empty() && (line.back() == ' ' || line.back() == '\r')) line.remove_suffix(1);
        if (line.size() >= 2 && (line.front() == '\'' || line.front() == '"') && line.back() == line.front())
            line = line.substr(1, line.size() - 2);
        if (!line.empty()) value = std::string(line);
    });
    return value;
}

} // namespace

std::optional<std::string> metainfoVersion(const std::string& xml) {
    pugi::xml_document document;
    if (!document.load_buffer(xml.data(), xml.size(), pugi::parse_default)) return std::nullopt;
    const pugi::xml_node component = document.child("component") ? document.child("component") : document.child("application");
    const char* version = component.child("releases").child("release").attribute("version").value();
    if (version == nullptr || *version == '\0') return std::nullopt;
    return std::string(version);
}

std::vector<FlatpakApp> flatpaks(const std::string& root, const std::string& userData) {
    std::vector<FlatpakApp> apps;
    addInstallation(root + "/var/lib/flatpak", false, apps);
    addInstallation(userData + "/flatpak", true, apps);
    return apps;
}

std::optional<SandboxedPackage> packageHolding(const std::string& path, const std::string& root, const std::string& userData) {
    // The first component of `path` below `folder`, when the path lies below it.
    auto below = [&](const std::string& folder) -> std::optional<std::string> {
        if (!Paths::isWithin(path, folder) || path.size() <= folder.size() + 1) return std::nullopt;
        const std::string rest = path.substr(folder.size() + 1);
        return rest.substr(0, rest.find('/'));
    };
    const std::string onDiskRoot = root == "/" ? std::string() : root;
    for (const auto& [installation, onDisk] : {std::pair{std::string("/var/lib/flatpak"), onDiskRoot + "/var/lib/flatpak"},
                                               std::pair{userData + "/flatpak", userData + "/flatpak"}})
        for (const char* kind : {"/app", "/runtime"})
            if (const std::optional<std::string> id = below(installation + kind); id && isFolder(onDisk + kind + "/" + *id))
                return SandboxedPackage{*id, "flatpak"};
    if (const std::optional<std::string> name = below("/snap"); name && *name != "bin" && isFolder(onDiskRoot + "/snap/" + *name))
        return SandboxedPackage{*name, "snap"};
    // An image is NAME_REVISION.snap; a name may hold no "_".
    if (const std::optional<std::string> image = below("/var/lib/snapd/snaps"); image && image->ends_with(".snap")) {
        const std::size_t cut = image->rfind('_');
        struct stat info {};
        if (cut != std::string::npos && cut > 0 && ::stat((onDiskRoot + "/var/lib/snapd/snaps/" + *image).c_str(), &info) == 0)
            return SandboxedPackage{image->substr(0, cut), "snap"};
    }
    return std::nullopt;
}

std::vector<SnapApp> snaps(const std::string& root) {
    std::vector<SnapApp> found;
    const std::string snapFolder = root + "/snap";
    for (const std::string& name : folderNames(snapFolder)) {
        const std::optional<std::string> revision = linkTarget(snapFolder + "/" + name + "/current");
        if (!revision || revision->find('/') != std::string::npos) continue;
        const std::string path = snapFolder + "/" + name + "/" + *revision;
        if (!isFolder(path)) continue;
        const SmallFileRead yaml = readSmallFile(path + "/meta/snap.yaml", metadataLimit);
        // A snap whose image isn't mounted still counts, known by its folder's name.
        const std::string yamlText = yaml.text.value_or("");
        found.push_back({yamlScalar(yamlText, "name").value_or(name), yamlScalar(yamlText, "version"), path});
    }
    return found;
}

} // namespace tessel::SandboxedApps
