#include <vellum/convert/monokernels_p.h>

#include <smmintrin.h>

namespace {

__m128i load(const void *p) { return _mm_loadu_si128(static_cast<const __m128i *>(p)); }

__m128i loadHalf(const void *p) { return _mm_loadl_epi64(static_cast<const __m128i *>(p)); }

void store(void *p, __m128i v) { _mm_storeu_si128(static_cast<__m128i *>(p), v); }

/// The bytes of each half in reverse order, so that movemask puts the first pixel highest.
__m128i halvesReversed(__m128i v)
{
    return _mm_shuffle_epi8(v, _mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8));
}

/// The first \a width, 1 to 8, bits of a byte.
unsigned char firstBits(int width, bool lsbFirst)
{
    return static_cast<unsigned char>(lsbFirst ? 0xff >> (8 - width) : 0xff << (8 - width));
}

/// Greys of four pixels in the even and odd 16-bit lanes' sums.
__m128i greySums(__m128i fourPixels)
{
    const __m128i weights = _mm_set1_epi32(0x000b1005); // 0, 11, 16, 5 for A, R, G, B
    return _mm_maddubs_epi16(fourPixels, weights);
}

/// Calls sixteen(x) for blocks and, for the pixels behind them, one(x).
template <typename Sixteen, typename Rest>
void inSixteens(int width, Sixteen sixteen, Rest rest)
{
    int x = 0;
    for (; x + 16 <= width; x += 16)
        sixteen(x);
    if (x < width)
        rest(x);
}

} // namespace

