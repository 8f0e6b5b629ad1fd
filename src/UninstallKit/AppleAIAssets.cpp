// Apple's AI assets: each folder com_apple_MobileAsset_NAME of the asset
// store holds one ".asset" folder per downloaded asset. The name after the
// prefix says the feature, tested in a fixed order since some names hold two
// marks ("SiriTextToSpeech…" is Siri's, not the voices'):
//   "Translat" → translation; "Siri", or a start of "VoiceTri" → Siri;
//   "Speech" → dictation; "MacinTalk", "TextToSp", or a start of "TTS" or
//   "VoiceSer" → voices; "Linguist" → language; "Generati" → Apple
//   Intelligence. Anything else is not AI and is left out.

#include "UninstallKit/AppleAIAssets.h"

#include <dirent.h>

#include "Base/FolderNames.h"

namespace tessel::AppleAIAssets {

namespace {

constexpr std::string_view prefix = "com_apple_MobileAsset_";
constexpr const char* onlyMacOS = "Only macOS removes them. Each feature has its own switch.";

} // namespace

std::optional<AppleAIGroup::Kind> kind(std::string_view folderName) {
    using Kind = AppleAIGroup::Kind;
    if (!folderName.starts_with(prefix)) return std::nullopt;
    const std::string_view name = folderName.substr(prefix.size());
    auto has = [&](std::string_view mark) { return name.find(mark) != std::string_view::npos; };
    if (has("Translat")) return Kind::translation;
    if (has("Siri") || name.starts_with("VoiceTri")) return Kind::siri;
    if (has("Speech")) return Kind::dictation;
    if (has("MacinTalk") || name.starts_with("TTS") || name.starts_with("VoiceSer") || has("TextToSp")) return Kind::voices;
    if (has("Linguist")) return Kind::language;
    if (has("Generati")) return Kind::intelligence;
    return std::nullopt;
}

std::vector<AppleAIGroup> read(const std::string& folder, const std::function<std::int64_t(const std::string&)>& sizer) {
    std::vector<AppleAIGroup> groups;
    for (AppleAIGroup::Kind each : kinds) groups.push_back({each, {}});
    for (const std::string& name : folderNames(folder)) {
        const std::optional<AppleAIGroup::Kind> found = kind(name);
        if (!found) continue;
        AppleAIGroup::Folder part{folder + "/" + name, std::nullopt, std::nullopt};
        // Absent, not empty: a folder that can't be listed says nothing of what it holds.
        if (DIR* listing = opendir(part.path.c_str())) {
            closedir(listing);
            std::int64_t assets = 0;
            for (const std::string& inside : folderNames(part.path))
                if (inside.ends_with(".asset")) ++assets;
            part.assets = assets;
            part.bytes = sizer(part.path);
        }
        groups[static_cast<std::size_t>(*found)].parts.push_back(std::move(part));
    }
    std::erase_if(groups, [](const AppleAIGroup& group) { return group.parts.empty(); });
    return groups;
}

std::string_view title(AppleAIGroup::Kind kind) {
    static constexpr std::array<const char*, 6> titles{"Apple Intelligence", "Siri", "Dictation and Speech", "Spoken Voices",
                                                       "Translation", "Language Data"};
    return titles[static_cast<std::size_t>(kind)];
}

std::string_view howToRemove(AppleAIGroup::Kind) { return onlyMacOS; }

std::string_view settingsLink(AppleAIGroup::Kind kind) {
    using Kind = AppleAIGroup::Kind;
    switch (kind) {
    case Kind::intelligence:
    case Kind::siri: return "x-apple.systempreferences:com.apple.Siri-Settings.extension";
    case Kind::dictation: return "x-apple.systempreferences:com.apple.Keyboard-Settings.extension";
    case Kind::voices: return "x-apple.systempreferences:com.apple.Accessibility-Settings.extension";
    case Kind::translation:
    case Kind::language: return "x-apple.systempreferences:com.apple.Localization-Settings.extension";
    }
    return {};
}

} // namespace tessel::AppleAIAssets
