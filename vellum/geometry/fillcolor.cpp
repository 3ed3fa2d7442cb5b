#include <vellum/geometry/rotate.h>
#include <vellum/image/vellum.h>

#include <algorithm>

uint getFillColorForRotate(const Vellum &image, bool &transparent)
{
    constexpr uint kAllBits = 0xffffffffU;
    transparent = image.depth() == 32;
    if (transparent)
        return 0;
    if (image.depth() != 1 && image.format() != QImage::Format_Indexed8)
        return kAllBits;

    const QVector<QRgb> colors = image.colorTable();
    const auto clear =
        std::find_if(colors.begin(), colors.end(), [](QRgb color) { return qAlpha(color) == 0; });
    transparent = clear != colors.end();
    const uint index = transparent ? uint(clear - colors.begin()) : 0;
    if (image.depth() == 1)
        return index == 1 ? kAllBits : 0;
    return index;
}
