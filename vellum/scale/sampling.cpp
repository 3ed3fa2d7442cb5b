#include <vellum/image/derived_p.h>
#include <vellum/image/vellum.h>
#include <vellum/scale/crop_p.h>
#include <vellum/scale/sampler_p.h>
#include <vellum/scale/sampling.h>

namespace {

qint64 rowBytes(int width, int depth) { return (qint64(width) * depth + 7) / 8; }

bool sharesStore(const Vellum &a, const Vellum &b)
{
    return a.isBigImage() && b.isBigImage() && a.scanLineEx(0) == b.scanLineEx(0);
}

bool hasRoomFor(const Vellum &image, const QSize &size, const Vellum &source)
{
    return image.size() == size &&
        image.storedBytesPerLine() >= rowBytes(size.width(), source.depth()) &&
        image.scanLineEx(size.height() - 1) && !sharesStore(image, source);
}

/// Makes \a dst fit for the result. \return false when memory runs out
bool prepare(Vellum &dst, const Vellum &src, const QSize &size)
{
    const bool anew = !hasRoomFor(dst, size, src);
    if (anew && !Vellum::create(dst, size.width(), size.height(), src.format()))
        return false;
    if (src.depth() == 1 || (anew && !vellum::image::isComplete(src)))
        dst.fill(0U);
    dst.setColorTable(src.colorTable());
    return dst.scanLineEx(0) != nullptr; // null when a shared buffer could not be copied
}

} // namespace

bool fast_scale_image(Vellum &dst, const Vellum &src, const QSize &size, const QRect &rect,
                      bool deepCopy, const QSize &refSize)
{
    const QRect part = vellum::scale::clipToTarget(rect, size);
    if (src.isNull() || part.isEmpty())
        return false;
    if (src.size() == size && part == QRect(QPoint(0, 0), size)) {
        dst = deepCopy ? src.copyEx() : src;
        return true;
    }
    if (&dst == &src) {
        Vellum source = src;
        source.copyCallback(src);
        return fast_scale_image(dst, source, size, rect, deepCopy, refSize);
    }

    if (!prepare(dst, src, part.size()))
        return false;

    const bool twoStages = !refSize.isEmpty() && refSize != src.size();
    return vellum::scale::sample(
        dst, src, {QRect(QPoint(0, 0), src.size()), size, part, twoStages ? refSize : QSize(0, 0)});
}
