// Mirror images on the storage of their original.

#include <vellum/geometry/mirror.h>
#include <vellum/geometry/mirror_p.h>
#include <vellum/geometry/mirrorbits_p.h>
#include <vellum/geometry/reverserow_p.h>
#include <vellum/image/copybytes_p.h>
#include <vellum/image/derived_p.h>
#include <vellum/image/rowruns_p.h>

namespace vellum {

Vellum geometry::mirroredOnto(Storage storage, const Vellum &image, bool horizontal, bool vertical)
{
    const int width = image.width();
    const int height = image.height();
    Vellum result = image::createLike(image, width, height, storage);
    if (result.isNull())
        return result;
    const bool oneBit = image.depth() == 1;
    if ((oneBit && horizontal) || !image::isComplete(image))
        result.fill(0U);

    const int bytesPerPixel = oneBit ? 1 : image.depth() / 8;
    const int pixels = oneBit ? (width + 7) / 8 : width;
    const int stored = image.storedBytesPerLine() / bytesPerPixel;
    const int missing = qMax(0, pixels - stored); // where a store is narrower than its image
    const auto order = image::bitOrderOf(image.format());
    const auto reverse = geometry::reverseRow(bytesPerPixel);
    const auto copy = image::rowCopier(image.sizeInBytes());
    const auto move = [&](uchar *out, const uchar *in) {
        if (horizontal)
            reverse(out + qptrdiff(missing) * bytesPerPixel, in, pixels - missing);
        else
            copy(out, in, size_t(pixels - missing) * size_t(bytesPerPixel));
        if (horizontal && oneBit)
            geometry::mirrorBitsInRow(out, width, order, pixels);
    };
    const auto report = [&](int rows) {
        return image.set_progress(int(qint64(100) * rows / height));
    };
    const auto walk = vertical ? image::Walk::Up : image::Walk::Down;
    if (!image::moveRows(result, walk, image, move, report))
        return {};
    return result;
}

Vellum mirrored(const Vellum &image, bool horizontal, bool vertical)
{
    if (image.isNull() || (!horizontal && !vertical))
        return image;
    return geometry::mirroredOnto(image::storageOf(image), image, horizontal, vertical);
}

void mirrorInPlace(Vellum &image, bool horizontal, bool vertical)
{
    if (!image.isNull())
        geometry::do_mirror(&image, &image, horizontal, vertical);
}

} // namespace vellum
