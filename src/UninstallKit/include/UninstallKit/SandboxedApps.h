#pragma once
// The apps that Flatpak and snapd keep, each whole in a folder of its own:
// what is installed, its version and where it lives. Read from their folders
// only, under a root that stands for "/" (a machine described in a test
// folder) and a user data folder (~/.local/share) for Flatpak's per-user
// installation.

#include <optional>
#include <string>
#include <vector>

namespace tessel {

struct FlatpakApp {
    std::string id;     // "org.gimp.GIMP"
    std::string arch;   // "x86_64"
    std::string branch; // "stable"
    std::optional<std::string> version;
    bool perUser = false;
    // The deployment in use: its metadata, and its files under files/.
    std::string deployPath;
    bool operator==(const FlatpakApp&) const = default;
};

struct SnapApp {
    std::string name;
    std::optional<std::string> version;
    // The revision in use, /snap/NAME/REVISION.
    std::string path;
    bool operator==(const SnapApp&) const = default;
};

// The Flatpak app or runtime, or the snap, whose deployment holds a path.
struct SandboxedPackage {
    std::string name; // the Flatpak ID or the snap's name
    std::string source; // "flatpak" or "snap"
    bool operator==(const SandboxedPackage&) const = default;
};

namespace SandboxedApps {

// Every Flatpak app of the system installation (ROOT/var/lib/flatpak) and of
// the user's (USERDATA/flatpak), the system's first, each sorted by ID.
std::vector<FlatpakApp> flatpaks(const std::string& root, const std::string& userData);
// Every snap under ROOT/snap with a current revision, sorted by name.
std::vector<SnapApp> snaps(const std::string& root);
// What holds `path`, a path of the machine whose "/" is ROOT: a deployment
// in either Flatpak installation (app/ID or runtime/ID), a snap's folder
// /snap/NAME, or its image in /var/lib/snapd/snaps. None where no such
// deployment stands.
std::optional<SandboxedPackage> packageHolding(const std::string& path, const std::string& root, const std::string& userData);
// The newest release's version in an AppStream metainfo document; none when it names none or is not XML.
std::optional<std::string> metainfoVersion(const std::string& xml);

} // namespace SandboxedApps

} // namespace tessel
