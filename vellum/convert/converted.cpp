// Any conversion on either storage: QImage's own, strip by strip.

#include <vellum/convert/convert.h>
#include <vellum/convert/directrows_p.h>
#include <vellum/convert/ditherrows_p.h>
#include <vellum/convert/rowloop_p.h>
#include <vellum/image/imagedata_p.h>
#include <vellum/image/rowaccess.h>
#include <vellum/image/tightrows_p.h>

#include <QStringList>

#include <cstring>
#include <vector>

using vellum::convert::RowConverter;

namespace {

/// Bytes of the wider of source and result: small enough for the nearest cache, and for QImage to
/// do the work at once instead of handing it to the thread pool, which costs more than it brings.
constexpr qint64 kStripBytes = 1 << 16;

constexpr int kDitherPeriod = 16; // rows, of QImage's ordered dither patterns
static_assert(kDitherPeriod % RowConverter::kGroup == 0);

enum class Outcome { Done, GaveUp, Failed };

/// Rows of a strip: a power of two, so that whole strips make a dither period or a group.
int stripRows(const Vellum &image, QImage::Format format, Qt::ImageConversionFlags flags)
{
    const int depth = qMax(image.depth(), qt_depthForFormat(format));
    const qint64 rowBytes = (qint64(image.width()) * depth + 7) / 8;
    // QImage's patterns begin with every strip. It uses them only when asked like this, whatever
    // else is asked.
    const bool hasPattern = (flags & Qt::PreferDither) != 0;
    int rows = hasPattern ? kDitherPeriod : 1;
    while (rows * 2 * rowBytes <= kStripBytes)
        rows *= 2;
    return rows;
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
        QImage strip = isOneBuffer(count)
            ? QImage(m_rows[0], m_image.width(), count, m_image.bytesPerLine(), m_image.format())
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

    /// True when the rows can be shown to QImage where they are: it reads padding too, and copies
    /// it, see hasTightRows().
    bool isOneBuffer(int count) const
    {
        const auto addressOf = [](const uchar *row) { return reinterpret_cast<quintptr>(row); };
        const auto stride = quintptr(m_image.bytesPerLine());
        const quintptr alignment = m_image.depth() == 64 ? 8 : 4;
        if (m_image.storedBytesPerLine() < m_image.bytesPerLine() ||
            !vellum::image::hasTightRows(m_image) || stride % alignment != 0 ||
            addressOf(m_rows[0]) % alignment != 0)
            return false;
        for (int i = 1; i < count; ++i) {
            if (addressOf(m_rows[size_t(i)]) - addressOf(m_rows[size_t(i - 1)]) != stride)
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

/// Converts row by row, without a strip in between.
Outcome convertDirectly(Vellum &result, const Vellum &image, vellum::convert::RowFunction row)
{
    for (int y = 0; y < image.height(); ++y) {
        const uchar *const in = image_constScanLine(&image, nullptr, y);
        uchar *const out = result.scanLineEx(y);
        if (!in || !out)
            return Outcome::Failed;
        row(out, in, image.width());
    }
    return Outcome::Done;
}

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

/// Collects rows until they are a group for a RowConverter.
class GroupFeeder
{
public:
    GroupFeeder(Vellum &result, RowConverter &rows) : m_result(result), m_rows(rows) { }

    /// Takes the rows of \a part, which are rows \a y and on of the image.
    bool add(int y, const QImage &part)
    {
        m_parts.push_back(part); // keeps the rows alive
        for (int i = 0; i < part.height(); ++i) {
            m_out[m_count] = m_result.scanLineEx(y + i);
            m_in[m_count] = part.constScanLine(i);
            if (++m_count == RowConverter::kGroup && !flush())
                return false;
        }
        if (m_count == 0)
            m_parts.clear();
        return true;
    }

    /// Converts what has been collected.
    bool flush()
    {
        const int count = m_count;
        m_count = 0;
        return count == 0 || m_rows.convert(m_out, m_in, count);
    }

private:
    Vellum &m_result;
    RowConverter &m_rows;
    std::vector<QImage> m_parts;
    uchar *m_out[RowConverter::kGroup];
    const uchar *m_in[RowConverter::kGroup];
    int m_count = 0;
};

/// Converts every strip to \a between and hands the rows on to \a rows, whose state runs on.
Outcome convertRows(Vellum &result, StripSource &source, QImage::Format between,
                    Qt::ImageConversionFlags flags, RowConverter *rows)
{
    if (!rows)
        return Outcome::Failed;
    GroupFeeder feeder(result, *rows);
    Outcome outcome = source.forEachStrip([&](int y, const QImage &strip) {
        const QImage part = strip.convertToFormat(between, flags);
        if (part.isNull())
            return Outcome::Failed;
        return feeder.add(y, part) ? Outcome::Done : Outcome::GaveUp;
    });
    if (outcome == Outcome::Done && !feeder.flush())
        outcome = Outcome::GaveUp;
    result.setColorTable(rows->colors());
    return outcome;
}

Outcome convertToIndexed8(Vellum &result, StripSource &source, QImage::Format between,
                          Qt::ImageConversionFlags flags)
{
    const vellum::convert::IndexedPlan plan = vellum::convert::indexedPlan(between, flags);
    QVector<QRgb> collected;
    if (plan.collects) {
        const auto palette = vellum::convert::makePaletteRows(result.width(), between);
        const Outcome outcome = convertRows(result, source, between, flags, palette.get());
        if (!palette || outcome == Outcome::Failed ||
            (outcome == Outcome::Done && plan.mayKeepPalette))
            return outcome;
        collected = palette->colors();
    }
    const auto cube = vellum::convert::makeCubeRows(result.width(), between, flags, collected);
    return convertRows(result, source, between, flags, cube.get());
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
    const auto row = vellum::convert::directRow(image.format(), to);
    if (row && vellum::convert::storedPixels(image) == image.width())
        return convertDirectly(result, image, row);
    StripSource source(image, stripRows(image, to, flags), stripColors(image, to));
    if (!dithers(image.format(), to))
        return convertStrips(result, source, flags);
    const QImage::Format between = ditheredFormat(image);
    if (to == QImage::Format_Indexed8)
        return convertToIndexed8(result, source, between, flags);
    const auto rows = vellum::convert::makeMonoRows(image.width(), between, image.colorTable(),
                                                    to == QImage::Format_MonoLSB, flags);
    return convertRows(result, source, between, flags, rows.get());
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
