// Writing a row of pixels backwards.
#pragma once

#include <QtGlobal>

namespace vellum::geometry {

/// Writes pixel i of \a in to pixel count - 1 - i of \a out, for i from 0 to \a count - 1. The
/// rows may not overlap.
using ReverseRow = void (*)(uchar *out, const uchar *in, qptrdiff count);

/// The fastest form that this processor can run for pixels of \a bytesPerPixel: 1, 2, 3, 4 or 8.
[[nodiscard]] ReverseRow reverseRow(int bytesPerPixel) noexcept;

/// \name The vector forms, for reverseRow() only
/// @{
void reverseRow8Sse41(uchar *out, const uchar *in, qptrdiff count);
void reverseRow16Sse41(uchar *out, const uchar *in, qptrdiff count);
void reverseRow24Sse41(uchar *out, const uchar *in, qptrdiff count);
void reverseRow32Sse41(uchar *out, const uchar *in, qptrdiff count);
void reverseRow64Sse41(uchar *out, const uchar *in, qptrdiff count);
/// @}

} // namespace vellum::geometry
