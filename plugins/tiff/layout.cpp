#include "tiff/layout.h"

#include "tiff/stream.h"

#include <limits>

namespace vellum::plugin::tiff {

namespace {

constexpr int kMostSamples = 64; // per pixel; no known writer exceeds 56

template <typename T>
T tag(TIFF *tiff, ttag_t which)
{
    T value = 0;
    TIFFGetFieldDefaulted(tiff, which, &value);
    return value;
}

std::nullopt_t refuse(const char *why)
{
    qCWarning(lcTiff, "%s", why);
    return std::nullopt;
}

/// Samples that make the colour of a pixel; 0 when the kind is not known.
int colorsOf(quint16 photometric, int samples)
{
    switch (photometric) {
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MASK:
    case PHOTOMETRIC_PALETTE:
    case PHOTOMETRIC_LOGL:
        return 1;
    case PHOTOMETRIC_RGB:
    case PHOTOMETRIC_YCBCR:
    case PHOTOMETRIC_LOGLUV:
        return 3;
    case PHOTOMETRIC_SEPARATED:
        return 4;
    case PHOTOMETRIC_CIELAB:
    case PHOTOMETRIC_ICCLAB:
    case PHOTOMETRIC_ITULAB:
        return samples < 3 ? 1 : 3; // lightness may stand alone
    default:
        return 0;
    }
}

bool isLab(quint16 photometric)
{
    return photometric == PHOTOMETRIC_CIELAB || photometric == PHOTOMETRIC_ICCLAB ||
        photometric == PHOTOMETRIC_ITULAB;
}

bool isKnownDepth(const Layout &layout)
{
    if (isLab(layout.photometric))
        return layout.bits == 8 || layout.bits == 16;
    if (layout.photometric == PHOTOMETRIC_YCBCR)
        return layout.bits == 8;
    switch (layout.sampleFormat) {
    case SAMPLEFORMAT_UINT:
    case SAMPLEFORMAT_INT:
    case SAMPLEFORMAT_VOID:
        return (layout.bits >= 1 && layout.bits <= 16) ||
            (layout.bits == 32 && layout.photometric != PHOTOMETRIC_PALETTE);
    case SAMPLEFORMAT_IEEEFP:
        return (layout.bits == 16 || layout.bits == 32 || layout.bits == 64) &&
            layout.photometric != PHOTOMETRIC_PALETTE;
    default:
        return false;
    }
}

void sortExtras(TIFF *tiff, Layout &layout)
{
    quint16 count = 0;
    quint16 *kinds = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds);
    // What alpha makes of inks and Lab pixels is none of the image's business.
    const bool knowsAlpha =
        layout.photometric != PHOTOMETRIC_SEPARATED && !isLab(layout.photometric);
    for (int sample = layout.colors; sample < layout.samples; ++sample) {
        const int index = sample - layout.colors;
        const int kind = kinds && index < count ? kinds[index] : EXTRASAMPLE_UNSPECIFIED;
        if (knowsAlpha && layout.alpha < 0 && kind != EXTRASAMPLE_UNSPECIFIED) {
            layout.alpha = sample;
            layout.alphaIsAssociated = kind == EXTRASAMPLE_ASSOCALPHA;
        } else {
            layout.extras.append(sample);
        }
    }
}

bool readBlocks(TIFF *tiff, Layout &layout)
{
    constexpr quint32 kSmall = 4096; // a tile may be larger than its picture
    layout.tiled = TIFFIsTiled(tiff) != 0;
    const auto height = quint32(layout.size.height());
    if (!layout.tiled) {
        const quint32 rows = qBound(1U, tag<quint32>(tiff, TIFFTAG_ROWSPERSTRIP), height);
        layout.block = QSize(layout.size.width(), int(rows));
        return true;
    }
    const auto width = tag<quint32>(tiff, TIFFTAG_TILEWIDTH);
    const auto length = tag<quint32>(tiff, TIFFTAG_TILELENGTH);
    if (width == 0 || length == 0 || width % 8 != 0 ||
        width > qMax(kSmall, 2 * quint32(layout.size.width())) || length > qMax(kSmall, 2 * height))
        return false;
    layout.block = QSize(int(width), int(length));
    return true;
}

} // namespace

