#include <vellum/scale/scaleinfo_p.h>

#include <new>

namespace vellum::scale {

namespace {

// Positions are in 1/65536 of a source pixel. All of this is in 64 bits: with 32 the positions of
// sources from 65,536 pixels on and the weights of targets from 131,072 on would overflow.

constexpr qint64 kPixel = 65536;

/// Source pixels from one result pixel to the next.
qint64 step(qint64 s, qint64 d) { return s * kPixel / d; }

/// Position of the first result pixel of an axis that grows: the centres of the outermost pixels
/// of source and target do not coincide, their outer edges do. At most 0.
qint64 growingStart(qint64 s, qint64 d) { return (s << 15) / d - kPixel / 2; }

bool calcPoints(Table<int> &points, qint64 s, qint64 d, int offset, int count)
{
    if (!points.make(offset, count))
        return false;
    const qint64 inc = step(s, d);
    qint64 val = offset * inc + (d >= s ? growingStart(s, d) : 0);
    for (int i = offset; i < points.end(); ++i, val += inc)
        points[i] = val < kPixel ? 0 : int(val >> 16);
    return true;
}

bool calcApoints(Table<int> &weights, qint64 s, qint64 d, bool up, int offset, int count)
{
    if (!weights.make(offset, count))
        return false;
    const qint64 inc = step(s, d);
    qint64 val = offset * inc;
    if (up) {
        val += growingStart(s, d);
        for (int i = offset; i < weights.end(); ++i, val += inc) {
            const qint64 pos = val >> 16;
            weights[i] = pos >= 0 && pos < s - 1 ? int((val >> 8) & 255) : 0;
        }
    } else {
        const qint64 whole = ((d << 14) + s - 1) / s;
        for (int i = offset; i < weights.end(); ++i, val += inc)
            weights[i] = int((((kPixel - (val & 0xffff)) * whole) >> 16) | (whole << 16));
    }
    return true;
}

} // namespace

std::unique_ptr<ScaleInfo> calcScaleInfo(int sw, int sh, int dw, int dh, const QRect &rect)
{
    std::unique_ptr<ScaleInfo> info(new (std::nothrow) ScaleInfo {});
    if (!info)
        return nullptr;
    info->xup_yup = (dw >= sw ? kXUp : 0) | (dh >= sh ? kYUp : 0);
    info->sw = sw;
    info->sh = sh;
    const bool xUp = info->xup_yup & kXUp;
    const bool yUp = info->xup_yup & kYUp;
    if (!calcPoints(info->xpoints, sw, dw, rect.x(), rect.width()) ||
        !calcPoints(info->ypoints, sh, dh, rect.y(), rect.height()) ||
        !calcApoints(info->xapoints, sw, dw, xUp, rect.x(), rect.width()) ||
        !calcApoints(info->yapoints, sh, dh, yUp, rect.y(), rect.height()))
        return nullptr;
    return info;
}

} // namespace vellum::scale
