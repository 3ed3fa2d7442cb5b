// The 32-bit kernels for SSE4.1, in the order of the portable ones. Sums are four 32-bit lanes
// per pixel, one per channel in memory order.

#include <vellum/scale/rowkernels_p.h>

#include <smmintrin.h>

namespace vellum::scale {

namespace {

enum class Alpha { Averaged, Opaque };

constexpr int kAlphaMask = int(0xff000000U); // of a 32-bit pixel

template <typename T>
__m128i load(const T *p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
}

template <typename T>
__m128i loadHalf(const T *p)
{
    return _mm_loadl_epi64(reinterpret_cast<const __m128i *>(p));
}

template <typename T>
void store(T *p, __m128i v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v);
}

/// Asks for source pixels that are to be read soon: the processor's own look-ahead ends with
/// each 4 KB page. The address need not exist.
void prefetchAhead(const quint32 *p)
{
    constexpr quintptr kBytesAhead = 512;
    _mm_prefetch(reinterpret_cast<const char *>(quintptr(p) + kBytesAhead), _MM_HINT_T0);
}

/// Pixels \a first and \a first + 1 as 16-bit lanes, the two of a channel side by side.
template <int first>
__m128i pairUp(__m128i pixels)
{
    constexpr char a = 4 * first, b = a + 4, z = -1; // z: zero
    return _mm_shuffle_epi8(
        pixels,
        _mm_setr_epi8(a, z, b, z, a + 1, z, b + 1, z, a + 2, z, b + 2, z, a + 3, z, b + 3, z));
}

/// Weighted sum of up to eight pixels, two at a time.
template <int pairs>
struct PairSum
{
    const int *starts;
    const quint32 *weights;

    explicit PairSum(const AreaColumns &columns)
        : starts(columns.pairStarts), weights(columns.pairWeights)
    {
    }

    __m128i operator()(const quint32 *row, int x) const
    {
        const quint32 *const p = row + starts[x];
        const auto *const w = reinterpret_cast<const int *>(weights) + qptrdiff(x) * pairs;
        prefetchAhead(p);
        const __m128i first = pairs == 1 ? loadHalf(p) : load(p);
        __m128i sum = _mm_madd_epi16(pairUp<0>(first), _mm_set1_epi32(w[0]));
        if constexpr (pairs > 1)
            sum = add(sum, pairUp<2>(first), w[1]);
        if constexpr (pairs > 2) {
            const __m128i second = pairs == 3 ? loadHalf(p + 4) : load(p + 4);
            sum = add(sum, pairUp<0>(second), w[2]);
            if constexpr (pairs > 3)
                sum = add(sum, pairUp<2>(second), w[3]);
        }
        return sum;
    }

    static __m128i add(__m128i sum, __m128i pair, int w)
    {
        return _mm_add_epi32(sum, _mm_madd_epi16(pair, _mm_set1_epi32(w)));
    }
};

/// Weighted sum of many pixels: all but the first and the last have the same weight, so their
/// bytes are added first.
struct RunSum
{
    const Span *spans;
    __m128i whole; // in every 16-bit lane

    explicit RunSum(const AreaColumns &columns)
        : spans(columns.spans), whole(_mm_set1_epi16(short(columns.whole)))
    {
    }

    /// Four pixels as 16-bit lanes, the sums of two for each channel side by side.
    static __m128i addFour(__m128i pixels, __m128i order)
    {
        return _mm_maddubs_epi16(_mm_shuffle_epi8(pixels, order), _mm_set1_epi8(1));
    }

