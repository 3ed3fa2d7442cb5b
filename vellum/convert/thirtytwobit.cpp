// Between the 32-bit formats, and from 64 bits.

#include <vellum/convert/colortables_p.h>
#include <vellum/convert/directrows_p.h>
#include <vellum/convert/greenweighted_p.h>
#include <vellum/convert/rgba64_p.h>
#include <vellum/convert/routines_p.h>
#include <vellum/convert/rowloop_p.h>
#include <vellum/image/cpufeatures_p.h>

namespace vellum::convert {

namespace {

template <typename RowFunction>
bool rewriteRows(Vellum &image, QImage::Format format, RowFunction rowFunction)
{
    forEachRowInPlace<uchar>(image, [&](uchar *row, int width) { rowFunction(row, row, width); });
    image.setFormat(format);
    return true;
}

} // namespace

void maskAlphaConverter(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    forEachRow<uchar, uchar>(dst, src, maskAlphaRow);
}

template <QImage::Format To>
bool maskAlphaInPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return rewriteRows(image, To, maskAlphaRow);
}

template bool maskAlphaInPlace<QImage::Format_RGB32>(Vellum &, Qt::ImageConversionFlags);
template bool maskAlphaInPlace<QImage::Format_ARGB32>(Vellum &, Qt::ImageConversionFlags);
template bool maskAlphaInPlace<QImage::Format_ARGB32_Premultiplied>(Vellum &,
                                                                    Qt::ImageConversionFlags);

bool convertRGBA8888ToRGB32InPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return rewriteRows(image, QImage::Format_RGB32, swapRedBlueAndMaskRow);
}

bool convertRGBA8888ToARGB32InPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return rewriteRows(image, QImage::Format_ARGB32, swapRedBlueRow);
}

bool convertRGBA8888ToARGB32PMInPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return rewriteRows(image, QImage::Format_ARGB32_Premultiplied, swapRedBlueRow);
}

bool convertRGBA8888ToRGBX8888InPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return rewriteRows(image, QImage::Format_RGBX8888, maskAlphaOfRgbaRow);
}

void convertRGBToGrayscale8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    dst.setColorTable(greyRamp());
    forEachRow<uchar, uchar>(dst, src, greenWeighted);
}

void convertRGBA64ToARGB32(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    forEachRow<uchar, uchar>(dst, src,
                             VELLUM_CHOOSE_SSE41(narrowRgba64Portable, narrowRgba64Sse41));
}

} // namespace vellum::convert
