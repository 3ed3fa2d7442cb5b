#include <vellum/convert/bitreverse_p.h>
#include <vellum/geometry/mirrorbits_p.h>

namespace vellum::geometry {

namespace {

/// \a Joined moves a byte towards the front by some bits and takes in those of the next byte.
template <typename Joined>
void reverseAndMove(uchar *row, qptrdiff bytes, Joined joined)
{
    const auto &reversed = vellum::convert::kReversedBits;
    uchar current = bytes > 0 ? reversed[row[0]] : uchar(0);
    for (qptrdiff i = 0; i < bytes; ++i) {
        const uchar next = i + 1 < bytes ? reversed[row[i + 1]] : uchar(0);
        row[i] = joined(current, next);
        current = next;
    }
}

} // namespace

void mirrorBitsInRow(uchar *row, int width, bool lsbFirst, qptrdiff bytes)
{
    const int pad = (8 - width % 8) % 8; // 0: the byte that moves in is shifted out entirely
    if (lsbFirst) {
        reverseAndMove(row, bytes, [pad](uchar current, uchar next) {
            return uchar(current >> pad | next << (8 - pad));
        });
    } else {
        reverseAndMove(row, bytes, [pad](uchar current, uchar next) {
            return uchar(current << pad | next >> (8 - pad));
        });
    }
}

} // namespace vellum::geometry
