// What a file's orientation does to a picture, pixel by pixel.
#pragma once

#include <QImageIOHandler>

#include <support/pixels.h>

namespace vellum::test {

/// Where pixel (x, y) of a picture of \a size goes: mirrored, then turned.
inline QPoint oriented(QPoint p, const QSize &size, int transformation)
{
    if (transformation & QImageIOHandler::TransformationMirror)
        p.setX(size.width() - 1 - p.x());
    if (transformation & QImageIOHandler::TransformationFlip)
        p.setY(size.height() - 1 - p.y());
    if (transformation & QImageIOHandler::TransformationRotate90)
        return {size.height() - 1 - p.y(), p.x()};
    return p;
}

inline Vellum orientedNaively(const Vellum &image, int transformation)
{
    const bool turned = (transformation & QImageIOHandler::TransformationRotate90) != 0;
    Vellum result(turned ? image.height() : image.width(), turned ? image.width() : image.height(),
                  image.format());
    result.setColorTable(image.colorTable());
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QPoint to = oriented(QPoint(x, y), image.size(), transformation);
            setRawPixel(result, to.x(), to.y(), rawPixel(image, x, y));
        }
    }
    return result;
}

} // namespace vellum::test
