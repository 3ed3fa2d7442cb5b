#include "proof.h"

#include "pixelcolors.h"
#include "strips.h"

#include <QColorSpace>

#include <cstring>

namespace vellum::tool {

namespace {

ColorConversion toScreen(ProofWhite white)
{
    ColorConversion conversion;
    conversion.intent = white == ProofWhite::Paper ? RenderingIntent::AbsoluteColorimetric
                                                   : RenderingIntent::RelativeColorimetric;
    conversion.blackPointCompensation = white == ProofWhite::Screen;
    return conversion;
}

QImage::Format proofFormat(const Vellum &picture)
{
    if (!picture.hasAlphaChannel())
        return QImage::Format_RGB32;
    return hasWideChannels(picture.format()) ? QImage::Format_RGBA64 : QImage::Format_ARGB32;
}

/// Puts the colours of \a shown, RGB32, over those of \a row, in \a format, whose alpha stays.
void putColors(uchar *row, QImage::Format format, const QRgb *shown, int width)
{
    if (format == QImage::Format_RGBA64) {
        auto *const pixels = reinterpret_cast<QRgba64 *>(row);
        for (int x = 0; x < width; ++x) {
            const QRgb color = shown[x];
            pixels[x] = qRgba64(quint16(qRed(color) * 257), quint16(qGreen(color) * 257),
                                quint16(qBlue(color) * 257), pixels[x].alpha());
        }
    } else {
        auto *const pixels = reinterpret_cast<QRgb *>(row);
        for (int x = 0; x < width; ++x)
            pixels[x] = (shown[x] & 0x00ffffff) | (pixels[x] & 0xff000000);
    }
}

Vellum makeResult(const Vellum &picture, vellum::Storage storage)
{
    const auto create = storage == vellum::Storage::Big ? Vellum::createBig : Vellum::create;
    Vellum result;
    if (!create(result, picture.width(), picture.height(), proofFormat(picture)))
        return {};
    result.setDotsPerMeterX(picture.dotsPerMeterX());
    result.setDotsPerMeterY(picture.dotsPerMeterY());
    for (const QString &key : picture.textKeys())
        result.setText(key, picture.text(key));
    result.setColorSpace(QColorSpace::SRgb);
    result.setIccProfile(result.colorSpace().iccProfile());
    return result;
}

} // namespace

Vellum proofed(const Vellum &picture, const QByteArray &source, const QByteArray &press,
               const ColorConversion &toPress, ProofWhite white, vellum::Storage storage,
               const ProgressGuard::Report &report)
{
    const QImage::Format format = formatForProfile(picture, source);
    if (picture.isNull() || format == QImage::Format_Invalid || !isCmykProfile(press))
        return {};
    Vellum result = makeResult(picture, storage);
    const auto proofStrip = [&](int y, int count) {
        const auto goOn = [&] { return report(int(qint64(y) * 100 / picture.height())); };
        const Vellum inks =
            convertedColors(strip(picture, y, count, format), source, press, toPress, goOn);
        const Vellum shown = convertedColors(inks, press, {}, toScreen(white), goOn);
        const bool isOpaque = !result.hasAlphaChannel();
        const Vellum alpha = isOpaque ? shown : strip(picture, y, count, result.format());
        if (shown.isNull() || alpha.isNull())
            return false;
        for (int row = 0; row < count; ++row) {
            uchar *const out = result.scanLineEx(y + row);
            std::memcpy(out, alpha.scanLineEx(row), size_t(alpha.bytesPerLine()));
            putColors(out, result.format(), reinterpret_cast<const QRgb *>(shown.scanLineEx(row)),
                      shown.width());
        }
        return true;
    };
    if (result.isNull() || !forEachStrip(picture.size(), StripSize::Large, report, proofStrip))
        return {};
    return result;
}

} // namespace vellum::tool
