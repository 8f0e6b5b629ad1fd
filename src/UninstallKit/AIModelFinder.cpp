// The AI model finder's walk: a table of places, each with the layout its
// tool keeps, read into one item per model.
//
// A layout says what a model is in a place. `folders(n)`: every folder n
// levels down is one model (LM Studio keeps publisher/repository). `files`:
// every file with a model's extension down to the depth, and Core ML's
// package folders, each one model. `whole`: the folder is one cache. The
// stores with a format of their own, Ollama's and Hugging Face's, are read in
// AIModelStores.cpp; the cache folder's other children are looked into for
// files no other program writes, so that a tool Tessel does not know still
// shows.
//
// The Mac's places are kept as they are, and Linux's stand beside them: the
// same home-relative rows where the tools use the same folders, the XDG
// folders and the tools' own variables (OLLAMA_MODELS, HF_HOME, HF_HUB_CACHE,
// TORCH_HOME, LLAMA_CACHE) where they move them, and Ollama's service store,
// which belongs to the ollama user. Nothing is followed through a link, and
// every walk goes down an explicit stack to a fixed depth with a budget of
// entries, so a hostile or enormous folder costs a bounded look.
//
// Example: ~/.lmstudio/models/lmstudio-community/Qwen-7B-GGUF/q4.gguf is the
// model "lmstudio-community/Qwen-7B-GGUF", detail "GGUF · 1 model file · 4.7 GB".

#include "UninstallKit/AIModelFinder.h"

#include "AIModelWalk.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <tuple>

#include "Base/AsciiCase.h"
#include "Base/FolderNames.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/MoveRights.h"

