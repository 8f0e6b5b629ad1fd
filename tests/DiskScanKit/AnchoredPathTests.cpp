// Following a path as the kernel does: links in folders, "..", the item
// itself left alone, paths longer than PATH_MAX, and the tops of mounts.
#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "DiskScanKit/AnchoredPath.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;

namespace {

// A folder with links the way a person leaves them: hop to the folder itself,
// lnk to a folder two levels down, abs to an absolute path, a loop and a dangling link.
struct LinkedFolder : testing::Test {
    TempFolder temp;
    std::string root = realOf(temp.path());

    static std::string realOf(const std::string& path) {
        char real[PATH_MAX];
        return realpath(path.c_str(), real) != nullptr ? real : path;
    }

    void SetUp() override {
        makeFolder(root + "/sub");
        makeFolder(root + "/sub/dir");
        writeFile(root + "/victim", 10);
        writeFile(root + "/sub/victim", 10);
        makeSymlink(root, root + "/hop");
        makeSymlink("sub/dir", root + "/lnk");
        makeSymlink(root + "/sub", root + "/abs");
        makeSymlink("loop", root + "/loop");
        makeSymlink("nowhere", root + "/dangling");
    }

    std::string realPath(const std::string& path) {
        std::variant<AnchoredPath, AnchoredPath::Failure> found = AnchoredPath::resolve(path);
        if (const auto* failed = std::get_if<AnchoredPath::Failure>(&found)) return "failed: " + failed->message;
        return std::get<AnchoredPath>(found).realPath();
    }

    int failureCode(const std::string& path) {
        std::variant<AnchoredPath, AnchoredPath::Failure> found = AnchoredPath::resolve(path);
        const auto* failed = std::get_if<AnchoredPath::Failure>(&found);
        return failed != nullptr ? failed->code : 0;
    }
};

} // namespace

TEST_F(LinkedFolder, LinksInFoldersAreFollowedAndTheItemIsNot) {
    EXPECT_EQ(realPath(root + "/hop/hop/sub/victim"), root + "/sub/victim");
    EXPECT_EQ(realPath(root + "/abs/dir"), root + "/sub/dir");
    EXPECT_EQ(realPath(root + "/hop"), root + "/hop") << "a link is an item of its own";
    EXPECT_EQ(realPath(root + "/dangling"), root + "/dangling");
    EXPECT_EQ(realPath(root + "/./sub//dir/"), root + "/sub/dir");
}

TEST_F(LinkedFolder, DotDotAfterALinkIsTheRealParent) {
    EXPECT_EQ(realPath(root + "/lnk/../victim"), root + "/sub/victim") << "not " << root << "/victim";
    EXPECT_EQ(realPath(root + "/lnk/.."), root + "/sub");
    EXPECT_EQ(realPath(root + "/lnk/."), root + "/sub/dir") << "a trailing dot names the folder reached";
    EXPECT_EQ(realPath("/.."), "/");
    EXPECT_EQ(realPath("/"), "/");
}

TEST_F(LinkedFolder, WhatCannotBeFollowedSaysWhy) {
    EXPECT_EQ(failureCode(root + "/loop/x"), ELOOP);
    EXPECT_EQ(failureCode(root + "/gone/x"), ENOENT);
    EXPECT_EQ(failureCode(root + "/victim/x"), ENOTDIR);
    EXPECT_EQ(failureCode("relative/path"), EINVAL);
    EXPECT_NE(realPath(root + "/gone/x").find("openat(" + root + "/gone): "), std::string::npos)
        << "the call and the path are named";
    EXPECT_EQ(realPath(root + "/gone"), root + "/gone") << "the item itself need not exist";
}

