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

    const int width = picture.width();
    Vellum result;
    const auto create = big ? Vellum::createBig : Vellum::create;
    if (!create(result, width, picture.height(), format))
        return {};
    copyMetadata(result, picture);

    const ProgressGuard guard = progress.watch(result);
    const size_t bytes = pixelBytesOfRow(result);
    for (int y = 0; y < picture.height(); ++y) {
        const uchar *const in = picture.scanLineEx(y);
        uchar *const out = image_scanLine(&result, nullptr, y);
        if (!in || !out)
            return {};
        if (picture.format() == format) {
            std::memcpy(out, in, bytes);
            continue;
        }
        QImage row(in, width, 1, picture.bytesPerLine(), picture.format());
        if (picture.colorCount() > 0)
            row.setColorTable(picture.colorTable());
        row.setColorSpace(picture.colorSpace());
        const QImage converted = row.convertToFormat(format);
        if (converted.isNull())
            return {};
        std::memcpy(out, converted.constScanLine(0), bytes);
    }
    return result;
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
