// Finding what developers' projects make again: node_modules, build folders,
// virtual environments, caches of test runners.
//
// The walk goes through the home folder's own folders (not its hidden ones,
// nor the Mac's media and library folders, nor bundles), looking for a folder
// named as an output, and never enters what it found. An output counts only
// where the project proves itself: the marker file of its tool beside it or
// at the project's root, the nearest folder above with .git or a marker. A
// CMake build folder is known by the CMakeCache.txt inside it, whatever it is
// called.
//
// Whether it may be ticked depends on two things. What comes back must be
// the same: a lockfile pins it (a row without lockfiles pins itself). And the
// project must be idle: nothing in it changed for 90 days, as git's own files
// and a walk of the project's files (node_modules and hidden names left out)
// tell; a walk that runs out of its budget of entries, or meets a folder it
// cannot read, before finding anything recent cannot tell, and an output of a
// project that cannot be told about is not ticked either.
//
// The listing comes from the finder's Disk, which in the app is a scan of the
// home: the walk itself then reads nothing, follows no link and crosses no
// device, and a dead network mount below the home has already cost its one
// stall. Only the state walk and the marker checks touch the disk, inside
// projects the scan could read.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "DiskScanKit/Paths.h"
#include "JunkTools.h"
#include "UninstallKit/JunkFinder.h"

