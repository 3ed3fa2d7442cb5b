// The sampling scaler again, pixel by pixel, for tests of what stands on it.
#pragma once

#include <optional>
#include <support/pixels.h>

namespace vellum::test {

/// Column or row of the source for \a target, with or without a reference image in between.
inline int sampledFrom(int target, int sourceLength, int targetLength, std::optional<int> reference)
{
    if (!reference)
        return int(target * (double(sourceLength) / targetLength));
    const int middle = int(target * (double(*reference) / targetLength));
    return int(middle * (double(sourceLength) / *reference));
}

/// Pixel \a x of a row of one-bit pixels, always from the highest bit on.
inline bool highestBitFirst(const uchar *row, int x) { return (row[x / 8] & 0x80 >> (x % 8)) != 0; }

/// Writes the part \a rect, which must lie inside the target, of \a src scaled to \a size over
/// \a dst, whose format need not be that of \a src. An empty \a refSize stands for none.
inline void sampleNaively(Vellum &dst, const Vellum &src, const QSize &size, const QRect &rect,
                          const QSize &refSize = QSize())
{
    const bool direct = refSize.isEmpty() || refSize == src.size();
    const auto refWidth = direct ? std::nullopt : std::optional(refSize.width());
    const auto refHeight = direct ? std::nullopt : std::optional(refSize.height());
    const int bytes = src.depth() / 8;
    if (bytes == 0)
        dst.fill(0U);
    dst.setColorTable(src.colorTable());
    for (int y = 0; y < rect.height(); ++y) {
        const int sy = sampledFrom(rect.top() + y, src.height(), size.height(), refHeight);
        const uchar *const in = src.scanLineEx(sy);
        uchar *const out = dst.scanLineEx(y);
        for (int x = 0; x < rect.width(); ++x) {
            const int sx = sampledFrom(rect.left() + x, src.width(), size.width(), refWidth);
            for (int i = 0; i < bytes; ++i)
                out[x * bytes + i] = in[sx * bytes + i];
            if (bytes == 0 && highestBitFirst(in, sx))
                out[x / 8] = uchar(out[x / 8] | 0x80 >> (x % 8));
        }
    }
}

/// A plain image as sampleNaively() leaves it.
inline Vellum sampledNaively(const Vellum &src, const QSize &size, const QRect &rect,
                             const QSize &refSize = QSize())
{
    Vellum dst(rect.width(), rect.height(), src.format());
    sampleNaively(dst, src, size, rect, refSize);
    return dst;
}

/// Success when both have the same size, format, colour table and row bytes, of which those bits
/// that no pixel has in one-bit formats count as well.
inline testing::AssertionResult sameRowBytes(const Vellum &a, const Vellum &b)
{
    if (a.size() != b.size() || a.format() != b.format() || a.colorTable() != b.colorTable()) {
        return testing::AssertionFailure()
            << a.width() << " x " << a.height() << " format " << a.format() << " against "
            << b.width() << " x " << b.height() << " format " << b.format()
            << ", or colour tables differ";
    }
    const int bytes = int((qint64(a.width()) * a.depth() + 7) / 8);
    for (int y = 0; y < a.height(); ++y) {
        const uchar *const p = a.scanLineEx(y);
        const uchar *const q = b.scanLineEx(y);
        for (int i = 0; i < bytes; ++i) {
            if (p[i] != q[i]) {
                return testing::AssertionFailure() << "row " << y << ", byte " << i << ": "
                                                   << int(p[i]) << " against " << int(q[i]);
            }
        }
    }
    return testing::AssertionSuccess();
}

} // namespace vellum::test
