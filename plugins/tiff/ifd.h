// Directories of a TIFF file as raw entries: libtiff has no way to copy one that is not a
// picture's.
#pragma once

#include "tiff/stream.h"

#include <QByteArray>

#include <vector>

namespace vellum::plugin::tiff {

struct IfdEntry
{
    quint16 tag;
    quint16 type; ///< 1 to 12, as TIFF 6.0 numbers them
    quint32 count; ///< of values
    QByteArray value; ///< in the byte order of the file
};

using Ifd = std::vector<IfdEntry>;

/// The directories that an EXIF block is made of.
struct ExifDirectories
{
    bool bigEndian = false;
    Ifd picture;
    Ifd exif;
    Ifd gps;
    Ifd interoperability;
};

int ifdTypeBytes(int type); ///< Of one value; 0 for types that are not known.

/// How numbers lie in a file.
struct FileForm
{
    bool bigEndian = false;
    bool big = false; ///< BigTIFF
};

FileForm readForm(Stream &stream);

/// The entries of the directory at \a offset, as far as they can be read; values beyond
/// 1 MiB altogether are left out.
Ifd readIfd(Stream &stream, const FileForm &form, quint64 offset);

/// The number in the first value of the entry \a tag of \a ifd; 0 when there is none.
quint64 ifdNumber(const Ifd &ifd, int tag, bool bigEndian);

/// \a ifd, sorted, as the bytes of a directory that will be at \a offset. The byte order of its
/// values is that of \a form.
QByteArray ifdBytes(Ifd ifd, const FileForm &form, quint64 offset);

} // namespace vellum::plugin::tiff
