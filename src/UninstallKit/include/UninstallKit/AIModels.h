#pragma once
// Downloaded AI models as one removable item each: the files it is made of,
// what it shares with other models, and how it comes back once removed. A
// file several models use is counted once and goes only with the last of them.

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "TrashKit/DeletionGuard.h"

namespace tessel {

enum class AITool {
    ollama, lmStudio, huggingFace, msty, gpt4all, jan, drawThings, diffusionBee, comfyUI, stableDiffusionWebUI,
    stabilityMatrix, mochiDiffusion, whisper, macWhisper, pyTorch, keras, llamaCpp, docker, other
};

namespace AITools {

constexpr std::array<AITool, 19> all{
    AITool::ollama,         AITool::lmStudio,     AITool::huggingFace,          AITool::msty,         AITool::gpt4all,
    AITool::jan,            AITool::drawThings,   AITool::diffusionBee,         AITool::comfyUI,      AITool::stableDiffusionWebUI,
    AITool::stabilityMatrix, AITool::mochiDiffusion, AITool::whisper,           AITool::macWhisper,   AITool::pyTorch,
    AITool::keras,          AITool::llamaCpp,     AITool::docker,               AITool::other};

std::string_view id(AITool tool);
std::optional<AITool> fromId(std::string_view id);
std::string_view title(AITool tool);
// The app's name, for the tools that are apps.
std::optional<std::string_view> appName(AITool tool);
// How a removed model of this tool comes back.
std::string_view comesBack(AITool tool);

} // namespace AITools

struct AIModelPart {
    std::string path; // empty for what another program keeps and sizes (Docker's models)
    std::int64_t bytes = 0;
    bool isDirectory = false;
    std::string label;
    bool operator==(const AIModelPart&) const = default;
};

struct AIModelItem {
    enum class Kind { model, dataset, cache, unfinished };
    // Who takes it off the disk where Tessel should not: a command, or the app itself.
    struct ByCommand {
        std::string command;
        bool operator==(const ByCommand&) const = default;
    };
    struct ByApp {
        bool operator==(const ByApp&) const = default;
    };
    using Remover = std::variant<ByCommand, ByApp>;

    std::string id;
    AITool tool = AITool::other;
    std::string name;
    Kind kind = Kind::model;
    std::vector<AIModelPart> parts; // its own; what it shares is in the inventory's `shared`
    std::string detailsPath;
    std::optional<std::int64_t> modified; // seconds since 1970
    std::string detail;
    // How it comes back, where the tool's own sentence does not say it.
    std::string note;
    bool requiresAdministrator = false;
    std::int64_t sharedBytes = 0;
    std::vector<std::string> sharedWith;
    std::optional<Remover> removedBy;

    // What removing it alone frees: its own parts.
    std::int64_t bytes() const;
    // Whether Tessel may move it to the Trash itself: no administrator needed, and every part a path.
    bool isMovable() const;
    // Ticked for the user when a search ends: only downloads nothing uses, where Tessel may move them.
    bool startsTicked() const;
    bool operator==(const AIModelItem&) const = default;
};

namespace AIModelKinds {
std::string_view rawValue(AIModelItem::Kind kind);
}

struct AIModelInventory {
    struct SharedLayer {
        std::int64_t bytes = 0;
        std::set<std::string> users; // item ids
        std::string label;
        bool operator==(const SharedLayer&) const = default;
    };
    struct ToolGroup {
        AITool tool = AITool::other;
        std::vector<const AIModelItem*> items;
        std::int64_t bytes = 0; // its items' own parts and the layers only they use
    };

    std::vector<AIModelItem> items;
    std::map<std::string, SharedLayer> shared; // by path
    std::map<AITool, std::string> apps;        // the app of a tool, where it is installed

    // Every item's own parts and each shared layer once.
    std::int64_t totalBytes() const;
    // What removing the selected items takes: their parts, and each shared
    // layer whose users are all selected.
    std::vector<AIModelPart> parts(const std::set<std::string>& ids) const;
    std::vector<std::string> files(const std::set<std::string>& ids) const;
    // What the removal road takes for the selected items Tessel may move:
    // their parts, and the shared layers whose users are all selected and
    // movable. The others are left to their remover.
    std::vector<DeletionCandidate> removal(const std::set<std::string>& ids) const;
    // The items per tool, in the tools' order, tools without items left out.
    std::vector<ToolGroup> byTool() const;
    const AIModelItem* item(const std::string& id) const;
};

} // namespace tessel
