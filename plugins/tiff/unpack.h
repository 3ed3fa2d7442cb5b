// Samples of every depth, as 8 or 16 bits.
#pragma once

#include <QtGlobal>

namespace vellum::plugin::tiff {

struct SampleCode
{
    int bits; ///< 1 to 16, 32, or 64
    bool isSigned; ///< the lowest value, not 0, is black
    bool isFloat; ///< 16, 32 or 64 bits; 0 is black and 1 is white, what lies beyond is cut off
    bool isScaled; ///< to the whole range of the result; otherwise the number stays as it is
};

/// Writes \a count samples, from sample \a first of \a raw on, to every \a step th place of
/// \a out. \a T is \c uchar for up to 8 bits and \c quint16 for more.
///
/// Samples of 8, 16, 32 and 64 bits are in the byte order of this machine; others are packed,
/// highest bits first.
template <typename T>
void unpack(T *out, int step, const uchar *raw, qint64 first, qint64 count, SampleCode code);

extern template void unpack(uchar *, int, const uchar *, qint64, qint64, SampleCode);
extern template void unpack(quint16 *, int, const uchar *, qint64, qint64, SampleCode);

} // namespace vellum::plugin::tiff
