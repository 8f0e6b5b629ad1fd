// Removal from the map and from lists: the confirmation's words, the move off
// the main thread, the tree patched on both roads, and the undo.
#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

#include "removal/DeletionModel.h"
#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"
#include "removal/RemovalHome.h"

using namespace tessel;
using namespace tessel::test;

namespace {

class Removing : public RemovalHome {
protected:
    ScanResult scan;

    void SetUp() override {
        makeFolder(home);
        makeFolder(home + "/photos");
        writeFile(home + "/photos/a.jpg", 3 << 20);
        writeFile(home + "/photos/b.jpg", 2 << 20);
        writeFile(home + "/big.iso", 4 << 20);
        scan = DiskScanner::scan(home);
    }
    FileNode* node(const std::string& relative) {
        FileNode* current = scan.root.get();
        std::size_t start = 0;
        while (current != nullptr && start < relative.size()) {
            const std::size_t slash = relative.find('/', start);
            const std::string name = relative.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
            FileNode* next = nullptr;
            for (FileNode* child : current->children())
                if (child->name() == name) next = child;
            current = next;
            start = slash == std::string::npos ? relative.size() : slash + 1;
        }
        return current;
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
    DeletionModel model(environment);
    const std::int64_t before = scan.root->totalBytes();
    FileNode* photos = node("photos");
    model.setSelection(scan.root, {photos, node("photos/a.jpg")});
    EXPECT_EQ(model.selectionBytes(), photos->totalBytes()) << "the file inside counts once";
    EXPECT_TRUE(model.isSelected(node("photos/b.jpg")));
    model.prepare();
    ASSERT_TRUE(model.plan());
    EXPECT_EQ(model.plan()->allowed.size(), 1u);
    QSignalSpy treeChanged(&model, &DeletionModel::treeChanged);
    model.confirm();
    waitFor(model);
    EXPECT_FALSE(files.exists(home + "/photos"));
    EXPECT_EQ(node("photos"), nullptr);
    EXPECT_EQ(scan.root->totalBytes(), before - photos->totalBytes());
    EXPECT_EQ(treeChanged.count(), 1);
    EXPECT_EQ(model.selectionCount(), 0);
    ASSERT_GE(notices.count(), 1);
    EXPECT_EQ(notices.items().front().title, "Moved 1 item to the Trash");

    model.undo();
    waitFor(model);
    EXPECT_TRUE(files.exists(home + "/photos/a.jpg"));
    EXPECT_EQ(node("photos"), photos);
    EXPECT_EQ(scan.root->totalBytes(), before);
    EXPECT_FALSE(model.canUndo());
    ASSERT_GE(notices.count(), 1);
    EXPECT_EQ(notices.items().front().title, "Put 1 item back");
    for (const AppNotification& notice : notices.items())
        EXPECT_FALSE(notice.title.startsWith("Moved")) << "its Put Back would undo nothing, or something else";
}

TEST_F(Removing, UndoAfterAPartialFailureRestoresWhatMoved) {
    DeletionModel model(environment);
    model.setSelection(scan.root, {node("big.iso"), node("photos/b.jpg")});
    model.prepare();
    // Gone before the move: it fails, the other one moves.
    std::remove((home + "/photos/b.jpg").c_str());
    model.confirm();
    waitFor(model);
    ASSERT_TRUE(model.lastOutcome());
    EXPECT_EQ(model.lastOutcome()->receipts.size(), 1u);
    EXPECT_EQ(model.lastOutcome()->failures.size(), 1u);
    EXPECT_EQ(model.selection(), std::vector<FileNode*>{node("photos/b.jpg")}) << "what failed stays selected";
    model.undo();
    waitFor(model);
    EXPECT_TRUE(files.exists(home + "/big.iso"));
    EXPECT_NE(node("big.iso"), nullptr);
}

TEST_F(Removing, SomethingGoneElsewhereLeavesTheTreeOnlyWhenReallyGone) {
    DeletionModel model(environment);
    FileNode* iso = node("big.iso");
    model.setSelection(scan.root, {iso});
    model.detachMovedElsewhere({iso});
    EXPECT_NE(node("big.iso"), nullptr) << "still on disk: stays in the tree";
    std::rename((home + "/big.iso").c_str(), (folder / "moved.iso").c_str());
    model.detachMovedElsewhere({iso});
    EXPECT_EQ(node("big.iso"), nullptr);
    EXPECT_EQ(model.selectionCount(), 0);
}

TEST_F(Removing, PathRemovalAnnouncesWhatMovedWithItsLabels) {
    PathRemovalModel model(environment);
    model.prepare({{home + "/big.iso", 4 << 20, false}, {"/etc/hostname", 10, false}}, {{home + "/big.iso", "Old installer"}});
    ASSERT_EQ(model.allowedRows().size(), 1);
    EXPECT_EQ(model.allowedRows()[0].toMap()["name"], "Old installer");
    QSignalSpy removed(&model, &PathRemovalModel::pathsRemoved);
    model.confirm();
    waitFor(model);
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(removed[0][0].toStringList(), QStringList{QString::fromStdString(home + "/big.iso")});
    EXPECT_EQ(model.generation(), 1);
    EXPECT_FALSE(files.exists(home + "/big.iso"));
}
