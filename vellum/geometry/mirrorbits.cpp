#include <vellum/convert/bitreverse_p.h>
#include <vellum/geometry/mirrorbits_p.h>

#include <QtEndian>

namespace vellum::geometry {

namespace {

using image::BitOrder;
using image::towardsFront;
using vellum::convert::kReversedBits;

/// \name Eight bytes of a row as a number whose first pixel is the highest bit, or the lowest
/// @{
template <BitOrder Order>
quint64 load(const uchar *p)
{
    return Order == BitOrder::MsbFirst ? qFromBigEndian<quint64>(p) : qFromLittleEndian<quint64>(p);
}

template <BitOrder Order>
void store(quint64 pixels, uchar *p)
{
    if (Order == BitOrder::MsbFirst)
        qToBigEndian(pixels, p);
    else
        qToLittleEndian(pixels, p);
}
/// @}

template <BitOrder Order>
void reverseAndMove(uchar *row, qptrdiff bytes, int pad)
{
    const auto byteAt = [=](qptrdiff i) { return i < bytes ? kReversedBits[row[i]] : uchar(0); };
    qptrdiff i = 0;
    for (; i + 8 <= bytes; i += 8) {
        const quint64 pixels = vellum::convert::withReversedBits(load<Order>(row + i));
        store<Order>(towardsFront<Order>(pixels, byteAt(i + 8), pad), row + i);
    }
    for (; i < bytes; ++i)
        row[i] = towardsFront<Order>(byteAt(i), byteAt(i + 1), pad);
}

} // namespace

void mirrorBitsInRow(uchar *row, int width, BitOrder order, qptrdiff bytes)
{
    const int pad = (8 - width % 8) % 8; // 0: the byte that moves in is shifted out entirely
    if (order == BitOrder::MsbFirst)
        reverseAndMove<BitOrder::MsbFirst>(row, bytes, pad);
    else
        reverseAndMove<BitOrder::LsbFirst>(row, bytes, pad);
}

} // namespace vellum::geometry
