#include <vellum/io/limitcheck_p.h>
#include <vellum/io/picturefile.h>

#include <QLocale>

namespace vellum::io {

namespace {

constexpr QImage::Format kLikelyFormat = QImage::Format_ARGB32;

QString inUnits(qint64 bytes)
{
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeIecFormat);
}

} // namespace

QString limitFault(const QSize &size, QImage::Format format, const Limits &limits)
{
    if (size.isEmpty())
        return {};
    const QString picture =
        QStringLiteral("its %1 x %2 pixels").arg(size.width()).arg(size.height());
    const QString remedy = QStringLiteral("raise it by vellum::Limits or VELLUM_LIMITS=%1=...");
    const qint64 pixels = qint64(size.width()) * size.height();
    if (pixels > limits.pixels) {
        return QStringLiteral("%1 are %2, more than the limit of %3 pixels; %4")
            .arg(picture)
            .arg(pixels)
            .arg(limits.pixels)
            .arg(remedy.arg(QLatin1String("pixels")));
    }
    const qint64 bytes =
        pixelBytes(size, format == QImage::Format_Invalid ? kLikelyFormat : format);
    if (bytes > limits.memory) {
        return QStringLiteral("%1 need %2 of memory, more than the limit of %3; %4")
            .arg(picture, inUnits(bytes), inUnits(limits.memory),
                 remedy.arg(QLatin1String("memory")));
    }
    return {};
}

} // namespace vellum::io
