// The icons the views ask for: each ships, draws, takes the asked colour and
// stays within its box; a name that does not exist draws nothing and says so once.
#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "app/IconProvider.h"

using namespace tessel;

namespace {

// Every symbol the QML asks for.
const QStringList symbols = {
    "house", "square.grid.2x2", "magnifyingglass", "doc.text", "sparkles", "brain", "internaldrive",
    "shippingbox", "doc.on.doc", "eye.slash", "moon.zzz", "trash", "power", "archivebox",
    "waveform.path.ecg", "chart.bar.doc.horizontal", "hand.wave.fill", "sparkle.magnifyingglass",
    "wand.and.stars", "internaldrive.fill", "square.grid.2x2.fill", "chart.pie.fill", "checkmark.seal.fill",
    "trash.fill", "hand.raised.fill", "lock.open.fill", "arrow.down.circle.fill", "arrow.uturn.backward",
    "questionmark.app", "checkmark", "person.2.fill", "chevron.down", "chevron.right", "chevron.left",
    "folder", "folder.fill", "gearshape", "xmark", "exclamationmark.triangle.fill", "checkmark.circle.fill",
    "info.circle.fill", "xmark.octagon.fill", "clock", "arrow.clockwise", "externaldrive",
    "person.crop.circle", "house.fill", "plus", "minus", "ellipsis", "stop.fill", "lock.shield",
    "heart.text.square", "gauge",
};

QImage request(const QString& id, QSize requested = QSize(24, 24), QSize* reported = nullptr) {
    IconProvider provider;
    QSize size;
    QImage image = provider.requestImage(id, &size, requested);
    if (reported)
        *reported = size;
    return image.convertToFormat(QImage::Format_ARGB32);
}

int opaquePixels(const QImage& image, int threshold = 128) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) >= threshold)
                ++count;
    return count;
}

QColor mostOpaquePixel(const QImage& image) {
    QRgb best = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) > qAlpha(best))
                best = image.pixel(x, y);
    return QColor::fromRgba(best);
}

// Collects the warnings Qt reports while a test runs.
class WarningLog {
public:
    WarningLog() {
        lines().clear();
        previous_ = qInstallMessageHandler(&WarningLog::handle);
    }
    ~WarningLog() { qInstallMessageHandler(previous_); }
    WarningLog(const WarningLog&) = delete;
    WarningLog& operator=(const WarningLog&) = delete;

    static QStringList& lines() {
        static QStringList collected;
        return collected;
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext&, const QString& message) {
        if (type == QtWarningMsg)
            lines().append(message);
    }

    QtMessageHandler previous_ = nullptr;
};

} // namespace

TEST(IconProvider, EverySymbolShipsAndDrawsAtTwentyFourPixels) {
    for (const QString& symbol : symbols) {
        SCOPED_TRACE(symbol.toStdString());
        EXPECT_TRUE(IconProvider::has(symbol));
        QSize reported;
        const QImage image = request(symbol + "?color=#ff0000", QSize(24, 24), &reported);
        EXPECT_EQ(reported, QSize(24, 24));
        ASSERT_EQ(image.size(), QSize(24, 24));
        // Even the thinnest icon (minus) covers a full stroke's length.
        EXPECT_GE(opaquePixels(image), 12);
    }
}

TEST(IconProvider, EveryPixelOfEveryIconTakesTheAskedColour) {
    // A part drawn in any colour but the ink the provider replaces would stay
    // that colour whatever the theme asks for.
    for (const QString& symbol : symbols) {
        SCOPED_TRACE(symbol.toStdString());
        const QImage image = request(symbol + "?color=#ff0000");
        int stray = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QRgb pixel = image.pixel(x, y);
                if (qAlpha(pixel) > 0 && (qGreen(pixel) > 8 || qBlue(pixel) > 8 || qRed(pixel) < 240))
                    ++stray;
            }
        EXPECT_EQ(stray, 0);
    }
}

TEST(IconProvider, IconsKeepClearOfTheEdgeOfTheirBox) {
    // A drawing that reaches the edge of the view box is cut off there and
    // sits out of line with its neighbours in a list.
    for (const QString& symbol : symbols) {
        SCOPED_TRACE(symbol.toStdString());
        const QImage image = request(symbol + "?color=#000000", QSize(48, 48));
        int onEdge = 0;
        for (int i = 0; i < 48; ++i)
            for (const QRgb pixel : {image.pixel(i, 0), image.pixel(i, 47), image.pixel(0, i), image.pixel(47, i)})
                if (qAlpha(pixel) > 32)
                    ++onEdge;
        EXPECT_EQ(onEdge, 0);
    }
}

TEST(IconProvider, RedAndBlueComeOutWithTheirHues) {
    const QColor red = mostOpaquePixel(request("folder.fill?color=#d03020"));
    const QColor blue = mostOpaquePixel(request("folder.fill?color=#2050e0"));
    EXPECT_EQ(red.alpha(), 255);
    EXPECT_EQ(blue.alpha(), 255);
    EXPECT_NEAR(red.hsvHue(), QColor("#d03020").hsvHue(), 2);
    EXPECT_NEAR(blue.hsvHue(), QColor("#2050e0").hsvHue(), 2);
    EXPECT_GT(red.red(), red.blue());
    EXPECT_GT(blue.blue(), blue.red());
}