namespace tessel {

namespace {

using namespace AIModelWalk;
using Layout = AIModelFinder::Layout;
using Shape = Layout::Shape;

enum class On { both, mac, linux };

struct Row {
    AITool tool;
    const char* path; // below the home, unless it begins with "/" (a path of the machine)
    Layout layout;
    On on = On::both;
    bool administered = false;
};

std::string stem(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

// Names that say "model weights" even in a file of a common extension: "pytorch_model.bin".
bool hasModelStem(const std::string& name) {
    static const std::set<std::string> stems{"model", "ggml-model", "pytorch_model", "diffusion_pytorch_model", "weights"};
    const std::string bare = asciiLower(stem(name));
    return std::ranges::any_of(stems, [&](const std::string& known) { return bare == known || bare.starts_with(known + "-"); });
}

bool isModelFile(const std::string& name, bool unmistakableOnly) {
    const std::string extension = lowerExtension(name);
    if (AIModelFinder::unmistakableModelFiles().contains(extension)) return true;
    if (!AIModelFinder::modelFiles().contains(extension)) return false;
    return !unmistakableOnly || hasModelStem(name);
}

const std::set<std::string> smallModels{"gguf", "bin"};

const std::vector<Row>& table() {
    static const std::set<std::string>& files = AIModelFinder::modelFiles();
    static const std::vector<Row> rows{
        {AITool::ollama, ".ollama/models", Layout::of(Shape::ollama)},
        {AITool::ollama, "/usr/share/ollama/.ollama/models", Layout::of(Shape::ollama), On::linux, true},
        {AITool::msty, "Library/Application Support/Msty/models", Layout::of(Shape::ollama), On::mac},
        {AITool::msty, ".config/Msty/models", Layout::of(Shape::ollama), On::linux},
        {AITool::lmStudio, ".lmstudio/models", Layout::folders(2)},
        {AITool::lmStudio, ".cache/lm-studio/models", Layout::folders(2)},
        {AITool::huggingFace, ".cache/huggingface/hub", Layout::of(Shape::huggingFace)},
        {AITool::huggingFace, ".cache/huggingface/xet", Layout::whole("Xet cache")},
        {AITool::huggingFace, ".cache/huggingface/datasets", Layout::whole("Prepared datasets")},
        {AITool::huggingFace, ".cache/huggingface/transformers", Layout::whole("Older Transformers cache")},
        {AITool::gpt4all, "Library/Application Support/nomic.ai/GPT4All", Layout::files(smallModels, 1), On::mac},
        {AITool::gpt4all, ".local/share/nomic.ai/GPT4All", Layout::files(smallModels, 1), On::linux},
        {AITool::gpt4all, ".cache/gpt4all", Layout::files(smallModels, 1)},
        {AITool::jan, "jan/models", Layout::folders(1)},
        {AITool::jan, "Library/Application Support/Jan/data", Layout::files({"gguf"}, 5), On::mac},
        {AITool::jan, ".config/Jan/data", Layout::files({"gguf"}, 5), On::linux},
        {AITool::drawThings, "Library/Containers/com.liuliu.draw-things/Data/Documents/Models", Layout::files(files, 1), On::mac},
        {AITool::diffusionBee, ".diffusionbee", Layout::files(files, 3)},
        {AITool::comfyUI, "Documents/ComfyUI/models", Layout::files(files, 3)},
        {AITool::comfyUI, "ComfyUI/models", Layout::files(files, 3)},
        {AITool::stableDiffusionWebUI, "stable-diffusion-webui/models", Layout::files(files, 3)},
        {AITool::stableDiffusionWebUI, "stable-diffusion-webui-forge/models", Layout::files(files, 3)},
        {AITool::stabilityMatrix, "Library/Application Support/StabilityMatrix/Models", Layout::files(files, 3), On::mac},
        {AITool::mochiDiffusion, "MochiDiffusion/models", Layout::folders(1), On::mac},
        {AITool::whisper, ".cache/whisper", Layout::files({"pt"}, 1)},
        {AITool::whisper, "whisper.cpp/models", Layout::files(smallModels, 1), On::linux},
        {AITool::macWhisper, "Library/Application Support/MacWhisper/models", Layout::files(smallModels, 2), On::mac},
        {AITool::pyTorch, ".cache/torch/hub/checkpoints", Layout::files({"pt", "pth", "bin", "ckpt", "safetensors"}, 1)},
        {AITool::pyTorch, ".cache/torch/sentence_transformers", Layout::folders(1)},
        {AITool::keras, ".keras/models", Layout::files({"h5", "keras"}, 1)},
        {AITool::llamaCpp, "Library/Caches/llama.cpp", Layout::files({"gguf"}, 1), On::mac},
        {AITool::llamaCpp, ".cache/llama.cpp", Layout::files({"gguf"}, 1), On::linux},
        {AITool::docker, ".docker/models", Layout::whole("Downloaded models")},
        {AITool::other, ".cache", Layout::of(Shape::otherCaches)},
    };
    return rows;
}

} // namespace

const std::set<std::string>& AIModelFinder::modelFiles() {
    static const std::set<std::string> set{"gguf", "safetensors", "sft", "ckpt", "pt", "pth", "bin", "onnx"};
    return set;
}

const std::set<std::string>& AIModelFinder::unmistakableModelFiles() {
    static const std::set<std::string> set{"gguf", "safetensors", "ckpt", "pt", "pth", "onnx", "ort", "mlmodel", "tflite", "npz", "h5"};
    return set;
}

const std::set<std::string>& AIModelFinder::modelPackages() {
    static const std::set<std::string> set{"mlmodelc", "mlpackage"};
    return set;
}

const std::set<std::string>& AIModelFinder::namedCaches() {
    static const std::set<std::string> set{"huggingface", "torch", "whisper", "lm-studio", "gpt4all"};
    return set;
}

AIModelPlaces AIModelPlaces::of(const JunkPlaces& user) {
    AIModelPlaces places;
    places.home = user.home;
    places.root = user.root;
    places.cacheHome = user.cacheHome;
    places.configHome = user.configHome;
    places.dataHome = user.dataHome;
    places.ollamaModels = user.home + "/.ollama/models";
    places.huggingFaceHome = user.cacheHome + "/huggingface";
    places.huggingFaceHub = places.huggingFaceHome + "/hub";
    places.torchHome = user.cacheHome + "/torch";
    places.llamaCache = user.cacheHome + "/llama.cpp";
    return places;
}

AIModelPlaces AIModelPlaces::forHome(const std::string& home) { return of(JunkPlaces::forHome(home)); }

AIModelPlaces AIModelPlaces::fromEnvironment(const std::string& root) {
    AIModelPlaces places = of(JunkPlaces::fromEnvironment(root));
    // The tools read their variables as paths, relative ones too; only absolute ones are taken here.
    auto variable = [](const char* name, const std::string& fallback) {
        const char* value = std::getenv(name);
        return value != nullptr && value[0] == '/' ? Paths::standardized(value) : fallback;
    };
    places.ollamaModels = variable("OLLAMA_MODELS", places.ollamaModels);
    places.huggingFaceHome = variable("HF_HOME", places.huggingFaceHome);
    places.huggingFaceHub = variable("HF_HUB_CACHE", places.huggingFaceHome + "/hub");
    places.torchHome = variable("TORCH_HOME", places.torchHome);
    places.llamaCache = variable("LLAMA_CACHE", places.llamaCache);
    return places;
}

AIModelItem::Kind AIModelFinder::Source::kind() const {
    switch (layout.shape) {
    case Shape::whole: return path.ends_with("/datasets") ? AIModelItem::Kind::dataset : AIModelItem::Kind::cache;
    case Shape::otherCaches: return AIModelItem::Kind::cache;
    default: return AIModelItem::Kind::model;
    }
}

AIModelFinder::AIModelFinder(AIModelPlaces places, Settings settings) : places_(std::move(places)), settings_(std::move(settings)) {
    if (!settings_.sizer) settings_.sizer = [](const std::string& path) { return DiskScanner::allocatedSize(path); };
}

std::vector<AIModelFinder::Source> AIModelFinder::sources() const {
    const On here = settings_.platform == Platform::macOS ? On::mac : On::linux;
    auto resolve = [this](const std::string& relative) -> std::string {
        if (relative.starts_with("/")) return places_.system(relative);
        if (relative == ".ollama/models") return places_.ollamaModels;
        if (relative == ".cache/huggingface/hub") return places_.huggingFaceHub;
        if (relative.starts_with(".cache/huggingface/")) return places_.huggingFaceHome + relative.substr(18);
        if (relative.starts_with(".cache/torch/")) return places_.torchHome + relative.substr(12);
        if (relative == ".cache/llama.cpp") return places_.llamaCache;
        if (relative == ".cache" || relative.starts_with(".cache/")) return places_.cacheHome + relative.substr(6);
        if (relative.starts_with(".config/")) return places_.configHome + relative.substr(7);
        if (relative.starts_with(".local/share/")) return places_.dataHome + relative.substr(12);
        return places_.home + "/" + relative;
    };
    std::vector<Source> found;
    std::set<std::string> seen;
    for (const Row& row : table()) {
        if (row.on != On::both && row.on != here) continue;
        Source source{row.tool, resolve(row.path), row.layout, row.administered};
        if (seen.insert(source.path).second) found.push_back(std::move(source));
    }
    return found;
}

std::vector<std::string> AIModelFinder::placesLookedAt(AITool tool) const {
    std::vector<std::string> paths;
    for (const Source& source : sources())
        if (source.tool == tool) paths.push_back(source.path);
    return paths;
}

std::vector<std::string> AIModelFinder::children(const std::string& folder) const {
    std::vector<std::string> names = folderNames(folder);
    std::erase_if(names, [](const std::string& name) { return name.front() == '.'; });
    return names;
}

AIModelPart AIModelFinder::part(const std::string& path, std::string label) const {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return {path, 0, false, std::move(label)};
    const bool folder = S_ISDIR(info.st_mode);
    return {path, folder ? settings_.sizer(path) : static_cast<std::int64_t>(info.st_blocks) * 512, folder, std::move(label)};
}

std::optional<std::string> AIModelFinder::formats(const std::string& name) {
    static const std::map<std::string, std::string> words{
        {"gguf", "GGUF"},          {"safetensors", "Safetensors"}, {"sft", "Safetensors"}, {"ckpt", "Checkpoint"},
        {"pt", "PyTorch"},         {"pth", "PyTorch"},             {"onnx", "ONNX"},       {"ort", "ONNX"},
        {"mlmodel", "Core ML"},    {"mlmodelc", "Core ML"},        {"mlpackage", "Core ML"}, {"tflite", "TensorFlow Lite"},
        {"h5", "Keras"},           {"keras", "Keras"},             {"npz", "NumPy"}};
    const std::string lower = asciiLower(name);
    if (lower.find("mlx") != std::string::npos) return "MLX";
    if (const auto found = words.find(lowerExtension(name)); found != words.end()) return found->second;
    if (lowerExtension(name) == "bin" && hasModelStem(name)) return "PyTorch";
    return std::nullopt;
}

std::string AIModelFinder::formatsIn(const std::string& folder) const {
    // The folder's own files first; only where they show nothing, one level further.
    for (int depth : {1, 2}) {
        std::vector<std::string> found;
        for (const Entry& entry : below(folder, depth))
            if (const std::optional<std::string> format = formats(entry.name());
                format && std::ranges::find(found, *format) == found.end())
                found.push_back(*format);
        if (!found.empty()) return joined(found, ", ");
    }
    return {};
}

AIModelItem AIModelFinder::wholeItem(const Source& source) const {
    AIModelItem item;
    item.id = source.path;
    item.tool = source.tool;
    item.name = source.layout.label;
    item.kind = source.kind();
    item.parts = {part(source.path, source.layout.label)};
    item.detailsPath = source.path;
    item.detail = "Everything in the folder";
    item.note = "Fetched again as needed";
    return item;
}

std::vector<AIModelItem> AIModelFinder::folderItems(const Source& source) const {
    const int depth = source.layout.depth;
    std::vector<AIModelItem> items;
    for (const Entry& entry : below(source.path, depth)) {
        if (static_cast<int>(entry.components.size()) != depth || !S_ISDIR(entry.info.st_mode)) continue;
        AIModelItem item;
        item.id = entry.path;
        item.tool = source.tool;
        item.name = joined(entry.components, "/");
        item.parts = {part(entry.path, "The model's folder")};
        item.detailsPath = entry.path;
        item.modified = entry.info.st_mtim.tv_sec;
        int files = 0, models = 0;
        for (const Entry& inside : below(entry.path, 4))
            if (S_ISREG(inside.info.st_mode)) {
                ++files;
                if (isModelFile(inside.name(), false)) ++models;
            }
        const std::string formatWords = formatsIn(entry.path);
        const std::string count = models > 0 ? std::to_string(models) + (models == 1 ? " model file" : " model files")
                                             : std::to_string(files) + (files == 1 ? " file" : " files");
        item.detail = (formatWords.empty() ? "" : formatWords + " · ") + count + " · " + ByteFormat::string(item.bytes());
        items.push_back(std::move(item));
    }
    return items;
}

std::optional<AIModelItem> AIModelFinder::fileItem(const std::string& root, AITool tool, const std::string& path,
                                                   const std::vector<std::string>& components) const {
    struct stat info {};
    if (components.empty() || ::lstat(path.c_str(), &info) != 0) return std::nullopt;
    const bool package = S_ISDIR(info.st_mode) && modelPackages().contains(lowerExtension(components.back()));
    if (!S_ISREG(info.st_mode) && !package) return std::nullopt;
    AIModelItem item;
    item.id = path;
    item.tool = tool;
    item.name = joined(components, "/");
    item.parts = {part(path, package ? "The model's package" : "The model's file")};
    item.detailsPath = Paths::isWithin(path, root) ? path : root;
    item.modified = info.st_mtim.tv_sec;
    item.detail = formats(components.back()).value_or("");
    return item;
}

std::vector<AIModelItem> AIModelFinder::fileItems(const Source& source) const {
    const std::set<std::string>& extensions = source.layout.extensions;
    auto isPackage = [](const Entry& entry) { return modelPackages().contains(lowerExtension(entry.name())); };
    std::vector<AIModelItem> items;
    for (const Entry& entry : below(source.path, source.layout.depth, [&](const Entry& entry) { return !isPackage(entry); })) {
        const std::string& name = entry.name();
        const bool wanted = S_ISDIR(entry.info.st_mode) ? isPackage(entry)
                                                        : S_ISREG(entry.info.st_mode) && extensions.contains(lowerExtension(name));
        if (!wanted) continue;
        if (std::optional<AIModelItem> item = fileItem(source.path, source.tool, entry.path, entry.components)) items.push_back(std::move(*item));
    }
    return items;
}

std::vector<AIModelItem> AIModelFinder::otherCaches(const std::string& root) const {
    // A folder with a row of its own, or holding one (llama.cpp's), is that row's.
    const std::vector<Source> rows = sources();
    auto tabled = [&](const std::string& path) {
        return std::ranges::any_of(rows, [&](const Source& row) {
            return row.layout.shape != Shape::otherCaches && Paths::isWithin(row.path, path);
        });
    };
    std::vector<AIModelItem> items;
    for (const std::string& name : children(root)) {
        const std::string path = root + "/" + name;
        if (namedCaches().contains(name) || name == "Tessel" || !isFolder(path) || tabled(path)) continue;
        bool holdsModels = false;
        for (const Entry& entry : below(path, 6, [](const Entry& entry) { return !modelPackages().contains(lowerExtension(entry.name())); })) {
            const std::string& last = entry.name();
            if ((S_ISREG(entry.info.st_mode) && isModelFile(last, true)) ||
                (S_ISDIR(entry.info.st_mode) && modelPackages().contains(lowerExtension(last)))) {
                holdsModels = true;
                break;
            }
        }
        if (!holdsModels) continue;
        AIModelItem item;
        item.id = path;
        item.tool = AITool::other;
        item.name = name;
        item.kind = AIModelItem::Kind::cache;
        item.parts = {part(path, "Everything in the folder")};
        item.detailsPath = path;
        item.detail = formatsIn(path);
        item.note = "Model files from a tool Tessel does not know by name";
        items.push_back(std::move(item));
    }
    return items;
}

AIModelInventory AIModelFinder::find(const std::function<void(AITool, std::size_t, std::size_t)>& progress,
                                     const std::function<bool()>& isCancelled) const {
    const std::vector<Source> rows = sources();
    Walk found;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Source& source = rows[i];
        if (isCancelled && isCancelled()) return {};
        if (progress) progress(source.tool, i, rows.size());
        if (!isFolder(source.path)) continue;
        std::vector<AIModelItem> items;
        switch (source.layout.shape) {
        case Shape::ollama: ollama(source.path, source.tool, source.administered, found); break;
        case Shape::huggingFace: huggingFace(source.path, found); break;
        case Shape::whole: items.push_back(wholeItem(source)); break;
        case Shape::folders: items = folderItems(source); break;
        case Shape::files: items = fileItems(source); break;
        case Shape::otherCaches: items = otherCaches(source.path); break;
        }
        for (AIModelItem& item : items) {
            item.requiresAdministrator = source.administered ||
                std::ranges::any_of(item.parts, [](const AIModelPart& part) { return MoveRights::needsAdministrator(part.path); });
            found.items.push_back(std::move(item));
        }
    }
    if (settings_.dockerModels)
        if (const std::optional<std::string> listed = settings_.dockerModels()) {
            std::vector<AIModelItem> docker = dockerModels(*listed);
            std::ranges::move(docker, std::back_inserter(found.items));
        }
    if (progress) progress(AITool::other, rows.size(), rows.size());

