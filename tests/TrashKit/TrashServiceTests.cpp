// The trash service on a real freedesktop Trash in a fixture home: what goes
// comes back whole, undo keeps its depth, and every failure has its words.
#include "TrashTestSupport.h"

using namespace tessel;
using namespace tessel::test;

namespace {

using Trashing = TrashHome;

// A bin whose platform says no, or says yes without saying where.
struct Unhelpful : TrashBin {
    std::variant<std::string, TrashError> answer;
    std::variant<std::string, TrashError> trashItem(const AnchoredPath&) override { return answer; }
    std::variant<std::monostate, TrashError> putBack(const AnchoredPath&, const AnchoredPath&) override { return {}; }
};

} // namespace

TEST_F(Trashing, EveryByteModeAndTimeComesBack) {
    std::map<std::string, std::string> before;
    for (const std::string name : {"project/src/main.c", "project/notes.txt", "loose.pdf"}) {
        const std::string path = put(home + "/" + name, 1000 * static_cast<std::int64_t>(name.size()));
        chmod(path.c_str(), name.ends_with(".c") ? 0600 : 0644);
        before[path] = stateOf(path);
    }
    // A folder named with a trailing slash goes as well.
    ASSERT_EQ(forced({{home + "/project/", 0, true}, {home + "/loose.pdf", 0, false}}).receipts.size(), 2u);
    for (const auto& [path, state] : before) EXPECT_FALSE(disk.exists(path)) << path;
    EXPECT_EQ(service.undoLast().restored.size(), 2u);
    for (const auto& [path, state] : before) EXPECT_EQ(stateOf(path), state) << path;
}

TEST_F(Trashing, UndoKeepsTheNewestOperationsOnlyAndAnEmptyPlanIsNone) {
    TrashService shallow{disk, bin, 3};
    for (int i = 0; i < 4; ++i)
        ASSERT_EQ(shallow.trash({{{put(home + "/file" + std::to_string(i)), 10, false}}, {}}, context).receipts.size(), 1u);
    shallow.trash({}, context);
    for (int i = 3; i >= 1; --i)
        EXPECT_EQ(shallow.undoLast().restored.at(0).originalPath, home + "/file" + std::to_string(i)) << "newest first";
    EXPECT_FALSE(shallow.canUndo()) << "the oldest operation fell off the stack";
}

TEST_F(Trashing, WhatWasEmptiedOrIsInTheWayStaysInTheTrashWithItsReasonAndTheRestComesBack) {
    const std::string emptied = put(home + "/emptied"), inBox = put(home + "/box/item"), taken = put(home + "/taken");
    const TrashOutcome outcome = forced({{emptied, 10, false}, {inBox, 10, false}, {taken, 10, false}, {put(home + "/fine"), 10, false}});
    ASSERT_EQ(outcome.receipts.size(), 4u);
    std::map<std::string, std::string> trashedOf;
    for (const TrashReceipt& receipt : outcome.receipts) trashedOf[receipt.originalPath] = receipt.trashedPath;
    std::remove(trashedOf[emptied].c_str()); // as a file manager empties the Trash
    rmdir((home + "/box").c_str());
    writeFile(taken, 7); // something new stands where it was
    // Shortest path first, so that a folder would come back before what is in it.
    EXPECT_EQ(service.undoLast().failures, (std::vector<TrashFailure>{{taken, TrashService::somethingInTheWay},
                                                                      {emptied, TrashService::goneFromTrash},
                                                                      {inBox, TrashService::folderGone}}));
    EXPECT_EQ(readText(taken).size(), 7u);
    EXPECT_TRUE(disk.exists(trashedOf[inBox])) << "no folder is made for it";
    EXPECT_TRUE(disk.exists(home + "/fine"));
}

TEST_F(Trashing, AFolderComesBackBeforeWhatWasTakenOutOfIt) {
    const std::string inner = put(home + "/outer/inner");
    ASSERT_EQ(forced({{inner, 10, false}, {home + "/outer", 0, true}}).receipts.size(), 2u);
    EXPECT_TRUE(service.undoLast().failures.empty());
    EXPECT_TRUE(disk.exists(inner));
}

TEST_F(Trashing, PlatformFailuresAreWordsAndLeaveNoReceipt) {
    Unhelpful unhelpful;
    TrashService stubborn{disk, unhelpful, 10};
    const std::string path = put(home + "/stays");
    unhelpful.answer = TrashError{"The disk said no."};
    EXPECT_EQ(stubborn.trash({{{path, 10, false}}, {}}, context).failures,
              (std::vector<TrashFailure>{{path, "The disk said no."}}));
    unhelpful.answer = std::string();
    EXPECT_EQ(stubborn.trash({{{path, 10, false}}, {}}, context).failures,
              (std::vector<TrashFailure>{{path, TrashService::movedButLost}}));
    EXPECT_FALSE(stubborn.canUndo());
}

using UnprivilegedTrashing = TrashHome;

TEST_F(UnprivilegedTrashing, AnItemInAFolderWeCantWriteStaysAndGoesToTheFileManager) {
    if (geteuid() == 0) GTEST_SKIP() << "root may move anything; scripts/run-unprivileged runs this as an ordinary user";
    const std::string path = put(home + "/locked/report.pdf");
    chmod((home + "/locked").c_str(), 0555);
    EXPECT_EQ(whyKept(path, false), words(DeletionRefusal::notPermitted));
    EXPECT_TRUE(disk.exists(path));
    chmod((home + "/locked").c_str(), 0755);
}
