#pragma once
// The one place that decides whether a path may go to the Trash. Every tool
// hands its candidates to `plan` first, shows the user the plan, and moves
// only what it allows; the trash service asks again at the moment of the move.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "DiskScanKit/AnchoredPath.h"
#include "DiskScanKit/FileManager.h"
#include "Base/Platform.h"

namespace tessel {

struct DeletionCandidate {
    std::string path;
    std::int64_t bytes = 0; // what the user expects to gain, as the tool measured it
    bool isDirectory = false; // what the tool believed the item to be
    bool operator==(const DeletionCandidate&) const = default;
};

enum class DeletionRefusal {
    systemPath,
    protectedFolder,
    keychain,
    // Inside a folder a cloud service keeps in sync: "iCloud" on macOS,
    // "cloudSynced" on Linux, where many clients do it.
    cloudSynced,
    volumeRoot,
    ownApplication,
    missing,
    typeChanged,
    notPermitted,
    inTrash,
    insidePackage,
    carriesSystemExtension,
};

namespace DeletionRefusals {
const std::vector<DeletionRefusal>& all();
// The key scripts read; the cloud case has one per platform.
std::string_view rawValue(DeletionRefusal refusal, Platform platform = currentPlatform());
// The sentence beside a refused row, and the words of a failed move.
std::string_view explanation(DeletionRefusal refusal, Platform platform = currentPlatform());
// Refusals the file manager can still carry out for the user.
bool isForFileManager(DeletionRefusal refusal);
} // namespace DeletionRefusals

struct DeletionPlan {
    std::vector<DeletionCandidate> allowed;
    std::vector<std::pair<DeletionCandidate, DeletionRefusal>> refused;
    // Of `allowed` only.
    std::int64_t totalBytes() const;
};

namespace DeletionGuard {

// Who is asking: the home folder, the running program (which never moves
// itself) and whose tables apply.
struct Context {
    std::string home;
    std::optional<std::string> bundlePath;
    Platform platform = currentPlatform();
    // The home's own Trash; on Linux $XDG_DATA_HOME/Trash, found when left empty.
    std::string homeTrash;
    // Folders a cloud service keeps in sync with other devices. Left absent,
    // realContext reads them from the sync clients' configurations in the
    // home (CloudFolders), so that a plan or a trash run reads them once.
    std::optional<std::vector<std::string>> cloudFolders = std::nullopt;
};

// The same places as the disk has them now: the home folder, its Trash and
// the running program with every link on the way resolved. A place that
// can't be followed stays as given. Its cloud folders are the context's own,
// or those `files` reads from the clients' configurations, each both as named
// and as it really is.
Context realContext(const Context& context, const FileManager& files);

std::string normalize(std::string_view path);
// Equal to `root`, or below it at a component boundary.
bool isWithin(std::string_view normalPath, std::string_view normalRoot);

// Trees nothing is ever moved out of, and folders that stay although what
// they hold may go.
const std::vector<std::string>& protectedTrees(Platform platform = currentPlatform());
// Where package managers keep what they installed (Flatpak, Snap, Nix), the
// home's own Flatpak installation too: as much the system as /usr is.
std::vector<std::string> packageStores(const std::string& home, Platform platform = currentPlatform());
std::vector<std::string> protectedFolders(const std::string& home, Platform platform = currentPlatform());
bool isInVolumeTrash(std::string_view path, Platform platform = currentPlatform());
std::string homeTrash(const std::string& home, Platform platform = currentPlatform());

// Pure string work, no disk: any tool may use it to hide a row that can't go.
// The cloud folders count only when the context holds them.
std::optional<DeletionRefusal> staticRefusal(const std::string& path, const Context& context);
// The static test, then the disk: the path is followed to where it really
// is, which must pass the static test too, then existence, a mount point,
// type, permission, system extensions.
std::optional<DeletionRefusal> refusal(const DeletionCandidate& candidate, const Context& context,
                                       const FileManager& fileManager, const std::string& extensionDatabase);
// The same test, and on success the item itself, followed to the folder that
// really holds it: the trash service moves what was judged, through that
// folder, so nothing swapped in since can take its place.
std::variant<AnchoredPath, DeletionRefusal> admit(const DeletionCandidate& candidate, const Context& context,
                                                  const FileManager& fileManager, const std::string& extensionDatabase);
// The same, with `real` the context's places as the disk has them (realContext
// of `context`), found once for a run over many candidates.
std::variant<AnchoredPath, DeletionRefusal> admit(const DeletionCandidate& candidate, const Context& context,
                                                  const Context& real, const FileManager& fileManager,
                                                  const std::string& extensionDatabase);
// A path as the guard will take it, measured now: a folder (a link to one is
// followed only where the guard follows it) with all it holds, a file or a
// link by its own blocks. A path that can't be looked at measures nothing.
DeletionCandidate candidateAt(const std::string& path);
// What is below a folder that is itself a candidate goes with the folder.
std::vector<DeletionCandidate> collapseNested(std::vector<DeletionCandidate> candidates);
DeletionPlan plan(const std::vector<DeletionCandidate>& candidates, const Context& context,
                  const FileManager& fileManager, const std::string& extensionDatabase);

} // namespace DeletionGuard
} // namespace tessel
