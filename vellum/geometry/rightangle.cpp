#include <vellum/geometry/rightangle_p.h>
#include <vellum/image/rowtable_p.h>
#include <vellum/image/vellum.h>

#include <cstring>

namespace vellum::geometry {

namespace {

/// Copies \a bytes bytes from byte \a offset of a row of \a stored bytes; zeros behind its end.
void copyPart(uchar *to, const uchar *row, int offset, int bytes, int stored)
{
    if (offset + qint64(bytes) <= stored) {
        std::memcpy(to, row + offset, size_t(bytes));
        return;
    }
    std::memset(to, 0, size_t(bytes));
    if (offset < stored)
        std::memcpy(to, row + offset, size_t(stored - offset));
}

} // namespace

bool turnPixels(Vellum &result, const Vellum &source, int direction, BitOrder order,
                const ColumnsDone &done)
{
    const image::RowTable in(source);
    if (!in.isValid())
        return false;
    const TileShape shape = tileShape(source.depth(), order);
    const int width = source.width();
    const int height = source.height();
    const int stored = source.storedBytesPerLine();

    // Tiles are read into here first: source rows that lie a power of two apart would drive each
    // other out of the cache. It also gives the last tiles their full size.
    alignas(16) uchar tile[kMostTileBytes] = {};
    uchar *out[kMostTileColumns];
    for (qint64 first = 0; first < width; first += shape.columns) {
        const int columns = int(qMin<qint64>(shape.columns, width - first));
        for (int c = 0; c < columns; ++c) {
            const int x = int(first) + c;
            out[c] = result.scanLineEx(direction > 0 ? width - 1 - x : x);
        }
        const int offset = int(first * shape.bitsPerPixel / 8);
        const int bytes = (columns * shape.bitsPerPixel + 7) / 8;
        for (qint64 top = 0; top < height; top += shape.rows) {
            const int rows = int(qMin<qint64>(shape.rows, height - top));
            for (int r = 0; r < rows; ++r) {
                const int y = int(direction > 0 ? top + r : height - 1 - (top + r));
                copyPart(tile + r * shape.rowBytes(), in[y], offset, bytes, stored);
            }
            if (rows < shape.rows)
                std::memset(tile + rows * shape.rowBytes(), 0,
                            size_t((shape.rows - rows) * shape.rowBytes()));
            shape.transpose(out, tile, columns, rows);
            for (int c = 0; c < columns; ++c)
                out[c] += rows * shape.bitsPerPixel / 8; // to the end of the row at most
        }
        if (!done(int(first), int(first) + columns))
            return false;
    }
    return true;
}

} // namespace vellum::geometry
