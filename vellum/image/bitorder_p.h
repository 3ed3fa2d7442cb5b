// Which end of a byte holds the first of eight one-bit pixels.
#pragma once

#include <QImage>

namespace vellum::image {

enum class BitOrder { MsbFirst, LsbFirst };

/// Format_MonoLSB has the other order than all formats with pixels of a bit beside it.
[[nodiscard]] inline BitOrder bitOrderOf(QImage::Format format)
{
    return format == QImage::Format_MonoLSB ? BitOrder::LsbFirst : BitOrder::MsbFirst;
}

/// How far above the lowest bit of its byte \a pixel of a row stands: 0 to 7.
template <BitOrder Order>
constexpr int bitPlace(qint64 pixel)
{
    return Order == BitOrder::MsbFirst ? 7 - int(pixel & 7) : int(pixel & 7);
}

/// The bit of \a pixel in its byte, the others clear.
template <BitOrder Order>
constexpr uchar bitOf(qint64 pixel)
{
    return uchar(1 << bitPlace<Order>(pixel));
}

/// \a pixels, of a type without sign that begins with the first of them in its highest bit or
/// lowest, moved by \a count, 0 to 8, towards the front; those of the byte \a next move in behind.
template <BitOrder Order, typename Pixels>
constexpr Pixels towardsFront(Pixels pixels, uchar next, int count)
{
    if (Order == BitOrder::MsbFirst)
        return Pixels(pixels << count | next >> (8 - count));
    constexpr int kLastByte = 8 * (int(sizeof(Pixels)) - 1);
    return Pixels(pixels >> count | Pixels(uchar(next << (8 - count))) << kLastByte);
}

} // namespace vellum::image
