#include <vellum/image/hugepages_p.h>
#include <vellum/image/vellum.h>
#include <vellum/scale/crop_p.h>
#include <vellum/scale/smoothscale_p.h>
#include <vellum/scale/smoothscaled.h>

#include <QColorSpace>
#include <QMessageLogger>

#include <cstring>
#include <new>

namespace vellum {

namespace {

/// Source and result pixels of a band: some hundredths of a second on one thread.
constexpr qint64 kBandPixels = 8'000'000;

struct Formats
{
    QImage::Format work; ///< averaged channel by channel
    QImage::Format result;
};

Formats formatsFor(const Vellum &source)
{
    const QImage::Format format = source.format();
    switch (format) {
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32_Premultiplied:
    case QImage::Format_RGBX8888:
    case QImage::Format_RGBA8888_Premultiplied:
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64_Premultiplied:
    case QImage::Format_Grayscale8:
    case QImage::Format_Alpha8:
        return {format, format};
    case QImage::Format_ARGB32:
        return {QImage::Format_ARGB32_Premultiplied, format};
    case QImage::Format_RGBA8888:
        return {QImage::Format_RGBA8888_Premultiplied, format};
    case QImage::Format_RGBA64:
        return {QImage::Format_RGBA64_Premultiplied, format};
    case QImage::Format_Grayscale16:
        return {QImage::Format_RGBX64, format};
    case QImage::Format_RGB30:
    case QImage::Format_BGR30:
        return {QImage::Format_RGBX64, QImage::Format_RGBX64};
    case QImage::Format_A2RGB30_Premultiplied:
    case QImage::Format_A2BGR30_Premultiplied:
        return {QImage::Format_RGBA64_Premultiplied, QImage::Format_RGBA64_Premultiplied};
    default:
        break;
    }
    if (!source.hasAlphaChannel())
        return {QImage::Format_RGB32, QImage::Format_RGB32};
    const bool palette = !source.colorTable().isEmpty();
    return {QImage::Format_ARGB32_Premultiplied,
            palette ? QImage::Format_ARGB32 : QImage::Format_ARGB32_Premultiplied};
}

void copyMetadata(Vellum &to, const Vellum &from)
{
    to.setIccProfile(from.getIccProfile());
    to.setOrgFileCmyk(from.isOrgFileCmyk());
    to.setColorSpace(from.colorSpace());
    to.setDotsPerMeterX(from.dotsPerMeterX());
    to.setDotsPerMeterY(from.dotsPerMeterY());
    const QStringList keys = from.textKeys();
    for (const QString &key : keys)
        to.setText(key, from.text(key));
}

Vellum makeResult(const QSize &size, QImage::Format format, Storage storage)
{
    Vellum result;
    const auto create = storage == Storage::Big ? Vellum::createBig : Vellum::create;
    if (!create(result, size.width(), size.height(), format))
        QMessageLogger().warning("QImage: out of memory, returning null");
    else if (storage == Storage::Plain)
        image::preferHugePages(result.bits(), size_t(result.sizeInBytes()));
    return result;
}

/// Scales the rows \a first to \a first + \a count - 1 of \a rows into images of \a work format
/// and converts those.
bool runConverting(const scale::SmoothScale &smooth, const scale::ResultRows &rows, int first,
                   int count, const Vellum &result, QImage::Format work)
{
    Vellum band(result.width(), count, work);
    scale::ResultRows bandRows;
    if (band.isNull() || !scale::findResultRows(bandRows, band, first) || !smooth.run(bandRows))
        return false;
    const QImage converted = band.toImage().convertToFormat(result.format());
    if (converted.isNull())
        return false;
    const size_t rowBytes = size_t(qint64(result.width()) * result.depth() / 8);
    for (int i = 0; i < count; ++i)
        std::memcpy(rows[first + i], converted.constScanLine(i), rowBytes);
    return true;
}

Vellum scaledInBands(const Vellum &source, const QSize &size, const QRect &rect, Storage storage)
{
    Formats formats = formatsFor(source);
    if (source.size() == size && formats.result != QImage::Format_Grayscale16)
        formats.work = formats.result; // nothing is averaged, so nothing needs to lose precision
    // Before the tables: sizes that no memory holds would take long to make tables for.
    Vellum result = makeResult(rect.size(), formats.result, storage);
    scale::SmoothScale smooth;
    scale::ResultRows rows;
    if (result.isNull() || !smooth.make(source, formats.work, size, rect) ||
        !scale::findResultRows(rows, result, rect.top()))
        return {};

    const qint64 sourcePixels = qint64(source.width()) * source.height() / size.height();
    const qint64 rowPixels = qMax(qMax<qint64>(sourcePixels, rect.width()), qint64(1));
    const int bandRows = int(qBound<qint64>(1, kBandPixels / rowPixels, rect.height()));
    for (int done = 0; done < rect.height();) {
        const int first = rect.top() + done;
        const int count = qMin(bandRows, rect.height() - done);
        const bool scaled = formats.work == formats.result
            ? smooth.run(rows, first, count)
            : runConverting(smooth, rows, first, count, result, formats.work);
        done += count;
        const qint64 progress = qint64(source.height()) * done / rect.height();
        if (!scaled || !source.set_progress(int(progress)))
            return {};
    }
    copyMetadata(result, source);
    return result;
}

} // namespace

Vellum smoothScaled(const Vellum &source, const QSize &size, const QRect &crop, Storage storage)
{
    const QRect rect = crop == QRect() ? QRect(QPoint(0, 0), size) : crop;
    if (source.isNull() || !scale::isInTarget(rect, size))
        return {};
    try {
        return scaledInBands(source, size, rect, storage);
    } catch (const std::bad_alloc &) { // from Qt's conversions and texts
        return {};
    }
}

} // namespace vellum
