// The AI model finder on fixture homes: an Ollama store whose models share a
// blob, a Hugging Face cache moved by HF_HOME with two revisions of one
// repository, the plainer layouts of the other tools, and the Mac's places
// read from a Mac's fixture home. Sizes are the files' real allocated bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "Fixture.h"
#include "ScopedEnvironment.h"
#include "DiskScanKit/ByteFormat.h"
#include "UninstallKit/AIModelFinder.h"
#include "UninstallKit/AppleAIAssets.h"
#include "UninstallKit/DockerAnswers.h"

using namespace tessel;

namespace {

namespace fs = std::filesystem;

class AIHome : public ::testing::Test {
protected:
    test::TempFolder folder;
    std::string home = folder / "home";

    std::string file(const std::string& path, std::int64_t bytes = 5000) const {
        fs::create_directories(fs::path(path).parent_path());
        test::writeFile(path, bytes);
        return path;
    }
    AIModelInventory find(Platform platform = Platform::linuxOS, AIModelPlaces places = {}) const {
        if (places.home.empty()) places = AIModelPlaces::forHome(home);
        places.root = folder / "root";
        AIModelFinder::Settings settings;
        settings.platform = platform;
        settings.applications = {folder / "Applications"};
        return AIModelFinder(places, settings).find();
    }
    static const AIModelItem& named(const AIModelInventory& inventory, const std::string& name) {
        for (const AIModelItem& item : inventory.items)
            if (item.name == name) return item;
        throw std::runtime_error("no item named " + name);
    }
    static std::vector<std::string> names(const AIModelInventory& inventory) {
        std::vector<std::string> found;
        for (const AIModelItem& item : inventory.items) found.push_back(item.name);
        return found;
    }
    // An Ollama manifest naming a config (unless empty) and layers, each "mediaType digest".
    static void manifest(const std::string& store, const std::string& name, const std::string& config,
                         const std::vector<std::pair<std::string, std::string>>& layers) {
        std::string json = "{\"schemaVersion\":2";
        if (!config.empty()) json += ",\"config\":{\"digest\":\"" + config + "\"}";
        json += ",\"layers\":[";
        for (std::size_t i = 0; i < layers.size(); ++i)
            json += std::string(i ? "," : "") + "{\"mediaType\":\"application/vnd.ollama.image." + layers[i].first +
                    "\",\"digest\":\"" + layers[i].second + "\"}";
        test::writeText(store + "/manifests/" + name, json + "]}");
    }
};

TEST_F(AIHome, OllamaModelsShareABlobThatGoesOnlyWithTheLastOfThem) {
    const std::string store = home + "/.ollama/models", blobs = store + "/blobs";
    const std::string weights = file(blobs + "/sha256-aaaa", 300'000);
    file(blobs + "/sha256-bbbb", 8000);
    test::writeText(blobs + "/sha256-cccc", R"({"model_type":"8.0B","file_type":"unknown"})");
    test::writeText(blobs + "/sha256-dddd", R"({"model_type":"8.0B","file_type":"Q4_0"})");
    const std::string partial = file(blobs + "/sha256-eeee-partial", 70'000);
    const std::string orphan = file(blobs + "/sha256-ffff", 9000);
    manifest(store, "registry.ollama.ai/library/llama3/latest", "sha256:dddd", {{"model", "sha256:aaaa"}, {"template", "sha256:bbbb"}});
    manifest(store, "registry.ollama.ai/library/llama3/8b", "sha256:cccc", {{"model", "sha256:aaaa"}});
    manifest(store, "hf.co/someone/tiny/q4", "", {{"projector", "sha256:bbbb"}, {"model", "sha256:../../../etc"}});
    test::writeText(store + "/manifests/registry.ollama.ai/library/broken/latest", "{not json");
    test::writeText(store + "/manifests/registry.ollama.ai/library/broken-too/latest", "[\"sha256:ffff\"]");

    const AIModelInventory inventory = find();
    ASSERT_EQ(names(inventory), (std::vector<std::string>{"hf.co/someone/tiny:q4", "llama3:8b", "llama3:latest",
                                                          "Unfinished and unused downloads"}));
    const AIModelItem& latest = named(inventory, "llama3:latest");
    const AIModelItem& eight = named(inventory, "llama3:8b");
    EXPECT_EQ(latest.detail, "8.0B · Q4_0");
    EXPECT_EQ(eight.detail, "8.0B") << "\"unknown\" is dropped";
    EXPECT_EQ(named(inventory, "hf.co/someone/tiny:q4").detail, "") << "a manifest with no config has no detail";
    EXPECT_EQ(latest.removedBy, AIModelItem::Remover(AIModelItem::ByCommand{"ollama rm llama3:latest"}));
    EXPECT_EQ(latest.sharedWith, (std::vector<std::string>{"hf.co/someone/tiny:q4", "llama3:8b"}));
    EXPECT_EQ(latest.sharedBytes, test::allocatedOf(weights) + test::allocatedOf(blobs + "/sha256-bbbb"));
    ASSERT_EQ(inventory.shared.size(), 2u) << "the weights, and the template the tiny model names as its projector";
    EXPECT_EQ(inventory.shared.at(weights).label, "A file shared by llama3:8b, llama3:latest");
    for (const AIModelPart& part : latest.parts) EXPECT_NE(part.path, weights) << "a shared blob is no item's own part";

    auto paths = [&](const std::set<std::string>& ids) {
        std::vector<std::string> found = inventory.files(ids);
        std::ranges::sort(found);
        return found;
    };
    const std::vector<std::string> one = paths({latest.id});
    EXPECT_EQ(std::ranges::count(one, weights), 0) << "removing one keeps the shared blob";
    EXPECT_EQ(std::ranges::count(one, blobs + "/sha256-dddd"), 1);
    EXPECT_EQ(std::ranges::count(paths({latest.id, eight.id}), weights), 1) << "removing both takes it";

    std::int64_t everyFile = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(store))
        if (entry.is_regular_file() && entry.path().string().find("broken") == std::string::npos) everyFile += test::allocatedOf(entry.path());
    EXPECT_EQ(inventory.totalBytes(), everyFile) << "each blob counted once, the manifests that read and loose blobs too";

    const AIModelItem* loose = inventory.item("#loose");
    ASSERT_NE(loose, nullptr);
    EXPECT_EQ(loose->kind, AIModelItem::Kind::unfinished);
    ASSERT_EQ(loose->parts.size(), 2u) << "what no manifest that reads names";
    EXPECT_EQ(loose->parts[0], (AIModelPart{partial, test::allocatedOf(partial), false, "A download that did not finish"}));
    EXPECT_EQ(loose->parts[1].path, orphan);
    EXPECT_FALSE(loose->requiresAdministrator);
    EXPECT_TRUE(loose->startsTicked());
    EXPECT_FALSE(latest.startsTicked()) << "a model is never ticked for the user";
}

TEST_F(AIHome, TheServiceStoreNeedsAnAdministratorAndIsRemovedByOllama) {
    const std::string store = folder / "root/usr/share/ollama/.ollama/models";
    file(store + "/blobs/sha256-abcd");
    file(store + "/blobs/sha256-0123");
    manifest(store, "registry.ollama.ai/someone/phi/latest", "", {{"model", "sha256:abcd"}});
    const AIModelInventory inventory = find();
    const AIModelItem& phi = named(inventory, "someone/phi:latest");
    EXPECT_TRUE(phi.requiresAdministrator);
    EXPECT_FALSE(phi.isMovable());
    EXPECT_TRUE(inventory.removal({phi.id}).empty()) << "left to ollama rm";
    EXPECT_EQ(phi.removedBy, AIModelItem::Remover(AIModelItem::ByCommand{"ollama rm someone/phi:latest"}));
    ASSERT_NE(inventory.item("#loose-administered"), nullptr);
    EXPECT_EQ(inventory.item("#loose"), nullptr) << "nothing this user may move is loose";
}

TEST_F(AIHome, AHuggingFaceRepositoryCountsABlobTwoRevisionsLinkOnceAndItsIncompleteDownloadIsLoose) {
    test::ScopedEnvironment environment;
    for (const char* name : {"HF_HUB_CACHE", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "OLLAMA_MODELS", "TORCH_HOME", "LLAMA_CACHE"}) environment.unset(name);
    environment.set("HOME", home);
    environment.set("HF_HOME", folder / "elsewhere/hf");
    const std::string repo = folder / "elsewhere/hf/hub/models--org--tiny-model";
    const std::string shared = file(repo + "/blobs/1111", 40'000), newer = file(repo + "/blobs/2222", 20'000);
    const std::string incomplete = file(repo + "/blobs/3333.incomplete", 12'000);
    file(repo + "/blobs/4444");
    test::writeText(repo + "/refs/main", "rev2");
    for (const char* revision : {"rev1", "rev2"}) fs::create_directories(repo + "/snapshots/" + revision);
    for (const char* revision : {"rev1", "rev2"}) test::makeSymlink("../../blobs/1111", repo + "/snapshots/" + revision + "/model.safetensors");
    test::makeSymlink("../../blobs/2222", repo + "/snapshots/rev2/config.json");
    test::makeSymlink("/etc/passwd", repo + "/snapshots/rev2/outside.txt");
    const std::string dataset = folder / "elsewhere/hf/hub/datasets--org--words";
    file(dataset + "/blobs/5555");
    fs::create_directories(dataset + "/snapshots/r");
    test::makeSymlink("../../blobs/5555", dataset + "/snapshots/r/data.json");
    file(home + "/.cache/huggingface/hub/models--unused--default/blobs/6666");

    const AIModelPlaces places = AIModelPlaces::fromEnvironment();
    EXPECT_EQ(places.huggingFaceHub, folder / "elsewhere/hf/hub");
    const AIModelInventory inventory = find(Platform::linuxOS, places);
    ASSERT_EQ(names(inventory), (std::vector<std::string>{"org/words", "org/tiny-model", "Unfinished and unused downloads"}))
        << "HF_HOME replaces the default cache";
    const AIModelItem& model = named(inventory, "org/tiny-model");
    EXPECT_EQ(model.detail, "Safetensors · 2 revisions · 4 files");
    std::vector<std::string> blobs;
    for (const AIModelPart& part : model.parts)
        if (part.path.find("/blobs/") != std::string::npos) blobs.push_back(part.path);
    EXPECT_EQ(blobs, (std::vector<std::string>{shared, newer})) << "once each; never /etc/passwd";
    const AIModelItem& words = named(inventory, "org/words");
    EXPECT_EQ(words.kind, AIModelItem::Kind::dataset);
    ASSERT_EQ(words.parts.size(), 1u) << "a repository with nothing loose goes whole";
    EXPECT_EQ(words.parts[0].path, dataset);
    const AIModelItem* loose = inventory.item("#loose");
    ASSERT_NE(loose, nullptr);
    ASSERT_EQ(loose->parts.size(), 2u);
    EXPECT_EQ(loose->parts[0].path, incomplete);
    EXPECT_EQ(loose->parts[0].label, "A download that did not finish");
    EXPECT_EQ(loose->tool, AITool::huggingFace);
}

TEST_F(AIHome, FoldersFilesWholeCachesAndUnknownToolsEachBecomeItems) {
    file(home + "/.lmstudio/models/lmstudio-community/Qwen-GGUF/qwen-q4.gguf", 50'000);
    file(home + "/.lmstudio/models/lmstudio-community/Qwen-GGUF/README.md");
    file(home + "/.lmstudio/models/loose.gguf") /* not a folder two down */;
    file(home + "/ComfyUI/models/checkpoints/sd15.safetensors");
    file(home + "/ComfyUI/models/checkpoints/notes.txt");
    file(home + "/ComfyUI/models/a/b/c/too-deep.ckpt");
    fs::create_directories(home + "/ComfyUI/models/coreml/unet.mlmodelc/weights");
    file(home + "/.cache/huggingface/xet/chunk");
    file(home + "/.cache/mystery-tool/v1/net.onnx");
    file(home + "/.cache/torch/elsewhere.pt");
    file(home + "/.cache/fontconfig/cache.bin") /* a .bin no model's name */;
    file(home + "/.cache/llama.cpp/phi.gguf");
    const AIModelInventory inventory = find();
    EXPECT_EQ(names(inventory), (std::vector<std::string>{"lmstudio-community/Qwen-GGUF", "Xet cache", "checkpoints/sd15.safetensors",
                                                          "coreml/unet.mlmodelc", "phi.gguf", "mystery-tool"}));
    EXPECT_EQ(named(inventory, "lmstudio-community/Qwen-GGUF").detail,
              "GGUF · 1 model file · " + ByteFormat::string(named(inventory, "lmstudio-community/Qwen-GGUF").bytes()));
    const AIModelItem& xet = named(inventory, "Xet cache");
    EXPECT_EQ(xet.kind, AIModelItem::Kind::cache);
    EXPECT_EQ(xet.detail, "Everything in the folder");
    EXPECT_EQ(named(inventory, "coreml/unet.mlmodelc").detail, "Core ML");
    EXPECT_TRUE(named(inventory, "coreml/unet.mlmodelc").parts[0].isDirectory);
    const AIModelItem& mystery = named(inventory, "mystery-tool");
    EXPECT_EQ(mystery.tool, AITool::other);
    EXPECT_EQ(mystery.note, "Model files from a tool Tessel does not know by name");
    EXPECT_EQ(mystery.detail, "ONNX") << "found one level further down";
}

TEST_F(AIHome, TheMacsPlacesAreReadOnAMacAndNotElsewhere) {
    file(home + "/Library/Application Support/nomic.ai/GPT4All/orca.gguf");
    file(home + "/Library/Application Support/nomic.ai/GPT4All/localdocs.db");
    file(home + "/Library/Application Support/MacWhisper/models/large/ggml-large.bin");
    file(home + "/MochiDiffusion/models/sd2/unet.mlmodelc/x");
    fs::create_directories(folder / "Applications/GPT4All.app");
    const AIModelInventory mac = find(Platform::macOS);
    EXPECT_EQ(names(mac), (std::vector<std::string>{"orca.gguf", "sd2", "large/ggml-large.bin"}));
    EXPECT_EQ(mac.apps.at(AITool::gpt4all), folder / "Applications/GPT4All.app");
    EXPECT_EQ(mac.apps.size(), 1u);
    EXPECT_TRUE(find(Platform::linuxOS).items.empty());
    const std::vector<std::string> looked = AIModelFinder(AIModelPlaces::forHome(home), {}).placesLookedAt(AITool::gpt4all);
    EXPECT_EQ(looked, (std::vector<std::string>{home + "/.local/share/nomic.ai/GPT4All", home + "/.cache/gpt4all"}));
}

TEST_F(AIHome, TheToolsVariablesMoveTheirPlacesAndAToolsBytesHoldOnlyWhatItAloneUses) {
    test::ScopedEnvironment environment;
    for (const char* name : {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "HF_HOME", "HF_HUB_CACHE", "OLLAMA_MODELS"}) environment.unset(name);
    environment.set("HOME", home);
    environment.set("TORCH_HOME", folder / "torch");
    environment.set("LLAMA_CACHE", "relative/ignored");
    const AIModelFinder finder(AIModelPlaces::fromEnvironment(), {});
    EXPECT_EQ(finder.placesLookedAt(AITool::pyTorch), (std::vector<std::string>{folder / "torch/hub/checkpoints", folder / "torch/sentence_transformers"}));
    EXPECT_EQ(finder.placesLookedAt(AITool::llamaCpp), std::vector<std::string>{home + "/.cache/llama.cpp"}) << "a relative path is not taken";

    AIModelInventory inventory;
    auto item = [](const std::string& id, AITool tool, std::int64_t bytes) {
        AIModelItem made;
        made.id = id;
        made.tool = tool;
        made.parts = {{"/" + id, bytes, false, ""}};
        return made;
    };
    inventory.items = {item("a", AITool::ollama, 10), item("b", AITool::ollama, 20), item("c", AITool::msty, 40)};
    inventory.shared = {{"/ab", {100, {"a", "b"}, ""}}, {"/bc", {1000, {"b", "c"}, ""}}};
    const std::vector<AIModelInventory::ToolGroup> groups = inventory.byTool();
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0].bytes, 130) << "the layer both Ollama models use, not the one Msty's shares";
    EXPECT_EQ(groups[1].bytes, 40);
    EXPECT_EQ(inventory.totalBytes(), 1170);
    EXPECT_EQ(inventory.files({"b", "c"}), (std::vector<std::string>{"/b", "/c", "/bc"}));
    inventory.items[2].requiresAdministrator = true;
    EXPECT_EQ(inventory.removal({"b", "c"}), (std::vector<DeletionCandidate>{{"/b", 20, false}}))
        << "what an administrator must remove stays, and so does the layer it shares";
}

TEST(AIModelNames, OllamaNamesRolesDockerSizesAndDockersList) {
    EXPECT_EQ(AIModelFinder::ollamaName("registry.ollama.ai/library/llama3/latest"), "llama3:latest");
    EXPECT_EQ(AIModelFinder::ollamaName("registry.ollama.ai/me/mine/v2"), "me/mine:v2");
    EXPECT_EQ(AIModelFinder::role("application/vnd.ollama.image.projector"), "vision projector");
    EXPECT_EQ(AIModelFinder::role("application/vnd.ollama.image.license"), "license");
    EXPECT_EQ(DockerAnswers::sizeOf("260.86MiB"), 273'531'535);
    EXPECT_EQ(DockerAnswers::sizeOf("1.2GB (50%)"), 1'200'000'000);
    EXPECT_EQ(DockerAnswers::sizeOf("0B"), 0);
    for (const char* text : {"", "GB", "12 parsecs", "-1MB"}) EXPECT_EQ(DockerAnswers::sizeOf(text), std::nullopt) << text;
    const std::vector<AIModelItem> models = AIModelFinder::dockerModels(
        R"([{"id":"sha256:abc","tags":["ai/smollm2:latest"],"config":{"parameters":"361.82M","quantization":"IQ2_XXS","size":"256.35MiB"}},
            {"tags":["no id"]}, 7])");
    ASSERT_EQ(models.size(), 1u);
    EXPECT_EQ(models[0].name, "ai/smollm2:latest");
    EXPECT_EQ(models[0].detail, "361.82M · IQ2_XXS");
    EXPECT_EQ(models[0].bytes(), 268'802'458);
    EXPECT_FALSE(models[0].isMovable()) << "Docker keeps it where Tessel does not reach";
    EXPECT_TRUE(AIModelFinder::dockerModels("not json").empty());
}

} // namespace

namespace {

TEST(AppleAIAssets, AssetFoldersAreGroupedByWhatTheirNameSaysAndOthersLeftOut) {
    using Kind = AppleAIGroup::Kind;
    EXPECT_EQ(AppleAIAssets::kind("com_apple_MobileAsset_SiriTextToSpeech"), Kind::siri) << "Siri before the voices";
    EXPECT_EQ(AppleAIAssets::kind("com_apple_MobileAsset_TTSAXResourceModelAssets"), Kind::voices);
    EXPECT_EQ(AppleAIAssets::kind("com_apple_MobileAsset_SpeechTranslationAssets"), Kind::translation);
    EXPECT_EQ(AppleAIAssets::kind("com_apple_MobileAsset_UAF_FM_GenerativeModels"), Kind::intelligence);
    EXPECT_EQ(AppleAIAssets::kind("com_apple_MobileAsset_SoftwareUpdate"), std::nullopt);
    EXPECT_EQ(AppleAIAssets::kind("Generative"), std::nullopt) << "only the asset folders";
    test::TempFolder assets;
    for (const char* path : {"com_apple_MobileAsset_MacinTalkVoiceAssets/a.asset", "com_apple_MobileAsset_MacinTalkVoiceAssets/b.asset",
                             "com_apple_MobileAsset_MacinTalkVoiceAssets/catalog", "com_apple_MobileAsset_LinguisticData/c.asset",
                             "com_apple_MobileAsset_Font7/d.asset"})
        std::filesystem::create_directories(assets / path);
    const std::vector<AppleAIGroup> groups = AppleAIAssets::read(assets.path(), [](const std::string&) { return 42; });
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0].kind, Kind::voices);
    EXPECT_EQ(groups[0].parts[0].assets, 2);
    EXPECT_EQ(groups[1].kind, Kind::language);
    EXPECT_TRUE(AppleAIAssets::read(assets / "missing", {}).empty());
}

} // namespace