TEST(IconProvider, PercentEncodedColourIsTheSameColour) {
    const QImage literal = request("gearshape?color=#2050e0");
    const QImage encoded = request("gearshape?color=%232050e0");
    EXPECT_EQ(literal, encoded);
    EXPECT_NEAR(mostOpaquePixel(encoded).hsvHue(), QColor("#2050e0").hsvHue(), 2);
}

TEST(IconProvider, AlphaOfTheColourAppliesToTheWholeIconWhereShapesOverlap) {
    // The drive's divider is drawn over the sides of its case; drawn with the
    // alpha per shape, those spots would come out more opaque than the rest.
    const QImage half = request("internaldrive?color=#80ffffff");
    const QImage full = request("internaldrive?color=#ffffff");
    int off = 0;
    for (int y = 0; y < full.height(); ++y)
        for (int x = 0; x < full.width(); ++x)
            if (std::abs(qAlpha(half.pixel(x, y)) - qAlpha(full.pixel(x, y)) * 128 / 255) > 2)
                ++off;
    EXPECT_EQ(off, 0);
    EXPECT_NEAR(qAlpha(mostOpaquePixel(half).rgba()), 128, 2);
    EXPECT_EQ(qAlpha(mostOpaquePixel(full).rgba()), 255);
}

TEST(IconProvider, NoColourDrawsBlack) {
    const QColor ink = mostOpaquePixel(request("checkmark"));
    EXPECT_EQ(ink.alpha(), 255);
    EXPECT_EQ(ink.rgb(), QColor(Qt::black).rgb());
}

TEST(IconProvider, SizeFollowsTheRequestAndDefaultsToTwentyFour) {
    QSize reported;
    EXPECT_EQ(request("clock", QSize(), &reported).size(), QSize(24, 24));
    EXPECT_EQ(reported, QSize(24, 24));
    EXPECT_EQ(request("clock", QSize(16, 16), &reported).size(), QSize(16, 16));
    EXPECT_EQ(reported, QSize(16, 16));
    // Only a height set, as an Image with sourceSize.height alone asks.
    EXPECT_EQ(request("clock", QSize(0, 40), &reported).size(), QSize(40, 40));

    // Drawn to the size, not drawn small and padded: the clock's ring covers
    // roughly four times the pixels at twice the size.
    const int small = opaquePixels(request("clock", QSize(32, 32)));
    const int large = opaquePixels(request("clock", QSize(64, 64)));
    EXPECT_GT(large, small * 3);
    EXPECT_LT(large, small * 5);
}

TEST(IconProvider, UnknownSymbolIsTransparentAndWarnsOnceByName) {
    WarningLog log;
    QSize reported;
    const QImage image = request("no.such.icon.anywhere?color=#ff0000", QSize(20, 20), &reported);
    EXPECT_EQ(reported, QSize(20, 20));
    ASSERT_EQ(image.size(), QSize(20, 20));
    EXPECT_EQ(opaquePixels(image, 1), 0);
    ASSERT_EQ(WarningLog::lines().size(), 1);
    EXPECT_TRUE(WarningLog::lines().first().contains("no.such.icon.anywhere"));

    request("no.such.icon.anywhere?color=#0000ff");
    EXPECT_EQ(WarningLog::lines().size(), 1);
    EXPECT_FALSE(IconProvider::has("no.such.icon.anywhere"));
}

TEST(IconProvider, NamesThatAreNotPlainSymbolsFindNothing) {
    WarningLog log;
    for (const QString& name : {QString("../icons/house"), QString("icons/house"), QString("House"),
                                QString(""), QString(".house")}) {
        SCOPED_TRACE(name.toStdString());
        EXPECT_FALSE(IconProvider::has(name));
        EXPECT_EQ(opaquePixels(request(name + "?color=#ff0000"), 1), 0);
    }
}

TEST(IconProvider, DrawsTheSameFromManyThreadsAtOnce) {
    // The scene graph loads images on several threads. Each test runs in a
    // process of its own, so here the first reads of the texts race each other.
    constexpr int threadCount = 6;
    std::vector<std::vector<QImage>> drawn(threadCount);
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t)
        threads.emplace_back([&drawn, t] {
            IconProvider provider;
            std::vector<QImage>& mine = drawn[static_cast<std::size_t>(t)];
            mine.resize(static_cast<std::size_t>(symbols.size()));
            for (qsizetype i = 0; i < symbols.size(); ++i) {
                const qsizetype k = (i + t * 7) % symbols.size();
                QSize size;
                mine[static_cast<std::size_t>(k)] =
                    provider.requestImage(symbols[k] + "?color=#3366cc", &size, QSize(24, 24))
                        .convertToFormat(QImage::Format_ARGB32);
            }
        });
    for (std::thread& thread : threads)
        thread.join();

    for (qsizetype k = 0; k < symbols.size(); ++k) {
        SCOPED_TRACE(symbols[k].toStdString());
        const QImage expected = request(symbols[k] + "?color=#3366cc");
        EXPECT_GT(opaquePixels(expected), 0);
        for (const std::vector<QImage>& mine : drawn)
            EXPECT_EQ(mine[static_cast<std::size_t>(k)], expected);
    }
}
