// The two stores that keep models in a format of their own: Ollama's and
// Hugging Face's, and the list Docker gives of its models.
//
// Ollama. ROOT/manifests/REGISTRY/NAMESPACE/MODEL/TAG is a JSON manifest
// naming a config blob and layers by digest; each lies in ROOT/blobs, the
// digest "sha256:ab12…" as the file "sha256-ab12…" (older versions kept the
// colon). Models share blobs: two tags of one model name the same weights.
// So every manifest is read first, and then a blob named by one manifest is
// that model's part, a blob named by several is a shared layer that goes only
// with the last of them, and a blob named by none (a download cut short, a
// model removed by hand) is loose. A manifest that is not JSON is skipped,
// and its blobs then count as loose. A digest that isn't "letters:hex" names
// no file: a manifest can't point out of the store.
//
// Hugging Face. ROOT/models--ORG--NAME (datasets--, spaces--) is one
// repository: snapshots/REVISION/… holds links into its blobs/, refs/ the
// names of its revisions. Two revisions link the same blob when a file did
// not change between them; the blob is counted once. A link is read, never
// followed: only a target that lies within the repository's blobs/ counts.
// Blobs no revision links to (a "*.incomplete" download, a revision removed)
// are loose. A repository with nothing loose goes whole, as one folder; one
// with loose blobs goes as its revisions and the blobs they use, leaving the
// loose ones to their own item.
//
// Example: manifests of llama3:latest and llama3:8b naming the same weights
// and each its own config give two items of one config blob and a manifest
// each, and one shared layer "A file shared by llama3:8b, llama3:latest".

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>

#include "AIModelWalk.h"
#include "Base/FolderNames.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/AIModelFinder.h"
#include "UninstallKit/DockerAnswers.h"
#include "UninstallKit/MoveRights.h"

