#include <vellum/image/cpufeatures_p.h>
#include <vellum/image/vellum.h>
#include <vellum/scale/samplekernels_p.h>
#include <vellum/scale/sampler_p.h>
#include <vellum/scale/table_p.h>

#include <QtGlobal>

#include <cstring>
#include <memory>
#include <new>

namespace vellum::scale {

namespace {

/// The source coordinate that a target coordinate is sampled from, on one axis.
///
/// Stays inside the source without a clamp: lengths have 31 bits, so the last coordinate lies at
/// least 2^-31 of the length below the edge, and two roundings move it up by 2^-52 at most.
class Mapping
{
public:
    /// Maps lengths onto each other, then moves by \a start. \a reference is 0 for none.
    Mapping(int start, int source, int target, int reference)
        : m_start(start), m_toFirst(double(reference ? reference : source) / target),
          m_toSource(reference ? double(source) / reference : 0), m_twoStages(reference != 0)
    {
    }

    int operator()(int target) const
    {
        const int first = int(target * m_toFirst);
        return m_start + (m_twoStages ? int(first * m_toSource) : first);
    }

private:
    int m_start;
    double m_toFirst;
    double m_toSource;
    bool m_twoStages;
};

/// Into the second-level cache: whole rows would drive each other out of the first.
void prefetch([[maybe_unused]] const uchar *memory)
{
#ifdef __GNUC__
    __builtin_prefetch(memory, 0, 2);
#endif
}

/// Copies \a count pixels of \a Bytes bytes; \a from holds the first byte of each. Meanwhile
/// fetches the same pixels of \a next: no hardware guesses a jump over rows.
template <int Bytes>
void sampleBytes(uchar *out, const uchar *in, const uchar *next, const int *from, int count)
{
    constexpr int kCacheLine = 64;
    constexpr int kChunk = 16;
    int x = 0;
    for (; x + kChunk <= count; x += kChunk) {
        const int last = from[x + kChunk - 1];
        const int step = qMax(kCacheLine, (last - from[x]) / (kChunk - 1));
        for (qptrdiff i = from[x]; i <= last; i += step)
            prefetch(next + i);
        for (int i = 0; i < kChunk; ++i, out += Bytes)
            std::memcpy(out, in + from[x + i], Bytes);
    }
    for (; x < count; ++x, out += Bytes)
        std::memcpy(out, in + from[x], Bytes);
}

/// The same for one-bit pixels; \a from holds bits. Bits behind the last one in its byte become 0.
template <image::BitOrder Order>
void sampleBits(uchar *out, const uchar *in, const uchar * /*next*/, const int *from, int count)
{
    const auto bit = [&](int x) { return in[from[x] >> 3] >> image::bitPlace<Order>(from[x]) & 1; };
    for (int x = 0; x < count; x += 8) {
        int byte = 0;
        for (int i = x; i < qMin(x + 8, count); ++i)
            byte |= bit(i) << image::bitPlace<Order>(i);
        *out++ = uchar(byte);
    }
}

using SampleRow = void (*)(uchar *out, const uchar *in, const uchar *next, const int *from,
                           int count);

/// By bytes per pixel from 1 on.
constexpr SampleRow kSampleBytes[] = {sampleBytes<1>, sampleBytes<2>, sampleBytes<3>,
                                      sampleBytes<4>, nullptr,        nullptr,
                                      nullptr,        sampleBytes<8>};

/// By BitOrder.
constexpr SampleRow kSampleBits[] = {sampleBits<image::BitOrder::MsbFirst>,
                                     sampleBits<image::BitOrder::LsbFirst>};

/// Where in its row each wanted source pixel starts: in bytes, or in bits for one-bit pixels.
struct Columns
{
    std::unique_ptr<int[]> from; // null when memory ran out
    int count = 0; // without those that the source has no room for in its rows

    Columns(const Mapping &mapping, int left, int width, const Vellum &source)
        : from(new (std::nothrow) int[size_t(width)])
    {
        const qint64 rowBits = qint64(source.storedBytesPerLine()) * 8;
        const int depth = source.depth();
        const int step = depth == 1 ? 1 : depth / 8;
        for (; from && count < width; ++count) {
            const int x = mapping(left + count);
            if ((qint64(x) + 1) * depth > rowBits)
                return;
            from[size_t(count)] = x * step;
        }
    }
};

using SampleRuns = void (*)(uchar *out, const uchar *in, const uchar *next,
                            const SampleWindows &windows);

/// SampleWindows for whole-byte pixels that lie close enough together; none where they do not,
/// where the processor cannot use them, or where they are not worth making.
class Windows
{
public:
    Windows(const Columns &columns, const Vellum &source, int resultRows)
        : m_sampleRuns(VELLUM_CHOOSE_SSE41(nullptr, sampleWindowsSse41))
    {
        constexpr int kRowsWorthTables = 16;
        if (source.depth() == 1 || resultRows < kRowsWorthTables || !m_sampleRuns)
            return;
        m_pixelBytes = source.depth() / 8;
        const qint64 rowBytes =
            qMin<qint64>(source.storedBytesPerLine(), qint64(source.width()) * m_pixelBytes);
        const int *const from = columns.from.get();
        const auto runs = int(qint64(columns.count) * m_pixelBytes / kRun);
        const int perRun = (widestRun(from, runs) + kRun - 1) / kRun;
        if (perRun <= 2 && rowBytes >= qint64(perRun) * kRun)
            make(from, runs, perRun, int(rowBytes));
    }

