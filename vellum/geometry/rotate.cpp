#include <vellum/geometry/freeturn_p.h>
#include <vellum/geometry/rightangle_p.h>
#include <vellum/geometry/rotate_p.h>
#include <vellum/image/progress.h>
#include <vellum/image/vellum.h>

#include <limits>

namespace vellum::geometry {

namespace {

/// True when \a value can be truncated to an int; false for infinities and NaN.
bool fitsInt(double value)
{
    return value > double(std::numeric_limits<int>::min()) - 1 &&
        value < double(std::numeric_limits<int>::max()) + 1;
}

/// The test, on hundredths, that takes an angle for no turn at all.
bool isWholeTurn(double angle) { return int(angle * 100.0 + 36000.0) % 36000 == 0; }

/// Creates \a result with the format and colour table of \a source.
bool createFor(Vellum &result, const Vellum &source, qint64 width, qint64 height)
{
    constexpr qint64 kMost = std::numeric_limits<int>::max();
    if (width > kMost || height > kMost)
        return false;
    if (!Vellum::create(result, int(width), int(height), source.format()))
        return false;
    if (source.colorCount() > 0)
        result.setColorTable(source.colorTable());
    return true;
}

/// Reports \a done of \a total rows of the result; rotation cannot be cancelled.
void report(const Vellum &source, int done, int total)
{
    image_progress(&source, int(qint64(100) * done / total));
}

} // namespace

bool rotateImage(Vellum &result, const Vellum &source, double angle, uint fillColor)
{
    const double a = 360.0 - angle;
    if (!fitsInt(a * 100.0 + 36000.0) || !fitsInt(a + 0.001))
        return false;
    if (isWholeTurn(a)) {
        result = source;
        return true;
    }
    int n = int(a + 0.001);
    if (n < 0)
        n += int((unsigned(-(n + 1)) / 360 + 1) * 360);
    switch (n % 360) {
    case 0: // a fraction of a degree
        result = source;
        return false;
    case 90:
        return rotateRightAngle(result, source, 1);
    case 180:
        result = source.mirrored(true, true);
        return true;
    case 270:
        return rotateRightAngle(result, source, -1);
    default:
        return rotateFree(result, source, a, fillColor);
    }
}

bool rotateRightAngle(Vellum &result, const Vellum &source, int direction)
{
    if (direction != 1 && direction != -1)
        return false;
    if (!createFor(result, source, source.height(), source.width()))
        return false;
    const int depth = source.depth();
    if (depth == 1 || depth == 16 || depth == 64)
        result.fill(0U);
    if (depth == 16 || depth == 64)
        return true;

    const int width = source.width();
    const auto reportRows = [&source, width](int first, int last) {
        for (int x = first; x < last; ++x)
            report(source, x + 1, width);
        return true;
    };
    if (turnPixels(result, source, direction, BitOrder::MsbFirst, reportRows))
        return true;
    result = Vellum();
    return false;
}

bool rotateFree(Vellum &result, const Vellum &source, double degrees, uint fillColor)
{
    const double radians = toRadians(degrees);
    if (isWholeTurn(radians)) { // the degrees' test again, though these are radians
        result = source;
        return true;
    }
    const FreeTurn turn(source.width(), source.height(), radians);
    if (!createFor(result, source, turn.width, turn.height))
        return false;
    const int depth = source.depth();
    Sampler sampler = samplerForDepth(depth);
    if (!sampler.draw) {
        result.fill(fillColor);
        return true;
    }
    if (depth == 1)
        result.fill(0U);
    if (depth == 1 && fillColor != 0)
        sampler.drawOutside = setBitsMsbFirst;
    const auto reportRow = [&source, &result](int rows) {
        report(source, rows, result.height());
        return true;
    };
    if (turnFreely(result, source, turn, sampler, FillPixel::of(fillColor), reportRow))
        return true;
    result = Vellum();
    return false;
}

} // namespace vellum::geometry
