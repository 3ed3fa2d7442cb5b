// The scaling members of Vellum.

#include <vellum/image/vellum.h>
#include <vellum/scale/scale.h>
#include <vellum/scale/scalecrop.h>
#include <vellum/scale/smoothformats_p.h>

Vellum Vellum::scaled(int w, int h, Qt::AspectRatioMode aspectMode,
                      Qt::TransformationMode mode) const
{
    return scaledEx(QSize(w, h), aspectMode, mode);
}

Vellum Vellum::scaled(const QSize &size, Qt::AspectRatioMode aspectMode,
                      Qt::TransformationMode mode) const
{
    return scaledEx(size, aspectMode, mode);
}

Vellum Vellum::scaledEx(const QSize &size, Qt::AspectRatioMode aspectMode,
                        Qt::TransformationMode mode) const
{
    if (size.isEmpty())
        return {};
    const QSize target = this->size().scaled(size, aspectMode).expandedTo(QSize(1, 1));
    if (target == this->size())
        return copyEx();

    const QRect whole(QPoint(0, 0), target);
    if (mode == Qt::SmoothTransformation && vellum::scale::averagesAsStored(*this))
        return qSmoothScaleCropVellum(*this, target, whole);
    Vellum result;
    if (create(result, target.width(), target.height(), format()))
        image_scale_crop(result, *this, target, whole, mode, false, QSize());
    return result;
}

// NOLINTNEXTLINE(*-const*): both are only read; the signature is that of existing callers
Vellum Vellum::scaleCrop(QSize &size, QRect &rect, Qt::TransformationMode mode) const
{
    Vellum result;
    image_scale_crop(result, *this, size, rect, mode, false, QSize());
    return result;
}

void Vellum::scaleQImage(QImage &image, const QSize &size, Qt::AspectRatioMode aspectMode,
                         Qt::TransformationMode mode)
{
    if (image.size() == size)
        return;
    Vellum *const big = getVellum(&image);
    if (!big || !big->isBigImage()) {
        image = Vellum(image).scaledEx(size, aspectMode, mode).toImage();
        return;
    }
    // The base has no pixels to scale, and the store must go with the pixels that it held.
    Vellum result = big->scaledEx(size, aspectMode, mode);
    result.setIccProfile(big->getIccProfile());
    result.setOrgFileCmyk(big->isOrgFileCmyk());
    *big = result;
}