    __m128i operator()(const quint32 *row, int x) const
    {
        // The channels of four pixels together, and of the last one, two or three of them alone.
        alignas(16) static constexpr signed char kOrders[4][16] = {
            {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15},
            {-1, -1, -1, 12, -1, -1, -1, 13, -1, -1, -1, 14, -1, -1, -1, 15},
            {-1, -1, 8, 12, -1, -1, 9, 13, -1, -1, 10, 14, -1, -1, 11, 15},
            {-1, 4, 8, 12, -1, 5, 9, 13, -1, 6, 10, 14, -1, 7, 11, 15},
        };
        constexpr int kMostFours = 64; // sums of two bytes that a signed 16-bit lane can hold
        const Span span = spans[x];
        const quint32 *p = row + span.start;
        const quint32 *const last = p + span.middle + 1;
        const __m128i order = load(kOrders[0]);

        const __m128i ends = _mm_insert_epi32(_mm_cvtsi32_si128(int(*p)), int(*last), 1);
        const int endWeights = int(quint32(span.last) << 16 | quint32(span.first));
        __m128i sum = _mm_madd_epi16(pairUp<0>(ends), _mm_set1_epi32(endWeights));

        ++p;
        __m128i bytes = _mm_setzero_si128();
        if (const int rest = span.middle % 4)
            bytes = addFour(load(last - 4), load(kOrders[rest]));
        for (int fours = span.middle / 4; fours > 0;) {
            const int count = fours < kMostFours - 1 ? fours : kMostFours - 1;
            const quint32 *const end = p + 4 * count;
            for (; end - p >= 16; p += 16) {
                prefetchAhead(p);
                const __m128i a =
                    _mm_add_epi16(addFour(load(p), order), addFour(load(p + 4), order));
                const __m128i b =
                    _mm_add_epi16(addFour(load(p + 8), order), addFour(load(p + 12), order));
                bytes = _mm_add_epi16(bytes, _mm_add_epi16(a, b));
            }
            prefetchAhead(p);
            for (; p != end; p += 4)
                bytes = _mm_add_epi16(bytes, addFour(load(p), order));
            sum = _mm_add_epi32(sum, _mm_madd_epi16(bytes, whole));
            bytes = _mm_setzero_si128();
            fours -= count;
        }
        return sum;
    }
};

/// Calls use(sum), where sum(row, x) is the sum for a column, of the kind that suits \a columns.
template <typename Use>
void withSum(const AreaColumns &columns, Use use)
{
    switch (columns.pairs) {
    case 1:
        return use(PairSum<1>(columns));
    case 2:
        return use(PairSum<2>(columns));
    case 3:
        return use(PairSum<3>(columns));
    case 4:
        return use(PairSum<4>(columns));
    default:
        return use(RunSum(columns));
    }
}

template <int rows, typename Sum>
void addRows(__m128i *totals, const uchar *const *group, Sum sum, int count, int weight)
{
    const quint32 *in[rows];
    for (int i = 0; i < rows; ++i)
        in[i] = reinterpret_cast<const quint32 *>(group[i]);
    const __m128i w = _mm_set1_epi32(weight);
    for (int x = 0; x < count; ++x) {
        __m128i along = _mm_srli_epi32(sum(in[0], x), 4);
        for (int i = 1; i < rows; ++i)
            along = _mm_add_epi32(along, _mm_srli_epi32(sum(in[i], x), 4));
        store(totals + x, _mm_add_epi32(load(totals + x), _mm_mullo_epi32(along, w)));
    }
}

void addArea(void *sums, const uchar *const *rows, int count, const AreaColumns &columns,
             int weight)
{
    static_assert(RowGroup::kMost == 4);
    auto *const totals = static_cast<__m128i *>(sums);
    withSum(columns, [=, &columns](auto sum) {
        switch (count) {
        case 1:
            return addRows<1>(totals, rows, sum, columns.count, weight);
        case 2:
            return addRows<2>(totals, rows, sum, columns.count, weight);
        case 3:
            return addRows<3>(totals, rows, sum, columns.count, weight);
        default:
            return addRows<4>(totals, rows, sum, columns.count, weight);
        }
    });
}

void sumColumns(void *sums, const uchar *row, const AreaColumns &columns)
{
    auto *const out = static_cast<__m128i *>(sums);
    const auto *const in = reinterpret_cast<const quint32 *>(row);
    withSum(columns, [out, in, count = columns.count](auto sum) {
        for (int x = 0; x < count; ++x)
            store(out + x, sum(in, x));
    });
}

/// Sums of pixels a and b, blended and placed in the top byte of each lane: 22 bits of weight are
/// to go, 2 up is the same as 22 down and the top byte.
__m128i blendSums(__m128i a, __m128i b, __m128i fourfoldWeight)
{
    const __m128i change = _mm_mullo_epi32(_mm_sub_epi32(b, a), fourfoldWeight);
    return _mm_add_epi32(_mm_slli_epi32(a, 10), change);
}

/// The top bytes of the lanes of four pixels.
__m128i packTops(__m128i a, __m128i b, __m128i c, __m128i d)
{
    const __m128i ab = _mm_packs_epi32(_mm_srli_epi32(a, 24), _mm_srli_epi32(b, 24));
    const __m128i cd = _mm_packs_epi32(_mm_srli_epi32(c, 24), _mm_srli_epi32(d, 24));
    return _mm_packus_epi16(ab, cd);
}

int packTop(__m128i a)
{
    return _mm_cvtsi128_si32(_mm_shuffle_epi8(
        a, _mm_setr_epi8(3, 7, 11, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1)));
}

/// As blendSums without the multiplication by 4: blends 16-bit lanes of bytes.
__m128i blendBytes(__m128i a, __m128i b, __m128i weights)
{
    const __m128i change = _mm_mullo_epi16(_mm_sub_epi16(b, a), weights);
    return _mm_srli_epi16(_mm_add_epi16(_mm_slli_epi16(a, 8), change), 8);
}

template <int rows>
void sumRowGroup(__m128i *sums, const RowGroup &group, int count)
{
    const quint32 *in[rows];
    __m128i weights[rows / 2];
    for (int i = 0; i < rows; ++i)
        in[i] = reinterpret_cast<const quint32 *>(group.rows[i]);
    for (int i = 0; i < rows / 2; ++i) {
        weights[i] = _mm_set1_epi32(
            int(quint32(group.weights[2 * i + 1]) << 16 | quint32(group.weights[2 * i])));
    }
    const __m128i zero = _mm_setzero_si128();
    const __m128i keep = _mm_set1_epi32(group.add ? -1 : 0);
    int x = 0;
    for (; x + 4 <= count; x += 4) {
        __m128i sum[4];
        for (int k = 0; k < 4; ++k)
            sum[k] = _mm_and_si128(load(sums + x + k), keep);
        for (int i = 0; i < rows / 2; ++i) {
            prefetchAhead(in[2 * i] + x);
            prefetchAhead(in[2 * i + 1] + x);
            const __m128i a = load(in[2 * i] + x);
            const __m128i b = load(in[2 * i + 1] + x);
            const __m128i low = _mm_unpacklo_epi8(a, b); // the two of a channel side by side
            const __m128i high = _mm_unpackhi_epi8(a, b);
            const __m128i w = weights[i];
            sum[0] = _mm_add_epi32(sum[0], _mm_madd_epi16(_mm_unpacklo_epi8(low, zero), w));
            sum[1] = _mm_add_epi32(sum[1], _mm_madd_epi16(_mm_unpackhi_epi8(low, zero), w));
            sum[2] = _mm_add_epi32(sum[2], _mm_madd_epi16(_mm_unpacklo_epi8(high, zero), w));
            sum[3] = _mm_add_epi32(sum[3], _mm_madd_epi16(_mm_unpackhi_epi8(high, zero), w));
        }
        for (int k = 0; k < 4; ++k)
            store(sums + x + k, sum[k]);
    }
    for (; x < count; ++x) {
        __m128i sum = _mm_and_si128(load(sums + x), keep);
        for (int i = 0; i < rows / 2; ++i) {
            const __m128i pair =
                _mm_insert_epi32(_mm_cvtsi32_si128(int(in[2 * i][x])), int(in[2 * i + 1][x]), 1);
            sum = _mm_add_epi32(sum, _mm_madd_epi16(pairUp<0>(pair), weights[i]));
        }
        store(sums + x, sum);
    }
}

void sumRows(void *sums, const RowGroup &group, int count)
{
    auto *const out = static_cast<__m128i *>(sums);
    return group.count == 2 ? sumRowGroup<2>(out, group, count) : sumRowGroup<4>(out, group, count);
}

void blendRows(uchar *out, const uchar *above, const uchar *below, int weight, int count)
{
    const __m128i weights = _mm_set1_epi16(short(weight));
    const __m128i zero = _mm_setzero_si128();
    const int bytes = 4 * count;
    int i = 0;
    for (; i + 16 <= bytes; i += 16) {
        const __m128i a = load(above + i);
        const __m128i b = load(below + i);
        const __m128i low =
            blendBytes(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero), weights);
        const __m128i high =
            blendBytes(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero), weights);
        store(out + i, _mm_packus_epi16(low, high));
    }
    for (; i < bytes; ++i)
        out[i] = uchar((above[i] * (256 - weight) + below[i] * weight) >> 8);
}

