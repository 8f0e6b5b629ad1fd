#pragma once
// Folders that people treat as one thing: apps, libraries, bundles, documents
// saved as folders. Their contents are counted but never listed on their own.

#include <string>
#include <string_view>

#include "DiskScanKit/ScanOptions.h"

namespace tessel::Packages {

const NameSet& extensions();
bool isPackage(std::string_view name);
// True when any component above the last one is a package.
bool isInsidePackage(std::string_view path);

} // namespace tessel::Packages
