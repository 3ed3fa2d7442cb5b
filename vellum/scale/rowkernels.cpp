// The portable kernels: one template over type and number of channels. No channel is treated
// unlike the others, so pixels are arrays of channels here, in whatever order.

#include <vellum/scale/rowkernels_p.h>

#include <cstring>
#include <type_traits>

namespace vellum::scale {

namespace {

/// Whether the alpha channel comes out as it is averaged, or as opaque.
enum class Alpha { Averaged, Opaque };

constexpr int kAlphaByte = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 3 : 0; // of a 32-bit pixel

template <typename Channel, int Channels, Alpha alpha>
struct Portable
{
    // Sums along one axis fit 32 bits also with 16-bit channels: 16 + 14 bits.
    using Sum = quint32;
    // Both axes: 8 + 14 + 14 bits do not fit 32, so 4 are dropped in between.
    using Total = std::conditional_t<sizeof(Channel) == 1, quint32, quint64>;
    static constexpr int kRowShift = sizeof(Channel) == 1 ? 4 : 0;
    static constexpr int kTotalShift = 28 - kRowShift;
    static constexpr int kSumShift = 14;
    static constexpr int kBlendShift = 8;

    struct Pixel
    {
        Channel c[Channels];
    };
    struct Sums
    {
        Sum c[Channels];
    };
    struct Totals
    {
        Total c[Channels];
    };

    static const Pixel *pixels(const uchar *row) { return reinterpret_cast<const Pixel *>(row); }
    static Pixel *pixels(uchar *row) { return reinterpret_cast<Pixel *>(row); }

    static void store(Pixel *out, Pixel pixel)
    {
        if constexpr (alpha == Alpha::Opaque)
            pixel.c[kAlphaByte] = 255;
        *out = pixel;
    }

    static Sums areaSum(const Pixel *p, const Span &span, Sum whole)
    {
        p += span.start;
        Sums sums = {};
        for (int i = 1; i <= span.middle; ++i) {
            for (int k = 0; k < Channels; ++k)
                sums.c[k] += p[i].c[k];
        }
        const Pixel &last = p[span.middle + 1];
        for (int k = 0; k < Channels; ++k) {
            sums.c[k] = p->c[k] * Sum(span.first) + sums.c[k] * whole + last.c[k] * Sum(span.last);
        }
        return sums;
    }

    static void addArea(void *sums, const uchar *const *rows, int count, const AreaColumns &columns,
                        int weight)
    {
        auto *const totals = static_cast<Totals *>(sums);
        const AreaColumns area = columns;
        for (int i = 0; i < count; ++i) {
            const Pixel *const row = pixels(rows[i]);
            for (int x = 0; x < area.count; ++x) {
                const Sums sum = areaSum(row, area.spans[x], Sum(area.whole));
                for (int k = 0; k < Channels; ++k)
                    totals[x].c[k] += Total(sum.c[k] >> kRowShift) * quint32(weight);
            }
        }
    }

    static void finishArea(uchar *out, void *sums, const uchar *row, const AreaColumns &columns,
                           int weight, int nextWeight)
    {
        auto *const totals = static_cast<Totals *>(sums);
        const AreaColumns area = columns;
        for (int x = 0; x < area.count; ++x) {
            const Sums sum = areaSum(pixels(row), area.spans[x], Sum(area.whole));
            Pixel pixel;
            for (int k = 0; k < Channels; ++k) {
                const Total along = sum.c[k] >> kRowShift;
                pixel.c[k] = Channel((totals[x].c[k] + along * quint32(weight)) >> kTotalShift);
                totals[x].c[k] = along * quint32(nextWeight);
            }
            store(pixels(out) + x, pixel);
        }
    }

    // With all weights one half the shifts in between drop only zeros.
    static void halve(uchar *out, const uchar *above, const uchar *below, int count)
    {
        const Pixel *a = pixels(above);
        const Pixel *b = pixels(below);
        for (int x = 0; x < count; ++x, a += 2, b += 2) {
            Pixel pixel;
            for (int k = 0; k < Channels; ++k)
                pixel.c[k] = Channel((a[0].c[k] + a[1].c[k] + b[0].c[k] + b[1].c[k]) >> 2);
            store(pixels(out) + x, pixel);
        }
    }

    static void sumColumns(void *sums, const uchar *row, const AreaColumns &columns)
    {
        auto *const out = static_cast<Sums *>(sums);
        const AreaColumns area = columns;
        for (int x = 0; x < area.count; ++x)
            out[x] = areaSum(pixels(row), area.spans[x], Sum(area.whole));
    }

    static Channel blendSums(Sum a, Sum b, Total weight)
    {
        const Total blended = Total(a) * (256 - weight) + Total(b) * weight;
        return Channel(blended >> (kBlendShift + kSumShift));
    }

