#include <vellum/image/progress.h>
#include <vellum/image/rowaccess.h>
#include <vellum/image/vellum.h>

#include <limits>

namespace {

// Positions are reported for rows out of range too, so they may not overflow.
int clamped(qint64 position)
{
    return int(
        qBound<qint64>(std::numeric_limits<int>::min(), position, std::numeric_limits<int>::max()));
}

int rowsDoneDown(const Vellum &, int y) { return clamped(qint64(y) + 1); }

int rowsDoneUp(const Vellum &image, int y) { return clamped(qint64(image.height()) - y); }

uchar *row(QImage &image, int y) { return image.scanLine(y); }

const uchar *row(const QImage &image, int y) { return image.constScanLine(y); }

/// \a Image and \a Plain are both const or both mutable.
template <typename Image, typename Plain>
auto polledRow(Image *image, Plain *plain, int y, int (*rowsDone)(const Vellum &, int))
    -> decltype(row(*plain, y))
{
    if (!image)
        return plain && y >= 0 && y < plain->height() ? row(*plain, y) : nullptr;
    if (!image->set_progress(rowsDone(*image, y)))
        return nullptr;
    return image->scanLineEx(y);
}

} // namespace

uchar *image_scanLine(Vellum *image, QImage *plain, int y)
{
    return polledRow(image, plain, y, rowsDoneDown);
}

const uchar *image_constScanLine(const Vellum *image, const QImage *plain, int y)
{
    return polledRow(image, plain, y, rowsDoneDown);
}

uchar *image_scanLine_reverse(Vellum *image, QImage *plain, int y)
{
    return polledRow(image, plain, y, rowsDoneUp);
}

const uchar *image_constScanLine_reverse(const Vellum *image, const QImage *plain, int y)
{
    return polledRow(image, plain, y, rowsDoneUp);
}
