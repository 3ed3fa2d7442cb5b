#include "rows.h"

#include "progress.h"

#include <QColorSpace>

namespace vellum::tool {

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

} // namespace vellum::tool