TEST_F(LinkedFolder, TheItemIsReachedThroughItsFolder) {
    std::variant<AnchoredPath, AnchoredPath::Failure> found = AnchoredPath::resolve(root + "/lnk/../victim");
    ASSERT_TRUE(std::holds_alternative<AnchoredPath>(found));
    const AnchoredPath& item = std::get<AnchoredPath>(found);
    // The folder stays what was resolved even when its path is taken away.
    ASSERT_EQ(rename((root + "/sub").c_str(), (root + "/moved").c_str()), 0);
    const std::optional<struct stat> info = item.status();
    ASSERT_TRUE(info);
    struct stat direct {};
    ASSERT_EQ(lstat((root + "/moved/victim").c_str(), &direct), 0);
    EXPECT_EQ(info->st_ino, direct.st_ino);
    EXPECT_FALSE(item.isMountPoint());
}

TEST_F(LinkedFolder, RealPathOfFollowsTheLastLinkToo) {
    EXPECT_EQ(AnchoredPath::realPathOf(root + "/hop"), root);
    EXPECT_EQ(AnchoredPath::realPathOf(root + "/lnk"), root + "/sub/dir");
    EXPECT_EQ(AnchoredPath::realPathOf(root + "/dangling"), root + "/nowhere");
    EXPECT_EQ(AnchoredPath::realPathOf(root + "/loop"), std::nullopt);
}

TEST_F(LinkedFolder, PathsLongerThanPathMaxAreFollowed) {
    const std::string name(200, 'd');
    ASSERT_EQ(makeDeepChain(root, name, 30), 30);
    std::string deep = root;
    for (int i = 0; i < 30; ++i) deep += "/" + name;
    deep += "/bottom";
    ASSERT_GT(deep.size(), std::size_t{PATH_MAX});
    struct stat tooLong {};
    ASSERT_NE(lstat(deep.c_str(), &tooLong), 0) << "the kernel alone can't take this path";
    std::variant<AnchoredPath, AnchoredPath::Failure> found = AnchoredPath::resolve(deep);
    ASSERT_TRUE(std::holds_alternative<AnchoredPath>(found));
    const AnchoredPath& item = std::get<AnchoredPath>(found);
    EXPECT_EQ(item.realPath(), deep);
    ASSERT_TRUE(item.status());
    EXPECT_EQ(item.status()->st_size, 10000);
}

TEST_F(LinkedFolder, TheTopOfAMountIsFoundFromInsideIt) {
    makeFolder(root + "/disk");
    if (mount("tessel-test", (root + "/disk").c_str(), "tmpfs", 0, "size=4m") != 0)
        GTEST_SKIP() << "mounting a tmpfs needs root; mount tops are not tested here";
    makeFolder(root + "/disk/a");
    makeFolder(root + "/disk/a/b");
    makeSymlink(root + "/disk/a", root + "/to-disk");

    std::variant<AnchoredPath, AnchoredPath::Failure> inside = AnchoredPath::resolve(root + "/to-disk/b/file");
    ASSERT_TRUE(std::holds_alternative<AnchoredPath>(inside));
    std::variant<OpenFolder, AnchoredPath::Failure> top = std::get<AnchoredPath>(inside).fileSystemTop();
    ASSERT_TRUE(std::holds_alternative<OpenFolder>(top));
    EXPECT_EQ(std::get<OpenFolder>(top).realPath, root + "/disk") << "the disk's top, not a folder of the typed path";

    std::variant<AnchoredPath, AnchoredPath::Failure> mountPoint = AnchoredPath::resolve(root + "/hop/disk");
    ASSERT_TRUE(std::holds_alternative<AnchoredPath>(mountPoint));
    EXPECT_TRUE(std::get<AnchoredPath>(mountPoint).isMountPoint());
    std::variant<AnchoredPath, AnchoredPath::Failure> outside = AnchoredPath::resolve(root + "/sub");
    std::variant<OpenFolder, AnchoredPath::Failure> outsideTop = std::get<AnchoredPath>(outside).fileSystemTop();
    ASSERT_TRUE(std::holds_alternative<OpenFolder>(outsideTop));
    EXPECT_NE(std::get<OpenFolder>(outsideTop).realPath, root + "/disk");
    umount2((root + "/disk").c_str(), MNT_DETACH);
}
