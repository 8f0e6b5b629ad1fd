#include <gtest/gtest.h>

#include "DiskScanKit/FileNode.h"
#include "TreeBuilder.h"

using namespace tessel;
using test::namesOf;

namespace {

// root (100)
//   a  dir (60): x file 10, y file 50
//   b  file 30
//   c  dir (10): aggregated 10
struct SmallTree : testing::Test, test::TreeBuilder {
    SmallTree() : TreeBuilder("/Users/a") {}

    FileNode* a = add(root, "a", true, 0);
    FileNode* x = add(a, "x", false, 10);
    FileNode* y = add(a, "y", false, 50);
    FileNode* b = add(root, "b", false, 30);
    FileNode* c = add(root, "c", true, 10);
};

} // namespace

TEST(FileNodePath, RootOfSlashHasEmptyNameAndPathSlash) {
    auto root = makeRootedTree("/");
    EXPECT_EQ(root->name(), "");
    EXPECT_EQ(root->path(), "/");
    auto tree = std::make_shared<FileTree>();
    FileNode* top = tree->makeNode("", true, nullptr);
    FileNode* users = tree->makeNode("Users", true, top);
    EXPECT_EQ(users->path(), "/Users");
    EXPECT_EQ(users->depth(), 1);
}

TEST_F(SmallTree, PathJoinsNamesBelowAWholePathRoot) {
    EXPECT_EQ(root->path(), "/Users/a");
    EXPECT_EQ(x->path(), "/Users/a/a/x");
    EXPECT_EQ(x->depth(), 2);
    EXPECT_EQ(root->depth(), 0);
}

TEST_F(SmallTree, NamelessFilesDropOutOfPaths) {
    FileNode* nameless = tree->makeNode("", false, a);
    EXPECT_EQ(nameless->path(), "/Users/a/a");
}

TEST_F(SmallTree, ChildrenBySizeIsStableAndLeavesChildrenAlone) {
    FileNode* d = add(root, "d", false, 30); // same size as b, listed after it
    EXPECT_EQ(namesOf(root->childrenBySize()), (std::vector<std::string>{"a", "b", "d", "c"}));
    EXPECT_EQ(namesOf(root->children()), (std::vector<std::string>{"a", "b", "c", "d"}));
    (void)d;
}

TEST_F(SmallTree, DetachThenReattachRestoresOrderAndEveryTotal) {
    auto detachment = a->detachFromTree();
    ASSERT_TRUE(detachment);
    EXPECT_EQ(detachment->index, 0u);
    EXPECT_EQ(detachment->bytes, 60);
    EXPECT_EQ(root->totalBytes(), 40);
    EXPECT_EQ(a->parent(), nullptr);
    EXPECT_EQ(a->totalBytes(), 60) << "the detached node keeps its subtree";

    a->reattach(*detachment);
    EXPECT_EQ(namesOf(root->children()), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(root->totalBytes(), 100);
    EXPECT_EQ(a->parent(), root);
}

TEST_F(SmallTree, DetachingADeepNodeUpdatesEveryAncestor) {
    auto detachment = y->detachFromTree();
    ASSERT_TRUE(detachment);
    EXPECT_EQ(a->totalBytes(), 10);
    EXPECT_EQ(root->totalBytes(), 50);
    y->reattach(*detachment);
    EXPECT_EQ(a->totalBytes(), 60);
    EXPECT_EQ(root->totalBytes(), 100);
}

TEST_F(SmallTree, ReattachAddsTheRecordedBytesNotTheNodesPresentTotal) {
    auto detachment = a->detachFromTree();
    ASSERT_TRUE(detachment);
    a->setTotalBytes(999);
    a->reattach(*detachment);
    EXPECT_EQ(root->totalBytes(), 100);
}

TEST_F(SmallTree, ReattachClampsTheIndexWhenSiblingsWentAway) {
    auto cGone = c->detachFromTree();
    auto bGone = b->detachFromTree();
    ASSERT_TRUE(cGone && bGone);
    EXPECT_EQ(cGone->index, 2u);
    c->reattach(*cGone); // only "a" is left: index 2 becomes the end
    EXPECT_EQ(namesOf(root->children()), (std::vector<std::string>{"a", "c"}));
    b->reattach(*bGone);
    EXPECT_EQ(namesOf(root->children()), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(root->totalBytes(), 100);
}

TEST_F(SmallTree, DetachRefusesTheRootAndADetachedNode) {
    EXPECT_FALSE(root->detachFromTree());
    auto detachment = b->detachFromTree();
    ASSERT_TRUE(detachment);
    EXPECT_FALSE(b->detachFromTree());
    EXPECT_EQ(root->totalBytes(), 70);
}

TEST_F(SmallTree, RepeatedReattachIsHarmless) {
    auto detachment = b->detachFromTree();
    ASSERT_TRUE(detachment);
    b->reattach(*detachment);
    b->reattach(*detachment);
    EXPECT_EQ(root->children().size(), 3u);
    EXPECT_EQ(root->totalBytes(), 100);
}

TEST_F(SmallTree, LargestDescendantsRanksTheWholeSubtree) {
    EXPECT_EQ(namesOf(root->largestDescendants(3, false)), (std::vector<std::string>{"a", "y", "b"}));
    EXPECT_EQ(namesOf(root->largestDescendants(5, true)), (std::vector<std::string>{"a", "c"}));
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

std::vector<std::string> shortFolderNames(const FileNode& root, std::size_t limit) {
    std::vector<std::string> names;
    for (const FileNode* node : FolderReadings::shortFolders(root, limit)) names.emplace_back(node->name());
    return names;
}

TEST_F(SmallTree, ShortFoldersAreTheUnreadAndPartlyReadInTreeOrderUpToALimit) {
    FileNode* inner = add(a, "inner", true, 0);
    inner->setReading(FolderReading::partial);
    c->setReading(FolderReading::unreadable);
    a->setReading(FolderReading::stalled); // did not answer: told by its own notice, not this list
    EXPECT_EQ(shortFolderNames(*root, 10), (std::vector<std::string>{"inner", "c"}));
    EXPECT_EQ(shortFolderNames(*root, 1), (std::vector<std::string>{"inner"}));
    root->setReading(FolderReading::unreadable);
    EXPECT_EQ(FolderReadings::shortFolders(*root, 10).front(), root) << "the scanned folder itself comes first";
}
