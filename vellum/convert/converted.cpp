// Any conversion on either storage: QImage's own, strip by strip.

#include <vellum/convert/convert.h>
#include <vellum/convert/ditherrows_p.h>
#include <vellum/convert/rowloop_p.h>
#include <vellum/image/imagedata_p.h>
#include <vellum/image/rowaccess.h>

#include <QStringList>

#include <cstring>
#include <memory>

using vellum::convert::RowConverter;

namespace {

constexpr qint64 kStripBytes = 1 << 19; // of the wider of source and result: fits a cache

/// Strips begin at multiples of this: the period of QImage's dither patterns, and whole groups.
constexpr int kStripUnit = 16;
static_assert(kStripUnit % RowConverter::kGroup == 0);

enum class Outcome { Done, GaveUp, Failed };

int stripRows(const Vellum &image, QImage::Format format)
{
    const int depth = qMax(image.depth(), qt_depthForFormat(format));
    const qint64 rowBytes = (qint64(image.width()) * depth + 7) / 8;
    return int(qMax<qint64>(kStripBytes / rowBytes / kStripUnit, 1) * kStripUnit);
}

size_t visibleBytes(const QImage &image)
{
    return size_t((qint64(image.width()) * image.depth() + 7) / 8);
}

/// The rows of an image as a sequence of plain images.
class StripSource
{
public:
    StripSource(const Vellum &image, int rowsPerStrip, const QVector<QRgb> &colors)
        : m_image(image), m_rowsPerStrip(rowsPerStrip), m_colors(colors),
          m_rows(size_t(rowsPerStrip))
    {
    }

    /// Calls use(y, strip) for all strips from top to bottom, until it does not answer Done.
    ///
    /// Rows are polled for progress and cancel when they are first used, not in later passes.
    template <typename Use>
    Outcome forEachStrip(Use use)
    {
        const int height = m_image.height();
        for (qint64 y = 0; y < height; y += m_rowsPerStrip) {
            const int count = int(qMin<qint64>(m_rowsPerStrip, height - y));
            const QImage strip = stripAt(int(y), count);
            const Outcome outcome = strip.isNull() ? Outcome::Failed : use(int(y), strip);
            if (outcome != Outcome::Done)
                return outcome;
        }
        return Outcome::Done;
    }

private:
    QImage stripAt(int y, int count)
    {
        for (int i = 0; i < count; ++i) {
            const int row = y + i;
            m_rows[size_t(i)] = row < m_polled ? m_image.scanLineEx(row)
                                               : image_constScanLine(&m_image, nullptr, row);
            if (!m_rows[size_t(i)])
                return {};
            m_polled = qMax(m_polled, row + 1);
        }
        QImage strip = isRegular(count)
            ? QImage(m_rows[0], m_image.width(), count, int(stride(count)), m_image.format())
            : gathered(count);
        if (QImageData *const data = QImageData::get(strip)) {
            // Written directly: the setters would copy the rows.
            const QImageData *const source = QImageData::get(m_image);
            data->colortable = m_colors;
            data->has_alpha_clut = source->has_alpha_clut;
            data->colorSpace = source->colorSpace;
        }
        return strip;
    }

    qptrdiff stride(int count) const
    {
        return count > 1 ? m_rows[1] - m_rows[0] : m_image.bytesPerLine();
    }

    /// True when the rows can be shown to QImage where they are.
    bool isRegular(int count) const
    {
        const auto step = stride(count);
        const quintptr alignment = m_image.depth() == 64 ? 8 : 4;
        if (step < qptrdiff(visibleBytes(m_image)) || step > m_image.bytesPerLine() + 4096 ||
            quintptr(step) % alignment != 0 || quintptr(m_rows[0]) % alignment != 0 ||
            vellum::convert::storedPixels(m_image) < m_image.width())
            return false;
        for (int i = 2; i < count; ++i) {
            if (m_rows[size_t(i)] - m_rows[size_t(i - 1)] != step)
                return false;
        }
        return true;
    }

    /// A copy; what a row of the store lacks is zero.
    QImage gathered(int count) const
    {
        QImage copy(m_image.width(), count, m_image.format());
        if (copy.isNull())
            return copy;
        copy.fill(0U);
        const size_t bytes = qMin(visibleBytes(m_image), size_t(m_image.storedBytesPerLine()));
        for (int i = 0; i < count; ++i)
            std::memcpy(copy.scanLine(i), m_rows[size_t(i)], bytes);
        return copy;
    }