    AIModelInventory inventory;
    inventory.items = std::move(found.items);
    inventory.shared = std::move(found.shared);
    // Downloads no model names: one item for what this user may move, one for a service's store.
    for (auto [loose, id, administered] : {std::tuple{&found.loose, "#loose", false},
                                           std::tuple{&found.looseAdministered, "#loose-administered", true}}) {
        if (loose->empty()) continue;
        AIModelItem item;
        item.id = id;
        item.tool = loose->front().first;
        for (const auto& [tool, part] : *loose) {
            if (tool != item.tool) item.tool = AITool::other;
            item.parts.push_back(part);
        }
        item.name = "Unfinished and unused downloads";
        item.kind = AIModelItem::Kind::unfinished;
        item.detailsPath = Paths::standardized(item.parts.front().path + "/..");
        item.detail = std::to_string(item.parts.size()) + (item.parts.size() == 1 ? " file" : " files");
        item.note = "No model uses them. A download that stopped midway starts again when its model is next asked for.";
        item.requiresAdministrator = administered ||
            std::ranges::any_of(item.parts, [](const AIModelPart& part) { return MoveRights::needsAdministrator(part.path); });
        inventory.items.push_back(std::move(item));
    }
    std::map<std::string, std::string> names;
    for (const AIModelItem& item : inventory.items) names[item.id] = item.name;
    for (AIModelItem& item : inventory.items) {
        std::set<std::string> others;
        for (const auto& [path, layer] : inventory.shared) {
            if (!layer.users.contains(item.id)) continue;
            item.sharedBytes = checkedAdd(item.sharedBytes, layer.bytes);
            for (const std::string& user : layer.users)
                if (user != item.id) others.insert(names[user]);
        }
        item.sharedWith.assign(others.begin(), others.end());
    }
    for (const AIModelItem& item : inventory.items)
        if (const std::optional<std::string_view> app = AITools::appName(item.tool); app && !inventory.apps.contains(item.tool))
            for (const std::string& folder : settings_.applications)
                if (const std::string path = folder + "/" + std::string(*app) + ".app"; isFolder(path)) {
                    inventory.apps[item.tool] = path;
                    break;
                }
    return inventory;
}

} // namespace tessel
