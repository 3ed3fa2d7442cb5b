// What a TIFF file is to be like: compression, strips or tiles, size of offsets.
#pragma once

#include "shared/encoder.h"

#include <QList>

namespace vellum::plugin::tiff {

/// The form that options ask for.
///
/// A sub-type is a compression, "none", "packbits", "lzw", "deflate" or "zstd", after which
/// "-tiled" asks for tiles of 256 x 256 pixels instead of strips, and "-big" for BigTIFF whatever
/// the size. Any part may be missing. Without a compression the option CompressionRatio chooses:
/// -1 and 0 none, 1 LZW, 2 to 100 Deflate, from fast to small. With "deflate" or "zstd" it chooses
/// the level, 0 to 100 from fast to small, -1 for the codec's own.
///
/// LZW, Deflate and ZSTD get the horizontal predictor but for indexed and one-bit pixels.
struct WriteForm
{
    quint16 compression; ///< as libtiff numbers them
    int level = -1; ///< of the codec; -1 for its default
    bool tiled = false;
    bool big = false;
};

WriteForm writeForm(const WriteOptions &options);

/// All sub-types that can be asked for.
QList<QByteArray> writeSubTypes();

/// Whether a file needs 64-bit offsets: from 4 GiB on, as far as can be told before.
/// \param bytes  of all pixels as they are before they are compressed, in all pages
bool needsBigTiff(qint64 bytes, int pages, quint16 compression);

} // namespace vellum::plugin::tiff
