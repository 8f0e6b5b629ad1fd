// The removal road: the confirmation's words, the move off the main thread,
// the tree patched to match, the undo, and a change that waits for a reader.
#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

#include <optional>

#include "removal/RemovalHome.h"

using namespace tessel;
using namespace tessel::test;

namespace {

class Removing : public RemovalHome {
protected:
    void SetUp() override {
        makeFolder(home);
        makeFolder(home + "/photos");
        writeFile(home + "/photos/a.jpg", 3 << 20);
        writeFile(home + "/photos/b.jpg", 2 << 20);
        writeFile(home + "/big.iso", 4 << 20);
        scanHome();
    }
    static DeletionCandidate candidate(const FileNode* node) {
        return {node->path(), node->totalBytes(), node->isDirectory()};
    }
};

} // namespace

TEST(RemovalSheetWords, TitleHeadingsAndGroups) {
    DeletionPlan plan;
    plan.allowed = {{"/h/a", 1500, false}, {"/h/b", 500, false}};
    plan.refused = {{{"/etc/x", 1, false}, DeletionRefusal::systemPath}, {{"/h/y", 1, false}, DeletionRefusal::notPermitted}};
    RemovalSheet::Sheet sheet = RemovalSheet::make(plan, Platform::linuxOS);
    EXPECT_EQ(sheet.title, "Move 2 items to the Trash: 2.0 KB");
    EXPECT_EQ(sheet.skippedTitle, "SKIPPED: 1");
    EXPECT_EQ(sheet.administratorTitle, "NEEDS AN ADMINISTRATOR: 1");
    EXPECT_EQ(sheet.administrator[0].buttonTitle, "Show in Files");
    EXPECT_TRUE(sheet.heading.empty());

    plan.allowed.clear();
    plan.refused = {{{"/h/y", 1, false}, DeletionRefusal::notPermitted}};
    EXPECT_EQ(RemovalSheet::make(plan).heading, "Only an administrator can move it");
    plan.refused.push_back({{"/h/z", 1, false}, DeletionRefusal::notPermitted});
    EXPECT_EQ(RemovalSheet::make(plan).heading, "Only an administrator can move 2");
    plan.refused = {{{"/h/.local/share/Trash/files/q", 1, false}, DeletionRefusal::inTrash}};
    const RemovalSheet::Sheet trash = RemovalSheet::make(plan, Platform::linuxOS);
    EXPECT_EQ(trash.heading, "The Trash is emptied in Files");
    EXPECT_EQ(trash.skipped[0].buttonTitle, "Open Trash");
    EXPECT_TRUE(trash.body.starts_with("Tessel moves things to the Trash and never empties it"));
    plan.refused = {{{"/etc/x", 1, false}, DeletionRefusal::systemPath}};
    EXPECT_EQ(RemovalSheet::make(plan).heading, "Nothing can be moved");
    EXPECT_EQ(RemovalSheet::make(plan, Platform::macOS).title, "Move 0 items to the Trash: 0 bytes");
}

TEST_F(Removing, AFolderAndAFileInsideItAreOneMoveAndTheTreeFollows) {
    RemovalRoad road(environment, tree);
    const std::int64_t before = tree.root()->totalBytes();
    FileNode* photos = node("photos");
    prepare(road, {candidate(photos), candidate(node("photos/a.jpg"))});
    ASSERT_TRUE(road.plan());
    EXPECT_EQ(road.plan()->allowed.size(), 1u) << "the file inside goes with its folder";
    QSignalSpy treeChanged(&tree, &ScannedTree::changed);
    road.confirm();
    waitFor(road);
    EXPECT_FALSE(files.exists(home + "/photos"));
    EXPECT_EQ(node("photos"), nullptr);
    EXPECT_EQ(tree.root()->totalBytes(), before - photos->totalBytes());
    EXPECT_EQ(treeChanged.count(), 1);
    ASSERT_GE(notices.count(), 1);
    EXPECT_EQ(notices.items().front().title, "Moved 1 item to the Trash");

    road.undo();
    waitFor(road);
    EXPECT_TRUE(files.exists(home + "/photos/a.jpg"));
    EXPECT_EQ(node("photos"), photos);
    EXPECT_EQ(tree.root()->totalBytes(), before);
    EXPECT_FALSE(road.canUndo());
    ASSERT_GE(notices.count(), 1);
    EXPECT_EQ(notices.items().front().title, "Put 1 item back");
    for (const AppNotification& notice : notices.items())
        EXPECT_FALSE(notice.title.startsWith("Moved")) << "its Put Back would undo nothing, or something else";
}

