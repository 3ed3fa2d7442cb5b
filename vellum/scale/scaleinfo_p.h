// Where every column and row of a smooth scaling samples its source, and with which weights.
#pragma once

#include <vellum/scale/span_p.h>
#include <vellum/scale/table_p.h>

#include <QRect>
#include <QSize>

#include <memory>

namespace vellum::scale {

/// Bits of ScaleInfo::xup_yup: the axes that grow or stay.
constexpr int kXUp = 1;
constexpr int kYUp = 2;

/// Tables of one scaling, for the columns and rows of its crop rectangle, indexed by their place
/// in the whole target.
///
/// The weights of an axis that grows are blend weights, 0 to 255, of the source pixel after the
/// first one. Those of an axis that shrinks are packed as areaSpan() unpacks them.
struct ScaleInfo
{
    Table<int> xpoints; ///< first source column
    Table<int> ypoints; ///< first source row
    Table<int> xapoints; ///< weights along the row
    Table<int> yapoints; ///< weights down the column
    int xup_yup; ///< kXUp and kYUp
    int sh; ///< height of the source
    int sw; ///< width of the source
};

/// Tables for scaling \a sw x \a sh pixels to \a dw x \a dh, for the part in \a rect of it. All
/// sizes are at least 1, and \a rect lies inside the target.
/// \return null when memory runs out
[[nodiscard]] std::unique_ptr<ScaleInfo> calcScaleInfo(int sw, int sh, int dw, int dh,
                                                       const QRect &rect);

/// Weight of a whole source pixel in packed weights of an axis that shrinks.
[[nodiscard]] inline int wholeWeight(int packed) { return packed >> 16; }

/// What the packed weights of an axis that shrinks say about the pixel that starts at \a start.
[[nodiscard]] inline Span areaSpan(int start, int packed)
{
    const int first = packed & 0xffff;
    const int whole = wholeWeight(packed);
    const int rest = kWhole - first;
    const int middle = rest > 0 ? (rest - 1) / whole : 0;
    return {start, middle, first, rest - middle * whole};
}

} // namespace vellum::scale
