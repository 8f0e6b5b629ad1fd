// The rows of a list act: chosen rows go to the Trash by the one road and
// come back with its Undo, and the desktop is handed exactly the paths
// chosen, a name that is not UTF-8 included.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <QTest>

#include <set>

#include "lists/LargeFilesModel.h"
#include "removal/RemovalHome.h"
#include "support/QtText.h"

using namespace tessel;
using namespace tessel::test;

namespace {

class ListActions : public RemovalHome {
protected:
    QTemporaryDir settingsFolder;
    QSettings settings{settingsFolder.filePath("settings.ini"), QSettings::IniFormat};
    RemovalRoad road{environment, tree};
    QStringList revealed;
    QStringList opened;
    LargeFilesModel files{tree,
                          {&road,
                           {[this](const QStringList& paths) { revealed = paths; },
                            [this](const QString& path) { opened.append(path); }}},
                          &settings};
    const std::string oddName = "caf\xe9 \xff.iso"; // Latin-1, not UTF-8

    void SetUp() override {
        makeFolder(home);
        makeFolder(home + "/Downloads");
        writeFile(home + "/Downloads/big.iso", 6'000'000);
        writeFile(home + "/Downloads/" + oddName, 5'000'000);
        writeFile(home + "/notes.pdf", 4'000'000);
        writeFile(home + "/film.mkv", 3'000'000);
        scanHome();
        settle();
    }

    void settle() { ASSERT_TRUE(QTest::qWaitFor([&] { return !files.working() && files.hasTree(); }, 5000)); }
    int rowOf(const std::string& name) const {
        const auto& rows = files.rows()->rows();
        for (std::size_t i = 0; i < rows.size(); ++i)
            if (rows[i].item.name == name) return static_cast<int>(i);
        return -1;
    }
    std::vector<std::string> chosenPaths() const {
        std::vector<std::string> paths;
        for (const FileNode* node : files.chosenNodes()) paths.push_back(node->path());
        return paths;
    }
};

} // namespace

TEST_F(ListActions, ChosenRowsGoToTheTrashByTheRoadAndComeBackWithUndo) {
    ASSERT_EQ(files.rows()->rowCount(), 4);
    files.choose(rowOf("big.iso"), Qt::NoModifier);
    files.choose(rowOf("film.mkv"), Qt::ControlModifier);
    EXPECT_EQ(files.chosenCount(), 2);
    files.moveChosenToTrash();
    waitForPlan(road);
    std::set<std::string> planned;
    for (const DeletionCandidate& candidate : road.plan()->allowed) planned.insert(candidate.path);
    EXPECT_EQ(planned, (std::set<std::string>{home + "/Downloads/big.iso", home + "/film.mkv"}));
    road.confirm();
    waitFor(road);
    settle();
    EXPECT_EQ(files.rows()->rowCount(), 2);
    EXPECT_EQ(files.chosenCount(), 0) << "what went is no longer chosen";
    EXPECT_EQ(rowOf("big.iso"), -1);

    road.undo();
    waitFor(road);
    settle();
    EXPECT_EQ(files.rows()->rowCount(), 4);
    EXPECT_TRUE(QFileInfo::exists(toQString(home + "/film.mkv")));
}

TEST_F(ListActions, TheDesktopIsHandedTheChosenPathsByteForByte) {
    files.choose(rowOf(oddName), Qt::NoModifier);
    files.choose(rowOf("notes.pdf"), Qt::ShiftModifier);
    const std::vector<std::string> chosen = chosenPaths();
    ASSERT_EQ(chosen.size(), static_cast<std::size_t>(std::abs(rowOf(oddName) - rowOf("notes.pdf")) + 1));
    files.showChosenInFiles();
    files.openChosen();
    ASSERT_EQ(revealed.size(), static_cast<qsizetype>(chosen.size()));
    ASSERT_EQ(opened.size(), static_cast<qsizetype>(chosen.size()));
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        EXPECT_EQ(toBytes(revealed[static_cast<qsizetype>(i)]), chosen[i]);
        EXPECT_EQ(toBytes(opened[static_cast<qsizetype>(i)]), chosen[i]);
    }
    EXPECT_TRUE(fileUrl(home + "/Downloads/" + oddName).toEncoded().endsWith("/Downloads/caf%E9%20%FF.iso"));
}
