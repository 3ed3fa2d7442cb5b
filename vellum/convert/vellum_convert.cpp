// Format conversion: members of Vellum.

#include <vellum/convert/table_p.h>
#include <vellum/image/derived_p.h>
#include <vellum/image/tightrows_p.h>

#include <QStringList>

namespace {

bool isFormat(QImage::Format format)
{
    return format >= QImage::Format_Invalid && format < QImage::NImageFormats;
}

/// A plain image of \a format; null without a routine, for \a source's own format in particular.
Vellum convertBigImage(const Vellum &source, QImage::Format format, Qt::ImageConversionFlags flags)
{
    Vellum result;
    const auto convert = vellum::convert::copyingConverter(source.format(), format);
    if (!convert || !Vellum::create(result, source.width(), source.height(), format))
        return result;
    if (!vellum::image::isComplete(source))
        result.fill(0U); // what has no source
    convert(result, source, flags);
    return result;
}

bool convertBigImageInPlace(Vellum &image, QImage::Format format, Qt::ImageConversionFlags flags)
{
    if (image.format() == format)
        return true;
    const auto convert = vellum::convert::inPlaceConverter(image.format(), format);
    return convert && convert(image, flags);
}

} // namespace

Vellum Vellum::convertToFormat(QImage::Format format, Qt::ImageConversionFlags flags) const
{
    Vellum result;
    if (!isFormat(format))
        return result;
    if (!isBigImage()) {
        // A named copy: of a temporary QImage would convert the pixels in place, to other bytes.
        const bool fits = vellum::image::hasTightRows(*this) || format == this->format();
        const QImage tight = fits ? toImage() : QImage::copy();
        result = tight.convertToFormat(format, flags);
        return result;
    }
    result = convertBigImage(*this, format, flags);
    if (result.isNull())
        return result;
    result.setDotsPerMeterX(dotsPerMeterX());
    result.setDotsPerMeterY(dotsPerMeterY());
    result.setDevicePixelRatio(devicePixelRatio());
    const QStringList keys = textKeys();
    for (const QString &key : keys)
        result.setText(key, text(key));
    return result;
}

void Vellum::convertTo(QImage::Format format, Qt::ImageConversionFlags flags)
{
    if (!isFormat(format))
        return;
    if (isBigImage())
        convertBigImageInPlace(*this, format, flags);
    else
        QImage::convertTo(format, flags);
}