/// The kernels that write results.
template <Alpha alpha>
struct Sse41
{
    static constexpr int kOpaque = alpha == Alpha::Opaque ? kAlphaMask : 0;

    static int opaque(int pixel) { return pixel | kOpaque; }
    static __m128i opaque(__m128i pixels)
    {
        return kOpaque ? _mm_or_si128(pixels, _mm_set1_epi32(kOpaque)) : pixels;
    }

    static void finishArea(uchar *out, void *sums, const uchar *row, const AreaColumns &columns,
                           int weight, int nextWeight)
    {
        auto *const totals = static_cast<__m128i *>(sums);
        auto *const pixels = reinterpret_cast<int *>(out);
        const __m128i w = _mm_set1_epi32(weight);
        const __m128i next = _mm_set1_epi32(nextWeight);
        const auto *const in = reinterpret_cast<const quint32 *>(row);
        withSum(columns, [=, count = columns.count](auto sum) {
            for (int x = 0; x < count; ++x) {
                const __m128i along = _mm_srli_epi32(sum(in, x), 4);
                const __m128i total = _mm_add_epi32(load(totals + x), _mm_mullo_epi32(along, w));
                pixels[x] = opaque(packTop(total));
                store(totals + x, _mm_mullo_epi32(along, next));
            }
        });
    }

