// Files of the small bitmap formats, and the plugin that reads and writes them.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <array>
#include <ostream>
#include <support/images.h>

namespace vellum::test {

/// Reads \a bytes with the library's plugin, as a file that is called \a key.
bool readBitmap(QByteArray bytes, QImage &image, const QByteArray &key);
QImage bitmapRead(const QByteArray &bytes, const QByteArray &key); ///< Fails the test if it fails.

/// What the library's plugin writes under \a key. Fails the test if it fails.
QByteArray bitmapWritten(const QImage &image, const QByteArray &key);

/// As Qt itself reads and writes these formats.
QImage qtRead(QByteArray bytes, const QByteArray &key);
QByteArray qtWritten(const QImage &image, const QByteArray &key);

/// The pixels in a format that holds all that these formats have.
QImage deep(const QImage &image);

/// Noise in colours that \a format can have: none that is brighter than its alpha allows, nothing
/// in unused bits, black and white in formats of one bit.
Vellum makeValidNoise(int w, int h, QImage::Format format, Storage storage);

/// \a image, or its colours if they are multiplied with their alpha: what Qt's writers make of
/// those is rounded more than once.
QImage withPlainColors(const QImage &image);

/// What makes a BMP file.
struct BmpFile
{
    QSize size = {37, 11};
    int bits = 24;
    quint32 headerBytes = 40; ///< 12, 40, 52, 56, 64, 108 or 124
    bool topDown = false;
    quint32 compression = 0;
    std::array<quint32, 4> masks {}; ///< for compression 3 and 6
    int colors = 0; ///< of the table; 0 for all, which the header does not tell
    QByteArray pixels; ///< encoded; empty for noise
    quint32 colorSpace = 0;
    QByteArray profile; ///< follows the pixels
    int gap = 0; ///< bytes of no meaning before the pixels
};

/// For failures, whose test names say it all.
inline void PrintTo(const BmpFile &, std::ostream *) { }

QByteArray makeBmp(const BmpFile &file);

/// The table that makeBmp() writes: \a count colours that all differ.
QVector<QRgb> bmpColors(int count);

} // namespace vellum::test
