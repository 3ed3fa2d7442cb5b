// HRLE files made and read the simple way: what the library's reader and writer are judged by.
#pragma once

#include <vellum/vellum.h>

#include <QByteArray>

#include <vector>

namespace vellum::test {

/// The fields of an HRLE file's headers, with values that a reader accepts.
struct HrleFields
{
    QByteArray magic = "BM";
    quint32 fileSize = 0;
    quint16 reserved1 = 0;
    quint16 reserved2 = 0;
    quint32 dataOffset = 54;
    quint32 infoSize = 40;
    qint32 width = 1;
    qint32 height = 1;
    quint16 planes = 1;
    quint16 depth = 8;
    quint32 compression = 0;
    quint32 imageSize = 0;
    qint32 dotsX = 2834;
    qint32 dotsY = 2834;
    quint32 colorsUsed = 0;
    quint32 colorsImportant = 0;

    HrleFields() = default;
    HrleFields(int w, int h, quint32 compression);

    QByteArray bytes() const; ///< 54 bytes, whatever infoSize says
};

QByteArray le32(quint32 value);

/// Words of run-length data, to be joined with +.
QByteArray run(quint32 length, int value);
QByteArray endRow(quint32 repeats);

/// A whole file: headers, count and \a data.
QByteArray runLengthFile(int w, int h, const QByteArray &data);

/// Rows of an image, padding included; all of the same size.
using Rows = std::vector<QByteArray>;

/// Run-length data for \a rows, one byte at a time.
QByteArray naiveEncode(const Rows &rows);

/// The file that the writer should make of \a rows, an image \a width pixels wide.
QByteArray naiveFile(int width, const Rows &rows, qint32 dotsX = 2834, qint32 dotsY = 2834);

/// Rows that the reader should make of run-length data \a data, whatever it holds.
Rows naiveDecode(const QByteArray &data, int height, int bytesPerLine);

/// The rows of an 8-bit image, bytesPerLine() bytes each; what its store lacks is zero.
Rows rowsOf(const Vellum &image);

/// The file that the writer should make of \a image.
QByteArray expectedFile(const Vellum &image);

} // namespace vellum::test
