#include <vellum/image/derived_p.h>
#include <vellum/image/imagedata_p.h>

#include <limits>

namespace vellum::image {

void carryDescription(Vellum &to, const Vellum &from)
{
    QImageData *const out = QImageData::get(to);
    const QImageData *const in = QImageData::get(from);
    // QImage's setters skip a resolution of 0 and look at the colour table's alpha anew.
    out->colortable = in->colortable;
    out->offset = in->offset;
    out->has_alpha_clut = in->has_alpha_clut;
    out->dpmx = in->dpmx;
    out->dpmy = in->dpmy;
    out->devicePixelRatio = in->devicePixelRatio;
    out->text = in->text;
    out->colorSpace = in->colorSpace;
    to.setOrgFileCmyk(from.isOrgFileCmyk());
    to.setIccProfile(from.getIccProfile());
}

Vellum createLike(const Vellum &from, qint64 w, qint64 h, Storage storage)
{
    constexpr qint64 kMost = std::numeric_limits<int>::max();
    Vellum image;
    if (w < 1 || h < 1 || w > kMost || h > kMost)
        return image;
    const auto create = storage == Storage::Big ? Vellum::createBig : Vellum::create;
    if (create(image, int(w), int(h), from.format()))
        carryDescription(image, from);
    return image;
}

bool isComplete(const Vellum &image)
{
    return image.storedBytesPerLine() == image.bytesPerLine() &&
        image.scanLineEx(image.height() - 1) != nullptr;
}

} // namespace vellum::image
