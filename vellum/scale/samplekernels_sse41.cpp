#include <vellum/scale/samplekernels_p.h>

#include <smmintrin.h>

namespace vellum::scale {

namespace {

__m128i load(const uchar *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }

template <int perRun>
void sampleRuns(uchar *out, const uchar *in, const uchar *next, const SampleWindows &windows)
{
    const int *const starts = windows.starts;
    const uchar *order = windows.orders;
    const int runs = windows.runs;
    for (int run = 0; run < runs; ++run, out += 16, order += 16 * perRun) {
        const uchar *const window = in + starts[run];
        _mm_prefetch(reinterpret_cast<const char *>(next + starts[run]), _MM_HINT_T1);
        __m128i bytes = _mm_shuffle_epi8(load(window), load(order));
        if constexpr (perRun == 2)
            bytes = _mm_or_si128(bytes, _mm_shuffle_epi8(load(window + 16), load(order + 16)));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), bytes);
    }
}

} // namespace

void sampleWindowsSse41(uchar *out, const uchar *in, const uchar *next,
                        const SampleWindows &windows)
{
    return windows.perRun == 1 ? sampleRuns<1>(out, in, next, windows)
                               : sampleRuns<2>(out, in, next, windows);
}

} // namespace vellum::scale
