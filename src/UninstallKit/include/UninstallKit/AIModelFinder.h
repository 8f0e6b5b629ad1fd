#pragma once
// Where AI tools keep the models they downloaded, walked place by place into
// an inventory of one item per model. The Mac's places and Linux's sit in
// one table, each row marked for the machines it belongs to; a place that
// isn't there adds nothing, so a fixture home describes either machine.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Base/Platform.h"
#include "UninstallKit/AIModels.h"
#include "UninstallKit/JunkFinder.h"

namespace tessel {

// Where the tools keep their models, as the environment says.
struct AIModelPlaces {
    std::string home;
    std::string root = "/";       // the machine's "/", for a service's store
    std::string cacheHome;        // $XDG_CACHE_HOME, else ~/.cache
    std::string configHome;       // $XDG_CONFIG_HOME, else ~/.config
    std::string dataHome;         // $XDG_DATA_HOME, else ~/.local/share
    std::string ollamaModels;     // $OLLAMA_MODELS, else ~/.ollama/models
    std::string huggingFaceHome;  // $HF_HOME, else the cache folder's huggingface
    std::string huggingFaceHub;   // $HF_HUB_CACHE, else hub in the Hugging Face home
    std::string torchHome;        // $TORCH_HOME, else the cache folder's torch
    std::string llamaCache;       // $LLAMA_CACHE, else the cache folder's llama.cpp

    static AIModelPlaces fromEnvironment(const std::string& root = "/");
    // The same places for `home` alone, each at its default.
    static AIModelPlaces forHome(const std::string& home);
    // The user's folders as the junk finder reads them, and each tool's own at its default there.
    static AIModelPlaces of(const JunkPlaces& user);
    std::string system(const std::string& path) const { return root == "/" ? path : root + path; }
};

class AIModelFinder {
public:
    struct Layout {
        enum class Shape { folders, files, whole, ollama, huggingFace, otherCaches };
        Shape shape = Shape::whole;
        int depth = 1;
        std::set<std::string> extensions; // for files: lower case, no dot
        std::string label;                // for whole

        static Layout folders(int depth) { return {Shape::folders, depth, {}, {}}; }
        static Layout files(std::set<std::string> extensions, int depth) { return {Shape::files, depth, std::move(extensions), {}}; }
        static Layout whole(std::string label) { return {Shape::whole, 0, {}, std::move(label)}; }
        static Layout of(Shape shape) { return {shape, 0, {}, {}}; }
    };

    struct Source {
        AITool tool = AITool::other;
        std::string path;
        Layout layout;
        // A service's own store: only an administrator may change it.
        bool administered = false;
        AIModelItem::Kind kind() const;
    };

    struct Settings {
        Platform platform = currentPlatform();
        // Allocated bytes at and below a path, each hard-linked file once.
        std::function<std::int64_t(const std::string&)> sizer;
        // Where an app of a tool is looked for, as NAME.app.
        std::vector<std::string> applications;
        // What `docker model ls --json` prints, where the user's Docker answers; none elsewhere.
        std::function<std::optional<std::string>()> dockerModels;
    };

    // The sets of file name extensions that mark a model.
    static const std::set<std::string>& modelFiles();
    static const std::set<std::string>& unmistakableModelFiles();
    static const std::set<std::string>& modelPackages();
    static const std::set<std::string>& namedCaches();

    AIModelFinder(AIModelPlaces places, Settings settings);

    // Every model of every place, walked in the table's order; empty when cancelled.
    AIModelInventory find(const std::function<void(AITool tool, std::size_t done, std::size_t total)>& progress = {},
                          const std::function<bool()>& isCancelled = {}) const;
    // The table for this machine, each place once.
    std::vector<Source> sources() const;
    std::vector<std::string> placesLookedAt(AITool tool) const;

    // What one place adds. Blobs no model names are gathered in `loose`, for the "#loose" item.
    struct Walk {
        std::vector<AIModelItem> items;
        std::map<std::string, AIModelInventory::SharedLayer> shared;
        std::vector<std::pair<AITool, AIModelPart>> loose;
        std::vector<std::pair<AITool, AIModelPart>> looseAdministered;
    };
    void ollama(const std::string& root, AITool tool, bool administered, Walk& walk) const;
    void huggingFace(const std::string& root, Walk& walk) const;
    std::optional<AIModelItem> fileItem(const std::string& root, AITool tool, const std::string& path,
                                        const std::vector<std::string>& components) const;
    std::vector<AIModelItem> otherCaches(const std::string& root) const;
    // The models `docker model ls --json` lists.
    static std::vector<AIModelItem> dockerModels(const std::string& json);

    // "registry.ollama.ai/library/llama3/latest" → "llama3:latest".
    static std::string ollamaName(const std::string& relative);
    // What a layer is for, from its media type: "…image.model" → "model weights".
    static std::string role(const std::string& mediaType);
    // The formats a file's name, or a folder's files, show: "GGUF", "Safetensors, PyTorch".
    static std::optional<std::string> formats(const std::string& name);
    std::string formatsIn(const std::string& folder) const;

private:
    AIModelItem wholeItem(const Source& source) const;
    std::vector<AIModelItem> folderItems(const Source& source) const;
    std::vector<AIModelItem> fileItems(const Source& source) const;
    AIModelPart part(const std::string& path, std::string label) const;
    std::vector<std::string> children(const std::string& folder) const;

    AIModelPlaces places_;
    Settings settings_;
};

} // namespace tessel
