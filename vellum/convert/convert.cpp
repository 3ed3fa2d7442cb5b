#include <vellum/convert/convert.h>
#include <vellum/convert/rowloop_p.h>

namespace {

/// QImage's own functions would read the base of a big image, which holds no pixels.
bool isBig(const QImage &image)
{
    const auto *const vellum = dynamic_cast<const Vellum *>(&image);
    return vellum && vellum->isBigImage();
}

/// \a pixel over an opaque background of the given channels.
quint32 blended(quint32 pixel, quint32 red, quint32 green, quint32 blue)
{
    const quint32 alpha = pixel >> 24;
    const quint32 rest = 255 - alpha;
    const quint32 r = ((pixel >> 16 & 255) * alpha + rest * red) / 255;
    const quint32 g = ((pixel >> 8 & 255) * alpha + rest * green) / 255;
    const quint32 b = ((pixel & 255) * alpha + rest * blue) / 255;
    return 0xff000000 | r << 16 | g << 8 | b;
}

} // namespace

QImage converImageFormat(QImage &image, QImage::Format format)
{
    if (isBig(image) || format < QImage::Format_Invalid || format >= QImage::NImageFormats)
        return {};
    QImage result = image;
    result.convertTo(format, Qt::AutoColor);
    return result;
}

void convert32BitsImageToARGB32(Vellum &image, bool premultipliedToo)
{
    if (image.format() == QImage::Format_RGB32) {
        vellum::convert::forEachRowInPlace<uchar>(image, [](uchar *row, int width) {
            for (int x = 0; x < width; ++x)
                row[qptrdiff(x) * 4 + 3] = 255;
        });
        image.setFormat(QImage::Format_ARGB32);
    } else if (premultipliedToo && image.format() == QImage::Format_ARGB32_Premultiplied) {
        image.setFormat(QImage::Format_ARGB32);
    }
}

bool convertARGB32ToRGB32(QImage &destination, const QImage &source, uint background)
{
    if (source.format() != QImage::Format_ARGB32 || isBig(source) || isBig(destination))
        return false;
    const QImage in = source; // destination may be source
    destination = QImage(in.width(), in.height(), QImage::Format_RGB32);
    if (destination.isNull())
        return false;
    const quint32 red = background >> 16 & 255;
    const quint32 green = background >> 8 & 255;
    const quint32 blue = background & 255;
    const int width = in.width();
    for (int y = 0; y < in.height(); ++y) {
        const auto *const from = reinterpret_cast<const quint32 *>(in.constScanLine(y));
        auto *const to = reinterpret_cast<quint32 *>(destination.scanLine(y));
        for (int x = 0; x < width; ++x)
            to[x] = blended(from[x], red, green, blue);
    }
    return true;
}
