#pragma once
// The icons of the apps of this computer, by the file that holds each (found
// in the background, see AppIcons), percent-encoded as bytes:
//
//     Image { source: "image://appicon/%2Fusr%2Fshare%2Ficons%2Fhicolor%2Fscalable%2Fapps%2Fmaps.svg" }
//
// A scalable icon is drawn at the size asked for, a picture scaled down to
// it. A file that is not a regular one of a sane size is never read: an
// entry may name a pipe, a device or something huge.

#include <QByteArray>
#include <QImage>
#include <QQuickImageProvider>
#include <QSize>
#include <QString>

namespace tessel {

class AppIconProvider : public QQuickImageProvider {
public:
    static constexpr int defaultSize = 64;
    // Larger than any real icon file: a bigger one is no icon.
    static constexpr qint64 largestFile = 4 << 20;

    AppIconProvider();
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

    // The icon in the file at `path` at `size`; a null image when it is none.
    static QImage read(const QByteArray& path, QSize size);
};

} // namespace tessel
