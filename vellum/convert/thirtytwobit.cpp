// Between the 32-bit formats, and from 64 bits.

#include <vellum/convert/colortables_p.h>
#include <vellum/convert/rgba64_p.h>
#include <vellum/convert/routines_p.h>
#include <vellum/convert/rowloop_p.h>
#include <vellum/image/cpufeatures_p.h>

#include <memory>

namespace vellum::convert {

namespace {

constexpr quint32 kOpaque = 0xff000000;

void maskAlpha(Pixel32 *out, const Pixel32 *in, int width)
{
    for (int x = 0; x < width; ++x)
        out[x] = in[x] | kOpaque;
}

/// Between a pixel of bytes R, G, B, A and the word 0xAARRGGBB.
constexpr quint32 redBlueSwapped(quint32 pixel)
{
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
    return (pixel & 0xff00ff00) | (pixel >> 16 & 0xff) | (pixel & 0xff) << 16;
#else
    return pixel >> 8 | pixel << 24;
#endif
}

/// Byte A of a pixel of bytes R, G, B, A.
constexpr quint32 kOpaqueRgba = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 0xff000000 : 0x000000ff;

template <quint32 Alpha>
bool swapInPlace(Vellum &image, QImage::Format format)
{
    forEachRowInPlace<Pixel32>(image, [](Pixel32 *row, int width) {
        for (int x = 0; x < width; ++x)
            row[x] = redBlueSwapped(row[x]) | Alpha;
    });
    image.setFormat(format);
    return true;
}

/// The grey of every pair of red and green, at red << 8 | green.
///
/// Blue is never read and green has its weight too: callers rely on it. In double, three terms
/// from left to right: for 90 of the pairs any other order truncates to another grey.
const uchar *greysOfRedGreen()
{
    static const auto table = [] {
        auto greys = std::make_unique<uchar[]>(65536);
        for (int red = 0; red < 256; ++red) {
            for (int green = 0; green < 256; ++green)
                greys[size_t(red << 8 | green)] =
                    uchar(0.299 * red + 0.587 * green + 0.114 * green);
        }
        return greys;
    }();
    return table.get();
}

} // namespace

void maskAlphaConverter(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    forEachRow<Pixel32, Pixel32>(dst, src, maskAlpha);
}

template <QImage::Format To>
bool maskAlphaInPlace(Vellum &image, Qt::ImageConversionFlags)
{
    forEachRowInPlace<Pixel32>(image, [](Pixel32 *row, int width) { maskAlpha(row, row, width); });
    image.setFormat(To);
    return true;
}

template bool maskAlphaInPlace<QImage::Format_RGB32>(Vellum &, Qt::ImageConversionFlags);
template bool maskAlphaInPlace<QImage::Format_ARGB32>(Vellum &, Qt::ImageConversionFlags);
template bool maskAlphaInPlace<QImage::Format_ARGB32_Premultiplied>(Vellum &,
                                                                    Qt::ImageConversionFlags);

bool convertRGBA8888ToRGB32InPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return swapInPlace<kOpaque>(image, QImage::Format_RGB32);
}

bool convertRGBA8888ToARGB32InPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return swapInPlace<0>(image, QImage::Format_ARGB32);
}

bool convertRGBA8888ToARGB32PMInPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return swapInPlace<0>(image, QImage::Format_ARGB32_Premultiplied);
}

bool convertRGBA8888ToRGBX8888InPlace(Vellum &image, Qt::ImageConversionFlags)
{
    forEachRowInPlace<Pixel32>(image, [](Pixel32 *row, int width) {
        for (int x = 0; x < width; ++x)
            row[x] = row[x] | kOpaqueRgba;
    });
    image.setFormat(QImage::Format_RGBX8888);
    return true;
}

void convertRGBToGrayscale8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    dst.setColorTable(greyRamp());
    const uchar *const greys = greysOfRedGreen();
    forEachRow<uchar, Pixel32>(dst, src, [greys](uchar *out, const Pixel32 *in, int width) {
        for (int x = 0; x < width; ++x)
            out[x] = greys[in[x] >> 8 & 0xffff];
    });
}

void convertRGBA64ToARGB32(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    forEachRow<uchar, uchar>(dst, src,
                             VELLUM_CHOOSE_SSE41(narrowRgba64Portable, narrowRgba64Sse41));
}

} // namespace vellum::convert
