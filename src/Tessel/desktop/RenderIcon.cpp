// render-icon SVG SIZE PNG: draws the scalable icon at SIZE by SIZE pixels,
// for the fixed sizes of the icon theme. The build makes every size from the
// one drawing, so they can't drift apart.

#include <QImage>
#include <QPainter>
#include <QString>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: render-icon SVG SIZE PNG\n");
        return 2;
    }
    bool isNumber = false;
    const int size = QString::fromLocal8Bit(argv[2]).toInt(&isNumber);
    if (!isNumber || size < 1 || size > 1024) {
        std::fprintf(stderr, "render-icon: SIZE wants a number of pixels from 1 to 1024, not \"%s\"\n", argv[2]);
        return 2;
    }
    QSvgRenderer drawing{QString::fromLocal8Bit(argv[1])};
    if (!drawing.isValid()) {
        std::fprintf(stderr, "render-icon: %s is not an SVG drawing Qt can read\n", argv[1]);
        return 1;
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    drawing.render(&painter);
    painter.end();
    if (!image.save(QString::fromLocal8Bit(argv[3]), "PNG")) {
        std::fprintf(stderr, "render-icon: could not write %s\n", argv[3]);
        return 1;
    }
    return 0;
}
