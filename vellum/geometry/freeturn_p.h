// Turning by any angle: which part of the source each pixel of the result shows.
#pragma once

#include <vellum/geometry/sampler_p.h>

#include <functional>

class Vellum;

namespace vellum::geometry {

/// Positions in the source are fixed-point numbers with this many fraction bits.
constexpr int kFractionBits = 10;
constexpr int kOnePixel = 1 << kFractionBits;

/// The geometry of a turn about the centre, on a canvas that holds all of the turned image.
struct FreeTurn
{
    int sine; ///< in 1/1024; the steps along a result row are (cosine, sine)
    int cosine;
    qint64 width; ///< of the result; more than an int holds when it cannot be had
    qint64 height;
    qint64 originX; ///< position that the first pixel of the first result row shows, in 1/1024
    qint64 originY;

    /// Turns an image of \a w x \a h by \a radians counter-clockwise.
    FreeTurn(int w, int h, double radians);
};

/// The bytes of a pixel of the fill value, at the front.
struct FillPixel
{
    uchar bytes[8];

    /// \a value as Vellum::fill(uint) writes it.
    static FillPixel of(uint value);
};

/// Told that the first \a rows rows of the result are done; false stops.
using RowsDone = std::function<bool(int rows)>;

/// Draws \a source, turned, and \a fill around it over all of \a result, which has the size that
/// \a turn says and complete rows. One-bit results must be clear, and are filled by the sampler.
/// \return false when \a done stopped the loop or memory ran out
[[nodiscard]] bool turnFreely(Vellum &result, const Vellum &source, const FreeTurn &turn,
                              const Sampler &sampler, const FillPixel &fill, const RowsDone &done);

} // namespace vellum::geometry
