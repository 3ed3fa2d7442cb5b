// Rows of pixels as bytes: their size, parts of them, and indexed ones as colours.
#pragma once

#include <QImage>
#include <QVector>

namespace vellum::plugin {

int bitsPerPixel(QImage::Format format);

/// Bytes of \a width pixels of \a bits bits, the last one padded.
qint64 rowBytes(int width, int bits);

/// Copies \a count pixels from pixel \a first of \a in on to the start of \a out. Pixels of 1 bit
/// are taken from the highest bit on, or from the lowest with \a lowestFirst.
void copyPixels(uchar *out, const uchar *in, int first, int count, int bits, bool lowestFirst);

/// Clears the bits behind the last of \a width pixels in its byte, where pixels have one bit:
/// writers copy whole bytes into files.
void clearUnusedBits(uchar *row, int width, QImage::Format format);

/// Copies \a count pixels, from pixel \a inFirst of \a in on, to every \a outStep th pixel of
/// \a out from \a outFirst on. Bits as by copyPixels().
void scatterPixels(uchar *out, int outFirst, int outStep, const uchar *in, int inFirst, int count,
                   int bits, bool lowestFirst);

/// The samples of a pixel, for arithmetic that treats them alike.
struct SampleLayout
{
    int count = 0; ///< samples per pixel; 0 for pixels that cannot be averaged
    int bytes = 1; ///< per sample: 1, or 2 in the byte order of this machine
    int alpha = -1; ///< which one is alpha and not yet multiplied into the others; -1 for none

    int pixelBytes() const { return count * bytes; }
};

SampleLayout samplesOf(QImage::Format format);

/// The format in which pixels of \a format, with the colours \a table, can be averaged: their
/// own, or for indices grey, RGB32 or ARGB32, whichever holds all colours. Invalid for formats
/// that no decoder gives.
QImage::Format averagedFormat(QImage::Format format, const QVector<QRgb> &table);

/// Looks up \a count pixels of Mono, MonoLSB or Indexed8 in \a table; \a to is what
/// averagedFormat() answers. An index that the table lacks is opaque black.
void lookUpColors(uchar *out, QImage::Format to, const uchar *in, QImage::Format from, int count,
                  const QVector<QRgb> &table);

} // namespace vellum::plugin
