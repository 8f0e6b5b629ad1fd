// The trash service on a real freedesktop Trash in a fixture home: what goes
// comes back whole, undo keeps its depth, and every failure has its words.
#include <gtest/gtest.h>

#include <fstream>

#include "TrashKit/TrashService.h"
#include "TrashTestSupport.h"

using namespace tessel;
using namespace tessel::test;

namespace {

class Trashing : public testing::Test {
protected:
    TrashHome home;
    LocalFileManager disk;
    TrashService service{disk, home.bin, 10};

    std::string put(const std::string& relative, std::int64_t bytes) {
        const std::string path = home.home + "/" + relative;
        writeFile(path, bytes);
        return path;
    }
    DeletionPlan planFor(const std::vector<DeletionCandidate>& candidates) {
        return DeletionGuard::plan(candidates, home.context, disk, "");
    }
    TrashOutcome trash(const std::vector<DeletionCandidate>& candidates) {
        return service.trash(planFor(candidates), home.context);
    }
};

// A bin whose platform says no, or says yes without saying where.
struct Unhelpful : TrashBin {
    std::variant<std::string, TrashError> answer;
    std::variant<std::string, TrashError> trashItem(const AnchoredPath&) override { return answer; }
    std::variant<std::monostate, TrashError> putBack(const AnchoredPath&, const AnchoredPath&) override { return {}; }
};

} // namespace

TEST_F(Trashing, EveryByteModeAndTimeComesBack) {
    makeFolder(home.home + "/project");
    makeFolder(home.home + "/project/src");
    std::map<std::string, FileState> before;
    for (const char* name : {"project/src/main.c", "project/notes.txt", "project/src/big.bin", "loose.pdf"}) {
        const std::string path = put(name, 1000 + 70000 * static_cast<std::int64_t>(std::string(name).size()));
        chmod(path.c_str(), std::string(name).ends_with(".c") ? 0600 : 0644);
        before[path] = stateOf(path);
    }
    const TrashOutcome outcome = trash({{home.home + "/project", 0, true}, {home.home + "/loose.pdf", 0, false}});
    ASSERT_EQ(outcome.receipts.size(), 2u);
    ASSERT_TRUE(outcome.failures.empty()) << outcome.failures[0].message;
    for (const auto& [path, state] : before) EXPECT_FALSE(disk.exists(path)) << path;

    const RestoreOutcome back = service.undoLast();
    EXPECT_EQ(back.restored.size(), 2u);
    EXPECT_TRUE(back.failures.empty());
    for (const auto& [path, state] : before) EXPECT_EQ(stateOf(path), state) << path;
    EXPECT_FALSE(service.canUndo());
}

TEST_F(Trashing, EmptiedItemsAreReportedAndTheRestComesBack) {
    std::vector<DeletionCandidate> candidates;
    for (const char* name : {"a", "b", "c", "d"}) candidates.push_back({put(name, 5000), 5000, false});
    const TrashOutcome outcome = trash(candidates);
    ASSERT_EQ(outcome.receipts.size(), 4u);
    // Half the Trash emptied behind our back, as the file manager would.
    std::remove(outcome.receipts[1].trashedPath.c_str());
    std::remove(outcome.receipts[3].trashedPath.c_str());
    const RestoreOutcome back = service.undoLast();
    ASSERT_EQ(back.restored.size(), 2u);
    ASSERT_EQ(back.failures.size(), 2u);
    EXPECT_EQ(back.failures[0].path, home.home + "/b");
    EXPECT_EQ(back.failures[1].path, home.home + "/d");
    EXPECT_TRUE(disk.exists(home.home + "/a"));
    EXPECT_TRUE(disk.exists(home.home + "/c"));
}

TEST_F(Trashing, UndoKeepsTheNewestOperationsOnly) {
    TrashService shallow{disk, home.bin, 3};
    for (int i = 0; i < 4; ++i) {
        const std::string path = put("file" + std::to_string(i), 100);
        ASSERT_EQ(shallow.trash(planFor({{path, 100, false}}), home.context).receipts.size(), 1u);
    }
    EXPECT_EQ(shallow.undoStack().size(), 3u);
    for (int i = 3; i >= 1; --i) {
        const RestoreOutcome back = shallow.undoLast();
        ASSERT_EQ(back.restored.size(), 1u);
        EXPECT_EQ(back.restored[0].originalPath, home.home + "/file" + std::to_string(i)) << "newest first";
    }
    EXPECT_FALSE(shallow.canUndo());
    EXPECT_TRUE(shallow.undoLast().restored.empty());
    EXPECT_FALSE(disk.exists(home.home + "/file0")) << "the oldest operation fell off the stack";
    const TrashOutcome nothing = shallow.trash({}, home.context);
    EXPECT_TRUE(nothing.receipts.empty() && nothing.failures.empty());
    EXPECT_FALSE(shallow.canUndo()) << "an empty plan is no operation to undo";
}

