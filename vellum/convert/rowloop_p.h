// Loops of the conversions over rows that need not be adjacent in memory.
#pragma once

#include <vellum/image/vellum.h>

#include <cstring>

namespace vellum::convert {

/// A pixel in a row whose address may be any: the stride of a store is its maker's choice.
template <typename Value>
struct Unaligned
{
    uchar bytes[sizeof(Value)];

    operator Value() const // NOLINT(google-explicit-constructor): reads as the pixel it is
    {
        Value value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    Unaligned &operator=(Value value)
    {
        std::memcpy(bytes, &value, sizeof value);
        return *this;
    }
};

using Pixel32 = Unaligned<quint32>;

/// Pixels of \a image that its rows hold: width(), or fewer with a store made too narrow.
inline int storedPixels(const Vellum &image)
{
    if (image.depth() == 0)
        return 0;
    return int(qMin<qint64>(image.width(), qint64(image.storedBytesPerLine()) * 8 / image.depth()));
}

/// True when \a image has a store that lacks rows or ends of rows.
inline bool lacksPixels(const Vellum &image)
{
    return storedPixels(image) < image.width() || !image.scanLineEx(image.height() - 1);
}

/// Calls rowOp(out, in, width) once per row, top to bottom, until a row is null.
///
/// Dst and Src are the pixels that the rows are handed over as, uchar or Pixel32; \a width counts
/// the pixels that both rows hold.
template <typename Dst, typename Src, typename RowOp>
void forEachRow(Vellum &dst, const Vellum &src, RowOp rowOp)
{
    const int width = qMin(storedPixels(dst), storedPixels(src));
    const int height = src.height();
    for (int y = 0; y < height; ++y) {
        const auto *const in = reinterpret_cast<const Src *>(src.scanLineEx(y));
        auto *const out = reinterpret_cast<Dst *>(dst.scanLineEx(y));
        if (!in || !out)
            return;
        rowOp(out, in, width);
    }
}

/// Calls rowOp(row, width) once per row, top to bottom, until a row is null; in place.
template <typename Pixel, typename RowOp>
void forEachRowInPlace(Vellum &image, RowOp rowOp)
{
    const int width = storedPixels(image);
    const int height = image.height();
    for (int y = 0; y < height; ++y) {
        auto *const row = reinterpret_cast<Pixel *>(image.scanLine(y));
        if (!row)
            return;
        rowOp(row, width);
    }
}

} // namespace vellum::convert
