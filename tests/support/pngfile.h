// PNG files of every kind, made by libpng while the test runs.
#pragma once

#include <QByteArray>
#include <QSize>

#include <functional>
#include <ostream>
#include <png.h>

namespace vellum::test {

/// What makes one file.
struct PngFile
{
    QSize size = {37, 23};
    int type = PNG_COLOR_TYPE_RGB;
    int depth = 8;
    bool interlaced = false;
    bool transparent = false; ///< with a chunk tRNS
    unsigned seed = 1; ///< of the noise that the pixels are

    /// Adds chunks, before the pixels are written.
    std::function<void(png_structp, png_infop)> addChunks;
};

/// For failures, whose test names say it all.
inline void PrintTo(const PngFile &, std::ostream *) { }

/// Noise; palettes have as many colours as the depth allows, all different.
QByteArray makePng(const PngFile &file);

/// A chunk, with its length and checksum, of a kind (4 letters) and what follows it.
QByteArray pngChunk(const QByteArray &kindAndContent);

} // namespace vellum::test