    /// Pixels at the begin of the row that sample() writes.
    int pixels() const { return int(qint64(m_windows.runs) * kRun / qMax(m_pixelBytes, 1)); }

    void sample(uchar *out, const uchar *in, const uchar *next) const
    {
        if (m_windows.runs > 0)
            m_sampleRuns(out, in, next, m_windows);
    }

private:
    static constexpr int kRun = 16; // bytes, as of a window

    /// Bytes from the first to the last source pixel under a run, at most.
    int widestRun(const int *from, int runs) const
    {
        int widest = 0;
        for (int run = 0; run < runs; ++run) {
            const qint64 first = qint64(run) * kRun / m_pixelBytes;
            const qint64 last = (qint64(run) * kRun + kRun - 1) / m_pixelBytes;
            widest = qMax(widest, from[last] + m_pixelBytes - from[first]);
        }
        return widest;
    }

    void make(const int *from, int runs, int perRun, int rowBytes)
    {
        constexpr uchar kNone = 128;
        m_starts = allocate<int>(runs);
        m_orders = allocate<uchar>(qint64(runs) * perRun * kRun);
        if (!m_starts || !m_orders)
            return; // it goes without
        uchar *orders = m_orders.get();
        int pixel = 0;
        int byte = 0; // of the pixel
        for (int run = 0; run < runs; ++run, orders += perRun * kRun) {
            const int start = qMin(from[pixel], rowBytes - perRun * kRun);
            m_starts[size_t(run)] = start;
            for (int i = 0; i < kRun; ++i) {
                const int at = from[pixel] + byte - start;
                for (int window = 0; window < perRun; ++window)
                    orders[window * kRun + i] = at / kRun == window ? uchar(at % kRun) : kNone;
                byte = byte + 1 < m_pixelBytes ? byte + 1 : 0;
                pixel += byte == 0 ? 1 : 0;
            }
        }
        m_windows = {m_starts.get(), m_orders.get(), runs, perRun};
    }

    SampleRuns m_sampleRuns;
    int m_pixelBytes = 0;
    Array<int> m_starts;
    Array<uchar> m_orders;
    SampleWindows m_windows = {};
};

} // namespace

bool sample(Vellum &dst, const Vellum &src, const SamplingJob &job)
{
    const QRect &part = job.part;
    const Mapping toColumn(job.window.left(), job.window.width(), job.size.width(),
                           job.reference.width());
    const Mapping toRow(job.window.top(), job.window.height(), job.size.height(),
                        job.reference.height());
    const Columns columns(toColumn, part.left(), part.width(), src);
    if (!columns.from)
        return false;

    const int depth = src.depth();
    const SampleRow sampleRow =
        depth == 1 ? kSampleBits[int(job.bitOrder)] : kSampleBytes[depth / 8 - 1];
    const auto bytes = size_t((qint64(columns.count) * depth + 7) / 8);
    const Windows windows(columns, src, part.height());
    const int rest = windows.pixels(); // where the pixels outside of windows begin
    const qptrdiff restOffset = qptrdiff(rest) * depth / 8;
    const uchar *next = src.scanLineEx(toRow(part.top()));
    const uchar *lastIn = nullptr;
    const uchar *lastOut = nullptr;
    for (int y = 0; y < part.height(); ++y) {
        const uchar *const in = next;
        if (y + 1 < part.height())
            next = src.scanLineEx(toRow(part.top() + y + 1));
        if (!in)
            continue;
        uchar *const out = dst.scanLineEx(y);
        if (in == lastIn) {
            std::memcpy(out, lastOut, bytes);
        } else {
            const uchar *const ahead = next ? next : in;
            windows.sample(out, in, ahead);
            sampleRow(out + restOffset, in, ahead, columns.from.get() + rest, columns.count - rest);
        }
        lastIn = in;
        lastOut = out;
        // Whoever listens cannot cancel: results are always whole.
        src.set_progress(int((y + qint64(1)) * 100 / part.height()));
    }
    return true;
}

} // namespace vellum::scale