namespace tessel {

namespace {

using Candidate = JunkFinder::Candidate;
using Tools = std::set<std::string>;


const std::vector<std::string> projectMarkers{"pubspec.yaml", "package.json", "Cargo.toml", "Package.swift",
                                              "settings.gradle", "settings.gradle.kts", "build.gradle", "build.gradle.kts",
                                              "Podfile", "pyproject.toml", "requirements.txt", "setup.py", "angular.json",
                                              "CMakeLists.txt", "tox.ini"};
const std::vector<std::string> nodeLockfiles{"package-lock.json", "npm-shrinkwrap.json", "yarn.lock",
                                             "pnpm-lock.yaml", "bun.lockb", "bun.lock"};
const std::vector<std::string> gradleFiles{"settings.gradle", "settings.gradle.kts", "build.gradle", "build.gradle.kts"};
const std::vector<std::string> pythonMarkers{"pyproject.toml", "requirements.txt", "setup.py", "setup.cfg", "tox.ini"};
const std::vector<std::string> pythonLockfiles{"poetry.lock", "uv.lock", "Pipfile.lock", "pdm.lock", "requirements.txt"};

struct ProjectOutput {
    std::string folder;
    std::vector<std::string> markers;
    std::vector<std::string> lockfiles;
    std::string remake;
    std::string tool;
    const Tools* processes;
    bool holdsBuilds = false;
};

const std::vector<ProjectOutput>& projectOutputs() {
    static const std::vector<ProjectOutput> rows{
        {"build", {"pubspec.yaml"}, {}, "flutter build makes it again", "Flutter", &JunkTools::flutter, true},
        {".dart_tool", {"pubspec.yaml"}, {}, "flutter pub get makes it again", "Flutter", &JunkTools::flutter, false},
        {"target", {"Cargo.toml"}, {"Cargo.lock"}, "cargo build makes it again", "Cargo", &JunkTools::cargo, true},
        {".build", {"Package.swift"}, {}, "swift build makes it again", "Swift", &JunkTools::none, true},
        {"build", gradleFiles, {}, "Gradle makes it again", "Gradle", &JunkTools::gradle, true},
        {".gradle", gradleFiles, {}, "Gradle makes it again", "Gradle", &JunkTools::gradle, false},
        {"Pods", {"Podfile"}, {"Podfile.lock"}, "pod install brings it back", "CocoaPods", &JunkTools::none, false},
        {".venv", pythonMarkers, pythonLockfiles, "Installing the project's packages brings it back", "Python", &JunkTools::python, false},
        {"venv", pythonMarkers, pythonLockfiles, "Installing the project's packages brings it back", "Python", &JunkTools::python, false},
        {".tox", pythonMarkers, {}, "tox makes it again", "tox", &JunkTools::python, false},
        {".pytest_cache", pythonMarkers, {}, "pytest makes it again", "pytest", &JunkTools::python, false},
        {"__pycache__", pythonMarkers, {}, "Python makes it again when the code next runs", "Python", &JunkTools::python, false},
        {".next", {"package.json"}, {}, "next build makes it again", "Next.js", &JunkTools::node, false},
        {".nuxt", {"package.json"}, {}, "Nuxt makes it again", "Nuxt", &JunkTools::node, false},
        {".svelte-kit", {"package.json"}, {}, "SvelteKit makes it again", "SvelteKit", &JunkTools::node, false},
        {".turbo", {"package.json"}, {}, "Turborepo makes it again", "Turborepo", &JunkTools::node, false},
        {".parcel-cache", {"package.json"}, {}, "Parcel makes it again", "Parcel", &JunkTools::node, false},
        {".angular", {"angular.json"}, {}, "Angular makes it again", "Angular", &JunkTools::node, false},
        {"dist", {"package.json"}, {}, "The project's build makes it again", "Node.js", &JunkTools::node, true},
        {"Library", {"ProjectSettings/ProjectVersion.txt"}, {}, "Unity makes it again when the project opens", "Unity", &JunkTools::none, false},
    };
    return rows;
}

// Home folders that hold no projects, and bundles that are one thing each.
const std::set<std::string> notProjects{"Library", "Applications", "Movies", "Music", "Pictures", "Public", "snap"};
const std::set<std::string> packageExtensions{"app",          "bundle",     "framework",   "photoslibrary", "musiclibrary",
                                              "tvlibrary",    "imovielibrary", "fcpbundle", "logicx",     "xcarchive",
                                              "sparsebundle", "photolibrary"};

bool present(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

std::optional<std::string> firstPresent(const std::string& folder, const std::vector<std::string>& names) {
    for (const std::string& name : names)
        if (present(folder + "/" + name)) return name;
    return std::nullopt;
}

enum class ProjectState { idle, active, unknown };

// Walks a project's files for a change since `since`, reading at most `budget` entries.
ProjectState projectState(const std::string& project, std::int64_t since, int budget) {
    std::int64_t newest = 0;
    for (const char* gitFile : {"/.git/index", "/.git/HEAD", "/.git/logs/HEAD"}) {
        struct stat info {};
        if (::lstat((project + gitFile).c_str(), &info) == 0) newest = std::max<std::int64_t>(newest, info.st_mtim.tv_sec);
    }
    if (newest >= since) return ProjectState::active;
    bool complete = true;
    std::vector<std::string> pending{project};
    while (!pending.empty()) {
        const std::string folder = std::move(pending.back());
        pending.pop_back();
        const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        DIR* listing = fd < 0 ? nullptr : ::fdopendir(fd);
        if (listing == nullptr) {
            if (fd >= 0) ::close(fd);
            complete = false;
            continue;
        }
        while (dirent* entry = ::readdir(listing)) {
            const std::string_view name = entry->d_name;
            if (name.empty() || name.front() == '.' || name == "node_modules") continue;
            if (--budget < 0) {
                ::closedir(listing);
                return ProjectState::unknown;
            }
            struct stat info {};
            if (::fstatat(::dirfd(listing), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
                complete = false;
                continue;
            }
            if (info.st_mtim.tv_sec >= since) {
                ::closedir(listing);
                return ProjectState::active;
            }
            if (S_ISDIR(info.st_mode)) pending.push_back(folder + "/" + std::string(name));
        }
        ::closedir(listing);
    }
    return complete ? ProjectState::idle : ProjectState::unknown;
}

// The note and advice for an output whose return is told by `remake`, pinned by `lockfile` when the
// row has lockfiles (`needsLockfile`).
void advise(Candidate& candidate, const std::string& remake, bool needsLockfile, const std::optional<std::string>& lockfile,
            ProjectState state, bool holdsBuilds) {
    const std::string from = lockfile ? ", from " + *lockfile : "";
    candidate.recommended = false;
    if (needsLockfile && !lockfile) {
        candidate.note = remake + ". Not ticked for you: without a lockfile, the versions it installs may differ.";
    } else if (state == ProjectState::unknown) {
        candidate.note = remake + from + ". Not ticked for you: the project is too big, or too closed, to tell whether it changed lately.";
    } else if (state == ProjectState::active) {
        candidate.note = remake + from + ". Not ticked for you: the project changed in the last three months.";
    } else {
        candidate.recommended = true;
        candidate.note = "Nothing in the project has changed for months. " + remake +
                         (lockfile ? ", the same versions" + from : std::string()) + ".";
    }
    if (holdsBuilds) candidate.note += " Any app or archive built into it goes with it.";
}

} // namespace

std::vector<Candidate> JunkFinder::projectCandidates() const {
    std::vector<Candidate> found;
    const std::string& home = places_.home;
    const std::int64_t since = settings_.now - idleProjectAfter;
    // The nearest folder from `folder` up to the home with .git or a marker: the project.
    auto projectRoot = [&](const std::string& folder) -> std::optional<std::string> {
        for (std::string at = folder; Paths::isWithin(at, home) && at != home; at = at.substr(0, at.rfind('/')))
            if (present(at + "/.git") || firstPresent(at, projectMarkers)) return at;
        return std::nullopt;
    };
    auto candidateFor = [&](const std::string& path, const std::string& project, const std::string& label, const Tools& tools,
                            const std::string& toolName) -> Candidate& {
        Candidate candidate = Candidate::of(path, std::string(Paths::lastComponent(project)) + " " + label, JunkCategory::developer);
        candidate.tools = tools;
        candidate.toolName = toolName;
        found.push_back(std::move(candidate));
        return found.back();
    };

    auto consider = [&](const std::string& folder, const std::string& name) -> bool {
        const std::string path = folder + "/" + name;
        if (name == "node_modules") {
            const std::optional<std::string> project = projectRoot(folder);
            if (!project || !present(folder + "/package.json")) return false;
            const std::optional<std::string> lockfile = firstPresent(folder, nodeLockfiles);
            const ProjectState state = lockfile ? projectState(*project, since, settings_.projectStateBudget) : ProjectState::unknown;
            advise(candidateFor(path, *project, "node_modules", JunkTools::node, "Node.js"), "npm install brings it back", true, lockfile,
                   state, false);
            return true;
        }
        if ((name.starts_with("build") || name.starts_with("cmake-build")) && present(path + "/CMakeCache.txt")) {
            const std::string project = projectRoot(folder).value_or(folder);
            advise(candidateFor(path, project, name, JunkTools::none, "CMake"), "CMake and the build make it again", false, std::nullopt,
                   projectState(project, since, settings_.projectStateBudget), true);
            return true;
        }
        for (const ProjectOutput& row : projectOutputs()) {
            if (row.folder != name) continue;
            const std::optional<std::string> project = projectRoot(folder);
            const bool proven = firstPresent(folder, row.markers) || (project && firstPresent(*project, row.markers));
            if (!project || !proven) continue;
            const std::optional<std::string> lockfile =
                row.lockfiles.empty() ? std::nullopt
                                      : firstPresent(folder, row.lockfiles) ? firstPresent(folder, row.lockfiles)
                                                                            : firstPresent(*project, row.lockfiles);
            const bool pinned = row.lockfiles.empty() || lockfile.has_value();
            const ProjectState state = pinned ? projectState(*project, since, settings_.projectStateBudget) : ProjectState::unknown;
            advise(candidateFor(path, *project, name, *row.processes, row.tool), row.remake, !row.lockfiles.empty(), lockfile, state,
                   row.holdsBuilds);
            return true;
        }
        return false;
    };

    // Depth-first below each of the home's own folders; what was found is never entered.
    constexpr int deepest = 12;
    std::vector<std::pair<std::string, int>> pending;
    for (const std::string& name : children(home)) {
        const std::size_t dot = name.rfind('.');
        if (notProjects.contains(name) || (dot != std::string::npos && packageExtensions.contains(name.substr(dot + 1)))) continue;
        if (isFolder(home + "/" + name)) pending.emplace_back(home + "/" + name, 1);
    }
    std::ranges::reverse(pending);
    while (!pending.empty()) {
        auto [folder, depth] = std::move(pending.back());
        pending.pop_back();
        std::vector<std::string> names = disk_.listFolders(folder);
        std::ranges::sort(names, std::greater<>());
        for (const std::string& name : names) {
            const std::string path = folder + "/" + name;
            if (consider(folder, name)) continue;
            const std::size_t dot = name.rfind('.');
            if (name.front() == '.' || depth >= deepest || (dot != std::string::npos && packageExtensions.contains(name.substr(dot + 1))))
                continue;
            pending.emplace_back(path, depth + 1);
        }
    }
    return found;
}

} // namespace tessel