namespace tessel {

namespace {

using namespace AIModelWalk;

constexpr std::int64_t manifestLimit = 4 << 20;

std::optional<nlohmann::json> readJson(const std::string& path) {
    const SmallFileRead read = readSmallFile(path, manifestLimit);
    if (!read.text) return std::nullopt;
    nlohmann::json json = nlohmann::json::parse(*read.text, nullptr, false);
    if (json.is_discarded() || !json.is_object()) return std::nullopt;
    return json;
}

std::string text(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

// The blob a digest names, where it is in the store.
std::optional<std::string> blobOf(const std::string& blobs, const std::string& digest) {
    static const std::regex shape("[a-z0-9]+:[0-9a-fA-F]+");
    if (!std::regex_match(digest, shape)) return std::nullopt;
    const std::size_t colon = digest.find(':');
    for (const std::string& name : {digest.substr(0, colon) + "-" + digest.substr(colon + 1), digest}) {
        struct stat info {};
        if (::lstat((blobs + "/" + name).c_str(), &info) == 0 && S_ISREG(info.st_mode)) return blobs + "/" + name;
    }
    return std::nullopt;
}

std::int64_t allocated(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 ? static_cast<std::int64_t>(info.st_blocks) * 512 : 0;
}

void judge(AIModelItem& item, bool administered) {
    item.requiresAdministrator = administered || std::ranges::any_of(item.parts, [](const AIModelPart& part) {
        return !part.path.empty() && MoveRights::needsAdministrator(part.path);
    });
}

void addLoose(AIModelFinder::Walk& walk, AITool tool, bool administered, AIModelPart part) {
    (administered ? walk.looseAdministered : walk.loose).emplace_back(tool, std::move(part));
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

} // namespace

std::string AIModelFinder::ollamaName(const std::string& relative) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= relative.size();) {
        const std::size_t slash = std::min(relative.find('/', start), relative.size());
        parts.push_back(relative.substr(start, slash - start));
        start = slash + 1;
    }
    if (parts.size() != 4) return relative;
    const bool home = parts[0] == "registry.ollama.ai";
    std::string name = home ? "" : parts[0] + "/";
    if (!(home && parts[1] == "library")) name += parts[1] + "/";
    return name + parts[2] + ":" + parts[3];
}

std::string AIModelFinder::role(const std::string& mediaType) {
    static const std::map<std::string, std::string> roles{
        {"model", "model weights"},   {"projector", "vision projector"}, {"adapter", "adapter"},
        {"template", "prompt template"}, {"system", "system prompt"},    {"params", "settings"},
        {"messages", "messages"}};
    const std::size_t dot = mediaType.rfind('.');
    const std::string word = dot == std::string::npos ? mediaType : mediaType.substr(dot + 1);
    if (const auto found = roles.find(word); found != roles.end()) return found->second;
    return word.empty() ? "layer" : word;
}

void AIModelFinder::ollama(const std::string& root, AITool tool, bool administered, Walk& walk) const {
    struct Model {
        AIModelItem item;
        std::vector<std::pair<std::string, std::string>> blobs; // path and label, each once
    };
    const std::string blobs = root + "/blobs";
    std::vector<Model> models;
    for (const Entry& entry : below(root + "/manifests", 4)) {
        if (entry.components.size() != 4 || !S_ISREG(entry.info.st_mode)) continue;
        const std::optional<nlohmann::json> manifest = readJson(entry.path);
        if (!manifest) continue;
        Model model;
        AIModelItem& item = model.item;
        item.id = entry.path;
        item.tool = tool;
        item.name = ollamaName(joined(entry.components, "/"));
        item.detailsPath = entry.path;
        item.modified = entry.info.st_mtim.tv_sec;
        if (tool == AITool::msty) item.removedBy = AIModelItem::ByApp{};
        else item.removedBy = AIModelItem::ByCommand{"ollama rm " + item.name};
        auto use = [&](const nlohmann::json& layer, const std::string& label) {
            if (!layer.is_object()) return;
            const std::optional<std::string> blob = blobOf(blobs, text(layer, "digest"));
            if (blob && std::ranges::find(model.blobs, *blob, &std::pair<std::string, std::string>::first) == model.blobs.end())
                model.blobs.emplace_back(*blob, label);
        };
        if (const auto config = manifest->find("config"); config != manifest->end()) {
            use(*config, "model details");
            if (config->is_object())
                if (const std::optional<std::string> blob = blobOf(blobs, text(*config, "digest")))
                    if (const std::optional<nlohmann::json> details = readJson(*blob)) {
                        std::vector<std::string> words;
                        for (const char* key : {"model_type", "file_type"})
                            if (const std::string word = text(*details, key); !word.empty() && word != "unknown") words.push_back(word);
                        item.detail = joined(words, " · ");
                    }
        }
        if (const auto layers = manifest->find("layers"); layers != manifest->end() && layers->is_array())
            for (const nlohmann::json& layer : *layers)
                if (layer.is_object()) use(layer, role(text(layer, "mediaType")));
        item.parts.push_back({entry.path, allocated(entry.path), false, item.name + ": its list of layers"});
        models.push_back(std::move(model));
    }

    std::map<std::string, std::vector<const Model*>> users;
    for (const Model& model : models)
        for (const auto& [blob, label] : model.blobs) users[blob].push_back(&model);
    for (Model& model : models) {
        for (const auto& [blob, label] : model.blobs) {
            const std::vector<const Model*>& using_ = users[blob];
            if (using_.size() == 1) {
                model.item.parts.insert(model.item.parts.end() - 1, {blob, allocated(blob), false, label});
                continue;
            }
            AIModelInventory::SharedLayer& layer = walk.shared[blob];
            std::vector<std::string> names;
            for (const Model* user : using_) {
                layer.users.insert(user->item.id);
                names.push_back(user->item.name);
            }
            std::ranges::sort(names);
            layer.bytes = allocated(blob);
            layer.label = "A file shared by " + joined(names, ", ");
        }
    }
    for (Model& model : models) {
        judge(model.item, administered);
        walk.items.push_back(std::move(model.item));
    }
    for (const std::string& name : folderNames(blobs)) {
        const std::string path = blobs + "/" + name;
        struct stat info {};
        if (users.contains(path) || ::lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
        const bool partial = name.find("-partial") != std::string::npos;
        addLoose(walk, tool, administered,
                 {path, allocated(path), false, partial ? "A download that did not finish" : "A download no model uses"});
    }
}

void AIModelFinder::huggingFace(const std::string& root, Walk& walk) const {
    for (const std::string& folder : children(root)) {
        const std::string repo = root + "/" + folder;
        if (!isFolder(repo)) continue;
        AIModelItem item;
        item.id = repo;
        item.tool = AITool::huggingFace;
        const std::size_t cut = folder.find("--");
        const std::string prefix = cut == std::string::npos ? std::string() : folder.substr(0, cut);
        item.kind = prefix == "datasets" ? AIModelItem::Kind::dataset
                    : prefix == "spaces" ? AIModelItem::Kind::cache
                                         : AIModelItem::Kind::model;
        item.name = cut == std::string::npos ? folder : folder.substr(cut + 2);
        for (std::size_t at = item.name.find("--"); at != std::string::npos; at = item.name.find("--", at + 1))
            item.name.replace(at, 2, "/");
        item.detailsPath = repo;

        const std::string blobs = repo + "/blobs";
        std::set<std::string> reached;
        std::vector<std::string> formatWords;
        std::size_t files = 0;
        const std::vector<std::string> revisions = children(repo + "/snapshots");
        for (const Entry& entry : below(repo + "/snapshots", 32)) {
            if (entry.components.size() < 2 || S_ISDIR(entry.info.st_mode)) continue;
            ++files;
            if (const std::optional<std::string> format = formats(entry.name());
                format && std::ranges::find(formatWords, *format) == formatWords.end())
                formatWords.push_back(*format);
            if (!S_ISLNK(entry.info.st_mode)) continue;
            std::string target(static_cast<std::size_t>(entry.info.st_size > 0 ? entry.info.st_size : 4096) + 1, '\0');
            const ssize_t length = ::readlink(entry.path.c_str(), target.data(), target.size());
            if (length <= 0 || static_cast<std::size_t>(length) >= target.size()) continue;
            target.resize(static_cast<std::size_t>(length));
            const std::string resolved = Paths::standardized(
                target.starts_with('/') ? target : entry.path.substr(0, entry.path.rfind('/')) + "/" + target);
            struct stat info {};
            if (Paths::isWithin(resolved, blobs) && resolved != blobs && ::lstat(resolved.c_str(), &info) == 0 && S_ISREG(info.st_mode))
                reached.insert(resolved);
        }
        std::vector<std::string> loose;
        for (const std::string& name : folderNames(blobs))
            if (!reached.contains(blobs + "/" + name)) loose.push_back(blobs + "/" + name);
        if (loose.empty()) {
            item.parts = {part(repo, item.name + ": its revisions and the files they use")};
        } else {
            for (const std::string& name : folderNames(repo))
                if (name != "blobs")
                    item.parts.push_back(part(repo + "/" + name, item.name + (name == "refs" ? ": the list of its revisions" : ": its revisions")));
            for (const std::string& blob : reached) item.parts.push_back({blob, allocated(blob), false, item.name + ": a file kept in the shared store"});
            for (const std::string& path : loose)
                addLoose(walk, AITool::huggingFace, false,
                         part(path, path.ends_with(".incomplete") ? "A download that did not finish" : "A download no model uses"));
        }
        struct stat info {};
        if (::lstat((repo + "/snapshots").c_str(), &info) == 0) item.modified = info.st_mtim.tv_sec;
        std::vector<std::string> detail;
        if (!formatWords.empty()) detail.push_back(joined(formatWords, ", "));
        if (revisions.size() > 1) detail.push_back(std::to_string(revisions.size()) + " revisions");
        detail.push_back(counted(files, "file", "files"));
        item.detail = joined(detail, " · ");
        judge(item, false);
        walk.items.push_back(std::move(item));
    }
}

std::vector<AIModelItem> AIModelFinder::dockerModels(const std::string& listed) {
    std::vector<AIModelItem> items;
    const nlohmann::json models = nlohmann::json::parse(listed, nullptr, false);
    if (!models.is_array()) return items;
    for (const nlohmann::json& model : models) {
        if (!model.is_object()) continue;
        const std::string id = text(model, "id");
        if (id.empty()) continue;
        AIModelItem item;
        item.id = "docker:" + id;
        item.tool = AITool::docker;
        item.name = id;
        if (const auto tags = model.find("tags"); tags != model.end() && tags->is_array() && !tags->empty() && tags->front().is_string())
            item.name = tags->front().get<std::string>();
        std::vector<std::string> words;
        std::int64_t bytes = 0;
        if (const auto config = model.find("config"); config != model.end() && config->is_object()) {
            for (const char* key : {"parameters", "quantization", "format"})
                if (const std::string word = text(*config, key); !word.empty()) words.push_back(word);
            bytes = DockerAnswers::sizeOf(text(*config, "size")).value_or(0);
        }
        item.parts = {{"", bytes, false, "Kept by Docker"}};
        item.detail = joined(words, " · ");
        item.removedBy = AIModelItem::ByCommand{"docker model rm " + item.name};
        items.push_back(std::move(item));
    }
    return items;
}

} // namespace tessel
