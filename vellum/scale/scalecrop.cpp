#include <vellum/image/vellum.h>
#include <vellum/scale/crop_p.h>
#include <vellum/scale/sampling.h>
#include <vellum/scale/scale.h>
#include <vellum/scale/scalecrop.h>
#include <vellum/scale/smoothformats_p.h>

using vellum::scale::averagesAsStored;

namespace {

bool smoothScaleCrop(Vellum &dst, const Vellum &src, const QSize &size, const QRect &rect,
                     bool deepCopy)
{
    const QRect part = vellum::scale::clipToTarget(rect, size);
    if (src.isNull() || part.isEmpty())
        return false;
    if (src.size() == size) {
        if (part != QRect(QPoint(0, 0), size))
            dst = src.copy(part);
        else
            dst = deepCopy ? src.copy() : src;
        return true;
    }
    const Vellum source = averagesAsStored(src) ? src : src.convertToFormat(QImage::Format_ARGB32);
    dst = qSmoothScaleCropVellum(source, size, part);
    return true;
}

} // namespace

bool image_scale_crop(Vellum &dst, const Vellum &src, const QSize &size, const QRect &rect,
                      Qt::TransformationMode mode, bool deepCopy, const QSize &refSize)
{
    const bool sampled = mode != Qt::SmoothTransformation || src.depth() == 1 ||
        src.format() == QImage::Format_Indexed8;
    if (sampled)
        return fast_scale_image(dst, src, size, rect, deepCopy, refSize);
    return smoothScaleCrop(dst, src, size, rect, deepCopy);
}