    const Vellum &m_image;
    const int m_rowsPerStrip;
    const QVector<QRgb> m_colors;
    std::vector<const uchar *> m_rows; // of the strip
    int m_polled = 0; // rows
};

/// Converts every strip by itself. Right for all conversions of single pixels.
Outcome convertStrips(Vellum &result, StripSource &source, Qt::ImageConversionFlags flags)
{
    const size_t bytes = visibleBytes(result);
    return source.forEachStrip([&](int y, const QImage &strip) {
        const QImage part = strip.convertToFormat(result.format(), flags);
        if (part.isNull())
            return Outcome::Failed;
        if (y == 0 && part.colorTable() != result.colorTable())
            result.setColorTable(part.colorTable());
        for (int i = 0; i < part.height(); ++i)
            std::memcpy(result.scanLineEx(y + i), part.constScanLine(i), bytes);
        return Outcome::Done;
    });
}

/// Converts every strip to \a between and hands the rows on to \a rows, whose state runs on.
Outcome convertRows(Vellum &result, StripSource &source, QImage::Format between,
                    Qt::ImageConversionFlags flags, RowConverter &rows)
{
    const Outcome outcome = source.forEachStrip([&](int y, const QImage &strip) {
        const QImage part = strip.convertToFormat(between, flags);
        if (part.isNull())
            return Outcome::Failed;
        for (int i = 0; i < part.height(); i += RowConverter::kGroup) {
            uchar *out[RowConverter::kGroup];
            const uchar *in[RowConverter::kGroup];
            const int count = qMin(RowConverter::kGroup, part.height() - i);
            for (int k = 0; k < count; ++k) {
                out[k] = result.scanLineEx(y + i + k);
                in[k] = part.constScanLine(i + k);
            }
            if (!rows.convert(out, in, count))
                return Outcome::GaveUp;
        }
        return Outcome::Done;
    });
    result.setColorTable(rows.colors());
    return outcome;
}

Outcome convertToIndexed8(Vellum &result, StripSource &source, QImage::Format between,
                          Qt::ImageConversionFlags flags)
{
    const vellum::convert::IndexedPlan plan = vellum::convert::indexedPlan(between, flags);
    QVector<QRgb> collected;
    if (plan.collects) {
        const auto palette = vellum::convert::makePaletteRows(result.width(), between);
        const Outcome outcome = convertRows(result, source, between, flags, *palette);
        if (outcome == Outcome::Failed || (outcome == Outcome::Done && plan.mayKeepPalette))
            return outcome;
        collected = palette->colors();
    }
    const auto cube = vellum::convert::makeCubeRows(result.width(), between, flags, collected);
    return convertRows(result, source, between, flags, *cube);
}

bool isOneBit(QImage::Format format)
{
    return format == QImage::Format_Mono || format == QImage::Format_MonoLSB;
}

/// True when QImage dithers, or looks for a palette, on the way from \a from to \a to.
bool dithers(QImage::Format from, QImage::Format to)
{
    if (from == to || isOneBit(from))
        return false;
    if (isOneBit(to))
        return true;
    return to == QImage::Format_Indexed8 && from != QImage::Format_Grayscale8 &&
        from != QImage::Format_Alpha8;
}

/// The format whose rows are dithered: the image's own, or the one that QImage goes through.
QImage::Format ditheredFormat(const Vellum &image)
{
    if (image.format() == QImage::Format_Indexed8)
        return QImage::Format_Indexed8;
    return image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32;
}

/// The colour table that strips are converted with.
QVector<QRgb> stripColors(const Vellum &image, QImage::Format to)
{
    QVector<QRgb> colors = image.colorTable();
    // For these QImage makes the byte of an index beyond the table from whatever is in memory.
    if (image.format() == QImage::Format_Indexed8 && colors.size() < 256 &&
        (to == QImage::Format_Grayscale8 || to == QImage::Format_Alpha8))
        colors.resize(256);
    return colors;
}

Outcome convertPixels(Vellum &result, const Vellum &image, Qt::ImageConversionFlags flags)
{
    const QImage::Format to = result.format();
    StripSource source(image, stripRows(image, to), stripColors(image, to));
    if (!dithers(image.format(), to))
        return convertStrips(result, source, flags);
    const QImage::Format between = ditheredFormat(image);
    if (to == QImage::Format_Indexed8)
        return convertToIndexed8(result, source, between, flags);
    const auto rows = vellum::convert::makeMonoRows(image.width(), between, image.colorTable(),
                                                    to == QImage::Format_MonoLSB, flags);
    return convertRows(result, source, between, flags, *rows);
}

void carryMetadata(Vellum &result, const Vellum &image)
{
    result.setIccProfile(image.getIccProfile());
    result.setOrgFileCmyk(image.isOrgFileCmyk());
    result.setOffset(image.getOffsetX(), image.getOffsetY());
    result.setOffset(image.offset());
    result.setDotsPerMeterX(image.dotsPerMeterX());
    result.setDotsPerMeterY(image.dotsPerMeterY());
    result.setDevicePixelRatio(image.devicePixelRatio());
    result.setColorSpace(image.colorSpace());
    const QStringList keys = image.textKeys();
    for (const QString &key : keys)
        result.setText(key, image.text(key));
}

} // namespace

namespace vellum {

Vellum converted(const Vellum &image, QImage::Format format, Qt::ImageConversionFlags flags,
                 Storage storage)
{
    // One variable for all returns: a copy of it would lose the placement.
    Vellum result;
    if (image.isNull() || format <= QImage::Format_Invalid || format >= QImage::NImageFormats)
        return result;
    if (storage == Storage::Plain && !image.isBigImage() && image.format() == format) {
        result = image;
        result.setOffset(image.getOffsetX(), image.getOffsetY());
        return result;
    }
    const auto create = storage == Storage::Big ? Vellum::createBig : Vellum::create;
    if (!create(result, image.width(), image.height(), format))
        return result;
    if (convertPixels(result, image, flags) == Outcome::Done)
        carryMetadata(result, image);
    else
        result = Vellum();
    return result;
}

Vellum converted(const Vellum &image, QImage::Format format, Qt::ImageConversionFlags flags)
{
    return converted(image, format, flags, image.isBigImage() ? Storage::Big : Storage::Plain);
}

} // namespace vellum
