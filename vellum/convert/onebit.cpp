// From the one-bit formats.

#include <vellum/convert/bits_p.h>
#include <vellum/convert/colortables_p.h>
#include <vellum/convert/routines_p.h>
#include <vellum/convert/rowloop_p.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace vellum::convert {

namespace {

/// What four bits of a row are as pixels, for every value of the four.
template <typename Pixel>
using NibblePixels = std::array<std::array<Pixel, 4>, 16>;

template <typename Pixel>
NibblePixels<Pixel> pixelsOfNibbles(Pixel zero, Pixel one, bool lsbFirst)
{
    NibblePixels<Pixel> table {};
    for (unsigned nibble = 0; nibble < 16; ++nibble) {
        for (unsigned i = 0; i < 4; ++i)
            table[nibble][i] = (nibble >> (lsbFirst ? i : 3 - i) & 1U) ? one : zero;
    }
    return table;
}

/// Expands every bit of \a src to the pixel \a zero or \a one.
template <typename Pixel>
void expandBits(Vellum &dst, const Vellum &src, Pixel zero, Pixel one)
{
    const bool lsbFirst = src.format() == QImage::Format_MonoLSB;
    const NibblePixels<Pixel> table = pixelsOfNibbles(zero, one, lsbFirst);
    const int firstShift = lsbFirst ? 0 : 4;
    forEachRow<Unaligned<Pixel>, uchar>(dst, src, [&](auto *out, const uchar *in, int width) {
        int x = 0;
        for (; x + 8 <= width; x += 8, ++in) {
            std::memcpy(out + x, table[*in >> firstShift & 15].data(), 4 * sizeof(Pixel));
            std::memcpy(out + x + 4, table[*in >> (4 - firstShift) & 15].data(), 4 * sizeof(Pixel));
        }
        for (int i = 0; x < width; ++x, ++i)
            out[x] = table[*in >> (i < 4 ? firstShift : 4 - firstShift) & 15][size_t(i & 3)];
    });
}

} // namespace

void convertMonoToMonoLSB(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    dst.setColorTable(src.colorTable());
    // Padding is reversed along with the pixels.
    const int bytes = qMin(dst.storedBytesPerLine(), src.storedBytesPerLine());
    forEachRow<uchar, uchar>(dst, src, [bytes](uchar *out, const uchar *in, int) {
        reverseBits(out, in, size_t(bytes));
    });
}

void convertMonoToX32(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    const QVector<QRgb> colors = completedToTwo(fixedColors(src.colorTable(), dst.format()));
    expandBits<quint32>(dst, src, colors.at(0), colors.at(1));
}

void convertMonoToIndexed8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    dst.setColorTable(completedToTwo(src.colorTable()));
    expandBits<uchar>(dst, src, 0, 1);
}

} // namespace vellum::convert
