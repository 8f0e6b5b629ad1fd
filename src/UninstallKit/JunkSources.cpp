// Where junk is looked for, source by source, and what is said of each place.
//
// The Mac's places (~/Library/Caches, Logs, Xcode's folders, the containers)
// and Linux's (the XDG cache, config and state folders, Flatpak's ~/.var and
// snapd's ~/snap, /var/crash) sit side by side: a place that isn't there
// gives nothing, so one finder serves either machine and tests describe both
// in a fixture home. Every sentence a row shows is written here once.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "Base/AsciiCase.h"
#include "DiskScanKit/Paths.h"
#include "JunkTools.h"
#include "UninstallKit/JunkFinder.h"

namespace tessel {

namespace {

using Candidate = JunkFinder::Candidate;
using Tools = std::set<std::string>;


struct ToolCache {
    const char* path; // below the home; ".cache/" stands for the cache folder wherever it is
    const char* name;
    const Tools* tools;
    const char* toolName;
    // How it comes back, where the tool makes it rather than downloads it.
    const char* note = "The tool downloads what it needs again.";
};

constexpr const char* rebuilt = "The tool makes it again on its next build.";

const std::vector<ToolCache>& toolCaches() {
    static const Tools brew{"brew"}, pod{"pod"}, android{"adb", "studio"}, bun{"bun"}, composer{"composer", "php"},
        nuget{"dotnet"}, bazel{"bazel", "bazelisk", "java"}, ccache{"ccache"}, maven{"mvn", "java"},
        conda{"conda", "mamba", "python", "python3"};
    static const std::vector<ToolCache> rows{
        {"Library/Caches/Homebrew", "Homebrew downloads", &brew, "Homebrew"},
        {"Library/Caches/pip", "pip cache", &JunkTools::python, "pip"},
        {".cache/pip", "pip cache", &JunkTools::python, "pip"},
        {"Library/Caches/Yarn", "Yarn cache", &JunkTools::node, "Yarn"},
        {".yarn/berry/cache", "Yarn cache", &JunkTools::node, "Yarn"},
        {"Library/Caches/CocoaPods", "CocoaPods cache", &pod, "CocoaPods"},
        {".cocoapods/repos", "CocoaPods spec repositories", &pod, "CocoaPods"},
        {"Library/Caches/node-gyp", "node-gyp headers", &JunkTools::node, "Node.js"},
        {"Library/Caches/go-build", "Go build cache", &JunkTools::go, "Go"},
        {"go/pkg/mod/cache/download", "Go module downloads", &JunkTools::go, "Go"},
        {".npm/_cacache", "npm cache", &JunkTools::node, "npm"},
        {".npm/_npx", "npx cache", &JunkTools::node, "npm"},
        {".gradle/caches", "Gradle cache", &JunkTools::gradle, "Gradle"},
        {".gradle/wrapper/dists", "Gradle versions", &JunkTools::gradle, "Gradle"},
        {".android/cache", "Android SDK cache", &android, "Android SDK"},
        {".cargo/registry/cache", "Cargo downloads", &JunkTools::cargo, "Cargo"},
        {".cargo/registry/src", "Cargo unpacked sources", &JunkTools::cargo, "Cargo"},
        {".cargo/git/checkouts", "Cargo git checkouts", &JunkTools::cargo, "Cargo"},
        {".bun/install/cache", "Bun cache", &bun, "Bun"},
        // Where the same tools keep them on Linux, and tools of Linux's own.
        {".cache/go-build", "Go build cache", &JunkTools::go, "Go", rebuilt},
        {".cache/yarn", "Yarn cache", &JunkTools::node, "Yarn"},
        {".pnpm-store", "pnpm store", &JunkTools::node, "pnpm"},
        {".local/share/pnpm/store", "pnpm store", &JunkTools::node, "pnpm"},
        {".cache/composer", "Composer cache", &composer, "Composer"},
        {".nuget/packages", "NuGet packages", &nuget, ".NET"},
        {".cache/bazel", "Bazel cache", &bazel, "Bazel", rebuilt},
        {".ccache", "ccache", &ccache, "ccache", rebuilt},
        {".cache/ccache", "ccache", &ccache, "ccache", rebuilt},
        {".m2/repository", "Maven repository", &maven, "Maven"},
        {"miniconda3/pkgs", "conda packages", &conda, "conda"},
        {"anaconda3/pkgs", "conda packages", &conda, "conda"},
        {"miniforge3/pkgs", "conda packages", &conda, "conda"},
        {".conda/pkgs", "conda packages", &conda, "conda"},
    };
    return rows;
}

// What AI tools keep in the cache folder is their data, not a cache.
bool isModelStore(const std::string& name) {
    static const std::set<std::string> stores{"huggingface", "lm-studio", "gpt4all", "whisper", "torch"};
    return stores.contains(name) || asciiLower(name).find("model") != std::string::npos;
}

const std::set<std::string>& systemCacheNames() {
    static const std::set<std::string> names{
        "CloudKit",  "GeoServices", "PassKit",   "familycircled", "FamilyCircle", "SiriTTS",  "Metadata",
        "icloudmailagent", "storedownloadd", "AMSDataMigratorTool", "ColorSync", "askpermissiond",
        "networkserviceproxy", "ScreenTimeAgent", "TextInput", "sharedfilelistd", "fsCachedData",
        "SpeechRecognitionCore", "FontRegistry", "helpd", "nsservicescache", "appstoreagent", "akd"};
    return names;
}

// Folders in a Chromium profile that the browser makes again, and what each is called.
const std::vector<std::pair<const char*, const char*>>& chromiumCaches() {
    static const std::vector<std::pair<const char*, const char*>> rows{
        {"Cache", "web cache"},
        {"Code Cache", "script cache"},
        {"GPUCache", "graphics cache"},
        {"DawnCache", "graphics cache"},
        {"DawnGraphiteCache", "graphics cache"},
        {"DawnWebGPUCache", "graphics cache"},
        {"GraphiteDawnCache", "graphics cache"},
        {"GrShaderCache", "shader cache"},
        {"ShaderCache", "shader cache"},
        {"Service Worker/CacheStorage", "sites' offline copies"},
        {"Service Worker/ScriptCache", "sites' scripts"},
        {"CachedData", "cached code"},
        {"CachedExtensionVSIXs", "extension downloads"},
    };
    return rows;
}

bool looksLikeChromium(const std::string& folder) {
    static const char* signs[] = {"Local Storage", "Session Storage", "IndexedDB", "Code Cache", "GPUCache", "Network",
                                  "Cookies",       "Preferences",     "Local State", "Service Worker"};
    struct stat info {};
    return std::ranges::any_of(signs, [&](const char* sign) { return ::lstat((folder + "/" + sign).c_str(), &info) == 0; });
}

// The browser a vendor and product folder stand for: the Mac's "Google/Chrome", Linux's "google-chrome".
std::optional<std::string> chromiumVendorName(const std::string& vendor, const std::string& product) {
    static const std::map<std::string, std::map<std::string, std::string>> vendors{
        {"Google", {{"Chrome", "Google Chrome"}, {"Chrome Beta", "Google Chrome Beta"}, {"Chrome Canary", "Google Chrome Canary"}}},
        {"BraveSoftware", {{"Brave-Browser", "Brave Browser"}, {"Brave-Browser-Beta", "Brave Browser Beta"}}},
        {"Microsoft", {{"Edge", "Microsoft Edge"}}},
    };
    static const std::map<std::string, std::string> linuxFolders{
        {"google-chrome", "Google Chrome"}, {"google-chrome-beta", "Google Chrome Beta"},
        {"google-chrome-unstable", "Google Chrome Dev"}, {"chromium", "Chromium"}, {"microsoft-edge", "Microsoft Edge"},
        {"vivaldi", "Vivaldi"}, {"opera", "Opera"}, {"Code", "Visual Studio Code"}};
    if (const auto found = vendors.find(vendor); found != vendors.end())
        if (const auto named = found->second.find(product); named != found->second.end()) return named->second;
    if (const auto found = linuxFolders.find(vendor); found != linuxFolders.end()) return found->second;
    return std::nullopt;
}

// The newest modification among a folder's entries, the Mac's .DS_Store aside: Finder touches it without the
// machine being run. 0 when none can be read.
std::int64_t lastModifiedWithin(const std::string& folder, const std::vector<std::string>& names) {
    std::int64_t newest = 0;
    for (const std::string& name : names) {
        if (name == ".DS_Store") continue;
        struct stat info {};
        if (::lstat((folder + "/" + name).c_str(), &info) == 0) newest = std::max<std::int64_t>(newest, info.st_mtim.tv_sec);
    }
    return newest;
}

} // namespace

std::vector<Candidate> JunkFinder::packageCacheCandidates() const {
    std::vector<Candidate> found;
    for (const ToolCache& row : toolCaches()) {
        const std::string relative = row.path;
        const std::string path = relative.starts_with(".cache/") ? places_.cacheHome + relative.substr(6) : places_.home + "/" + relative;
        if (!exists(path)) continue;
        Candidate candidate = Candidate::of(path, row.name, JunkCategory::packageCaches, row.note);
        candidate.tools = *row.tools;
        candidate.toolName = row.toolName;
        found.push_back(std::move(candidate));
    }
    // Go keeps its modules read-only: moved to the Trash they could not be emptied from it.
    if (const std::string modules = places_.home + "/go/pkg/mod"; isFolder(modules)) {
        Candidate candidate = Candidate::of(modules, "Go modules", JunkCategory::packageCaches, "Go keeps these read-only, so the Trash could not empty them: go clean -modcache removes them, and "
                         "Go downloads what it needs again. Not ticked for you.");
        candidate.recommended = false;
        candidate.tools = JunkTools::go;
        candidate.toolName = "Go";
        found.push_back(std::move(candidate));
    }
    return found;
}

std::vector<Candidate> JunkFinder::sharedCacheCandidates() const {
    std::set<std::string> tabled;
    for (const ToolCache& row : toolCaches()) {
        const std::string relative = row.path;
        tabled.insert(relative.starts_with(".cache/") ? places_.cacheHome + relative.substr(6) : places_.home + "/" + relative);
    }
    const bool onLinux = settings_.platform == Platform::linuxOS;
    std::vector<Candidate> found;
    for (const std::string& name : children(places_.cacheHome)) {
        const std::string path = places_.cacheHome + "/" + name;
        if (tabled.contains(path) || isModelStore(name) || name == places_.ownCache || !isFolder(path)) continue;
        Candidate candidate;
        candidate.path = path;
        if (onLinux) {
            // Linux's cache folder is every app's, as ~/Library/Caches is on the Mac.
            const std::optional<std::string> app = settings_.appNamed ? settings_.appNamed(name) : std::nullopt;
            candidate.name = (app ? *app : name) + " cache";
            candidate.app = app;
            candidate.category = JunkCategory::appCaches;
            candidate.identifier = identifierIn(name);
            candidate.note = "Kept in the cache folder, where apps put what they can make or fetch again.";
            // The folder is most often named for the program that fills it.
            candidate.tools = {asciiLower(name)};
        } else {
            candidate.name = name + " cache";
            candidate.category = JunkCategory::packageCaches;
            candidate.note = "Kept in ~/.cache, where tools put what they can fetch again.";
        }
        found.push_back(std::move(candidate));
    }
    return found;
}

std::vector<Candidate> JunkFinder::macCacheCandidates() const {
    std::set<std::string> tabled;
    for (const ToolCache& row : toolCaches()) tabled.insert(places_.home + "/" + row.path);
    const std::string caches = places_.home + "/Library/Caches";
    std::vector<Candidate> found;
    for (const std::string& name : children(caches)) {
        const std::string path = caches + "/" + name;
        if (tabled.contains(path) || (settings_.ownIdentifier && name == *settings_.ownIdentifier)) continue;
        Candidate candidate = Candidate::of(path, name, JunkCategory::appCaches);
        candidate.identifier = identifierIn(name);
        candidate.isSystem = name.starts_with("com.apple.") || systemCacheNames().contains(name);
        candidate.note = candidate.isSystem ? "Kept by macOS, which rebuilds it. Not ticked for you."
                                            : "The app rebuilds its cache when it next needs it.";
        found.push_back(std::move(candidate));
    }
    return found;
}

std::vector<Candidate> JunkFinder::chromiumCandidates() const {
    std::vector<Candidate> found;
    auto profile = [&](const std::string& folder, const std::string& appName, const std::string& profileName) {
        for (const auto& [relative, label] : chromiumCaches()) {
            const std::string path = folder + "/" + relative;
            if (!isFolder(path)) continue;
            Candidate candidate = Candidate::of(path, appName + " " + label + (profileName.empty() ? "" : " (" + profileName + ")"), JunkCategory::appCaches);
            candidate.app = appName;
            candidate.note = std::string(relative).starts_with("Service Worker/")
                                 ? "Copies sites keep to open offline. They save them again on the next visit."
                                 : appName + " rebuilds it as it is used. Nothing you made is in it.";
            found.push_back(std::move(candidate));
        }
    };
    for (const std::string& support : {places_.home + "/Library/Application Support", places_.configHome}) {
        for (const std::string& first : children(support)) {
            if (first.starts_with("com.apple.")) continue;
            const std::string firstPath = support + "/" + first;
            if (!isFolder(firstPath)) continue;
            auto nameFor = [&](const std::string& second) {
                return chromiumVendorName(first, second).value_or(
                    settings_.appNamed ? settings_.appNamed(first).value_or(first) : first);
            };
            if (looksLikeChromium(firstPath)) profile(firstPath, nameFor({}), {});
            for (const std::string& second : children(firstPath)) {
                const std::string secondPath = firstPath + "/" + second;
                if (!isFolder(secondPath)) continue;
                // "User Data" is a step on the way, never a profile's name.
                if (looksLikeChromium(secondPath)) profile(secondPath, nameFor({}), second == "User Data" ? "" : second);
                for (const std::string& third : children(secondPath)) {
                    const std::string thirdPath = secondPath + "/" + third;
                    if (isFolder(thirdPath) && looksLikeChromium(thirdPath))
                        profile(thirdPath, nameFor(second), third == "User Data" ? "" : third);
                }
            }
        }
    }
    return found;
}

std::vector<Candidate> JunkFinder::sandboxCacheCandidates() const {
    std::vector<Candidate> found;
    auto appCache = [&](const std::string& path, const std::string& id, bool isSystem, const std::string& note) {
        Candidate candidate;
        candidate.path = path;
        const std::optional<std::string> app = settings_.appNamed ? settings_.appNamed(id) : std::nullopt;
        candidate.name = app ? *app + " cache" : id;
        candidate.app = app;
        candidate.category = JunkCategory::appCaches;
        candidate.identifier = identifierIn(id);
        candidate.isSystem = isSystem;
        candidate.note = note;
        found.push_back(std::move(candidate));
    };
    const std::string rebuilds = "The app rebuilds its cache when it next needs it.";
    if (settings_.fullDiskAccess) {
        const std::string containers = places_.home + "/Library/Containers";
        for (const std::string& id : children(containers))
            if (const std::string caches = containers + "/" + id + "/Data/Library/Caches"; isFolder(caches)) {
                const bool isApple = id.starts_with("com.apple.");
                appCache(caches, id, isApple, isApple ? "Kept by a part of macOS, which rebuilds it. Not ticked for you." : rebuilds);
            }
    }
    // Flatpak gives each app its own cache folder in ~/.var/app, snapd in ~/snap/NAME/common.
    for (const std::string& id : children(places_.home + "/.var/app"))
        if (const std::string cache = places_.home + "/.var/app/" + id + "/cache"; isFolder(cache)) appCache(cache, id, false, rebuilds);
    for (const std::string& name : children(places_.home + "/snap"))
        if (const std::string cache = places_.home + "/snap/" + name + "/common/.cache"; isFolder(cache))
            appCache(cache, name, false, rebuilds);
    return found;
}

std::vector<Candidate> JunkFinder::logCandidates() const {
    const std::string records = "Logs are records, not documents.";
    std::vector<Candidate> found;
    auto log = [&](const std::string& path, const std::string& name) {
        Candidate candidate = Candidate::of(path, name, JunkCategory::logs);
        candidate.identifier = identifierIn(std::string(Paths::lastComponent(path)));
        candidate.note = records;
        found.push_back(std::move(candidate));
    };
    const std::string logs = places_.home + "/Library/Logs";
    for (const std::string& name : children(logs)) log(logs + "/" + name, name == "DiagnosticReports" ? "Crash reports" : name);
    // Linux: what apps log in their state folder, the X session's errors, and the user's own crash dumps.
    for (const std::string& app : children(places_.stateHome))
        for (const std::string& name : children(places_.stateHome + "/" + app))
            if (name.starts_with("log")) log(places_.stateHome + "/" + app + "/" + name, app + " " + name);
    for (const std::string& name : disk_.list(places_.home))
        if (name.starts_with(".xsession-errors")) log(places_.home + "/" + name, "X session errors");
    const std::string crashes = places_.system("/var/crash");
    for (const std::string& name : children(crashes)) {
        struct stat info {};
        const std::string path = crashes + "/" + name;
        if (::lstat(path.c_str(), &info) == 0 && info.st_uid == ::geteuid()) log(path, "Crash report " + name);
    }
    return found;
}

std::vector<Candidate> JunkFinder::xcodeCandidates() const {
    std::vector<Candidate> found;
    auto developer = [&](const std::string& path, const std::string& name, const std::string& note) -> Candidate& {
        Candidate candidate = Candidate::of(path, name, JunkCategory::developer, note);
        found.push_back(std::move(candidate));
        return found.back();
    };
    const std::string xcode = places_.home + "/Library/Developer/Xcode";
    for (const std::string& name : children(xcode + "/DerivedData"))
        developer(xcode + "/DerivedData/" + name, name == "ModuleCache.noindex" ? "Xcode module cache" : projectName(name),
                  "Xcode builds this project again the next time it is opened.");
    for (const char* os : {"iOS", "watchOS", "tvOS", "visionOS"}) {
        const std::string support = xcode + "/" + os + " DeviceSupport";
        for (const std::string& name : children(support))
            developer(support + "/" + name, std::string(os) + " " + name + " device support",
                      "Copied from a device when it was plugged in, and copied again the next time it is. Not ticked for you.");
    }
    if (const std::string caches = places_.home + "/Library/Developer/CoreSimulator/Caches"; isFolder(caches))
        developer(caches, "Simulator caches", "The simulators rebuild these.");
    if (const std::string previews = xcode + "/UserData/Previews"; isFolder(previews))
        developer(previews, "SwiftUI preview data", "Xcode makes these again for the next preview.");
    for (const std::string& day : children(xcode + "/Archives"))
        for (const std::string& name : children(xcode + "/Archives/" + day)) {
            const std::size_t dot = name.rfind('.');
            if (dot == std::string::npos || name.substr(dot + 1) != "xcarchive") continue;
            developer(xcode + "/Archives/" + day + "/" + name, name.substr(0, dot) + " archive",
                      "An app as Xcode archived it, with the symbols needed to read its crash reports. Keep the archives "
                      "of versions people still use. Not ticked for you.")
                .recommended = false;
        }
    return found;
}

std::vector<Candidate> JunkFinder::installerCandidates() const {
    std::vector<Candidate> found;
    for (const char* device : {"iPhone Software Updates", "iPad Software Updates", "iPod Software Updates"}) {
        const std::string folder = places_.home + "/Library/iTunes/" + device;
        for (const std::string& name : children(folder)) {
            if (asciiLower(name).ends_with(".ipsw")) found.push_back(installer(folder + "/" + name, name));
        }
    }
    for (const std::string& folder : {places_.system("/Applications"), places_.home + "/Applications"})
        for (const std::string& name : children(folder))
            if (name.starts_with("Install macOS") && name.ends_with(".app")) found.push_back(installer(folder + "/" + name, name));
    return found;
}

std::vector<Candidate> JunkFinder::virtualMachineCandidates() const {
    std::vector<Candidate> found;
    auto machine = [&](const std::string& path, const std::string& name, const std::string& app, const std::string& note) {
        Candidate candidate = Candidate::of(path, name, JunkCategory::virtualMachines);
        candidate.app = app;
        candidate.note = note;
        candidate.recommended = false;
        // When it last ran: the newest of its files.
        if (const std::int64_t newest = lastModifiedWithin(path, disk_.list(path)); newest > 0) candidate.used = newest;
        found.push_back(std::move(candidate));
    };
    auto asFile = [](const std::string& app) {
        return "A whole computer kept as a file by " + app + ". Moved to the Trash, everything in it goes with it. Not ticked for you.";
    };
    auto storage = [](const std::string& app, const std::string& prune) {
        return "Every image, container and volume " + app + " keeps. Remove those you no longer need in " + app + ", or with " +
               prune + ". Moved to the Trash, the storage takes all of them with it. Not ticked for you.";
    };
    const std::string virtualBox = places_.home + "/VirtualBox VMs";
    for (const std::string& name : children(virtualBox))
        if (isFolder(virtualBox + "/" + name))
            machine(virtualBox + "/" + name, name, "VirtualBox",
                    "A whole computer kept as files by VirtualBox. Moved to the Trash, everything in it goes with it. Not ticked for you.");
    if (settings_.fullDiskAccess) {
        const std::string utm = places_.home + "/Library/Containers/com.utmapp.UTM/Data/Documents";
        for (const std::string& name : children(utm))
            if (name.ends_with(".utm")) machine(utm + "/" + name, name.substr(0, name.size() - 4), "UTM", asFile("UTM"));
        if (const std::string docker = places_.home + "/Library/Containers/com.docker.docker/Data/vms/0/data/Docker.raw"; exists(docker))
            machine(docker, "Docker's disk", "Docker",
                    "Every image, container and volume Docker keeps. Remove those you no longer need in Docker, or with docker "
                    "system prune. Moved to the Trash, the disk takes all of them with it. Not ticked for you.");
    }
    for (const auto& [extension, app] : {std::pair{".pvm", "Parallels Desktop"}, std::pair{".vmwarevm", "VMware Fusion"}})
        for (const std::string& folder : {places_.home + "/Parallels", places_.home + "/Documents/Parallels",
                                          places_.home + "/Virtual Machines.localized", places_.home + "/Documents/Virtual Machines.localized"})
            for (const std::string& name : children(folder))
                if (name.ends_with(extension)) machine(folder + "/" + name, name.substr(0, name.size() - std::string(extension).size()), app, asFile(app));
    // Linux: GNOME Boxes and libvirt's user session keep disk images, Vagrant its boxes.
    for (const auto& [folder, app] : {std::pair{places_.dataHome + "/gnome-boxes/images", std::string("GNOME Boxes")},
                                      std::pair{places_.dataHome + "/libvirt/images", std::string("libvirt")}})
        for (const std::string& name : children(folder)) machine(folder + "/" + name, name, app, asFile(app));
    const std::string boxes = places_.home + "/.vagrant.d/boxes";
    for (const std::string& name : children(boxes))
        machine(boxes + "/" + name, name + " box", "Vagrant",
                "A computer Vagrant keeps to start machines from. vagrant box remove takes it off Vagrant's list; moved to "
                "the Trash, Vagrant downloads it again when a machine needs it. Not ticked for you.");
    if (const std::string podman = places_.dataHome + "/containers/storage"; isFolder(podman))
        machine(podman, "Podman's storage", "Podman", storage("Podman", "podman system prune"));
    if (const std::string docker = places_.dataHome + "/docker"; isFolder(docker))
        machine(docker, "Docker's storage", "Docker", storage("Docker", "docker system prune"));
    return found;
}

std::vector<Candidate> JunkFinder::gameCandidates() const {
    std::vector<Candidate> found;
    std::set<std::string> seenStores;
    auto store = [&](const std::string& folder, const std::string& storeName, auto isTool) {
        // ~/.steam/steam is most often a link to the same library: one look at it.
        char* real = ::realpath(folder.c_str(), nullptr);
        const std::string key = real != nullptr ? real : folder;
        std::free(real);
        if (!seenStores.insert(key).second) return;
        for (const std::string& name : children(folder)) {
            const std::string path = folder + "/" + name;
            if (name == "Launcher" || isTool(name) || !isFolder(path)) continue;
            Candidate candidate = Candidate::of(path, name, JunkCategory::games);
            candidate.app = storeName;
            candidate.recommended = false;
            candidate.note = "A game " + storeName + " installed. Remove it in " + storeName +
                             ", which keeps the library right. If it is only moved to the Trash, " + storeName +
                             " may still count it as installed and download it again. Not ticked for you.";
            found.push_back(std::move(candidate));
        }
    };
    auto steamTool = [](const std::string& name) {
        // Steam's own runtimes and compatibility tools sit among the games.
        return name.starts_with("Proton") || name.starts_with("Steam Linux Runtime") || name == "Steamworks Shared" ||
               name.starts_with("SteamVR");
    };
    store(places_.home + "/Library/Application Support/Steam/steamapps/common", "Steam", steamTool);
    store(places_.system("/Users/Shared/Epic Games"), "Epic Games",
          [](const std::string& name) { return name.starts_with("UE_") || name.starts_with("Twinmotion"); });
    store(places_.dataHome + "/Steam/steamapps/common", "Steam", steamTool);
    store(places_.home + "/.steam/steam/steamapps/common", "Steam", steamTool);
    store(places_.home + "/.var/app/com.valvesoftware.Steam/.local/share/Steam/steamapps/common", "Steam", steamTool);
    store(places_.home + "/Games/Heroic", "Heroic", [](const std::string& name) { return name == "Prefixes"; });
    // Lutris installs each game in a folder of ~/Games; Heroic's own folder there is not one.
    store(places_.home + "/Games", "Lutris", [](const std::string& name) { return name == "Heroic"; });
    return found;
}

} // namespace tessel
