#pragma once
// The Mac's own AI assets (Apple Intelligence, Siri, dictation, voices,
// translation, language data): macOS downloads and removes them itself, so
// they are reported, never offered for removal. A machine without the
// folder has none.

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

struct AppleAIGroup {
    enum class Kind { intelligence, siri, dictation, voices, translation, language };
    struct Folder {
        std::string path;
        std::optional<std::int64_t> bytes;  // absent when the folder can't be read
        std::optional<std::int64_t> assets; // its ".asset" folders; absent likewise
        bool operator==(const Folder&) const = default;
    };
    Kind kind = Kind::intelligence;
    std::vector<Folder> parts;
    bool operator==(const AppleAIGroup&) const = default;
};

namespace AppleAIAssets {

constexpr const char* root = "/System/Library/AssetsV2";
constexpr std::array<AppleAIGroup::Kind, 6> kinds{AppleAIGroup::Kind::intelligence, AppleAIGroup::Kind::siri,
                                                  AppleAIGroup::Kind::dictation,    AppleAIGroup::Kind::voices,
                                                  AppleAIGroup::Kind::translation,  AppleAIGroup::Kind::language};

// The groups of the asset folders under `folder`, in the kinds' order.
std::vector<AppleAIGroup> read(const std::string& folder, const std::function<std::int64_t(const std::string&)>& sizer);
// The kind an asset folder's name says, "com_apple_MobileAsset_…"; none for others.
std::optional<AppleAIGroup::Kind> kind(std::string_view folderName);
std::string_view title(AppleAIGroup::Kind kind);
// How they go, and the settings pane that switches the feature.
std::string_view howToRemove(AppleAIGroup::Kind kind);
std::string_view settingsLink(AppleAIGroup::Kind kind);

} // namespace AppleAIAssets

} // namespace tessel
