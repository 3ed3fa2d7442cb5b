#include <vellum/geometry/sampler_p.h>
#include <vellum/image/bitorder_p.h>
#include <vellum/image/cpufeatures_p.h>

#include <algorithm>
#include <cstring>

namespace vellum::geometry {

namespace {

using image::bitOf;
using image::BitOrder;

constexpr int kFractionMask = 1023;

/// Calls op(column, x, y) for every sample of \a run.
template <typename Op>
void forEachSample(const SampleRun &run, Op op)
{
    qint64 x = run.x;
    qint64 y = run.y;
    for (int i = 0; i < run.count; ++i, x += run.stepX, y += run.stepY)
        op(run.column + i, x, y);
}

void drawNearest8(const SampleRun &run)
{
    forEachSample(run, [&run](int column, qint64 x, qint64 y) {
        run.out[column] = run.rows[y >> 10][x >> 10];
    });
}

/// The result bits must be clear.
template <BitOrder Order>
void drawNearestBit(const SampleRun &run)
{
    forEachSample(run, [&run](int column, qint64 x, qint64 y) {
        const qint64 pixel = x >> 10;
        if (run.rows[y >> 10][pixel >> 3] & bitOf<Order>(pixel))
            run.out[column >> 3] |= bitOf<Order>(column);
    });
}

template <BitOrder Order>
void setBits(uchar *row, int from, int to)
{
    for (int i = from; i < to; ++i)
        row[i >> 3] |= bitOf<Order>(i);
}

/// The four pixels around a position and how near it is to the right and lower ones.
struct Corners
{
    const uchar *topLeft;
    const uchar *topRight;
    const uchar *bottomLeft;
    const uchar *bottomRight;
    unsigned right; ///< 0 to 1023
    unsigned down;

    /// Truncates. \a Sum holds a channel's greatest value times 2^20.
    template <typename Sum>
    Sum blend(Sum tl, Sum tr, Sum bl, Sum br) const
    {
        const Sum top = tr * right + tl * (1024 - right);
        const Sum bottom = bl * (1024 - right) + br * right;
        return (top * (1024 - down) + bottom * down) >> 20;
    }
};

/// \name Layouts: bytes of a pixel, and how four of them are blended into one
/// @{

/// \a Count channels of one number type each.
template <typename Channel, typename Sum, int Count>
struct Channels
{
    static constexpr int kBytes = int(sizeof(Channel)) * Count;

    static void blend(uchar *out, const Corners &corners)
    {
        for (int i = 0; i < Count; ++i) {
            const auto at = [i](const uchar *pixel) {
                Channel channel;
                std::memcpy(&channel, pixel + size_t(i) * sizeof(Channel), sizeof(Channel));
                return Sum(channel);
            };
            const auto blended =
                Channel(corners.blend(at(corners.topLeft), at(corners.topRight),
                                      at(corners.bottomLeft), at(corners.bottomRight)));
            std::memcpy(out + size_t(i) * sizeof(Channel), &blended, sizeof(Channel));
        }
    }
};

template <int Count>
using Bytes = Channels<quint8, quint32, Count>;
template <int Count>
using Words = Channels<quint16, quint64, Count>;

/// Channels of \a Widths bits in a number of \a PixelBytes bytes, from its lowest bit up.
template <int PixelBytes, int... Widths>
struct Packed
{
    static constexpr int kBytes = PixelBytes;

