// TIFF files of every kind, made by libtiff while the test runs, and what other programs make.
#pragma once

#include <vellum/vellum.h>

#include <QByteArray>
#include <QSize>
#include <QStringList>

#include <functional>
#include <ostream>
#include <tiffio.h>
#include <vector>

namespace vellum::test {

/// What makes one picture.
struct TiffFile
{
    QSize size = {37, 23};
    quint16 photometric = PHOTOMETRIC_RGB;
    int samples = 3;
    int bits = 8;
    quint16 sampleFormat = SAMPLEFORMAT_UINT;
    quint16 compression = COMPRESSION_NONE;
    int predictor = 0;
    bool separate = false;
    int tile = 0; ///< pixels a side; 0 for strips
    int rowsPerStrip = 7;
    std::vector<quint16> extras; ///< kinds of the samples beyond the colours
    const char *mode = "w"; ///< of TIFFOpen: "wb" big-endian, "w8" BigTIFF ...
    unsigned seed = 1; ///< of the noise that the samples are

    /// Changes the noise; given the sample and its place, x, y and number in the pixel.
    std::function<quint32(quint32, int, int, int)> change;
    /// Adds tags, before the samples are written.
    std::function<void(TIFF *)> addTags;
};

/// For failures, whose test names say it all.
inline void PrintTo(const TiffFile &, std::ostream *) { }

struct MadeTiff
{
    QByteArray bytes;
    std::vector<quint32> samples; ///< as numbers of the file's bits; of floats, in 1/65535

    quint32 at(const TiffFile &file, int x, int y, int sample) const
    {
        const auto pixel = size_t(y) * size_t(file.size.width()) + size_t(x);
        return samples[pixel * size_t(file.samples) + size_t(sample)];
    }
};

MadeTiff makeTiff(const TiffFile &file);

/// A file of several directories.
QByteArray makePages(const std::vector<TiffFile> &pages);

QByteArray bytesOfFile(const QString &name);
void writeFile(const QString &name, const QByteArray &bytes);

bool readTiff(QByteArray bytes, QImage &image);
QByteArray writeTiff(const QImage &image, const QByteArray &subType = QByteArray());

/// What libtiff's own conversion to RGBA makes of the first picture, as ARGB32 with the alpha
/// multiplied into the colours.
QImage libtiffReads(const QByteArray &bytes);

/// Runs one of Debian's programs. \return what it printed; a failure when it fails
QByteArray run(const QString &program, const QStringList &arguments);

} // namespace vellum::test
