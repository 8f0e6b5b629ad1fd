#pragma once
// The folders a cloud service keeps in sync with the user's other devices.
// Whatever leaves one of them here leaves it everywhere, so the deletion
// guard keeps them and everything inside them.
//
// The contract, whatever the platform:
//  - `find` is handed the home folder and where configurations live, and
//    reads only through the file manager's `contents`: small regular files,
//    never a link, a FIFO or a device, never waited on.
//  - A client whose configuration names its folders contributes those. A
//    client whose configuration is missing, unreadable, too large, malformed
//    or names none contributes its usual folder in the home instead, if it
//    has one. Nothing is thrown and nothing is logged.
//  - Paths come back absolute and in normal form: "~" stands for the home, a
//    relative path is taken from the home, and "/" is never one of them.
//
// Linux reads the clients' own configurations (linux/CloudFolders.cpp). On
// macOS the cloud folders are rows of the guard's own table, and the clients
// there keep their folders inside them.

#include <string>
#include <string_view>
#include <vector>

#include "DiskScanKit/FileManager.h"

namespace tessel::CloudFolders {

struct Places {
    std::string home;
    std::string configHome; // $XDG_CONFIG_HOME, else ~/.config
    std::string stateHome; // $XDG_STATE_HOME, else ~/.local/state
    // `home`, and the rest from the environment.
    static Places of(const std::string& home);
};

struct Folder {
    std::string path;
    std::string_view client; // "Dropbox", "Nextcloud", "Syncthing"...
    // Named by the client's configuration, not assumed from the usual name.
    bool configured = false;
    bool operator==(const Folder&) const = default;
};

// Every client's folders, clients in a fixed order, each folder once.
std::vector<Folder> find(const Places& places, const FileManager& files);

} // namespace tessel::CloudFolders
