// The System Data room's model on a fixture machine: its rows largest first,
// each with the command that removes it and who may run it, and a folder
// that could not be read listed apart rather than shown as an empty row.
#include <gtest/gtest.h>

#include <QTest>

#include <filesystem>

#include "Fixture.h"
#include "tools/systemdata/SystemDataModel.h"

using namespace tessel;
using namespace tessel::test;

namespace {

QVariantMap rowWithId(const QVariantList& rows, const QString& id) {
    for (const QVariant& row : rows)
        if (row.toMap().value("id").toString() == id) return row.toMap();
    return {};
}

TEST(SystemDataRoom, RowsLargestFirstWithTheirCommandsAndUnreadableFoldersApart) {
    TempFolder root;
    for (const char* folder : {"var/cache/apt/archives", "home/.local/share/Trash/files", "var/tmp"}) std::filesystem::create_directories(root / folder);
    writeFile(root / "var/cache/apt/archives/editor_1.0_amd64.deb", 400'000);
    writeFile(root / "home/.local/share/Trash/files/old.txt", 40'000);
    writeFile(root / "var/tmp/kept", 90'000);

    SystemDataFinder::Settings settings = SystemDataFinder::forMachine(root.path());
    settings.home = root / "home";
    settings.dataHome = root / "home/.local/share";
    const std::string locked = root / "var/tmp";
    settings.measure = [locked](const std::string& path) {
        return path == locked ? SystemDataFinder::Measure{0, {path}} : SystemDataFinder::measured(path);
    };
    QString copied;
    SystemDataModel model({[settings](const std::function<bool()>& isCancelled) { return SystemDataFinder(settings).find(isCancelled); },
                           [&](const QString& text) { copied = text; }});
    model.run();
    ASSERT_TRUE(QTest::qWaitFor([&] { return model.search()->phase() == SearchState::Phase::Done; }, 5000));

    const QVariantList rows = model.rows();
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0].toMap().value("id").toString(), "aptCache") << "largest first";
    const QVariantMap apt = rowWithId(rows, "aptCache");
    EXPECT_EQ(apt.value("path").toString().toStdString(), root / "var/cache/apt/archives");
    EXPECT_EQ(apt.value("commandNote").toString(), "Only an administrator may remove this, with:");
    const QVariantMap trash = rowWithId(rows, QString::fromStdString("trash:" + root / "home/.local/share/Trash"));
    ASSERT_FALSE(trash.isEmpty());
    EXPECT_EQ(trash.value("command").toString(), "") << "the Trash is emptied by its user, never by a command Tessel offers";
    EXPECT_TRUE(trash.value("opensTrash").toBool());
    EXPECT_FALSE(apt.value("opensTrash").toBool());
    const std::int64_t counted = allocatedOf(root / "var/cache/apt/archives/editor_1.0_amd64.deb") +
                                 allocatedOf(root / "home/.local/share/Trash/files/old.txt");
    EXPECT_GE(model.totalBytes(), counted);
    EXPECT_LT(model.totalBytes(), counted + 90'000) << "what could not be read is not counted";

    EXPECT_EQ(model.unreadable(), QStringList{QString::fromStdString(locked)});
    EXPECT_TRUE(rowWithId(rows, "varTmp").isEmpty()) << "a folder that could not be read is not an empty row";

    model.copyCommand(apt.value("command").toString());
    EXPECT_EQ(copied, "sudo apt-get clean");
}

} // namespace
