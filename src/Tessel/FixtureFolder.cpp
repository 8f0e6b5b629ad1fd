#include "FixtureFolder.h"

#include <QDir>
#include <QFile>

namespace tessel {

namespace {
void write(const QString& path, qint64 bytes) {
    QDir().mkpath(path.left(path.lastIndexOf('/')));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return;
    const QByteArray block(64 * 1024, 'x');
    for (qint64 left = bytes; left > 0; left -= block.size()) file.write(block.constData(), std::min<qint64>(left, block.size()));
}
} // namespace

FixtureFolder::FixtureFolder() {
    if (!folder_.isValid()) return;
    const QString root = folder_.path();
    write(root + "/Documents/Annual report.pdf", 2'400'000);
    write(root + "/Documents/Notes/ideas.txt", 6'000);
    write(root + "/Downloads/installer.iso", 6'500'000);
    write(root + "/Downloads/archive.zip", 1'800'000);
    for (int i = 1; i <= 4; ++i) write(root + QStringLiteral("/Pictures/2024/photo-%1.jpg").arg(i), 1'300'000);
    write(root + "/Music/Album/track-01.flac", 3'100'000);
    write(root + "/Music/Album/track-02.flac", 2'900'000);
    write(root + "/.cache/thumbnails/large.bin", 1'500'000);
    for (int i = 0; i < 40; ++i) write(root + QStringLiteral("/Projects/site/node_modules/pkg-%1/index.js").arg(i), 9'000);
    write(root + "/Projects/site/build/bundle.js", 1'100'000);
}

} // namespace tessel