    static void halve(uchar *out, const uchar *above, const uchar *below, int count)
    {
        const auto *const a = reinterpret_cast<const quint32 *>(above);
        const auto *const b = reinterpret_cast<const quint32 *>(below);
        auto *const pixels = reinterpret_cast<quint32 *>(out);
        const __m128i order = _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
        const __m128i ones = _mm_set1_epi8(1);
        const auto sumTwo = [order, ones](__m128i fourPixels) {
            return _mm_maddubs_epi16(_mm_shuffle_epi8(fourPixels, order), ones);
        };
        int x = 0;
        for (; x + 4 <= count; x += 4) {
            const int at = 2 * x;
            prefetchAhead(a + at);
            prefetchAhead(b + at);
            const __m128i low = _mm_add_epi16(sumTwo(load(a + at)), sumTwo(load(b + at)));
            const __m128i high = _mm_add_epi16(sumTwo(load(a + at + 4)), sumTwo(load(b + at + 4)));
            store(pixels + x,
                  opaque(_mm_packus_epi16(_mm_srli_epi16(low, 2), _mm_srli_epi16(high, 2))));
        }
        for (; x < count; ++x) {
            const int at = 2 * x;
            const __m128i sum = _mm_add_epi16(sumTwo(loadHalf(a + at)), sumTwo(loadHalf(b + at)));
            const __m128i quarter = _mm_srli_epi16(sum, 2);
            pixels[x] = quint32(opaque(_mm_cvtsi128_si32(_mm_packus_epi16(quarter, quarter))));
        }
    }

