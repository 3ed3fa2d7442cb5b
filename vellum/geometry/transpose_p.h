// Tiles of pixels whose columns become rows.
#pragma once

#include <vellum/image/bitorder_p.h>

#include <QtGlobal>

namespace vellum::geometry {

using image::BitOrder;

/// Writes pixel (c, r) of \a tile to pixel r of row \a out[c], for c below \a columns and r below
/// \a rows, both within the tile's shape.
///
/// The rows of \a tile have the full length of the shape, whatever \a columns is. Of one-bit
/// pixels whole bytes are written, with the bits of rows up to the next multiple of 8 in them.
using TransposeTile = void (*)(uchar *const *out, const uchar *tile, int columns, int rows);

/// Tiles are small enough for the first-level cache, and have rows long enough to use up the
/// cache lines they are read from and written to.
struct TileShape
{
    int bitsPerPixel;
    int columns; ///< a multiple of 16
    int rows; ///< a multiple of 16
    TransposeTile transpose;

    constexpr int rowBytes() const { return columns * bitsPerPixel / 8; }
};

constexpr int kMostTileBytes = 4096;
constexpr int kMostTileColumns = 512;

/// The shape for pixels of \a depth bits, with the fastest form that this processor can run;
/// \a order matters to one-bit pixels only.
[[nodiscard]] TileShape tileShape(int depth, BitOrder order) noexcept;

/// \name The columns and rows of the shape for each size of pixels
/// @{
template <int Bytes>
constexpr int kTileColumns = Bytes == 1 ? 64
    : Bytes == 8                        ? 16
                                        : 32;
template <int Bytes>
constexpr int kTileRows = Bytes == 8 ? 32 : kTileColumns<Bytes>;
/// @}

/// \name The vector forms, for tileShape() only
/// @{
void transpose8Sse41(uchar *const *out, const uchar *tile, int columns, int rows);
void transpose16Sse41(uchar *const *out, const uchar *tile, int columns, int rows);
void transpose24Sse41(uchar *const *out, const uchar *tile, int columns, int rows);
void transpose32Sse41(uchar *const *out, const uchar *tile, int columns, int rows);
void transpose64Sse41(uchar *const *out, const uchar *tile, int columns, int rows);
/// @}

} // namespace vellum::geometry
