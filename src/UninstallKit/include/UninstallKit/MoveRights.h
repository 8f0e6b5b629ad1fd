#pragma once
// Whether this user may move a path to the Trash, or only an administrator
// may. A move is a rename: it needs leave to write in the folder that holds
// the path; in a sticky folder (/tmp, /var/crash) only the entry's owner has
// it; and a folder that moves to another parent rewrites its own "..", so it
// must be writable itself.

#include <sys/stat.h>

#include <string>

namespace tessel::MoveRights {

// `info` is the lstat of `path`.
bool needsAdministrator(const std::string& path, const struct stat& info);
// The same, read from the disk; false for a path that isn't there.
bool needsAdministrator(const std::string& path);

} // namespace tessel::MoveRights
