// The AI Data Sweeper's model on a fixture home with an Ollama store whose
// two models share their weights: grouped by tool, only the unfinished
// download ticked, and a model removed by the road leaving the weights the
// other still uses, then brought back by Undo.
#include <gtest/gtest.h>

#include <QRegularExpression>
#include <QTest>

#include <filesystem>

#include "removal/RemovalHome.h"
#include "tools/aidata/AIDataModel.h"

using namespace tessel;
using namespace tessel::test;

namespace {

class AIDataRoom : public RemovalHome {
protected:
    AIDataRoom() {
        for (const std::string& place : {blobs, store + "/manifests/registry.ollama.ai/library/llama3", home + "/.keras/models"})
            std::filesystem::create_directories(place);
        writeFile(blobs + "/sha256-aaaa", 300'000);
        writeFile(blobs + "/sha256-bbbb", 8'000);
        writeFile(blobs + "/sha256-eeee-partial", 70'000);
        manifest("llama3/latest", R"({"mediaType":"application/vnd.ollama.image.model","digest":"sha256:aaaa"},)"
                                  R"({"mediaType":"application/vnd.ollama.image.template","digest":"sha256:bbbb"})");
        manifest("llama3/8b", R"({"mediaType":"application/vnd.ollama.image.model","digest":"sha256:aaaa"})");
        writeFile(home + "/.keras/models/resnet50.h5", 50'000);
        AIDataModel::Dependencies dependencies;
        dependencies.find = [places = AIModelPlaces::forHome(home)](const auto&, const auto& isCancelled) {
            return AIModelFinder(places, {}).find({}, isCancelled);
        };
        model = std::make_unique<AIDataModel>(std::move(dependencies), road);
    }
    void manifest(const std::string& name, const std::string& layers) {
        writeText(store + "/manifests/registry.ollama.ai/library/" + name, R"({"schemaVersion":2,"layers":[)" + layers + "]}");
    }
    void look() {
        model->run();
        ASSERT_TRUE(QTest::qWaitFor([&] { return model->search()->phase() == SearchState::Phase::Done; }, 5000));
    }
    std::string idOf(const std::string& name) const {
        for (const auto& group : model->shown())
            for (const AIModelItem* item : group.items)
                if (item->name == name) return item->id;
        return {};
    }

    std::string store = home + "/.ollama/models";
    std::string blobs = store + "/blobs";
    RemovalRoad road{environment, tree};
    std::unique_ptr<AIDataModel> model;
};

TEST_F(AIDataRoom, ModelsGroupByToolAndOnlyUnusedDownloadsStartTicked) {
    look();
    const auto groups = model->shown();
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0].tool, AITool::ollama) << "largest first";
    EXPECT_EQ(groups[1].tool, AITool::keras);
    EXPECT_EQ(model->itemCount(), 4);
    const std::string loose = idOf("Unfinished and unused downloads");
    ASSERT_FALSE(loose.empty());
    EXPECT_EQ(model->selection(), std::set<std::string>{loose});
    int sharing = 0;
    for (const QVariant& row : model->groups()->data(model->groups()->index(0), TickedGroupList::itemsRole).toList())
        sharing += row.toMap().value("note").toString().contains(QRegularExpression("Shares .* with llama3:")) ? 1 : 0;
    EXPECT_EQ(sharing, 2) << "each llama3 says what it shares and with whom";

    model->toggleGroup("keras");
    model->selectRecommended();
    EXPECT_EQ(model->selection(), std::set<std::string>{loose}) << "back to what started ticked";
    model->selectAll();
    EXPECT_EQ(model->tickedCount(), 4);
}

TEST_F(AIDataRoom, RemovalKeepsWeightsAnotherModelUsesAndUndoBringsTheModelBack) {
    scanHome();
    look();
    model->selectRecommended();
    model->toggle(QString::fromStdString(idOf("Unfinished and unused downloads")));
    model->toggle(QString::fromStdString(idOf("llama3:latest")));
    model->removeTicked();
    waitForPlan(road);
    road.confirm();
    waitFor(road);
    EXPECT_FALSE(std::filesystem::exists(store + "/manifests/registry.ollama.ai/library/llama3/latest"));
    EXPECT_FALSE(std::filesystem::exists(blobs + "/sha256-bbbb")) << "the template only it used";
    EXPECT_TRUE(std::filesystem::exists(blobs + "/sha256-aaaa")) << "the weights llama3:8b still uses";
    EXPECT_TRUE(idOf("llama3:latest").empty()) << "what went leaves its group";
    EXPECT_EQ(model->tickedCount(), 0);
    road.undo();
    waitFor(road);
    EXPECT_FALSE(idOf("llama3:latest").empty()) << "Undo brings it back";
}

} // namespace
