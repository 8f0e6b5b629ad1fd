#pragma once
// System extensions that an app carries in its bundle, and those of them the
// system has activated: an app with an active extension must be moved by the
// file manager, which removes the extension with it.

#include <string>
#include <utility>
#include <vector>

#include "DiskScanKit/FileManager.h"

namespace tessel::SystemExtensionsInside {

inline constexpr const char* standardDatabase = "/Library/SystemExtensions/db.plist";

// (identifier, path) of each extension in <app>/Contents/Library/SystemExtensions, by name.
std::vector<std::pair<std::string, std::string>> carried(const std::string& appPath, const FileManager& fileManager);
// The carried extensions the database lists as activated; all of them when the
// database exists but can't be read.
std::vector<std::string> installed(const std::string& appPath, const std::string& database,
                                   const FileManager& fileManager);

} // namespace tessel::SystemExtensionsInside