namespace vellum::convert {

void greysOfPixelsSse41(unsigned char *greys, const unsigned char *pixels, int width)
{
    inSixteens(
        width,
        [&](int x) {
            const unsigned char *const p = pixels + 4LL * x;
            const __m128i low = _mm_hadd_epi16(greySums(load(p)), greySums(load(p + 16)));
            const __m128i high = _mm_hadd_epi16(greySums(load(p + 32)), greySums(load(p + 48)));
            store(greys + x, _mm_packus_epi16(_mm_srli_epi16(low, 5), _mm_srli_epi16(high, 5)));
        },
        [&](int x) { greysOfPixelsPortable(greys + x, pixels + 4LL * x, width - x); });
}

void transparenciesOfPixelsSse41(unsigned char *out, const unsigned char *pixels, int width)
{
    const auto alphas = [](const unsigned char *p) {
        return _mm_packs_epi32(_mm_srli_epi32(load(p), 24), _mm_srli_epi32(load(p + 16), 24));
    };
    inSixteens(
        width,
        [&](int x) {
            const unsigned char *const p = pixels + 4LL * x;
            const __m128i alpha = _mm_packus_epi16(alphas(p), alphas(p + 32));
            store(out + x, _mm_xor_si128(alpha, _mm_set1_epi8(-1)));
        },
        [&](int x) { transparenciesOfPixelsPortable(out + x, pixels + 4LL * x, width - x); });
}

void packBelowSse41(unsigned char *bits, const unsigned char *values,
                    const unsigned char *thresholds, int width, bool lsbFirst)
{
    const __m128i limits = load(thresholds);
    inSixteens(
        width,
        [&](int x) {
            // limit - value, not below 0, is 0 exactly where the bit is clear
            const __m128i rest = _mm_subs_epu8(limits, load(values + x));
            const __m128i clear = _mm_cmpeq_epi8(rest, _mm_setzero_si128());
            const int mask = ~_mm_movemask_epi8(lsbFirst ? clear : halvesReversed(clear));
            bits[x / 8] = static_cast<unsigned char>(mask);
            bits[x / 8 + 1] = static_cast<unsigned char>(mask >> 8);
        },
        [&](int x) {
            packBelowPortable(bits + x / 8, values + x, thresholds, width - x, lsbFirst);
        });
}

// Eight rows at once, one per 16-bit lane, each two pixels behind the row above: by then the row
// above has finished the error of the pixel below it. Step s works on column s - 2 * lane of each
// lane. The error that a lane finishes in one step is what the next lane needs in the next.
void diffuseRowsSse41(const DiffuseRows &rows, int)
{
    const int width = rows.width;
    const int steps = width + 2 * kDiffuseRows - 1; // the last lane ends one step behind its row
    const __m128i lags = _mm_setr_epi16(0, 2, 4, 6, 8, 10, 12, 14);
    const __m128i eight = _mm_set1_epi16(8);

    __m128i toRight = _mm_setzero_si128();
    __m128i belowLast = _mm_setzero_si128();
    __m128i belowHere = _mm_setzero_si128();
    __m128i finished = _mm_setzero_si128();

    for (int s = 0; s < steps; s += 8) {
        // Values of eight steps: column s + i - 2 * lane, transposed from rows to steps.
        const auto *const p = rows.values + s;
        const auto row = [&](int lane) { return loadHalf(p + lane * (rows.stride - 2)); };
        const __m128i r01 = _mm_unpacklo_epi8(row(0), row(1));
        const __m128i r23 = _mm_unpacklo_epi8(row(2), row(3));
        const __m128i r45 = _mm_unpacklo_epi8(row(4), row(5));
        const __m128i r67 = _mm_unpacklo_epi8(row(6), row(7));
        const __m128i low03 = _mm_unpacklo_epi16(r01, r23);
        const __m128i high03 = _mm_unpackhi_epi16(r01, r23);
        const __m128i low47 = _mm_unpacklo_epi16(r45, r67);
        const __m128i high47 = _mm_unpackhi_epi16(r45, r67);
        const __m128i pairs[4] = {
            _mm_unpacklo_epi32(low03, low47), _mm_unpackhi_epi32(low03, low47),
            _mm_unpacklo_epi32(high03, high47), _mm_unpackhi_epi32(high03, high47)};

        // Columns before and behind a row have no error, and pass none on.
        const bool allInside = s >= 2 * (kDiffuseRows - 1) && s + 8 <= width;
        for (int i = 0; i < 8; ++i) {
            const int step = s + i;
            const __m128i pair = pairs[i / 2];
            const __m128i value =
                _mm_cvtepu8_epi16(i % 2 == 0 ? pair : _mm_unpackhi_epi64(pair, pair));
            const int top = step < width ? rows.errors[step] : 0;
            const __m128i above = _mm_insert_epi16(_mm_slli_si128(finished, 2), top, 0);
            __m128i v = _mm_add_epi16(_mm_add_epi16(value, above), toRight);
            if (!allInside) {
                // The column is counted from the end of the row, which a 16-bit lane can hold
                // where it matters: next to either end.
                const int fromEnd = width - step < 30000 ? width - step : 30000;
                const int fromStart = step < 30000 ? step : 30000;
                const __m128i inside = _mm_and_si128(
                    _mm_cmpgt_epi16(_mm_add_epi16(_mm_set1_epi16(short(fromEnd)), lags),
                                    _mm_setzero_si128()),
                    _mm_cmpgt_epi16(_mm_set1_epi16(short(fromStart + 1)), lags));
                v = _mm_and_si128(v, inside);
            }
            const __m128i set = _mm_cmplt_epi16(v, _mm_set1_epi16(128));
            const __m128i error = _mm_sub_epi16(v, _mm_andnot_si128(set, _mm_set1_epi16(255)));
            const __m128i twice = _mm_add_epi16(error, error);
            const __m128i fourTimes = _mm_slli_epi16(error, 2);
            const __m128i rounded = _mm_add_epi16(error, eight);
            toRight = _mm_srai_epi16(_mm_add_epi16(_mm_add_epi16(fourTimes, twice), rounded), 4);
            const __m128i below = _mm_srai_epi16(_mm_add_epi16(fourTimes, rounded), 4);
            const __m128i belowLeft = _mm_srai_epi16(_mm_add_epi16(twice, rounded), 4);
            finished = _mm_add_epi16(belowLast, belowLeft);
            belowLast = _mm_add_epi16(belowHere, below);
            belowHere =
                _mm_sub_epi16(_mm_sub_epi16(error, belowLeft), _mm_add_epi16(below, toRight));

            rows.scratch[step] =
                static_cast<unsigned char>(_mm_movemask_epi8(_mm_packs_epi16(set, set)));
            const int done = step - 2 * kDiffuseRows + 1; // column that the last lane finished
            if (done >= 0 && done < width)
                rows.errors[done] = static_cast<short>(_mm_extract_epi16(finished, 7));
        }
    }

    // The bit of a row is that of its lane, two steps later per lane.
    for (int lane = 0; lane < kDiffuseRows; ++lane) {
        const unsigned char *const in = rows.scratch + 2LL * lane;
        const __m128i toTop = _mm_cvtsi32_si128(7 - lane);
        unsigned char *out = rows.bits[lane];
        for (int x = 0; x < width; x += 8) {
            const __m128i masks = _mm_sll_epi16(loadHalf(in + x), toTop);
            const int byte = _mm_movemask_epi8(rows.lsbFirst ? masks : halvesReversed(masks));
            const int left = width - x;
            *out++ = static_cast<unsigned char>(left >= 8 ? byte
                                                          : byte & firstBits(left, rows.lsbFirst));
        }
    }
}

} // namespace vellum::convert
