// Turning every format, on the storage asked for, with all that describes the picture.

#include <vellum/geometry/freeturn_p.h>
#include <vellum/geometry/mirror_p.h>
#include <vellum/geometry/rightangle_p.h>
#include <vellum/geometry/rotate.h>
#include <vellum/geometry/rotate_p.h>
#include <vellum/image/derived_p.h>

#include <QColor>

#include <cmath>
#include <cstring>
#include <limits>

namespace vellum {

namespace {

using image::createLike;
using image::storageOf;

bool report(const Vellum &image, int done, int total)
{
    return image.set_progress(int(qint64(100) * done / total));
}

Vellum turnedSideways(Storage storage, const Vellum &image, int direction)
{
    Vellum result = createLike(image, image.height(), image.width(), storage);
    if (result.isNull())
        return result;
    result.setDotsPerMeterX(image.dotsPerMeterY());
    result.setDotsPerMeterY(image.dotsPerMeterX());
    if (image.depth() == 1)
        result.fill(0U);
    const auto order = image::bitOrderOf(image.format());
    const auto done = [&image](int, int last) { return report(image, last, image.width()); };
    return geometry::turnPixels(result, image, direction, order, done) ? result : Vellum();
}

/// \a turns is 0 to 3, clockwise; without a turn the pixels are shared where that can be.
Vellum quarterTurnedOnto(Storage storage, const Vellum &image, int turns)
{
    if (turns % 2 != 0)
        return turnedSideways(storage, image, turns == 1 ? -1 : 1);
    if (turns == 0 && storage == storageOf(image))
        return image;
    return geometry::mirroredOnto(storage, image, turns == 2, turns == 2);
}

int nearestColor(const QVector<QRgb> &colors, QRgb wanted)
{
    int nearest = 0;
    int least = std::numeric_limits<int>::max();
    const auto square = [](int difference) { return difference * difference; };
    for (int i = 0; i < colors.size(); ++i) {
        const QRgb color = colors.at(i);
        const int distance = square(qRed(color) - qRed(wanted)) +
            square(qGreen(color) - qGreen(wanted)) + square(qBlue(color) - qBlue(wanted)) +
            square(qAlpha(color) - qAlpha(wanted));
        if (distance < least) {
            least = distance;
            nearest = i;
        }
    }
    return nearest;
}

/// The pixel that shows \a color in the format of \a image; for one-bit formats a byte of them.
geometry::FillPixel pixelFor(const Vellum &image, const QColor &color)
{
    geometry::FillPixel pixel {};
    if (image.depth() == 1 || image.format() == QImage::Format_Indexed8) {
        const int index = nearestColor(image.colorTable(), color.rgba());
        pixel.bytes[0] = uchar(image.depth() == 1 && index == 1 ? 0xff : index);
        return pixel;
    }
    QImage one(1, 1, image.format());
    one.fill(color);
    std::memcpy(pixel.bytes, one.constScanLine(0), size_t(image.depth() / 8));
    return pixel;
}

Vellum turnedFreely(const Vellum &image, double angle, const geometry::FillPixel &fill,
                    Storage storage)
{
    if (image.isNull() || !std::isfinite(angle))
        return {};
    const double quarters = std::fmod(angle, 360.0) / 90.0; // -4 to 4, without the ends
    if (quarters == std::trunc(quarters))
        return quarterTurnedOnto(storage, image, (int(quarters) + 4) % 4);

    const double within = angle >= 0 && angle < 360 ? angle : std::fmod(angle, 360.0);
    const geometry::FreeTurn turn(image.width(), image.height(),
                                  geometry::toRadians(360.0 - within));
    Vellum result = createLike(image, turn.width, turn.height, storage);
    if (result.isNull())
        return result;
    geometry::Sampler sampler = geometry::samplerForFormat(image.format());
    if (image.depth() == 1) {
        result.fill(0U);
        if (fill.bytes[0] != 0) {
            sampler.drawOutside = image::bitOrderOf(image.format()) == image::BitOrder::LsbFirst
                ? geometry::setBitsLsbFirst
                : geometry::setBitsMsbFirst;
        }
    }
    const auto done = [&](int rows) { return report(image, rows, result.height()); };
    return geometry::turnFreely(result, image, turn, sampler, fill, done) ? result : Vellum();
}

} // namespace

Vellum quarterTurned(const Vellum &image, int turns)
{
    if (image.isNull())
        return {};
    return quarterTurnedOnto(storageOf(image), image, (turns % 4 + 4) % 4);
}

Vellum freeRotated(const Vellum &image, double angle, uint fillColor, Storage storage)
{
    return turnedFreely(image, angle, geometry::FillPixel::of(fillColor), storage);
}

Vellum freeRotated(const Vellum &image, double angle, const QColor &fill, Storage storage)
{
    if (image.isNull())
        return {};
    return turnedFreely(image, angle, pixelFor(image, fill), storage);
}

} // namespace vellum