    static void blendSumRows(uchar *out, const void *above, const void *below, int weight,
                             int count)
    {
        const auto *const a = static_cast<const __m128i *>(above);
        const auto *const b = static_cast<const __m128i *>(below);
        auto *const pixels = reinterpret_cast<int *>(out);
        const __m128i w = _mm_set1_epi32(4 * weight);
        const auto blend = [a, b, w](int x) { return blendSums(load(a + x), load(b + x), w); };
        int x = 0;
        for (; x + 4 <= count; x += 4) {
            store(pixels + x, opaque(packTops(blend(x), blend(x + 1), blend(x + 2), blend(x + 3))));
        }
        for (; x < count; ++x)
            pixels[x] = opaque(packTop(blend(x)));
    }

    static void blendSumColumns(uchar *out, const void *sums, const BlendColumns &columns)
    {
        const auto *const in = static_cast<const __m128i *>(sums);
        auto *const pixels = reinterpret_cast<int *>(out);
        const BlendColumns columnsHere = columns;
        const auto blend = [in, columnsHere](int x, __m128i fourfoldWeight) {
            const __m128i *const p = in + columnsHere.starts[x];
            return blendSums(load(p), load(p + 1), fourfoldWeight);
        };
        int x = 0;
        for (; x + 4 <= columnsHere.count; x += 4) {
            const __m128i w =
                _mm_slli_epi32(_mm_cvtepu16_epi32(loadHalf(columnsHere.weights + x)), 2);
            store(pixels + x,
                  opaque(packTops(blend(x, _mm_shuffle_epi32(w, 0x00)),
                                  blend(x + 1, _mm_shuffle_epi32(w, 0x55)),
                                  blend(x + 2, _mm_shuffle_epi32(w, 0xaa)),
                                  blend(x + 3, _mm_shuffle_epi32(w, 0xff)))));
        }
        for (; x < columnsHere.count; ++x)
            pixels[x] = opaque(packTop(blend(x, _mm_set1_epi32(4 * columnsHere.weights[x]))));
    }

    static void blendColumns(uchar *out, const uchar *row, const BlendColumns &columns)
    {
        const auto *const in = reinterpret_cast<const quint32 *>(row);
        auto *const pixels = reinterpret_cast<int *>(out);
        const BlendColumns blend = columns;
        // Each of the first two weights into the four lanes of a pixel.
        const __m128i spread = _mm_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3);
        const auto two = [in, blend, spread](int x, __m128i weights) {
            const __m128i p = _mm_cvtepu8_epi16(loadHalf(in + blend.starts[x]));
            const __m128i q = _mm_cvtepu8_epi16(loadHalf(in + blend.starts[x + 1]));
            return blendBytes(_mm_unpacklo_epi64(p, q), _mm_unpackhi_epi64(p, q),
                              _mm_shuffle_epi8(weights, spread));
        };
        int x = 0;
        for (; x + 4 <= blend.count; x += 4) {
            const __m128i weights = loadHalf(blend.weights + x);
            const __m128i low = two(x, weights);
            const __m128i high = two(x + 2, _mm_srli_si128(weights, 4));
            store(pixels + x, opaque(_mm_packus_epi16(low, high)));
        }
        for (; x < blend.count; ++x) {
            const __m128i p = _mm_cvtepu8_epi16(loadHalf(in + blend.starts[x]));
            const __m128i blended =
                blendBytes(p, _mm_unpackhi_epi64(p, p), _mm_set1_epi16(short(blend.weights[x])));
            pixels[x] = opaque(_mm_cvtsi128_si32(_mm_packus_epi16(blended, blended)));
        }
    }

    static constexpr RowKernels kKernels = {
        4,          16,           true,    addArea,         finishArea, halve,
        sumColumns, blendSumRows, sumRows, blendSumColumns, blendRows,  blendColumns,
    };
};

} // namespace

constexpr RowKernels scaleAARGBASse41 = Sse41<Alpha::Averaged>::kKernels;
constexpr RowKernels scaleAARGBSse41 = Sse41<Alpha::Opaque>::kKernels;

} // namespace vellum::scale
