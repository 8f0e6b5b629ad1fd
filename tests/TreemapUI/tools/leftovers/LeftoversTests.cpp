// The leftovers room's model with a fake hunter on a fixture home whose Trash
// is its own: groups by owner, only the certain ticked, removal and Undo.
// Searching, cancelling and overtaking are the junk room's tests: both stand
// on the same background search.
#include <gtest/gtest.h>

#include <QTest>

#include <filesystem>

#include "removal/RemovalHome.h"
#include "tools/leftovers/LeftoversModel.h"

using namespace tessel;
using namespace tessel::test;

namespace {

class LeftoversRoom : public RemovalHome {
protected:
    LeftoversRoom() {
        makeFolder(home);
        makeFolder(home + "/.cache");
        LeftoversModel::Dependencies dependencies;
        dependencies.find = [this](std::int64_t, const LeftoversModel::Dependencies::Progress&, const std::function<bool()>&) {
            return found;
        };
        dependencies.home = home;
        model = std::make_unique<LeftoversModel>(std::move(dependencies), road);
    }

    OrphanItem item(const std::string& name, const std::string& owner, std::int64_t bytes, MatchConfidence confidence) {
        OrphanItem made;
        made.path = home + "/.cache/" + name;
        made.owner = LeftoverOwner::named(owner);
        made.bytes = bytes;
        made.confidence = confidence;
        writeFile(made.path, 4096);
        return made;
    }
    void look() {
        model->run();
        ASSERT_TRUE(QTest::qWaitFor([&] { return model->search()->phase() == SearchState::Phase::Done; }, 5000));
    }
    std::vector<std::string> owners() const {
        std::vector<std::string> keys;
        for (const LeftoverGroup& group : model->shown()) keys.push_back(group.owner.key);
        return keys;
    }

    RemovalRoad road{environment, tree};
    std::vector<OrphanItem> found;
    std::unique_ptr<LeftoversModel> model;
};

TEST_F(LeftoversRoom, OwnersGroupLargestFirstAndOnlyTheCertainIsTicked) {
    const OrphanItem oldCache = item("org.gone.Viewer", "Viewer", 3'000'000, MatchConfidence::exact);
    const OrphanItem recent = item("org.gone.Viewer.Thumbs", "Viewer", 2'000'000, MatchConfidence::possible);
    OrphanItem system = item("spotify", "spotify", 9'000'000, MatchConfidence::exact);
    system.requiresAdministrator = true;
    const OrphanItem data = item("org.old.Player", "Player", 1'000'000, MatchConfidence::strong);
    found = {data, recent, oldCache, system};
    look();
    EXPECT_EQ(owners(), (std::vector<std::string>{"spotify", "viewer", "player"}));
    EXPECT_EQ(model->selection(), std::set<std::string>{oldCache.path}) << "what needs an administrator is never ticked";
    EXPECT_EQ(model->tickState("viewer"), TickState::some);
    model->selectAll();
    EXPECT_EQ(model->selection(), (std::set<std::string>{oldCache.path, recent.path, data.path}));
    EXPECT_TRUE(model->selectsEverything());
    EXPECT_EQ(model->tickState("spotify"), TickState::none) << "a group with nothing tickable";
    model->toggleGroup("viewer");
    EXPECT_EQ(model->tickState("viewer"), TickState::none);
    model->selectLikely();
    EXPECT_EQ(model->tickedBytes(), 3'000'000);
    EXPECT_EQ(model->totalFound(), 15'000'000);
}

TEST_F(LeftoversRoom, RemovalGoesByTheRoadAndUndoBringsTheGroupBack) {
    const OrphanItem oldCache = item("org.gone.Viewer", "Viewer", 3'000'000, MatchConfidence::exact);
    const OrphanItem recent = item("org.gone.Viewer.Thumbs", "Viewer", 2'000'000, MatchConfidence::possible);
    found = {oldCache, recent};
    scanHome();
    look();
    model->removeTicked();
    waitForPlan(road);
    ASSERT_EQ(road.plan()->allowed.size(), 1u);
    road.confirm();
    waitFor(road);
    EXPECT_FALSE(std::filesystem::exists(oldCache.path));
    EXPECT_TRUE(std::filesystem::exists(recent.path));
    EXPECT_EQ(model->itemCount(), 1) << "what went leaves its group";
    EXPECT_EQ(model->tickedCount(), 0);
    road.undo();
    waitFor(road);
    EXPECT_TRUE(std::filesystem::exists(oldCache.path));
    EXPECT_EQ(model->itemCount(), 2) << "Undo brings it back";
}

} // namespace