void letCodecsConvert(TIFF *tiff)
{
    switch (tag<quint16>(tiff, TIFFTAG_COMPRESSION)) {
    case COMPRESSION_JPEG:
        if (tag<quint16>(tiff, TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_YCBCR &&
            tag<quint16>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_CONTIG)
            TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        break;
    case COMPRESSION_SGILOG:
    case COMPRESSION_SGILOG24:
        TIFFSetField(tiff, TIFFTAG_SGILOGDATAFMT, SGILOGDATAFMT_8BIT);
        break;
    default:
        break;
    }
}

std::optional<Layout> readLayout(TIFF *tiff)
{
    Layout layout;
    constexpr auto kMost = quint32(std::numeric_limits<int>::max() / 4);
    const auto width = tag<quint32>(tiff, TIFFTAG_IMAGEWIDTH);
    const auto height = tag<quint32>(tiff, TIFFTAG_IMAGELENGTH);
    if (width == 0 || height == 0 || width > kMost || height > kMost)
        return refuse("a picture of no size, or too large");
    layout.size = QSize(int(width), int(height));
    layout.bits = tag<quint16>(tiff, TIFFTAG_BITSPERSAMPLE);
    layout.samples = tag<quint16>(tiff, TIFFTAG_SAMPLESPERPIXEL);
    layout.sampleFormat = tag<quint16>(tiff, TIFFTAG_SAMPLEFORMAT);
    layout.compression = tag<quint16>(tiff, TIFFTAG_COMPRESSION);
    layout.separate =
        tag<quint16>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE && layout.samples > 1;
    if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &layout.photometric))
        layout.photometric = layout.samples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    if (!TIFFIsCODECConfigured(layout.compression))
        return refuse("a compression that is not known");

    const bool isLog =
        layout.photometric == PHOTOMETRIC_LOGL || layout.photometric == PHOTOMETRIC_LOGLUV;
    const bool isLogCoded =
        layout.compression == COMPRESSION_SGILOG || layout.compression == COMPRESSION_SGILOG24;
    if (isLog != isLogCoded)
        return refuse("logarithmic pixels without their compression");
    if (isLog) {
        layout.sampleFormat = SAMPLEFORMAT_UINT;
        layout.photometric =
            layout.photometric == PHOTOMETRIC_LOGL ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    }

    layout.colors = colorsOf(layout.photometric, layout.samples);
    if (layout.colors == 0 || layout.samples < layout.colors || layout.samples > kMostSamples)
        return refuse("colours of a kind that is not known");
    if (!isKnownDepth(layout))
        return refuse("samples of a kind that is not known");

    if (layout.photometric == PHOTOMETRIC_YCBCR) {
        quint16 x = 1;
        quint16 y = 1;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_YCBCRSUBSAMPLING, &x, &y);
        if (layout.compression == COMPRESSION_JPEG && !layout.separate)
            layout.photometric = PHOTOMETRIC_RGB; // the codec converts
        else
            layout.clump = QSize(x, y);
        const auto isFactor = [](int n) { return n == 1 || n == 2 || n == 4; };
        if (!isFactor(layout.clump.width()) || !isFactor(layout.clump.height()) ||
            (layout.isClumped() && (layout.separate || layout.samples != 3)))
            return refuse("sub-sampled colours in a form that is not known");
    }
    sortExtras(tiff, layout);
    if (layout.photometric == PHOTOMETRIC_PALETTE && layout.samples > 1 && layout.bits % 8 != 0)
        return refuse("more samples beside indices than is known what to make of");
    if (!readBlocks(tiff, layout))
        return refuse("tiles of no size, too large, or of pixels that do not fill bytes");
    return layout;
}

int maxExpansion(quint16 compression)
{
    constexpr int kUnpacked = 12; // 3 samples of 1 bit become 32 bits
    switch (compression) {
    case COMPRESSION_NONE:
        return kUnpacked;
    case COMPRESSION_PACKBITS:
        return 64 * kUnpacked;
    case COMPRESSION_JPEG:
    case COMPRESSION_OJPEG:
        return 4096;
    case COMPRESSION_LZW: // a code of 12 bits stands for 3840 bytes at most
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE:
        return 2560 * kUnpacked;
    default:
        return 1 << 20; // a flat picture may take next to nothing
    }
}

} // namespace vellum::plugin::tiff
