// tessel ai and tessel systemdata, run as the real tool on a home and a root
// of the test's own: that HOME, the tools' variables and --root reach the
// finders, and what a script and a person read. How models and rows are found
// is the kit's own, tested there.

#include <filesystem>

#include "DiskScanKit/NameBytes.h"
#include "ScopedEnvironment.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

struct Models : WithHome {
    test::ScopedEnvironment environment;
    test::TempFolder root, elsewhere;
    void SetUp() override {
        for (const char* name : {"OLLAMA_MODELS", "HF_HOME", "HF_HUB_CACHE", "TORCH_HOME", "LLAMA_CACHE"}) environment.unset(name);
    }
    static void ollama(const std::string& store, const std::string& model, const std::vector<std::string>& digests) {
        std::string layers;
        for (const std::string& digest : digests) {
            layers += (layers.empty() ? "" : ",") + std::string(R"({"mediaType":"application/vnd.ollama.image.model","digest":"sha256:)") + digest + "\"}";
            if (!fs::exists(store + "/blobs/sha256-" + digest)) test::writeText(store + "/blobs/sha256-" + digest, std::string(9000, 'w'));
        }
        test::writeText(store + "/manifests/registry.ollama.ai/library/" + model, "{\"layers\":[" + layers + "]}");
    }
};

TEST_F(Models, AiListsTheUsersStoreWhereOllamaModelsSaysAndTheServicesUnderTheRoot) {
    environment.set("OLLAMA_MODELS", elsewhere.path());
    ollama(elsewhere.path(), "llama3/latest", {"aa", "bb"});
    ollama(elsewhere.path(), "llama3/8b", {"aa"});
    ollama(home / ".ollama/models", "ignored/latest", {"cc"});
    ollama(root / "usr/share/ollama/.ollama/models", "caf\xe9/latest", {"dd"});
    const json report = runJson({"ai", "--json", "--root", root.path()});
    const json& items = report.at("items");
    ASSERT_EQ(items.size(), 3u) << report;
    EXPECT_EQ(items[1].at("name"), "llama3:latest");
    EXPECT_EQ(items[1].at("sharedWith"), json::array({"llama3:8b"}));
    const std::int64_t shared = items[1].at("sharedBytes");
    EXPECT_EQ(report.at("totalBytes"), items[0].at("bytes").get<std::int64_t>() + items[1].at("bytes").get<std::int64_t>() +
                                           items[2].at("bytes").get<std::int64_t>() + shared);
    EXPECT_EQ(items[2].at("requiresAdministrator"), true);
    EXPECT_EQ(items[2].at("removedBy"), (json{{"command", "ollama rm caf\xef\xbf\xbd:latest"},
                                               {"commandBytes", Base64::encode("ollama rm caf\xe9:latest")}}));
    EXPECT_EQ(items[2].at("nameBytes"), Base64::encode("caf\xe9:latest"));
    for (const char* key : {"id", "tool", "name", "kind", "bytes", "sharedBytes", "sharedWith", "requiresAdministrator", "removedBy"})
        EXPECT_TRUE(items[0].contains(key)) << key;

    const Outcome text = run({"ai", "--root", root.path()});
    EXPECT_NE(text.out.find("llama3:latest\n      and "), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("caf\\xe9:latest (needs an administrator)\n"), std::string::npos) << text.out;
    EXPECT_EQ(run({"ai", "somewhere"}).status, 2);
}

TEST_F(Models, SystemDataDescribesTheMachineUnderTheRootWithTheHomesTrash) {
    test::writeText(root / "var/cache/apt/archives/tool_1.0_amd64.deb", std::string(50'000, 'd'));
    for (const char* release : {"6.1.0-9-amd64", "6.1.0-10-amd64", "6.1.0-11-amd64"})
        test::writeText(root / "usr/lib/modules" + "/" + release + "/modules.dep", std::string(9000, 'k'));
    test::writeText(home / ".local/share/Trash/files/old.txt", std::string(9000, 't'));
    test::writeText(root / "var/lib/dpkg/status", "");
    const json report = runJson({"systemdata", "--json", "--root", root.path()});
    std::vector<std::string> ids;
    for (const json& row : report.at("rows")) ids.push_back(row.at("id"));
    EXPECT_EQ(ids, (std::vector<std::string>{"aptCache", "kernel:6.1.0-10-amd64", "kernel:6.1.0-9-amd64",
                                             "trash:" + home / ".local/share/Trash"}))
        << "no kernel runs on a machine described under --root, so only the newest stays";
    EXPECT_EQ(report.at("rows")[0], (json{{"id", "aptCache"}, {"title", "Downloaded packages (APT)"},
                                          {"path", root / "var/cache/apt/archives"}, {"bytes", report.at("rows")[0].at("bytes")},
                                          {"canMove", false}, {"howToRemove", "sudo apt-get clean"}}));
    EXPECT_EQ(report.at("unreadable"), json::array());
    const Outcome text = run({"systemdata", "--root", root.path()});
    EXPECT_NE(text.out.find("Removed with: sudo apt purge linux-image-6.1.0-9-amd64\n"), std::string::npos) << text.out;
}

} // namespace
} // namespace tessel::cli
