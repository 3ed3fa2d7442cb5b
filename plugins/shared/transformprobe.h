// Whether a manager has a transform, which it does not tell.
#pragma once

#include <QtGlobal>

#include <array>

namespace vellum::plugin {

/// \a transformPixel(in, out) transforms one pixel. Without a transform it does nothing; with one
/// it writes the same colour over whatever stood there.
template <typename TransformPixel>
bool writesPixels(TransformPixel transformPixel)
{
    constexpr int kBytes = 64; // more than any pixel has
    const std::array<uchar, kBytes> in {};
    std::array<uchar, kBytes> zeros {};
    std::array<uchar, kBytes> ones {};
    ones.fill(0xff);
    transformPixel(in.data(), zeros.data());
    transformPixel(in.data(), ones.data());
    constexpr int kColor = 1; // a byte of colour in all layouts, wherever alpha is
    return zeros[kColor] == ones[kColor];
}

} // namespace vellum::plugin
