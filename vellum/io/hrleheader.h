// The two headers at the start of an HRLE file, and what pictures fit them.
#pragma once

#include <vellum/export.h>

#include <QSize>
#include <QString>
#include <QtGlobal>

namespace vellum {

/// The first 14 bytes of an HRLE file, little-endian, in this order.
struct HrleFileHeader
{
    char magic[2] = {'B', 'M'};
    quint32 fileSize = 0; ///< of the file with raw rows, also when compressed; modulo 2^32
    quint16 reserved1 = 0;
    quint16 reserved2 = 0;
    quint32 dataOffset = 54; ///< ignored: informationHeaderSize says where the data begins
};

/// The 40 bytes after the file header, little-endian, in this order.
struct HrleInfoHeader
{
    quint32 informationHeaderSize = 40; ///< the pixel data follows that many bytes of header
    qint32 width = 0;
    qint32 height = 0; ///< its sign is ignored
    quint16 planes = 1;
    quint16 bitsPerPixel = 0;
    quint32 compression = 0; ///< 0: raw rows, the last row first; 1: run-length data
    quint32 imageSize = 0; ///< of raw rows, in bytes, also when compressed; modulo 2^32
    qint32 dotsPerMeterX = 0;
    qint32 dotsPerMeterY = 0;
    quint32 colorsUsed = 0;
    quint32 colorsImportant = 0;
};

/// Why a picture of \a size pixels has no place in an HRLE file: one clause for a person, in
/// English. Empty when it has.
VELLUM_EXPORT QString hrleSizeFault(const QSize &size);

} // namespace vellum
