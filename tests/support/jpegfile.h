// JPEG files of every kind, made and decoded by calling libjpeg and nothing else.
#pragma once

#include <QByteArray>
#include <QImageReader>
#include <QStringList>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdio>
#include <jpeglib.h>
#include <string>
#include <support/images.h>
#include <utility>
#include <vector>

namespace vellum::test {

/// Pixels as samples of 8 bits, side by side, rows without padding.
struct Samples
{
    int width = 0;
    int height = 0;
    int perPixel = 0;
    std::vector<uchar> bytes;

    const uchar *at(int x, int y) const
    {
        return bytes.data() +
            (std::size_t(y) * std::size_t(width) + std::size_t(x)) * std::size_t(perPixel);
    }
};

/// Slow shades with edges and some noise, as photographs have.
Samples photoSamples(int width, int height, int perPixel, unsigned seed = 1);

/// How a file is to be made of samples: grey of 1, RGB of 3, inks of 4, as they are to be stored.
struct JpegKind
{
    const char *name = "";
    J_COLOR_SPACE stored = JCS_YCbCr;
    int h = 2; ///< pixels side by side that share a colour
    int v = 2; ///< pixels one above the other that do
    bool progressive = false;
    bool arithmetic = false;
    bool oneScanEach = false; ///< the components one after the other
    int restartRows = 0; ///< rows of blocks between restart markers; 0 for none
    int quality = 90;
    int adobeTransform = -1; ///< -1 for what libjpeg writes for this colour space, -2 for none
    int densityUnit = 0;
    int density = 1;
    std::vector<std::pair<int, QByteArray>> markers = {};
    QByteArray icc = {};

    int perPixel() const
    {
        return stored == JCS_GRAYSCALE ? 1 : stored == JCS_CMYK || stored == JCS_YCCK ? 4 : 3;
    }
};

void PrintTo(const JpegKind &kind, std::ostream *out);
std::string kindName(const testing::TestParamInfo<JpegKind> &info);

/// One of each: all colour spaces, sampling factors, orders of scans and codings.
std::vector<JpegKind> allKinds();

QByteArray makeJpeg(const Samples &samples, const JpegKind &kind);

/// All that libjpeg says of a file, and its pixels, grey, RGB or inks as stored, at \a eighths of
/// its size.
struct DecodedJpeg
{
    Samples samples;
    J_COLOR_SPACE stored = JCS_UNKNOWN;
    bool progressive = false;
    bool hasAdobe = false;
    int adobeTransform = 0;
    int densityUnit = 0;
    int densityX = 0;
    int densityY = 0;
    int h = 0; ///< sampling factors of the first component
    int v = 0;
    int quantizer = 0; ///< the first of the first table
    QByteArray icc;
    std::vector<std::pair<int, QByteArray>> markers; ///< APP1 and comments
};
DecodedJpeg decodeJpeg(const QByteArray &file, int eighths = 8);

/// Success when \a image, RGB32 or grey, has the samples of \a expected from (\a x, \a y) on,
/// each within \a tolerance.
testing::AssertionResult showsSamples(const Vellum &image, const Samples &expected, int x = 0,
                                      int y = 0, int tolerance = 0);

/// The sRGB samples of inks as a JPEG file holds them, by lcms2 alone.
/// \param icc  empty for the library's CMYK profile
Samples inksToSrgb(const Samples &inks, const QByteArray &icc, bool areInverted = true);

/// Small squares of \a perPixel samples, each of one colour from a spread of all, with sides of 16
/// pixels: what JPEG at its best keeps exactly.
Samples patches(int perPixel);

/// One pixel of each of patches().
Samples patchColors(const Samples &patches);

/// Greatest CIEDE2000 difference of two sets of sRGB samples.
double worstDifference(const Samples &a, const Samples &b);

Samples samplesOf(const QImage &image);

/// Makes Qt use the library's own plugins, once; fails the test if it does not.
void useOwnPlugins();

/// Reads \a file into \a image.
bool readInto(Vellum &image, const QByteArray &file);

/// An image that fits the file, on \a storage and full of noise, and then the file read into it.
Vellum readFresh(const QByteArray &file, Storage storage, bool *wasRead = nullptr);

/// Runs one of the programs that the tests need; a failure of the test when it cannot.
/// \return what it wrote to standard output
/// \param input  what it gets on standard input
QByteArray run(const QString &program, const QStringList &arguments,
               const QByteArray &input = QByteArray());

/// A file named \a name with \a content in \a folder. \return its path
QString store(const QTemporaryDir &folder, const QString &name, const QByteArray &content);

} // namespace vellum::test
