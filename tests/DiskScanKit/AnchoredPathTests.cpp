// Following a path as the kernel does: links in folders, "..", the item
// itself left alone, paths longer than PATH_MAX, and the tops of mounts.
#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <filesystem>

#include "DiskScanKit/AnchoredPath.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;

namespace {

// Links the way a person leaves them: hop to the folder itself, lnk to a folder
// two levels down, abs to an absolute path, a loop and a dangling link.
struct LinkedFolder : testing::Test {
    TempFolder temp;
    std::string root = std::filesystem::canonical(temp.path());

    void SetUp() override {
        std::filesystem::create_directories(root + "/sub/dir");
        writeFile(root + "/victim", 10);
        writeFile(root + "/sub/victim", 10);
        for (const auto& [target, link] : {std::pair{root, "hop"}, {"sub/dir", "lnk"}, {root + "/sub", "abs"}, {"loop", "loop"},
                                           {"nowhere", "dangling"}})
            makeSymlink(target, root + "/" + link);
    }
    // The item resolved, or the failure told by the test.
    static AnchoredPath resolved(const std::string& path) {
        std::variant<AnchoredPath, AnchoredPath::Failure> found = AnchoredPath::resolve(path);
        if (const auto* failed = std::get_if<AnchoredPath::Failure>(&found)) throw std::runtime_error(failed->message);
        return std::move(std::get<AnchoredPath>(found));
    }
    static AnchoredPath::Failure failure(const std::string& path) {
        std::variant<AnchoredPath, AnchoredPath::Failure> found = AnchoredPath::resolve(path);
        const auto* failed = std::get_if<AnchoredPath::Failure>(&found);
        return failed != nullptr ? *failed : AnchoredPath::Failure{};
    }
};

} // namespace

TEST_F(LinkedFolder, LinksInFoldersAreFollowedDotDotIsTheRealParentAndTheItemIsLeftAlone) {
    const std::pair<std::string, std::string> cases[] = {
        {"/hop/hop/sub/victim", "/sub/victim"}, {"/abs/dir", "/sub/dir"}, {"/./sub//dir/", "/sub/dir"},
        {"/lnk/../victim", "/sub/victim"}, {"/lnk/..", "/sub"}, {"/lnk/.", "/sub/dir"},
        {"/hop", "/hop"}, {"/dangling", "/dangling"}, {"/gone", "/gone"}};
    for (const auto& [path, real] : cases) EXPECT_EQ(resolved(root + path).realPath(), root + real) << path;
    EXPECT_EQ(resolved("/..").realPath(), "/");
    EXPECT_EQ(AnchoredPath::realPathOf(root + "/hop"), root) << "the last link too";
    EXPECT_EQ(AnchoredPath::realPathOf(root + "/dangling"), root + "/nowhere");
    EXPECT_EQ(AnchoredPath::realPathOf(root + "/loop"), std::nullopt);
}

TEST_F(LinkedFolder, WhatCannotBeFollowedSaysWhy) {
    EXPECT_EQ(failure(root + "/loop/x").code, ELOOP);
    EXPECT_EQ(failure(root + "/victim/x").code, ENOTDIR);
    EXPECT_EQ(failure("relative/path").code, EINVAL);
    const AnchoredPath::Failure gone = failure(root + "/gone/x");
    EXPECT_EQ(gone.code, ENOENT);
    EXPECT_NE(gone.message.find("openat(" + root + "/gone): "), std::string::npos) << "the call and the path are named";
}

TEST_F(LinkedFolder, TheItemIsReachedThroughItsFolderEvenWhenThatIsMoved) {
    const AnchoredPath item = resolved(root + "/lnk/../victim");
    ASSERT_EQ(rename((root + "/sub").c_str(), (root + "/moved").c_str()), 0);
    struct stat direct {};
    ASSERT_EQ(lstat((root + "/moved/victim").c_str(), &direct), 0);
    ASSERT_TRUE(item.status());
    EXPECT_EQ(item.status()->st_ino, direct.st_ino);
}

TEST_F(LinkedFolder, PathsLongerThanPathMaxAreFollowed) {
    const std::string name(200, 'd');
    ASSERT_EQ(makeDeepChain(root, name, 30), 30);
    std::string deep = root;
    for (int i = 0; i < 30; ++i) deep += "/" + name;
    deep += "/bottom";
    ASSERT_GT(deep.size(), std::size_t{PATH_MAX});
    const AnchoredPath item = resolved(deep);
    EXPECT_EQ(item.realPath(), deep);
    ASSERT_TRUE(item.status());
    EXPECT_EQ(item.status()->st_size, 10000);
}

TEST_F(LinkedFolder, TheTopOfAMountIsFoundFromInsideIt) {
    makeFolder(root + "/disk");
    if (mount("tessel-test", (root + "/disk").c_str(), "tmpfs", 0, "size=4m") != 0)
        GTEST_SKIP() << "mounting a tmpfs needs root; mount tops are not tested here";
    struct Unmount {
        std::string path;
        ~Unmount() { umount2(path.c_str(), MNT_DETACH); }
    } unmount{root + "/disk"};
    makeFolder(root + "/disk/a");
    makeFolder(root + "/disk/a/b");
    makeSymlink(root + "/disk/a", root + "/to-disk");

    const auto top = [](const AnchoredPath& item) {
        std::variant<OpenFolder, AnchoredPath::Failure> found = item.fileSystemTop();
        return std::holds_alternative<OpenFolder>(found) ? std::get<OpenFolder>(found).realPath : "failed";
    };
    EXPECT_EQ(top(resolved(root + "/to-disk/b/file")), root + "/disk") << "the disk's top, not a folder of the typed path";
    EXPECT_TRUE(resolved(root + "/hop/disk").isMountPoint());
}
