#include "app/AppIconProvider.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <optional>

namespace tessel {

namespace {

std::optional<QByteArray> regularFile(const QByteArray& path) {
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) return std::nullopt;
    struct stat info {};
    std::optional<QByteArray> bytes;
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size <= AppIconProvider::largestFile) {
        QByteArray read(static_cast<qsizetype>(info.st_size), Qt::Uninitialized);
        qsizetype done = 0;
        while (done < read.size()) {
            const ssize_t got = ::read(fd, read.data() + done, static_cast<std::size_t>(read.size() - done));
            if (got <= 0) break;
            done += got;
        }
        read.truncate(done);
        bytes = std::move(read);
    }
    ::close(fd);
    return bytes;
}

} // namespace

AppIconProvider::AppIconProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage AppIconProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    const int asked = std::max(requestedSize.width(), requestedSize.height());
    const int side = asked > 0 ? std::min(asked, 512) : defaultSize;
    QImage image = read(QByteArray::fromPercentEncoding(id.toLatin1()), QSize(side, side));
    if (size != nullptr) *size = image.size();
    return image;
}

QImage AppIconProvider::read(const QByteArray& path, QSize size) {
    const std::optional<QByteArray> bytes = path.startsWith('/') ? regularFile(path) : std::nullopt;
    if (!bytes) return {};
    if (path.endsWith(".svg") || path.endsWith(".svgz")) {
        QSvgRenderer renderer(*bytes);
        if (!renderer.isValid()) return {};
        renderer.setAspectRatioMode(Qt::KeepAspectRatio);
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, QRectF(image.rect()));
        return image;
    }
    QBuffer buffer;
    buffer.setData(*bytes);
    QImage image = QImageReader(&buffer).read();
    if (!image.isNull() && (image.width() > size.width() || image.height() > size.height()))
        image = image.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

} // namespace tessel