    static void blendSumRows(uchar *out, const void *above, const void *below, int weight,
                             int count)
    {
        const auto *const a = static_cast<const Sums *>(above);
        const auto *const b = static_cast<const Sums *>(below);
        for (int x = 0; x < count; ++x) {
            Pixel pixel;
            for (int k = 0; k < Channels; ++k)
                pixel.c[k] = blendSums(a[x].c[k], b[x].c[k], Total(weight));
            store(pixels(out) + x, pixel);
        }
    }

    template <int Rows>
    static void sumRowGroup(Sum *sums, const RowGroup &group, int count)
    {
        const Channel *rows[Rows];
        Sum weights[Rows];
        for (int i = 0; i < Rows; ++i) {
            rows[i] = reinterpret_cast<const Channel *>(group.rows[i]);
            weights[i] = Sum(group.weights[i]);
        }
        const Sum keep = group.add ? ~Sum(0) : 0;
        for (int x = 0; x < count * Channels; ++x) {
            Sum sum = sums[x] & keep;
            for (int i = 0; i < Rows; ++i)
                sum += rows[i][x] * weights[i];
            sums[x] = sum;
        }
    }

    static void sumRows(void *sums, const RowGroup &group, int count)
    {
        auto *const out = static_cast<Sum *>(sums);
        return group.count == 2 ? sumRowGroup<2>(out, group, count)
                                : sumRowGroup<4>(out, group, count);
    }

    static void blendSumColumns(uchar *out, const void *sums, const BlendColumns &columns)
    {
        const auto *const in = static_cast<const Sums *>(sums);
        const BlendColumns blend = columns;
        for (int x = 0; x < blend.count; ++x) {
            const Sums *const p = in + blend.starts[x];
            Pixel pixel;
            for (int k = 0; k < Channels; ++k)
                pixel.c[k] = blendSums(p[0].c[k], p[1].c[k], blend.weights[x]);
            store(pixels(out) + x, pixel);
        }
    }

    /// Every other channel of a pixel at once: each has as many bits of room above it. What the
    /// difference borrows from the next channel comes back with the sum.
    static quint64 blendSpread(quint64 a, quint64 b, quint64 weight)
    {
        constexpr quint64 kSpread =
            sizeof(Channel) == 1 ? 0x00ff00ff00ff00ffU : 0x0000ffff0000ffffU;
        a &= kSpread;
        b &= kSpread;
        return (((a << kBlendShift) + (b - a) * weight) >> kBlendShift) & kSpread;
    }

    static Pixel blendPixels(Pixel a, Pixel b, quint32 weight)
    {
        constexpr int kChannelBits = 8 * sizeof(Channel);
        quint64 p = 0;
        quint64 q = 0;
        std::memcpy(&p, &a, sizeof(Pixel));
        std::memcpy(&q, &b, sizeof(Pixel));
        const quint64 blended = blendSpread(p, q, weight) |
            blendSpread(p >> kChannelBits, q >> kChannelBits, weight) << kChannelBits;
        std::memcpy(&a, &blended, sizeof(Pixel));
        return a;
    }

    static void blendRows(uchar *out, const uchar *above, const uchar *below, int weight, int count)
    {
        using Product = std::conditional_t<sizeof(Channel) == 1, quint16, quint32>;
        const auto *const a = reinterpret_cast<const Channel *>(above);
        const auto *const b = reinterpret_cast<const Channel *>(below);
        auto *const channels = reinterpret_cast<Channel *>(out);
        const auto weightBelow = quint16(weight);
        const auto weightAbove = quint16(256 - weight);
        for (int i = 0; i < count * Channels; ++i) {
            const auto blended = Product(Product(a[i]) * weightAbove + Product(b[i]) * weightBelow);
            channels[i] = Channel(blended >> kBlendShift);
        }
    }

    static void blendColumns(uchar *out, const uchar *row, const BlendColumns &columns)
    {
        const BlendColumns blend = columns;
        for (int x = 0; x < blend.count; ++x) {
            const Pixel *const p = pixels(row) + blend.starts[x];
            store(pixels(out) + x, blendPixels(p[0], p[1], blend.weights[x]));
        }
    }

    static constexpr RowKernels kKernels = {
        sizeof(Pixel), sizeof(Totals), false,   addArea,         finishArea, halve,
        sumColumns,    blendSumRows,   sumRows, blendSumColumns, blendRows,  blendColumns,
    };
};

} // namespace

constexpr RowKernels scaleAARGBA = Portable<uchar, 4, Alpha::Averaged>::kKernels;
constexpr RowKernels scaleAARGB = Portable<uchar, 4, Alpha::Opaque>::kKernels;
constexpr RowKernels scaleRgba64 = Portable<quint16, 4, Alpha::Averaged>::kKernels;
constexpr RowKernels scaleAAGray8 = Portable<uchar, 1, Alpha::Averaged>::kKernels;

} // namespace vellum::scale
