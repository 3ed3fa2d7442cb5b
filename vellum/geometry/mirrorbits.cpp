#include <vellum/convert/bitreverse_p.h>
#include <vellum/geometry/mirrorbits_p.h>

#include <QtEndian>

namespace vellum::geometry {

namespace {

using vellum::convert::kReversedBits;

/// \name Rows as numbers whose first pixel is the highest bit, or the lowest
/// towardsFront() moves the pixels of \a current, of type quint64 or uchar, by \a pad towards the
/// first and takes in those of the byte that follows.
/// @{
struct MsbFirst
{
    static quint64 load(const uchar *p) { return qFromBigEndian<quint64>(p); }
    static void store(quint64 pixels, uchar *p) { qToBigEndian(pixels, p); }
    template <typename Pixels>
    static Pixels towardsFront(Pixels current, uchar next, int pad)
    {
        return Pixels(current << pad | next >> (8 - pad));
    }
};

struct LsbFirst
{
    static quint64 load(const uchar *p) { return qFromLittleEndian<quint64>(p); }
    static void store(quint64 pixels, uchar *p) { qToLittleEndian(pixels, p); }
    template <typename Pixels>
    static Pixels towardsFront(Pixels current, uchar next, int pad)
    {
        constexpr int kLastByte = 8 * (int(sizeof(Pixels)) - 1);
        return Pixels(current >> pad | Pixels(uchar(next << (8 - pad))) << kLastByte);
    }
};
/// @}

template <typename Order>
void reverseAndMove(uchar *row, qptrdiff bytes, int pad)
{
    const auto byteAt = [=](qptrdiff i) { return i < bytes ? kReversedBits[row[i]] : uchar(0); };
    qptrdiff i = 0;
    for (; i + 8 <= bytes; i += 8) {
        const quint64 pixels = vellum::convert::withReversedBits(Order::load(row + i));
        Order::store(Order::towardsFront(pixels, byteAt(i + 8), pad), row + i);
    }
    for (; i < bytes; ++i)
        row[i] = Order::towardsFront(byteAt(i), byteAt(i + 1), pad);
}

} // namespace

void mirrorBitsInRow(uchar *row, int width, bool lsbFirst, qptrdiff bytes)
{
    const int pad = (8 - width % 8) % 8; // 0: the byte that moves in is shifted out entirely
    if (lsbFirst)
        reverseAndMove<LsbFirst>(row, bytes, pad);
    else
        reverseAndMove<MsbFirst>(row, bytes, pad);
}

} // namespace vellum::geometry
