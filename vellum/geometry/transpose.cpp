#include <vellum/geometry/pixels_p.h>
#include <vellum/geometry/transpose_p.h>
#include <vellum/image/cpufeatures_p.h>

namespace vellum::geometry {

namespace {

template <typename Pixel>
void transposePixels(uchar *const *out, const uchar *tile, int columns, int rows)
{
    constexpr int kPitch = kTileColumns<sizeof(Pixel)>;
    for (int c = 0; c < columns; ++c)
        for (int r = 0; r < rows; ++r)
            storePixel(out[c], r, loadPixel<Pixel>(tile, r * kPitch + c));
}

/// Bit 8 * r + c, counted from either end, goes to bit 8 * c + r: exchanges the corners of
/// squares of 2, 4 and 8 pixels.
quint64 transposedBits(quint64 square)
{
    const auto exchange = [&square](int distance, quint64 mask) {
        const quint64 differ = (square ^ (square >> distance)) & mask;
        square ^= differ ^ (differ << distance);
    };
    exchange(7, 0x00aa00aa00aa00aaU);
    exchange(14, 0x0000cccc0000ccccU);
    exchange(28, 0x00000000f0f0f0f0U);
    return square;
}

constexpr int kBitColumns = 512;
constexpr int kBitRows = 64;

template <BitOrder Order>
void transposeBits(uchar *const *out, const uchar *tile, int columns, int rows)
{
    constexpr int kPitch = kBitColumns / 8;
    // The first row stands at the end of the number at which a byte has its first pixel.
    const auto shift = [](int i) { return 8 * image::bitPlace<Order>(i); };
    for (int c = 0; c < columns; c += 8) {
        for (int r = 0; r < rows; r += 8) {
            quint64 square = 0;
            for (int i = 0; i < 8; ++i)
                square |= quint64(tile[(r + i) * kPitch + c / 8]) << shift(i);
            square = transposedBits(square);
            const int count = columns - c < 8 ? columns - c : 8;
            for (int i = 0; i < count; ++i)
                out[c + i][r / 8] = uchar(square >> shift(i));
        }
    }
}

template <int Bytes>
constexpr TileShape shapeOf(TransposeTile transpose)
{
    constexpr TileShape kShape {8 * Bytes, kTileColumns<Bytes>, kTileRows<Bytes>, nullptr};
    static_assert(kShape.rowBytes() * kShape.rows <= kMostTileBytes);
    return {kShape.bitsPerPixel, kShape.columns, kShape.rows, transpose};
}

} // namespace

TileShape tileShape(int depth, BitOrder order) noexcept
{
    static_assert(kBitColumns <= kMostTileColumns);
    static_assert(kBitColumns / 8 * kBitRows <= kMostTileBytes);
    switch (depth) {
    case 1:
        return {1, kBitColumns, kBitRows,
                order == BitOrder::MsbFirst ? transposeBits<BitOrder::MsbFirst>
                                            : transposeBits<BitOrder::LsbFirst>};
    case 8:
        return shapeOf<1>(VELLUM_CHOOSE_SSE41(transposePixels<quint8>, transpose8Sse41));
    case 16:
        return shapeOf<2>(VELLUM_CHOOSE_SSE41(transposePixels<quint16>, transpose16Sse41));
    case 24:
        return shapeOf<3>(VELLUM_CHOOSE_SSE41(transposePixels<Pixel24>, transpose24Sse41));
    case 32:
        return shapeOf<4>(VELLUM_CHOOSE_SSE41(transposePixels<quint32>, transpose32Sse41));
    default:
        return shapeOf<8>(VELLUM_CHOOSE_SSE41(transposePixels<quint64>, transpose64Sse41));
    }
}

} // namespace vellum::geometry
