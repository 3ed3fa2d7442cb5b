#include <vellum/convert/colortables_p.h>
#include <vellum/convert/premultiply_p.h>

#include <algorithm>

namespace vellum::convert {

namespace {

QVector<QRgb> ramp(QRgb first, QRgb step)
{
    QVector<QRgb> colors(256);
    for (int i = 0; i < 256; ++i)
        colors[i] = first + QRgb(i) * step;
    return colors;
}

QRgb premultiplied(QRgb color)
{
    const uchar bgra[4] = {uchar(color), uchar(color >> 8), uchar(color >> 16), uchar(color >> 24)};
    uchar result[4];
    premultiplyPortable(result, bgra, 1);
    return qRgba(result[2], result[1], result[0], result[3]);
}

} // namespace

const QVector<QRgb> &greyRamp()
{
    static const QVector<QRgb> colors = ramp(0xff000000, 0x010101);
    return colors;
}

const QVector<QRgb> &alphaRamp()
{
    static const QVector<QRgb> colors = ramp(0, 0x01000000);
    return colors;
}

QVector<QRgb> fixedColors(QVector<QRgb> colors, QImage::Format format)
{
    const auto isTranslucent = [](QRgb color) { return color < 0xff000000; };
    if (std::none_of(colors.cbegin(), colors.cend(), isTranslucent))
        return colors;
    for (QRgb &color : colors) {
        if (format == QImage::Format_RGB32)
            color |= 0xff000000;
        else if (format == QImage::Format_ARGB32_Premultiplied)
            color = premultiplied(color);
    }
    return colors;
}

std::array<QRgb, 256> pixelsOfIndices(const QVector<QRgb> &colors, bool hasAlpha,
                                      QImage::Format format)
{
    const QVector<QRgb> fixed = colors.isEmpty() ? greyRamp()
        : hasAlpha                               ? fixedColors(colors, format)
                                                 : colors;
    std::array<QRgb, 256> pixels;
    pixels.fill(format == QImage::Format_RGB32 ? 0xff000000 : 0);
    std::copy_n(fixed.cbegin(), qMin(256, fixed.size()), pixels.begin());
    return pixels;
}

QVector<QRgb> completedToTwo(QVector<QRgb> colors)
{
    if (colors.isEmpty())
        colors.append(0xff000000);
    if (colors.size() == 1)
        colors.append(0xffffffff);
    return colors;
}

} // namespace vellum::convert
