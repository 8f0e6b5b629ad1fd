#include "app/IconProvider.h"

#include <QByteArray>
#include <QColor>
#include <QFile>
#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QPainter>
#include <QSet>
#include <QStringList>
#include <QSvgRenderer>
#include <QUrl>
#include <QtGlobal>

#include <algorithm>
#include <optional>

namespace tessel {

namespace {

// Where qt_add_qml_module puts the module's RESOURCES (prefix "/" + URI path).
const QString iconDirectory = QStringLiteral(":/Tessel/UI/icons/");

// The one colour the SVGs are drawn in; every occurrence becomes the requested one.
const QByteArray inkColour = QByteArrayLiteral("#000000");

// A typo'd sourceSize in QML must not allocate gigabytes.
constexpr int largestSide = 2048;

// The SVG texts, read once: the provider runs on several loader threads at
// once, and a symbol that is missing is reported only the first time.
class IconTexts {
public:
    static IconTexts& instance() {
        static IconTexts texts;
        return texts;
    }

    std::optional<QByteArray> text(const QString& symbol) {
        QMutexLocker lock(&mutex_);
        if (const auto found = texts_.constFind(symbol); found != texts_.constEnd())
            return *found;
        if (missing_.contains(symbol))
            return std::nullopt;
        if (isPlainName(symbol)) {
            QFile file(iconDirectory + symbol + QStringLiteral(".svg"));
            if (file.open(QIODevice::ReadOnly)) {
                const QByteArray text = file.readAll();
                texts_.insert(symbol, text);
                return text;
            }
        }
        missing_.insert(symbol);
        qWarning("IconProvider: no icon named \"%s\"", qUtf8Printable(symbol));
        return std::nullopt;
    }

    bool exists(const QString& symbol) {
        {
            QMutexLocker lock(&mutex_);
            if (texts_.contains(symbol))
                return true;
        }
        return isPlainName(symbol) && QFile::exists(iconDirectory + symbol + QStringLiteral(".svg"));
    }

private:
    // Symbol names are lowercase words joined by dots; anything else (a path,
    // "..", a stray slash from a badly built URL) is not an icon.
    static bool isPlainName(const QString& symbol) {
        if (symbol.isEmpty() || symbol.startsWith(u'.') || symbol.endsWith(u'.')
            || symbol.contains(QStringLiteral("..")))
            return false;
        return std::all_of(symbol.cbegin(), symbol.cend(), [](QChar c) {
            return (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') || c == u'.' || c == u'-' || c == u'_';
        });
    }

    QMutex mutex_;
    QHash<QString, QByteArray> texts_;
    QSet<QString> missing_;
};

struct Request {
    QString symbol;
    QColor colour = Qt::black;
};

// "folder.fill?color=#80ffffff". QML hands the id over with a '#' left as
// it was written, or percent-encoded when the URL was built with encoding.
Request parse(const QString& id) {
    Request request;
    const qsizetype query = id.indexOf(u'?');
    request.symbol = QUrl::fromPercentEncoding(id.left(query).toUtf8());
    if (query < 0)
        return request;
    const QStringList items = id.mid(query + 1).split(u'&', Qt::SkipEmptyParts);
    for (const QString& item : items) {
        const qsizetype equals = item.indexOf(u'=');
        if (equals < 0 || item.left(equals) != QStringLiteral("color"))
            continue;
        const QString value = QUrl::fromPercentEncoding(item.mid(equals + 1).toUtf8());
        const QColor colour(value);
        if (colour.isValid())
            request.colour = colour;
        else
            qWarning("IconProvider: \"%s\" is not a colour (icon \"%s\")", qUtf8Printable(value),
                     qUtf8Printable(request.symbol));
    }
    return request;
}

QSize targetSize(const QSize& requested) {
    int width = requested.width() > 0 ? requested.width() : 0;
    int height = requested.height() > 0 ? requested.height() : 0;
    // A sourceSize with only one side set keeps the icon square.
    if (width == 0)
        width = height;
    if (height == 0)
        height = width;
    if (width == 0)
        return {IconProvider::defaultSize, IconProvider::defaultSize};
    return {std::min(width, largestSide), std::min(height, largestSide)};
}

} // namespace

IconProvider::IconProvider()
    : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage IconProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    const Request request = parse(id);
    const QSize target = targetSize(requestedSize);
    if (size)
        *size = target;
    return render(request.symbol, request.colour, target);
}

QImage IconProvider::render(const QString& symbol, const QColor& colour, QSize size) {
    const QSize target = targetSize(size);
    QImage image(target, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);

    std::optional<QByteArray> text = IconTexts::instance().text(symbol);
    if (!text)
        return image;
    text->replace(inkColour, colour.name(QColor::HexRgb).toLatin1());

    QSvgRenderer renderer(*text);
    if (!renderer.isValid()) {
        qWarning("IconProvider: icon \"%s\" could not be read", qUtf8Printable(symbol));
        return image;
    }
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(image.rect()));
    // The alpha goes on afterwards, over the whole icon: were it in the SVG,
    // the places where two strokes overlap would come out darker.
    if (colour.alpha() < 255) {
        painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
        painter.fillRect(image.rect(), QColor(0, 0, 0, colour.alpha()));
    }
    painter.end();
    return image;
}

bool IconProvider::has(const QString& symbol) {
    return IconTexts::instance().exists(symbol);
}

} // namespace tessel
