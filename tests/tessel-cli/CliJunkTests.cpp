// tessel junk, run as the real tool on a home of its own: what a script
// reads, a running tool holding its cache back, and --clean moving only the
// ticked items to that home's Trash.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {

using nlohmann::json;

namespace {

const json* itemAt(const json& report, const std::string& path) {
    for (const json& item : report["items"])
        if (item["path"] == path) return &item;
    return nullptr;
}

} // namespace

TEST(CliJunk, ItemsTellWhyTheyGoAndARunningToolHoldsItsCacheBack) {
    test::TempFolder folder;
    const std::string home = folder / "home";
    for (const char* path : {"", "/.cache", "/.cache/viewer", "/.cache/quietbuilder", "/Downloads"}) test::makeFolder(home + path);
    test::writeFile(home + "/.cache/viewer/blob", 1'200'000);
    test::writeFile(home + "/.cache/quietbuilder/blob", 1'200'000);
    test::writeFile(home + "/Downloads/tool.deb", 1'200'000);
    // A program named like the tool whose folder it is, running while the tool looks.
    const std::string program = folder / "quietbuilder";
    std::filesystem::copy_file("/bin/sleep", program);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        execl(program.c_str(), program.c_str(), "60", static_cast<char*>(nullptr));
        _exit(127);
    }
    // Until the copy of this test has become the program, it goes by this test's name.
    for (int attempt = 0; attempt < 500 && std::filesystem::read_symlink("/proc/" + std::to_string(child) + "/exe") != program;
         ++attempt)
        usleep(10'000);
    const json report = runJson({"junk", "--json"}, As::usual, home);
    const Outcome cleaned = runTessel({"junk", "--clean"}, As::usual, home);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);

    const json* viewer = itemAt(report, home + "/.cache/viewer");
    const json* builder = itemAt(report, home + "/.cache/quietbuilder");
    const json* installer = itemAt(report, home + "/Downloads/tool.deb");
    ASSERT_TRUE(viewer && builder && installer) << report.dump(2);
    EXPECT_EQ((*viewer)["category"], "appCaches");
    EXPECT_EQ((*viewer)["note"], "Kept in the cache folder, where apps put what they can make or fetch again.");
    EXPECT_TRUE((*viewer)["startsTicked"]);
    EXPECT_FALSE((*viewer)["inUse"]);
    EXPECT_TRUE((*builder)["inUse"]);
    EXPECT_FALSE((*builder)["startsTicked"]) << "a cache whose program runs is not ticked";
    EXPECT_EQ((*installer)["category"], "installers");
    EXPECT_FALSE((*installer)["startsTicked"]);
    EXPECT_EQ(report["tickedBytes"], (*viewer)["bytes"]);
    EXPECT_EQ(report["totalBytes"].get<std::int64_t>(),
              (*viewer)["bytes"].get<std::int64_t>() + (*builder)["bytes"].get<std::int64_t>() +
                  (*installer)["bytes"].get<std::int64_t>());

    ASSERT_EQ(cleaned.status, 0) << cleaned.out << cleaned.err;
    EXPECT_FALSE(std::filesystem::exists(home + "/.cache/viewer"));
    EXPECT_TRUE(std::filesystem::exists(home + "/.local/share/Trash/files/viewer")) << "moved, not deleted";
    EXPECT_TRUE(std::filesystem::exists(home + "/.cache/quietbuilder")) << "in use";
    EXPECT_TRUE(std::filesystem::exists(home + "/Downloads/tool.deb")) << "the user's own, never ticked";
}

} // namespace tessel::cli
