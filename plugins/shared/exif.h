// EXIF blocks: what plugins read from them and change in them.
//
// A block is kept as it stood in its file, from the byte-order mark ("II" or "MM") on. Some files,
// and some callers, put "Exif\0\0" in front; exifBlock() takes that away.
#pragma once

#include <QByteArray>
#include <QImageIOHandler>
#include <QSize>

namespace vellum::plugin {

/// \a bytes from the byte-order mark on; empty when they are no EXIF block.
QByteArray exifBlock(const QByteArray &bytes);

/// How the pixels must be transformed to be upright; none when \a block does not tell.
QImageIOHandler::Transformations exifTransformation(const QByteArray &block);

struct ExifResolution
{
    int dotsPerMeterX;
    int dotsPerMeterY;
};

/// The resolution that \a block states, with 0 where it does not.
ExifResolution exifResolution(const QByteArray &block);

/// \a block for a picture of \a size whose pixels are upright: its orientation, if it has one, is
/// 1, and the size that it states, if it does, is \a size.
///
/// The preview in it goes, and its bytes become zeros, unless the picture is as it was by those
/// two: a crop must not carry along what was cut off.
///
/// Nothing else changes, not a byte: a block that is written anew loses what its writer does not
/// know, and the notes of camera makers whose offsets count from the start of the block.
QByteArray exifForUpright(QByteArray block, const QSize &size);

/// The transformation for \a orientation, 1 to 8, as EXIF and TIFF count them; none for others.
QImageIOHandler::Transformations transformationOf(int orientation);

} // namespace vellum::plugin
