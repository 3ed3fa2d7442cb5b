#include <vellum/convert/directrows_p.h>
#include <vellum/convert/expand_p.h>
#include <vellum/convert/monokernels_p.h>
#include <vellum/convert/premultiply_p.h>
#include <vellum/convert/rgba64_p.h>
#include <vellum/image/cpufeatures_p.h>

#include <cstring>

namespace vellum::convert {

namespace {

constexpr quint32 kOpaque = 0xff000000;

/// Byte A of a pixel of bytes R, G, B, A.
constexpr quint32 kOpaqueRgba = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 0xff000000 : 0x000000ff;

/// Between a pixel of bytes R, G, B, A and the word 0xAARRGGBB.
constexpr quint32 redBlueSwapped(quint32 pixel)
{
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
    return (pixel & 0xff00ff00) | (pixel >> 16 & 0xff) | (pixel & 0xff) << 16;
#else
    return pixel >> 8 | pixel << 24;
#endif
}

/// out = pixelOp(in), for 32-bit pixels at any address.
template <typename PixelOp>
void mapPixels(uchar *out, const uchar *in, int width, PixelOp pixelOp)
{
    for (int x = 0; x < width; ++x) {
        quint32 pixel;
        std::memcpy(&pixel, in + qptrdiff(x) * 4, sizeof pixel);
        pixel = pixelOp(pixel);
        std::memcpy(out + qptrdiff(x) * 4, &pixel, sizeof pixel);
    }
}

void expandRgb(uchar *out, const uchar *in, int width)
{
    VELLUM_CHOOSE_SSE41(expandRgbPortable, expandRgbSse41)(out, in, width);
}

void expandBgr(uchar *out, const uchar *in, int width)
{
    VELLUM_CHOOSE_SSE41(expandBgrPortable, expandBgrSse41)(out, in, width);
}

void narrowRgba64(uchar *out, const uchar *in, int width)
{
    VELLUM_CHOOSE_SSE41(narrowRgba64Portable, narrowRgba64Sse41)(out, in, width);
}

/// For pixels whose fourth byte in memory is alpha.
void premultiply(uchar *out, const uchar *in, int width)
{
    VELLUM_CHOOSE_SSE41(premultiplyPortable, premultiplySse41)(out, in, width);
}

/// From pixels 0xAARRGGBB. Their alpha does not count.
void weighGrey(uchar *out, const uchar *in, int width)
{
    VELLUM_CHOOSE_SSE41(greysOfPixelsPortable, greysOfPixelsSse41)(out, in, width);
}

/// From pixels of \a Bytes bytes that \a toWords makes 0xAARRGGBB, a handful at a time.
template <int Bytes, RowFunction toWords>
void weighGreyOf(uchar *out, const uchar *in, int width)
{
    constexpr int kPiece = 256;
    uchar words[4 * kPiece];
    for (int x = 0; x < width; x += kPiece) {
        const int count = qMin(kPiece, width - x);
        toWords(words, in + qptrdiff(x) * Bytes, count);
        weighGrey(out + x, words, count);
    }
}

constexpr RowFunction kPremultiplyWords = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? premultiply : nullptr;

struct Cell
{
    QImage::Format from;
    QImage::Format to;
    RowFunction row;
};

constexpr Cell kCells[] = {
    {QImage::Format_RGB32, QImage::Format_ARGB32, maskAlphaRow},
    {QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied, maskAlphaRow},
    {QImage::Format_ARGB32, QImage::Format_RGB32, maskAlphaRow},
    {QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied, kPremultiplyWords},
    {QImage::Format_ARGB32, QImage::Format_RGBA8888, swapRedBlueRow},
    {QImage::Format_ARGB32_Premultiplied, QImage::Format_RGBA8888_Premultiplied, swapRedBlueRow},
    {QImage::Format_RGBA8888, QImage::Format_ARGB32, swapRedBlueRow},
    {QImage::Format_RGBA8888, QImage::Format_RGBA8888_Premultiplied, premultiply},
    {QImage::Format_RGBA8888_Premultiplied, QImage::Format_ARGB32_Premultiplied, swapRedBlueRow},
    {QImage::Format_RGB888, QImage::Format_RGB32, expandRgb},
    {QImage::Format_RGB888, QImage::Format_ARGB32, expandRgb},
    {QImage::Format_RGB888, QImage::Format_ARGB32_Premultiplied, expandRgb},
    {QImage::Format_RGB888, QImage::Format_RGBX8888, expandBgr},
    {QImage::Format_RGB888, QImage::Format_RGBA8888, expandBgr},
    {QImage::Format_RGB888, QImage::Format_RGBA8888_Premultiplied, expandBgr},
    {QImage::Format_BGR888, QImage::Format_RGB32, expandBgr},
    {QImage::Format_BGR888, QImage::Format_ARGB32, expandBgr},
    {QImage::Format_BGR888, QImage::Format_ARGB32_Premultiplied, expandBgr},
    {QImage::Format_RGBA64, QImage::Format_ARGB32, narrowRgba64},
    {QImage::Format_RGB32, QImage::Format_Grayscale8, weighGrey},
    {QImage::Format_ARGB32, QImage::Format_Grayscale8, weighGrey},
    {QImage::Format_RGB888, QImage::Format_Grayscale8, weighGreyOf<3, expandRgb>},
    {QImage::Format_BGR888, QImage::Format_Grayscale8, weighGreyOf<3, expandBgr>},
    {QImage::Format_RGBX8888, QImage::Format_Grayscale8, weighGreyOf<4, swapRedBlueRow>},
    {QImage::Format_RGBA8888, QImage::Format_Grayscale8, weighGreyOf<4, swapRedBlueRow>},
};

} // namespace

void maskAlphaRow(uchar *out, const uchar *in, int width)
{
    mapPixels(out, in, width, [](quint32 pixel) { return pixel | kOpaque; });
}

void maskAlphaOfRgbaRow(uchar *out, const uchar *in, int width)
{
    mapPixels(out, in, width, [](quint32 pixel) { return pixel | kOpaqueRgba; });
}

void swapRedBlueRow(uchar *out, const uchar *in, int width)
{
    mapPixels(out, in, width, redBlueSwapped);
}

void swapRedBlueAndMaskRow(uchar *out, const uchar *in, int width)
{
    mapPixels(out, in, width, [](quint32 pixel) { return redBlueSwapped(pixel) | kOpaque; });
}

RowFunction directRow(QImage::Format from, QImage::Format to)
{
    for (const Cell &cell : kCells) {
        if (cell.from == from && cell.to == to)
            return cell.row;
    }
    return nullptr;
}

} // namespace vellum::convert
