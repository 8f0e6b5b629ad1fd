#pragma once
// What the junk finder reports: one folder or file that can go, with the
// sentence shown beside it and whether it may be ticked for the user.

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "Base/Platform.h"

namespace tessel {

enum class JunkCategory { appCaches, logs, developer, packageCaches, installers, oldDownloads, virtualMachines, games };

namespace JunkCategories {

constexpr std::array<JunkCategory, 8> all{JunkCategory::appCaches,     JunkCategory::logs,
                                          JunkCategory::developer,     JunkCategory::packageCaches,
                                          JunkCategory::installers,    JunkCategory::oldDownloads,
                                          JunkCategory::virtualMachines, JunkCategory::games};

std::string_view rawValue(JunkCategory category);
std::optional<JunkCategory> fromRawValue(std::string_view text);
std::string_view title(JunkCategory category);
// What the group holds, in the words of the platform whose places it lists.
std::string_view summary(JunkCategory category, Platform platform = currentPlatform());
// The user's own things, not what a program made: never ticked for them.
bool isTheirs(JunkCategory category);

} // namespace JunkCategories

struct JunkItem {
    std::string path;
    std::string name;
    JunkCategory category = JunkCategory::appCaches;
    std::int64_t bytes = 0; // allocated
    bool isDirectory = false;
    std::optional<std::int64_t> modified; // last use or change, seconds since 1970
    std::optional<std::string> identifier;
    bool isSystem = false;
    bool requiresAdministrator = false;
    std::string note;
    std::optional<std::string> app;
    bool recommended = true;
    // Programs that must not run while it goes: they would make it again at
    // once, or be disturbed.
    std::set<std::string> tools;
    std::optional<std::string> toolName;

    // Whether it is ticked for the user when a result arrives.
    bool startsTicked() const;
    bool operator==(const JunkItem&) const = default;
};

} // namespace tessel
