#include <vellum/convert/colortables_p.h>

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

/// Each channel times alpha / 255, rounded; red and blue are worked on at once.
QRgb premultiplied(QRgb color)
{
    const quint32 alpha = color >> 24;
    quint32 redBlue = (color & 0xff00ff) * alpha;
    redBlue = (redBlue + (redBlue >> 8 & 0xff00ff) + 0x800080) >> 8 & 0xff00ff;
    quint32 green = (color >> 8 & 0xff) * alpha;
    green = (green + (green >> 8 & 0xff) + 0x80) & 0xff00;
    return alpha << 24 | redBlue | green;
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

std::array<QRgb, 256> pixelsOfIndices(const QVector<QRgb> &colors, QImage::Format format)
{
    const QVector<QRgb> fixed = colors.isEmpty() ? greyRamp() : fixedColors(colors, format);
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
