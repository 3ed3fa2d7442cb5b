#include <vellum/image/imagedata_p.h>
#include <vellum/image/vellum.h>
#include <vellum/io/graypalette_p.h>

#include <algorithm>
#include <array>
#include <numeric>

namespace vellum::io {

namespace {

bool isOpaqueGray(QRgb color) { return qAlpha(color) == 255 && qIsGray(color) != 0; }

} // namespace

void makeGrayIfPaletteIs(Vellum &image)
{
    const QVector<QRgb> colors = image.colorTable();
    if (image.format() != QImage::Format_Indexed8 ||
        !std::all_of(colors.begin(), colors.end(), isOpaqueGray)) {
        return;
    }
    if (!colors.isEmpty()) {
        std::array<uchar, 256> levels {};
        std::iota(levels.begin(), levels.end(), uchar(0));
        const int count = std::min(colors.size(), int(levels.size()));
        for (int i = 0; i < count; ++i) {
            const QRgb color = colors.at(i);
            levels[i] = uchar((qRed(color) * 11 + qGreen(color) * 16 + qBlue(color) * 5) >> 5);
        }
        for (int y = 0; y < image.height(); ++y) {
            uchar *const row = image.scanLineEx(y);
            if (!row)
                break;
            const int width = std::min(image.width(), image.storedBytesPerLine());
            std::transform(row, row + width, row, [&](uchar index) { return levels[index]; });
        }
    }
    image.setFormat(QImage::Format_Grayscale8);
    QImageData::get(image)->colortable.clear();
}

} // namespace vellum::io
