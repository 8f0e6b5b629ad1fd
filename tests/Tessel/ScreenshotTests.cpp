// The screenshot run, as scripts/screenshots makes it: a picture of every
// room in both themes, each showing more than a blank window.
#include <gtest/gtest.h>

#include <QColor>
#include <QDir>
#include <QImage>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>

namespace {

// Distinct colours on a coarse grid: a blank or single-colour window has very few.
int distinctColours(const QImage& image) {
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); y += 7)
        for (int x = 0; x < image.width(); x += 7) colours.insert(image.pixel(x, y) & 0xf0f0f0f0u);
    return static_cast<int>(colours.size());
}

} // namespace

TEST(Screenshots, EveryRoomInBothThemesShowsSomething) {
    QTemporaryDir out;
    ASSERT_TRUE(out.isValid());
    QProcess run;
    run.setProcessChannelMode(QProcess::MergedChannels);
    run.start(SCREENSHOTS_SCRIPT, {out.path(), TESSEL_APP});
    ASSERT_TRUE(run.waitForFinished(170000)) << run.readAll().toStdString();
    ASSERT_EQ(run.exitCode(), 0) << run.readAll().toStdString();

    const QStringList rooms{"overview", "map", "search", "large", "junk", "aiData", "systemData", "leftovers",
                            "duplicates", "hidden", "unused", "apps", "startup", "receipts", "monitor", "report",
                            "tour", "settings", "map-treemap", "map-list", "map-columns"};
    for (const char* theme : {"light", "dark"}) {
        for (const QString& room : rooms) {
            const QString path = QStringLiteral("%1/%2-%3.png").arg(out.path(), room, theme);
            QImage image(path);
            ASSERT_FALSE(image.isNull()) << path.toStdString();
            EXPECT_GE(image.width(), 480) << path.toStdString();
            EXPECT_GT(distinctColours(image), 12) << path.toStdString() << " looks blank";
        }
    }
    // The themes differ where it matters: the window's background.
    QImage light(out.path() + "/overview-light.png");
    QImage dark(out.path() + "/overview-dark.png");
    EXPECT_GT(qGray(light.pixel(light.width() - 20, light.height() / 2)),
              qGray(dark.pixel(dark.width() - 20, dark.height() / 2)) + 80);
}
