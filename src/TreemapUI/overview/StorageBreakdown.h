#pragma once
// Into which kinds the used space of a disk falls, worked out from a finished
// scan and the volume's own figures. A plain value: the overview shows it and
// the scan summary keeps it across launches under the category keys.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "DiskScanKit/FileNode.h"
#include "Base/Platform.h"
#include "SystemStatsKit/VolumeCapacity.h"

namespace tessel {

struct StorageBreakdown {
    enum class Category { applications, documents, downloads, pictures, appData, other, system, elsewhere };

    struct Part {
        Category category;
        std::string title;
        std::int64_t bytes = 0;
    };

    // In category order, only categories that hold bytes.
    std::vector<Part> parts;
    std::optional<VolumeCapacity> volume;
    std::int64_t scanned = 0;

    static const std::vector<Category>& allCategories();
    // Stored keys: changing one loses what earlier launches kept.
    static std::string_view key(Category category);
    static std::optional<Category> category(std::string_view key);
    // `elsewhere` is "Rest of " plus the volume's name, or the unnamed volume's name.
    static std::string title(Category category, std::string_view volumeName = {});
    static std::string_view description(Category category, Platform platform = currentPlatform());

    // Bytes of the tree below `root` (found at `rootPath`) per category; only
    // categories that received bytes appear.
    static std::map<Category, std::int64_t> categorize(const FileNode& root, const std::string& rootPath,
                                                       const std::string& home,
                                                       Platform platform = currentPlatform());
    // The categories, plus the used space no folder of the scan accounts for.
    static StorageBreakdown make(const FileNode& root, const std::optional<VolumeCapacity>& volume,
                                 const std::string& home, Platform platform = currentPlatform());
};

} // namespace tessel
