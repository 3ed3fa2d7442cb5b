#include "rows.h"

#include "progress.h"

#include <QColorSpace>

#include <cstring>

namespace vellum::tool {

namespace {

size_t pixelBytesOfRow(const Vellum &picture)
{
    return size_t((qint64(picture.width()) * picture.depth() + 7) / 8);
}

} // namespace

void copyMetadata(Vellum &to, const Vellum &from)
{
    if (to.format() == from.format())
        to.setColorTable(from.colorTable());
    to.setColorSpace(from.colorSpace());
    to.setDotsPerMeterX(from.dotsPerMeterX());
    to.setDotsPerMeterY(from.dotsPerMeterY());
    for (const QString &key : from.textKeys())
        to.setText(key, from.text(key));
    to.setIccProfile(from.getIccProfile());
}

Vellum arranged(const Vellum &picture, QImage::Format format, Storage storage, Progress &progress)
{
    const bool big = chooseStorage(storage, pixelBytes(picture.size(), format)) == Storage::Big;
    if (picture.format() == format && picture.isBigImage() == big)
        return picture;
    Vellum source = picture;
    const ProgressGuard guard = progress.watch(source);
    return converted(source, format, Qt::AutoColor,
                     big ? vellum::Storage::Big : vellum::Storage::Plain);
}

void clearPadding(Vellum &picture)
{
    const size_t used = pixelBytesOfRow(picture);
    const auto all = size_t(picture.storedBytesPerLine());
    for (int y = 0; used < all && y < picture.height(); ++y) {
        if (uchar *const row = picture.scanLineEx(y))
            std::memset(row + used, 0, all - used);
    }
}

} // namespace vellum::tool