    static void blend(uchar *out, const Corners &corners)
    {
        const quint32 tl = load(corners.topLeft);
        const quint32 tr = load(corners.topRight);
        const quint32 bl = load(corners.bottomLeft);
        const quint32 br = load(corners.bottomRight);
        quint32 blended = 0;
        int shift = 0;
        const auto blendField = [&](int width) {
            const auto field = [&](quint32 pixel) { return pixel >> shift & ((1U << width) - 1); };
            blended |= corners.blend(field(tl), field(tr), field(bl), field(br)) << shift;
            shift += width;
        };
        (blendField(Widths), ...);
        for (int i = 0; i < PixelBytes; ++i)
            out[i] = uchar(blended >> (8 * i));
    }

private:
    static quint32 load(const uchar *pixel)
    {
        quint32 value = 0;
        for (int i = 0; i < PixelBytes; ++i)
            value |= quint32(pixel[i]) << (8 * i);
        return value;
    }
};
/// @}

/// Where a neighbour is missing, the pixel at the edge stands in for it.
template <typename Layout>
void drawClamped(const SampleRun &run)
{
    forEachSample(run, [&run](int column, qint64 x, qint64 y) {
        const qint64 ix = x >> 10;
        const qint64 iy = y >> 10;
        const qint64 left = qMax<qint64>(ix, 0) * Layout::kBytes;
        const qint64 right = qMin<qint64>(ix + 1, run.width - 1) * Layout::kBytes;
        const uchar *const top = run.rows[qMax<qint64>(iy, 0)];
        const uchar *const bottom = run.rows[qMin<qint64>(iy + 1, run.height - 1)];
        Layout::blend(run.out + qptrdiff(column) * Layout::kBytes,
                      {top + left, top + right, bottom + left, bottom + right,
                       unsigned(x & kFractionMask), unsigned(y & kFractionMask)});
    });
}

template <typename Layout>
void drawInside(const SampleRun &run)
{
    forEachSample(run, [&run](int column, qint64 x, qint64 y) {
        const qint64 left = (x >> 10) * Layout::kBytes;
        const uchar *const top = run.rows[y >> 10] + left;
        const uchar *const bottom = run.rows[(y >> 10) + 1] + left;
        Layout::blend(run.out + qptrdiff(column) * Layout::kBytes,
                      {top, top + Layout::kBytes, bottom, bottom + Layout::kBytes,
                       unsigned(x & kFractionMask), unsigned(y & kFractionMask)});
    });
}

/// \a inner is a vector form, or null where none can run.
template <typename Layout>
Sampler bilinear(Sampler::Draw inner = nullptr)
{
    return {1023, 2, drawClamped<Layout>, inner ? inner : drawInside<Layout>, nullptr, nullptr};
}

Sampler nearest(Sampler::Draw draw) { return {0, 1, draw, nullptr, nullptr, nullptr}; }

Sampler bilinear24()
{
    Sampler sampler = bilinear<Bytes<3>>(VELLUM_CHOOSE_SSE41(nullptr, drawBilinear24Sse41));
    sampler.drawEven = VELLUM_CHOOSE_AVX2(nullptr, drawBilinear24Avx2);
    sampler.reach = 3;
    return sampler;
}

Sampler bilinear32()
{
    Sampler sampler = bilinear<Bytes<4>>(VELLUM_CHOOSE_SSE41(nullptr, drawBilinear32Sse41));
    sampler.drawEven = VELLUM_CHOOSE_AVX2(nullptr, drawBilinear32Avx2);
    return sampler;
}

} // namespace

void setBitsMsbFirst(uchar *row, int from, int to) { setBits<BitOrder::MsbFirst>(row, from, to); }

void setBitsLsbFirst(uchar *row, int from, int to) { setBits<BitOrder::LsbFirst>(row, from, to); }

Sampler samplerForDepth(int depth) noexcept
{
    switch (depth) {
    case 1:
        return nearest(drawNearestBit<BitOrder::MsbFirst>);
    case 8:
        return nearest(drawNearest8);
    case 24:
        return bilinear24();
    case 32:
        return bilinear32();
    default:
        return {};
    }
}

Sampler samplerForFormat(QImage::Format format) noexcept
{
    switch (format) {
    case QImage::Format_Mono:
        return nearest(drawNearestBit<BitOrder::MsbFirst>);
    case QImage::Format_MonoLSB:
        return nearest(drawNearestBit<BitOrder::LsbFirst>);
    case QImage::Format_Indexed8:
        return nearest(drawNearest8);
    case QImage::Format_Grayscale8:
    case QImage::Format_Alpha8:
        return bilinear<Bytes<1>>(VELLUM_CHOOSE_SSE41(nullptr, drawBilinearGrey8Sse41));
    case QImage::Format_RGB888:
    case QImage::Format_BGR888:
        return bilinear24();
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
    case QImage::Format_RGBX8888:
    case QImage::Format_RGBA8888:
    case QImage::Format_RGBA8888_Premultiplied:
        return bilinear32();
    case QImage::Format_Grayscale16:
        return bilinear<Words<1>>(VELLUM_CHOOSE_SSE41(nullptr, drawBilinearGrey16Sse41));
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64:
    case QImage::Format_RGBA64_Premultiplied:
        return bilinear<Words<4>>(VELLUM_CHOOSE_SSE41(nullptr, drawBilinear64Sse41));
    case QImage::Format_BGR30:
    case QImage::Format_A2BGR30_Premultiplied:
    case QImage::Format_RGB30:
    case QImage::Format_A2RGB30_Premultiplied:
        return bilinear<Packed<4, 10, 10, 10, 2>>();
    case QImage::Format_RGB16:
        return bilinear<Packed<2, 5, 6, 5>>(VELLUM_CHOOSE_SSE41(nullptr, drawBilinear565Sse41));
    case QImage::Format_RGB555:
        return bilinear<Packed<2, 5, 5, 5>>(VELLUM_CHOOSE_SSE41(nullptr, drawBilinear555Sse41));
    case QImage::Format_RGB444:
        return bilinear<Packed<2, 4, 4, 4>>(VELLUM_CHOOSE_SSE41(nullptr, drawBilinear444Sse41));
    case QImage::Format_ARGB4444_Premultiplied:
        return bilinear<Packed<2, 4, 4, 4, 4>>(VELLUM_CHOOSE_SSE41(nullptr, drawBilinear4444Sse41));
    case QImage::Format_RGB666:
        return bilinear<Packed<3, 6, 6, 6>>();
    case QImage::Format_ARGB6666_Premultiplied:
        return bilinear<Packed<3, 6, 6, 6, 6>>();
    case QImage::Format_ARGB8565_Premultiplied:
        return bilinear<Packed<3, 8, 5, 6, 5>>();
    case QImage::Format_ARGB8555_Premultiplied:
        return bilinear<Packed<3, 8, 5, 5, 5>>();
    default:
        return {};
    }
}

} // namespace vellum::geometry
