// The conversions that dither, as routines of the conversion table.

#include <vellum/convert/ditherrows_p.h>
#include <vellum/convert/routines_p.h>
#include <vellum/convert/rowloop_p.h>

namespace vellum::convert {

namespace {

/// Runs all rows through \a rows, in groups, until one is null. Without \a rows, for want of
/// memory, \a dst becomes null.
/// \return false when \a rows gave up
bool convertRows(Vellum &dst, const Vellum &src, RowConverter *rows)
{
    if (!rows) {
        dst = Vellum();
        return true;
    }
    const int height = src.height();
    for (int y = 0; y < height;) {
        uchar *out[RowConverter::kGroup];
        const uchar *in[RowConverter::kGroup];
        int count = 0;
        while (count < RowConverter::kGroup && y < height) {
            in[count] = src.scanLineEx(y);
            out[count] = dst.scanLineEx(y);
            if (!in[count] || !out[count])
                break;
            ++count;
            ++y;
        }
        if (!rows->convert(out, in, count))
            return false;
        if (count < RowConverter::kGroup)
            break;
    }
    dst.setColorTable(rows->colors());
    return true;
}

int commonWidth(const Vellum &dst, const Vellum &src)
{
    return qMin(storedPixels(dst), storedPixels(src));
}

} // namespace

void convertXToMono(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags flags)
{
    const auto rows = makeMonoRows(commonWidth(dst, src), src.format(), src.colorTable(),
                                   dst.format() == QImage::Format_MonoLSB, flags);
    convertRows(dst, src, rows.get());
}

void convertRGBToIndexed8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags flags)
{
    const int width = commonWidth(dst, src);
    const IndexedPlan plan = indexedPlan(src.format(), flags);
    QVector<QRgb> collected;
    if (plan.collects) {
        const auto palette = makePaletteRows(width, src.format());
        const bool fits = convertRows(dst, src, palette.get());
        if (!palette || (fits && plan.mayKeepPalette))
            return;
        collected = palette->colors();
    }
    convertRows(dst, src, makeCubeRows(width, src.format(), flags, collected).get());
}

void convertARGBToIndexed8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags flags)
{
    convertRGBToIndexed8(dst, src, flags);
}

} // namespace vellum::convert
