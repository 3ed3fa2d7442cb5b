#include "scaling.h"

#include "cancel.h"
#include "outputfile.h"
#include "progress.h"
#include "rows.h"

#include <cstring>

namespace vellum::tool {

namespace {

constexpr qint64 kBandPixels = 1 << 20; // a few milliseconds

/// Picks pixels, band by band: fast_scale_image() itself cannot be cancelled.
Vellum sampled(const Vellum &picture, const Target &target, bool big, Progress &progress)
{
    const QRect &part = target.part;
    Vellum result;
    if (picture.isNull())
        return result;
    const auto create = big ? Vellum::createBig : Vellum::create;
    if (!create(result, part.width(), part.height(), picture.format()))
        return {};
    copyMetadata(result, picture);

    const int rowsPerBand = int(qBound<qint64>(1, kBandPixels / part.width(), part.height()));
    Vellum band;
    for (int top = 0; top < part.height(); top += rowsPerBand) {
        const int rows = qMin(rowsPerBand, part.height() - top);
        const QRect wanted(part.left(), part.top() + top, part.width(), rows);
        if (cancelFlag() || !fast_scale_image(band, picture, target.size, wanted, false, QSize()))
            return {};
        const auto bytes = size_t(qMin(band.storedBytesPerLine(), result.storedBytesPerLine()));
        for (int y = 0; y < rows; ++y)
            std::memcpy(result.scanLineEx(top + y), std::as_const(band).scanLineEx(y), bytes);
        progress.reportPart(top + rows, part.height());
    }
    return result;
}

/// \a picture in a form that the sampler understands, which reads one-bit pixels from the highest
/// bit on.
Vellum highestBitFirst(const Vellum &picture, Progress &progress)
{
    if (picture.format() != QImage::Format_MonoLSB)
        return picture;
    const Storage same = picture.isBigImage() ? Storage::Big : Storage::Plain;
    Vellum result = arranged(picture, QImage::Format_Mono, same, progress);
    if (!result.isNull())
        result.setColorTable(picture.colorTable());
    return result;
}

} // namespace

Vellum scaledPicture(Vellum &picture, const Target &target, bool fast, Storage storage,
                     Progress &progress, OutputFile &output)
{
    const bool big =
        chooseStorage(storage, pixelBytes(target.part.size(), picture.format())) == Storage::Big;
    Vellum result;
    if (fast) {
        result = sampled(highestBitFirst(picture, progress), target, big, progress);
    } else {
        const ProgressGuard guard = progress.watch(picture);
        result = smoothScaled(picture, target.size, target.part,
                              big ? vellum::Storage::Big : vellum::Storage::Plain);
    }
    if (result.isNull())
        output.fail(QStringLiteral("not enough memory for the scaled picture"));
    return result;
}

} // namespace vellum::tool
