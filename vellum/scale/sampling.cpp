#include <vellum/image/derived_p.h>
#include <vellum/image/vellum.h>
#include <vellum/scale/crop_p.h>
#include <vellum/scale/sampling.h>

#include <QtGlobal>

#include <cstring>
#include <memory>
#include <new>

namespace {

/// The source coordinate that a target coordinate is sampled from, on one axis.
///
/// Stays inside the source without a clamp: lengths have 31 bits, so the last coordinate lies at
/// least 2^-31 of the length below the edge, and two roundings move it up by 2^-52 at most.
class Mapping
{
public:
    /// \a reference is 0 for none.
    Mapping(int source, int target, int reference)
        : m_toFirst(double(reference ? reference : source) / target),
          m_toSource(reference ? double(source) / reference : 0), m_twoStages(reference != 0)
    {
    }

    int operator()(int target) const
    {
        const int first = int(target * m_toFirst);
        return m_twoStages ? int(first * m_toSource) : first;
    }

private:
    double m_toFirst;
    double m_toSource;
    bool m_twoStages;
};

void prefetch([[maybe_unused]] const uchar *memory)
{
#ifdef __GNUC__
    __builtin_prefetch(memory);
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

/// The same for one-bit pixels, highest bit first; \a from holds bits. Bits behind the last one
/// in its byte become 0.
void sampleBits(uchar *out, const uchar *in, const uchar * /*next*/, const int *from, int count)
{
    const auto bit = [&](int x) { return in[from[x] >> 3] >> (7 - (from[x] & 7)) & 1; };
    int x = 0;
    for (; x + 8 <= count; x += 8) {
        int byte = 0;
        for (int i = 0; i < 8; ++i)
            byte = byte << 1 | bit(x + i);
        *out++ = uchar(byte);
    }
    if (x == count)
        return;
    int byte = 0;
    for (int i = x; i < count; ++i)
        byte |= bit(i) << (7 - (i - x));
    *out = uchar(byte);
}

using SampleRow = void (*)(uchar *out, const uchar *in, const uchar *next, const int *from,
                           int count);

/// By bytes per pixel; 0 stands for one bit.
constexpr SampleRow kSampleRow[] = {
    sampleBits, sampleBytes<1>, sampleBytes<2>, sampleBytes<3>, sampleBytes<4>,
    nullptr,    nullptr,        nullptr,        sampleBytes<8>,
};

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

qint64 rowBytes(int width, int depth) { return (qint64(width) * depth + 7) / 8; }

bool sharesStore(const Vellum &a, const Vellum &b)
{
    return a.isBigImage() && b.isBigImage() && a.scanLineEx(0) == b.scanLineEx(0);
}

bool hasRoomFor(const Vellum &image, const QSize &size, const Vellum &source)
{
    return image.size() == size &&
        image.storedBytesPerLine() >= rowBytes(size.width(), source.depth()) &&
        image.scanLineEx(size.height() - 1) && !sharesStore(image, source);
}

/// Makes \a dst fit for the result. \return false when memory runs out
bool prepare(Vellum &dst, const Vellum &src, const QSize &size)
{
    const bool anew = !hasRoomFor(dst, size, src);
    if (anew && !Vellum::create(dst, size.width(), size.height(), src.format()))
        return false;
    if (src.depth() == 1 || (anew && !vellum::image::isComplete(src)))
        dst.fill(0U);
    dst.setColorTable(src.colorTable());
    return dst.scanLineEx(0) != nullptr; // null when a shared buffer could not be copied
}

} // namespace

bool fast_scale_image(Vellum &dst, const Vellum &src, const QSize &size, const QRect &rect,
                      bool deepCopy, const QSize &refSize)
{
    const QRect part = vellum::scale::clipToTarget(rect, size);
    if (src.isNull() || part.isEmpty())
        return false;
    if (src.size() == size && part == QRect(QPoint(0, 0), size)) {
        dst = deepCopy ? src.copyEx() : src;
        return true;
    }
    if (&dst == &src) {
        Vellum source = src;
        source.copyCallback(src);
        return fast_scale_image(dst, source, size, rect, deepCopy, refSize);
    }

    if (!prepare(dst, src, part.size()))
        return false;

    const bool twoStages = !refSize.isEmpty() && refSize != src.size();
    const QSize reference = twoStages ? refSize : QSize(0, 0);
    const Mapping toColumn(src.width(), size.width(), reference.width());
    const Mapping toRow(src.height(), size.height(), reference.height());
    const Columns columns(toColumn, part.left(), part.width(), src);
    if (!columns.from)
        return false;

    const SampleRow sampleRow = kSampleRow[src.depth() / 8];
    const auto bytes = size_t(rowBytes(columns.count, src.depth()));
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
        if (in == lastIn)
            std::memcpy(out, lastOut, bytes);
        else
            sampleRow(out, in, next ? next : in, columns.from.get(), columns.count);
        lastIn = in;
        lastOut = out;
        src.set_progress(int((y + qint64(1)) * 100 / part.height())); // cannot be cancelled
    }
    return true;
}
