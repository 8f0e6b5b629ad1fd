// The tree of a scan: paths from a root named by its whole path, order by
// size, and taking a subtree out and putting it back with every total.
#include <gtest/gtest.h>

#include "DiskScanKit/FileNode.h"
#include "TreeBuilder.h"

using namespace tessel;
using test::namesOf;
using Names = std::vector<std::string>;

namespace {

// root /Users/a (100): a (60: x 10, y 50), b 30, c (10 loose)
struct SmallTree : testing::Test, test::TreeBuilder {
    SmallTree() : TreeBuilder("/Users/a") {}
    FileNode* a = folder(root, "a");
    FileNode* x = file(a, "x", 10);
    FileNode* y = file(a, "y", 50);
    FileNode* b = file(root, "b", 30);
    FileNode* c = folder(root, "c", 10);
};

} // namespace

TEST_F(SmallTree, PathsJoinNamesBelowTheRootsWholePath) {
    EXPECT_EQ(x->path(), "/Users/a/a/x");
    EXPECT_EQ(tree->makeNode("", false, a)->path(), "/Users/a/a") << "a nameless file drops out";
    test::TreeBuilder disk("/");
    EXPECT_EQ(disk.root->path(), "/");
    EXPECT_EQ(disk.folder(disk.root, "Users")->path(), "/Users");
}

TEST_F(SmallTree, OrderBySizeIsStableAndRanksTheWholeSubtree) {
    file(root, "d", 30); // as large as b, listed after it
    EXPECT_EQ(namesOf(root->childrenBySize()), (Names{"a", "b", "d", "c"}));
    EXPECT_EQ(namesOf(root->children()), (Names{"a", "b", "c", "d"}));
    EXPECT_EQ(namesOf(root->largestDescendants(3, false)), (Names{"a", "y", "b"}));
    EXPECT_EQ(namesOf(root->largestDescendants(5, true)), (Names{"a", "c"}));
}

TEST_F(SmallTree, DetachAndReattachKeepEveryAncestorsTotal) {
    auto yGone = y->detachFromTree();
    ASSERT_TRUE(yGone);
    EXPECT_EQ(a->totalBytes(), 10);
    EXPECT_EQ(root->totalBytes(), 50);
    EXPECT_FALSE(y->detachFromTree()) << "already detached";
    EXPECT_FALSE(root->detachFromTree());
    y->setTotalBytes(999);
    y->reattach(*yGone);
    EXPECT_EQ(root->totalBytes(), 100) << "the recorded bytes come back, not the node's present total";

    auto cGone = c->detachFromTree();
    auto bGone = b->detachFromTree();
    c->reattach(*cGone); // index 2, with only "a" left: the end
    b->reattach(*bGone);
    b->reattach(*bGone);
    EXPECT_EQ(namesOf(root->children()), (Names{"a", "b", "c"})) << "a repeated reattach is harmless";
    EXPECT_EQ(root->totalBytes(), 100);
}

TEST_F(SmallTree, ShortFoldersAreTheUnreadAndPartlyReadInTreeOrderUpToALimit) {
    folder(a, "inner")->setReading(FolderReading::partial);
    c->setReading(FolderReading::unreadable);
    a->setReading(FolderReading::stalled); // told by its own notice, not this list
    const auto names = [&](std::size_t limit) {
        Names list;
        for (const FileNode* node : FolderReadings::shortFolders(*root, limit)) list.emplace_back(node->name());
        return list;
    };
    EXPECT_EQ(names(10), (Names{"inner", "c"}));
    EXPECT_EQ(names(1), (Names{"inner"}));
    root->setReading(FolderReading::unreadable);
    EXPECT_EQ(names(1), (Names{"/Users/a"})) << "the scanned folder itself comes first";
}

TEST(FileNodeSize, NodeStaysSmall) {
    // The tree of a disk holds hundreds of thousands of these.
    EXPECT_LE(sizeof(FileNode), 56u);
}

TEST(CheckedSizeDeathTest, OverflowStopsTheProcess) {
    auto tree = std::make_shared<FileTree>();
    FileNode* node = tree->makeNode("n", false, nullptr);
    node->setTotalBytes(std::numeric_limits<std::int64_t>::max());
    EXPECT_DEATH(node->addTotalBytes(1), "overflow");
}
