// Cutting a rectangle out of an image and pasting an image into another.

#include <vellum/geometry/rotate.h>
#include <vellum/image/bitorder_p.h>
#include <vellum/image/derived_p.h>
#include <vellum/image/rowruns_p.h>
#include <vellum/image/vellum.h>

#include <QDebug>

#include <cstring>

namespace {

using vellum::image::bitOf;
using vellum::image::BitOrder;
using vellum::image::towardsFront;

/// A rectangle whose edges cannot overflow, whatever the ints it was made from.
struct Area
{
    qint64 x;
    qint64 y;
    qint64 w;
    qint64 h;

    static Area of(const QRect &rect)
    {
        return {rect.left(), rect.top(), qint64(rect.right()) - rect.left() + 1,
                qint64(rect.bottom()) - rect.top() + 1};
    }
};

/// Copies \a count bits, from bit \a x of \a in on, to bit \a dx of \a out and those after it.
/// Touches no byte without one of these bits.
template <BitOrder Order>
void copyBits(uchar *out, qint64 dx, const uchar *in, qint64 x, qint64 count)
{
    const auto copyOne = [&] {
        const uchar mask = bitOf<Order>(dx);
        const bool set = (in[x >> 3] & bitOf<Order>(x)) != 0;
        out[dx >> 3] = uchar(set ? out[dx >> 3] | mask : out[dx >> 3] & ~mask);
        ++dx;
        ++x;
        --count;
    };
    while (count > 0 && (dx & 7) != 0)
        copyOne();
    const int shift = int(x & 7);
    for (; count >= 8; count -= 8, dx += 8, x += 8) {
        const uchar *const p = in + (x >> 3);
        out[dx >> 3] = shift ? towardsFront<Order>(p[0], p[1], shift) : p[0];
    }
    while (count > 0)
        copyOne();
}

Vellum copyWhole(const Vellum &source)
{
    Vellum result =
        vellum::image::createLike(source, source.width(), source.height(), vellum::Storage::Plain);
    if (result.isNull())
        return result;
    if (!vellum::image::isComplete(source))
        result.fill(0U);
    const int bytes = qMin(source.storedBytesPerLine(), result.bytesPerLine());
    vellum::image::copyRows(result, source, size_t(bytes));
    return result;
}

Vellum copyArea(const Vellum &source, const Area &area)
{
    if (source.isNull())
        return {};
    if (area.w == 0 && area.h == 0)
        return copyWhole(source);
    if (area.w < 1 || area.h < 1)
        return {};
    Vellum result = vellum::image::createLike(source, area.w, area.h, vellum::Storage::Plain);
    if (result.isNull())
        return result;

    const bool inside = area.x >= 0 && area.y >= 0 && area.x + area.w <= source.width() &&
        area.y + area.h <= source.height();
    const bool oneBit = source.depth() == 1;
    bool transparent = false;
    if (!inside || !vellum::image::isComplete(source))
        result.fill(getFillColorForRotate(source, transparent));
    else if (oneBit)
        result.fill(0U); // the bits behind the last pixel are not left to chance

    const qint64 dx = qMax(-area.x, qint64(0));
    const qint64 dy = qMax(-area.y, qint64(0));
    const qint64 x = qMax(area.x, qint64(0));
    const qint64 y = qMax(area.y, qint64(0));
    const int depth = source.depth();
    const qint64 storedPixels =
        qMin<qint64>(source.width(), qint64(source.storedBytesPerLine()) * 8 / depth);
    const qint64 pixels = qMin(qMax(area.w - dx, qint64(0)), storedPixels - x);
    const qint64 lines = qMin(qMax(area.h - dy, qint64(0)), source.height() - y);
    if (pixels <= 0)
        return result;

    const bool byBits = oneBit && ((pixels | dx | x) & 7) != 0;
    const auto bits = vellum::image::bitOrderOf(source.format()) == BitOrder::MsbFirst
        ? copyBits<BitOrder::MsbFirst>
        : copyBits<BitOrder::LsbFirst>;
    for (qint64 i = 0; i < lines; ++i) {
        const uchar *const in = source.scanLineEx(int(y + i));
        if (!in)
            continue;
        uchar *const out = result.scanLineEx(int(dy + i));
        if (byBits)
            bits(out, dx, in, x, pixels);
        else
            std::memcpy(out + (depth * dx >> 3), in + (depth * x >> 3),
                        size_t(depth * pixels >> 3));
    }
    return result;
}

} // namespace

Vellum Vellum::copyEx(const QRect &rect) const { return copyArea(*this, Area::of(rect)); }

Vellum Vellum::copyEx(int x, int y, int w, int h) const { return copyArea(*this, {x, y, w, h}); }

Vellum Vellum::copy(const QRect &rect) const { return copyEx(rect); }

Vellum Vellum::copy(int x, int y, int w, int h) const { return copyEx(x, y, w, h); }

void Vellum::mergerImage(const QImage &source, const QRect &rect)
{
    const int bytesPerPixel = depth() / 8;
    if (source.depth() / 8 != bytesPerPixel) {
        qDebug() << "Vellum::mergerImage error,channels != dst_channels";
        return;
    }
    const Area target = Area::of(rect);
    if (source.width() != target.w || source.height() != target.h)
        return;

    const auto *const polled = dynamic_cast<const Vellum *>(&source);
    const qint64 left = qMax(target.x, qint64(0));
    const qint64 top = qMax(target.y, qint64(0));
    const qint64 right = qMin(target.x + target.w, qint64(width()));
    const qint64 bottom = qMin(target.y + target.h, qint64(height()));
    if (left >= right)
        return;
    const qint64 from = (left - target.x) * bytesPerPixel;
    const qint64 to = left * bytesPerPixel;
    const int readable = polled ? polled->storedBytesPerLine() : source.bytesPerLine();
    const qint64 bytes =
        qMin((right - left) * bytesPerPixel, qMin(readable - from, storedBytesPerLine() - to));

    for (qint64 y = top; y < bottom; ++y) {
        const int sourceY = int(y - target.y);
        const uchar *in = nullptr;
        if (!polled)
            in = source.constScanLine(sourceY);
        else if (polled->set_progress(sourceY + 1))
            in = polled->scanLineEx(sourceY);
        uchar *const out = in ? scanLineEx(int(y)) : nullptr;
        if (!out)
            return;
        if (bytes > 0)
            std::memmove(out + to, in + from, size_t(bytes)); // the source may be this image
    }
}
