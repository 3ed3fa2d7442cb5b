// Where the pixels of a picture live, and when which is chosen.
#pragma once

#include <QImage>
#include <QSize>

namespace vellum::tool {

enum class Storage {
    Auto, ///< Big from kBigFrom bytes of pixels on, else Plain
    Plain, ///< one buffer, as in any QImage
    Big, ///< row blocks
};

constexpr qint64 kBigFrom = qint64(1) << 30;

/// Pictures of that many bytes are cut and reduced while they are read, and go from file to file
/// row by row where every step allows it. Decoders average otherwise than smoothScaled(), by some
/// levels.
constexpr qint64 kStreamedFrom = qint64(256) << 20;

/// Plain or Big: \a wanted, or what Auto means for a picture of \a bytes bytes of pixels.
Storage chooseStorage(Storage wanted, qint64 bytes);

/// "plain" or "big".
const char *storageName(Storage storage);

/// "RGB32" for QImage::Format_RGB32.
QString formatName(QImage::Format format);

/// Bits per pixel in memory.
int formatDepth(QImage::Format format);

} // namespace vellum::tool
