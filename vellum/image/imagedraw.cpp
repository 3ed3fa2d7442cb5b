#include <vellum/image/drawable_p.h>
#include <vellum/image/imagedraw.h>
#include <vellum/image/pixelrect_p.h>
#include <vellum/image/vellum.h>
#include <vellum/scale/scalecrop.h>

namespace {

constexpr int kMostPixels = 0x800000;

/// Sets \a to to \a value without its fraction. \return false when no \c int can hold it
bool truncate(double value, int &to)
{
    constexpr double kBeyond = 2147483648.0;
    if (!(value > -kBeyond && value < kBeyond))
        return false;
    to = int(value);
    return true;
}

/// Draws from a copy that has the size of \a target. \return false when there is none
bool drawReduced(QPainter *painter, const QRectF &target, const Vellum &image, const QRect &source,
                 Qt::ImageConversionFlags flags)
{
    const double sx = target.width() / source.width();
    const double sy = target.height() / source.height();
    int size[2];
    int part[4];
    if (!truncate(image.width() * sx, size[0]) || !truncate(image.height() * sy, size[1]) ||
        !truncate(source.left() * sx, part[0]) || !truncate(source.top() * sy, part[1]) ||
        !truncate(source.width() * sx, part[2]) || !truncate(source.height() * sy, part[3]))
        return false;

    // A deep copy even when nothing is scaled: the painter must never see the base of a big image.
    Vellum reduced;
    if (!image_scale_crop(reduced, image, QSize(size[0], size[1]),
                          QRect(part[0], part[1], part[2], part[3]), Qt::FastTransformation, true,
                          QSize()) ||
        reduced.isNull())
        return false;
    vellum::image::completeColorTable(reduced);
    painter->drawImage(target, reduced, QRectF(reduced.rect()), flags);
    return true;
}

void drawStrips(QPainter *painter, const QRectF &target, const Vellum &image, const QRect &source)
{
    const int rowsPerStrip = kMostPixels / source.width();
    if (rowsPerStrip < 1)
        return;
    const double scaleY = target.height() / source.height();
    int rows = 0;
    for (int top = 0; top < source.height(); top += rows) {
        rows = qMin(rowsPerStrip, source.height() - top);
        const QRectF stripTarget(target.left(), target.top() + top * scaleY, target.width(),
                                 rows * scaleY);
        Vellum piece = image.copyEx(QRect(source.left(), source.top() + top, source.width(), rows));
        if (piece.isNull())
            continue;
        vellum::image::completeColorTable(piece);
        painter->drawImage(stripTarget, piece);
    }
}

} // namespace

void painter_drawVellum(QPainter *painter, const QRectF &target, const Vellum &image,
                        const QRectF &source, Qt::ImageConversionFlags flags)
{
    if (!painter || image.isNull())
        return;
    if (!image.isBigImage()) {
        painter->drawImage(target, image, source, flags);
        return;
    }
    const QRect part = vellum::image::sourcePixels(source, image.size());
    if (part.isEmpty())
        return;
    const bool small = target.width() * target.height() < kMostPixels;
    if (!small || !drawReduced(painter, target, image, part, flags))
        drawStrips(painter, target, image, part);
}