TEST_F(Removing, APartialFailureDetachesOnlyWhatMovedAndUndoRestoresIt) {
    RemovalRoad road(environment, tree);
    const std::int64_t before = tree.root()->totalBytes();
    prepare(road, {candidate(node("big.iso")), candidate(node("photos/b.jpg"))});
    // Gone before the move: it fails, the other one moves.
    std::remove((home + "/photos/b.jpg").c_str());
    road.confirm();
    waitFor(road);
    ASSERT_TRUE(road.lastOutcome());
    EXPECT_EQ(road.lastOutcome()->receipts.size(), 1u);
    EXPECT_EQ(road.lastOutcome()->failures.size(), 1u);
    EXPECT_EQ(node("big.iso"), nullptr);
    EXPECT_NE(node("photos/b.jpg"), nullptr) << "what failed stays in the tree until a scan says otherwise";
    road.undo();
    waitFor(road);
    EXPECT_TRUE(files.exists(home + "/big.iso"));
    EXPECT_NE(node("big.iso"), nullptr);
    EXPECT_EQ(tree.root()->totalBytes(), before);
}

TEST_F(Removing, WhatTheFileManagerTookLeavesTheTreeOnlyWhenReallyGone) {
    RemovalRoad road(environment, tree);
    const QString iso = QString::fromStdString(home + "/big.iso");
    road.showInFileManager({iso});
    road.applicationActivated();
    EXPECT_NE(node("big.iso"), nullptr) << "still on disk: stays in the tree";
    std::rename((home + "/big.iso").c_str(), (folder / "moved.iso").c_str());
    road.applicationActivated();
    EXPECT_EQ(node("big.iso"), nullptr);
    EXPECT_FALSE(road.canUndo()) << "the file manager's move is not ours to undo";
}

TEST_F(Removing, RowsCarryTheirLabelsAndListsHearThatTheRoadMoved) {
    RemovalRoad road(environment, tree);
    prepare(road, {{home + "/big.iso", 4 << 20, false}, {"/etc/hostname", 10, false}}, {{home + "/big.iso", "Old installer"}});
    ASSERT_EQ(road.allowedRows().size(), 1);
    EXPECT_EQ(road.allowedRows()[0].toMap()["name"], "Old installer");
    road.confirm();
    waitFor(road);
    EXPECT_EQ(road.generation(), 1);
    EXPECT_FALSE(files.exists(home + "/big.iso"));
    EXPECT_EQ(node("big.iso"), nullptr);
}

TEST_F(Removing, AChangeAskedForWhileAJobReadsTheTreeWaitsAndThenRuns) {
    FileNode* iso = node("big.iso");
    ScannedTree::Reader reader = tree.reader();
    std::optional<ScannedTree::Reader::Hold> hold;
    hold.emplace(reader.hold());
    auto left = std::make_shared<std::vector<ScannedTree::Detached>>();
    QSignalSpy changed(&tree, &ScannedTree::changed);
    tree.detach({home + "/big.iso"}, left);
    EXPECT_TRUE(tree.hasWaitingChanges()) << "the main thread did not wait for the reader";
    EXPECT_NE(node("big.iso"), nullptr);
    hold.reset(); // the reader lets go; the change runs on the main thread
    ASSERT_TRUE(changed.wait(2000));
    EXPECT_EQ(node("big.iso"), nullptr);
    ASSERT_EQ(left->size(), 1u);
    EXPECT_EQ(left->front().detachment.node, iso);
    tree.reattach(left, {home + "/big.iso"});
    EXPECT_EQ(node("big.iso"), iso) << "no reader: at once";
}
