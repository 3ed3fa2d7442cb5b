// From the eight-bit formats, by copying and in place, and from 32 bits to grey.

#include <vellum/convert/colortables_p.h>
#include <vellum/convert/routines_p.h>
#include <vellum/convert/rowloop_p.h>
#include <vellum/image/imagedata_p.h>
#include <vellum/image/rowruns_p.h>

#include <cstring>
#include <memory>

namespace vellum::convert {

namespace {

using Bytes = std::array<uchar, 256>;

uchar alphaOf(QRgb color) { return uchar(color >> 24); }

void mapRow(uchar *out, const uchar *in, int width, const Bytes &bytes)
{
    // Eight at once: one by one, the speed hangs on where the linker puts the loop.
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        uchar block[8];
        std::memcpy(block, in + x, sizeof block);
        for (int i = 0; i < 8; ++i)
            out[x + i] = bytes[block[i]];
    }
    for (; x < width; ++x)
        out[x] = bytes[in[x]];
}

void mapBytes(Vellum &dst, const Vellum &src, const Bytes &bytes)
{
    forEachRow<uchar, uchar>(dst, src, [&bytes](uchar *out, const uchar *in, int width) {
        mapRow(out, in, width, bytes);
    });
}

void copyBytes(Vellum &dst, const Vellum &src, const QVector<QRgb> &colors)
{
    dst.setColorTable(colors);
    image::copyRows(dst, src, size_t(qMin(storedPixels(dst), storedPixels(src))));
}

/// Gives the shared data of \a image another format and colour table.
///
/// Whoever shares the data shares the rewritten rows too, so the metadata is not parted first.
bool relabel(Vellum &image, QImage::Format format, const QVector<QRgb> &colors)
{
    image.setFormat(format);
    QImageData *const data = QImageData::get(image);
    data->colortable = colors;
    data->has_alpha_clut = false;
    for (const QRgb color : colors)
        data->has_alpha_clut |= alphaOf(color) != 255;
    return true;
}

bool mapInPlace(Vellum &image, QImage::Format format, const Bytes &bytes)
{
    forEachRowInPlace<uchar>(image, [&](uchar *row, int width) { mapRow(row, row, width, bytes); });
    return relabel(image, format, {});
}

} // namespace

void convertIndexed8ToX32(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    const auto pixels = pixelsOfIndices(src.colorTable(), src.hasAlphaChannel(), dst.format());
    forEachRow<Pixel32, uchar>(dst, src, [&](Pixel32 *out, const uchar *in, int width) {
        for (int x = 0; x < width; ++x)
            out[x] = pixels[in[x]];
    });
}

void convertIndexed8ToGrayscale8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    mapBytes(dst, src, bytesOfIndices(src.colorTable(), greyOf));
}

void convertIndexed8ToAlpha8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    mapBytes(dst, src, bytesOfIndices(src.colorTable(), alphaOf));
}

void convertGrayscale8ToIndexed8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    copyBytes(dst, src, greyRamp());
}

void convertAlpha8ToIndexed8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags)
{
    copyBytes(dst, src, alphaRamp());
}

bool convertIndexed8ToGrayscale8InPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return mapInPlace(image, QImage::Format_Grayscale8, bytesOfIndices(image.colorTable(), greyOf));
}

bool convertIndexed8ToAlpha8InPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return mapInPlace(image, QImage::Format_Alpha8, bytesOfIndices(image.colorTable(), alphaOf));
}

bool convertGrayscale8ToIndexed8InPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return relabel(image, QImage::Format_Indexed8, greyRamp());
}

bool convertAlpha8ToIndexed8InPlace(Vellum &image, Qt::ImageConversionFlags)
{
    return relabel(image, QImage::Format_Indexed8, alphaRamp());
}

} // namespace vellum::convert
