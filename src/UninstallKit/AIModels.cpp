// The AI tools' names and sentences, and what removing a selection of models
// takes when some of their files are shared.
//
// A shared layer belongs to no item's parts: it stands once in the
// inventory, with the ids of the items that use it. Removing a selection
// takes the selected items' own parts and only those layers whose users are
// all in the selection, so a blob two Ollama models use stays until both go,
// and the total counts it once.

#include "UninstallKit/AIModels.h"

#include <algorithm>

#include "DiskScanKit/CheckedSize.h"

namespace tessel {

namespace {

struct ToolWords {
    AITool tool;
    const char* id;
    const char* title;
    const char* appName; // null for tools that are not apps
    const char* comesBack;
};

constexpr const char* askedAgain = "It is downloaded again the next time code asks for it.";
constexpr const char* byHand = "A model added by hand has to be downloaded again from where it came from.";

constexpr std::array<ToolWords, 19> words{{
    {AITool::ollama, "ollama", "Ollama", "Ollama", "Ollama downloads a model again with ollama pull, or when a chat asks for it."},
    {AITool::lmStudio, "lmStudio", "LM Studio", "LM Studio", "LM Studio can download a model again from its Discover tab."},
    {AITool::huggingFace, "huggingFace", "Hugging Face", nullptr,
     "The library that fetched it downloads it again the next time code asks for it."},
    {AITool::msty, "msty", "Msty", "Msty", "Msty can download a model again from its model list."},
    {AITool::gpt4all, "gpt4all", "GPT4All", "GPT4All", "GPT4All can download a model again from its Models page."},
    {AITool::jan, "jan", "Jan", "Jan", "Jan can download a model again from its Hub."},
    {AITool::drawThings, "drawThings", "Draw Things", "Draw Things", "Draw Things can download a model again from its model list."},
    {AITool::diffusionBee, "diffusionBee", "DiffusionBee", "DiffusionBee",
     "DiffusionBee downloads its own models again when it starts; a model added by hand has to be downloaded again from where it came from."},
    {AITool::comfyUI, "comfyUI", "ComfyUI", nullptr, byHand},
    {AITool::stableDiffusionWebUI, "stableDiffusionWebUI", "Stable Diffusion web UI", nullptr, byHand},
    {AITool::stabilityMatrix, "stabilityMatrix", "Stability Matrix", "Stability Matrix",
     "Stability Matrix can download a model again from its Model Browser."},
    {AITool::mochiDiffusion, "mochiDiffusion", "Mochi Diffusion", "Mochi Diffusion", byHand},
    {AITool::whisper, "whisper", "Whisper", nullptr, "Whisper downloads a model again the first time it is asked for it."},
    {AITool::macWhisper, "macWhisper", "MacWhisper", "MacWhisper", "MacWhisper can download a model again from its settings."},
    {AITool::pyTorch, "pyTorch", "PyTorch", nullptr, askedAgain},
    {AITool::keras, "keras", "Keras", nullptr, askedAgain},
    {AITool::llamaCpp, "llamaCpp", "llama.cpp", nullptr, askedAgain},
    {AITool::docker, "docker", "Docker Model Runner", nullptr, "Docker downloads a model again with docker model pull."},
    {AITool::other, "other", "Other tools", nullptr, "The tool that made this cache fetches what it needs again."},
}};

const ToolWords& wordsOf(AITool tool) { return words[static_cast<std::size_t>(tool)]; }

} // namespace

namespace AITools {

std::string_view id(AITool tool) { return wordsOf(tool).id; }
std::string_view title(AITool tool) { return wordsOf(tool).title; }
std::string_view comesBack(AITool tool) { return wordsOf(tool).comesBack; }

std::optional<std::string_view> appName(AITool tool) {
    if (wordsOf(tool).appName == nullptr) return std::nullopt;
    return wordsOf(tool).appName;
}

std::optional<AITool> fromId(std::string_view text) {
    for (const ToolWords& tool : words)
        if (text == tool.id) return tool.tool;
    return std::nullopt;
}

} // namespace AITools

namespace AIModelKinds {

std::string_view rawValue(AIModelItem::Kind kind) {
    switch (kind) {
    case AIModelItem::Kind::model: return "model";
    case AIModelItem::Kind::dataset: return "dataset";
    case AIModelItem::Kind::cache: return "cache";
    case AIModelItem::Kind::unfinished: return "unfinished";
    }
    return "model";
}

} // namespace AIModelKinds

std::int64_t AIModelItem::bytes() const {
    std::int64_t total = 0;
    for (const AIModelPart& part : parts) total = checkedAdd(total, part.bytes);
    return total;
}

bool AIModelItem::isMovable() const {
    return !requiresAdministrator && !parts.empty() &&
           std::ranges::all_of(parts, [](const AIModelPart& part) { return !part.path.empty(); });
}

bool AIModelItem::startsTicked() const { return kind == Kind::unfinished && isMovable(); }

std::vector<DeletionCandidate> AIModelInventory::removal(const std::set<std::string>& ids) const {
    std::set<std::string> movable;
    for (const AIModelItem& item : items)
        if (ids.contains(item.id) && item.isMovable()) movable.insert(item.id);
    std::vector<DeletionCandidate> candidates;
    for (const AIModelPart& part : parts(movable)) candidates.push_back({part.path, part.bytes, part.isDirectory});
    return candidates;
}

std::int64_t AIModelInventory::totalBytes() const {
    std::int64_t total = 0;
    for (const AIModelItem& item : items) total = checkedAdd(total, item.bytes());
    for (const auto& [path, layer] : shared) total = checkedAdd(total, layer.bytes);
    return total;
}

std::vector<AIModelPart> AIModelInventory::parts(const std::set<std::string>& ids) const {
    std::vector<AIModelPart> taken;
    for (const AIModelItem& item : items)
        if (ids.contains(item.id)) taken.insert(taken.end(), item.parts.begin(), item.parts.end());
    for (const auto& [path, layer] : shared)
        if (std::ranges::all_of(layer.users, [&](const std::string& user) { return ids.contains(user); }))
            taken.push_back({path, layer.bytes, false, layer.label});
    return taken;
}

std::vector<std::string> AIModelInventory::files(const std::set<std::string>& ids) const {
    std::vector<std::string> paths;
    for (const AIModelPart& part : parts(ids))
        if (!part.path.empty()) paths.push_back(part.path);
    return paths;
}

std::vector<AIModelInventory::ToolGroup> AIModelInventory::byTool() const {
    std::vector<ToolGroup> groups;
    for (AITool tool : AITools::all) {
        ToolGroup group{tool, {}, 0};
        std::set<std::string> ids;
        for (const AIModelItem& item : items)
            if (item.tool == tool) {
                group.items.push_back(&item);
                group.bytes = checkedAdd(group.bytes, item.bytes());
                ids.insert(item.id);
            }
        if (group.items.empty()) continue;
        for (const auto& [path, layer] : shared)
            if (std::ranges::all_of(layer.users, [&](const std::string& user) { return ids.contains(user); }))
                group.bytes = checkedAdd(group.bytes, layer.bytes);
        groups.push_back(std::move(group));
    }
    return groups;
}

const AIModelItem* AIModelInventory::item(const std::string& id) const {
    const auto found = std::ranges::find(items, id, &AIModelItem::id);
    return found == items.end() ? nullptr : &*found;
}

} // namespace tessel