TEST_F(Trashing, AFileThatBecameAFolderStays) {
    const std::string path = put("shape", 10);
    const DeletionPlan plan = planFor({{path, 10, false}});
    std::remove(path.c_str());
    makeFolder(path);
    const TrashOutcome outcome = service.trash(plan, home.context);
    ASSERT_EQ(outcome.failures.size(), 1u);
    EXPECT_EQ(outcome.failures[0].message, DeletionRefusals::explanation(DeletionRefusal::typeChanged));
    EXPECT_TRUE(disk.isFolder(path));
    EXPECT_FALSE(service.canUndo());
}

TEST_F(Trashing, RestoreNeverOverwritesNorRecreatesAFolder) {
    makeFolder(home.home + "/box");
    const std::string inBox = put("box/item", 100);
    const std::string taken = put("taken", 100);
    const TrashOutcome outcome = trash({{inBox, 100, false}, {taken, 100, false}});
    ASSERT_EQ(outcome.receipts.size(), 2u);
    rmdir((home.home + "/box").c_str());
    writeFile(taken, 7); // something new stands where it was
    const RestoreOutcome back = service.undoLast();
    ASSERT_EQ(back.failures.size(), 2u);
    EXPECT_EQ(back.failures[0].path, taken);
    EXPECT_EQ(back.failures[1].path, inBox);
    EXPECT_NE(back.failures[0].message, back.failures[1].message) << "each says why";
    EXPECT_EQ(readText(taken).size(), 7u);
    EXPECT_TRUE(disk.exists(outcome.receipts[0].trashedPath));
}

TEST_F(Trashing, ParentComesBackBeforeWhatWasTakenOutOfIt) {
    makeFolder(home.home + "/outer");
    const std::string inner = put("outer/inner", 100);
    DeletionPlan plan; // moved child first, then its folder, in one operation
    plan.allowed = {{inner, 100, false}, {home.home + "/outer", 0, true}};
    ASSERT_EQ(service.trash(plan, home.context).receipts.size(), 2u);
    const RestoreOutcome back = service.undoLast();
    EXPECT_TRUE(back.failures.empty());
    EXPECT_TRUE(disk.exists(inner));
}

TEST_F(Trashing, AFolderNamedWithATrailingSlashGoes) {
    makeFolder(home.home + "/slashed");
    const TrashOutcome slashed = trash({{home.home + "/slashed/", 0, true}});
    ASSERT_EQ(slashed.receipts.size(), 1u);
    EXPECT_FALSE(disk.exists(home.home + "/slashed"));
}

TEST_F(Trashing, PlatformFailuresAreWordsAndLeaveNoReceipt) {
    Unhelpful bin;
    TrashService stubborn{disk, bin, 10};
    const std::string path = put("stays", 10);
    bin.answer = TrashError{"The disk said no."};
    TrashOutcome outcome = stubborn.trash(planFor({{path, 10, false}}), home.context);
    EXPECT_EQ(outcome.failures, (std::vector<TrashFailure>{{path, "The disk said no."}}));
    bin.answer = std::string();
    outcome = stubborn.trash(planFor({{path, 10, false}}), home.context);
    ASSERT_EQ(outcome.failures.size(), 1u);
    EXPECT_EQ(outcome.failures[0].message, TrashService::movedButLost);
    EXPECT_FALSE(stubborn.canUndo());
}

TEST(UnprivilegedTrash, AnItemInAFolderWeCantWriteStaysAndGoesToTheFileManager) {
    if (geteuid() == 0)
        GTEST_SKIP() << "root may move anything; scripts/run-unprivileged runs this as an ordinary user";
    TrashHome home;
    makeFolder(home.home + "/locked");
    const std::string path = home.home + "/locked/report.pdf";
    writeFile(path, 500);
    chmod((home.home + "/locked").c_str(), 0555);
    LocalFileManager disk;
    const DeletionPlan plan = DeletionGuard::plan({{path, 500, false}}, home.context, disk, "");
    ASSERT_EQ(plan.refused.size(), 1u);
    EXPECT_EQ(plan.refused[0].second, DeletionRefusal::notPermitted);
    EXPECT_TRUE(DeletionRefusals::isForFileManager(plan.refused[0].second));
    // Even handed to the service as allowed, it is judged again and stays.
    TrashService service(disk, home.bin, 10);
    DeletionPlan forced;
    forced.allowed = {{path, 500, false}};
    const TrashOutcome outcome = service.trash(forced, home.context);
    ASSERT_EQ(outcome.failures.size(), 1u);
    EXPECT_EQ(outcome.failures[0].message, DeletionRefusals::explanation(DeletionRefusal::notPermitted));
    EXPECT_TRUE(disk.exists(path));
    chmod((home.home + "/locked").c_str(), 0755);
}
