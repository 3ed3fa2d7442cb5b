#include "shared/rowscaler.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace vellum::plugin {

namespace {

template <typename Sample>
Sample sampleAt(const uchar *row, size_t index)
{
    Sample sample;
    std::memcpy(&sample, row + index * sizeof(Sample), sizeof(Sample));
    return sample;
}

template <typename Sample>
void setSample(uchar *row, size_t index, Sample sample)
{
    std::memcpy(row + index * sizeof(Sample), &sample, sizeof(Sample));
}

/// A sample times a weight of at most Taps::kWholePixel. Products of bytes stay in 16 bits, so
/// that twice as many fit a vector.
quint16 weighted(quint8 sample, quint16 weight) { return quint16(sample * weight); }
quint32 weighted(quint16 sample, quint16 weight) { return quint32(sample) * weight; }

/// Sums of 32 bits leave the sign bit alone: processors convert signed numbers faster.
double asDouble(quint32 sum) { return double(qint32(sum)); }
double asDouble(quint64 sum) { return double(sum); }

/// A weighted mean as a sample, halves rounded up.
/// \param inverse  of the sum of the weights
template <typename Sample, typename Sum>
Sample mean(Sum sum, double inverse)
{
    // Sums are whole numbers: the quarter keeps halves from falling below for the inaccuracy of
    // the inverse, and lifts nothing else.
    return Sample(asDouble(sum) * inverse + (0.5 + 0.25 * inverse));
}

/// Every sample by itself. \c Count is the number of samples, or 0 for one known at run time only.
template <typename SampleType, int Count>
class PlainPixels
{
public:
    using Sample = SampleType;
    static constexpr quint64 kMost = std::numeric_limits<Sample>::max(); // of what is summed

    explicit PlainPixels(const SampleLayout &layout) : m_count(layout.count) { }

    size_t count() const { return size_t(Count > 0 ? Count : m_count); }

    /// Puts the weighted samples of \a pixels pixels in the place of \a sums, or adds them.
    template <bool add, typename Sum>
    void sumRows(Sum *sums, const uchar *row, size_t pixels, quint16 weight) const
    {
        const size_t samples = pixels * count();
        for (size_t i = 0; i < samples; ++i)
            sums[i] = (add ? sums[i] : 0) + weighted(sampleAt<Sample>(row, i), weight);
    }

    /// Writes pixel \a x from its \a sums. \a inverse is that of the sum of the weights.
    template <typename Sum>
    void store(uchar *row, size_t x, const Sum *sums, double inverse) const
    {
        for (size_t c = 0; c < count(); ++c)
            setSample(row, x * count() + c, mean<Sample>(sums[c], inverse));
    }

private:
    int m_count;
};

/// Four samples, one of them alpha, with which the others are weighted.
template <typename SampleType, int Alpha>
class AlphaPixels
{
    // Products of 16-bit samples leave too little room in 64 bits for large areas.
    static constexpr quint32 kLess = sizeof(SampleType) == 1 ? 1 : 256;
    static constexpr quint32 kMostSample = std::numeric_limits<SampleType>::max();

public:
    using Sample = SampleType;
    static constexpr quint64 kMost = kMostSample * kMostSample / kLess;

    explicit AlphaPixels(const SampleLayout &) { }

    static constexpr size_t count() { return 4; }

    template <bool add, typename Sum>
    void sumRows(Sum *sums, const uchar *row, size_t pixels, quint16 weight) const
    {
        for (size_t i = 0; i < pixels * 4; i += 4) {
            const quint32 alpha = sampleAt<Sample>(row, i + Alpha);
            for (size_t c = 0; c < 4; ++c) {
                const quint32 sample = sampleAt<Sample>(row, i + c);
                const quint32 value = c == Alpha ? alpha : sample * alpha / kLess;
                sums[i + c] = (add ? sums[i + c] : 0) + value * weight;
            }
        }
    }

    template <typename Sum>
    void store(uchar *row, size_t x, const Sum *sums, double inverse) const
    {
        const auto alpha = double(sums[Alpha]);
        for (size_t c = 0; c < 4; ++c) {
            const double color = alpha > 0 ? double(sums[c]) * kLess / alpha + 0.5 : 0;
            setSample(row, x * 4 + c,
                      c == Alpha ? mean<Sample>(sums[c], inverse)
                                 : Sample(qMin(color, double(kMostSample))));
        }
    }
};

/// Sums down the columns, in \a RowSum, as rows come; along a row, in \a Sum, only once per result
/// row. That leaves little to be done per source pixel, and that in a loop over plain arrays.
template <typename Pixels, typename RowSum, typename Sum>
class Scaler : public RowScaler
{
public:
    Scaler(const SampleLayout &layout, const Axis &columns, const Axis &rows)
        : m_pixels(layout), m_first(size_t(columns.begin())),
          m_width(size_t(columns.end() - columns.begin())),
          m_columns(columns.relativeTo(columns.begin())), m_rows(rows),
          m_sums(m_width * m_pixels.count()), m_last(m_sums.size() * sizeof(Sample)),
          m_previous(rows.grows() ? m_last.size() : 0)
    {
        m_inverses.reserve(size_t(columns.count()));
        for (int x = 0; x < columns.count(); ++x)
            m_inverses.push_back(1 / double(columns[x].total()));
    }

    void add(const uchar *row) override
    {
        row += m_first * m_pixels.count() * sizeof(Sample);
        const int y = m_rowsSeen++;
        if (m_rows.grows()) {
            std::swap(m_previous, m_last);
            keep(row);
        } else if (isUnderNext(y)) {
            m_rows[m_next].end() == m_rowsSeen ? keep(row) : sum(row, weightOf(y));
        }
    }

    bool hasRow() const override
    {
        return m_next < m_rows.count() && m_rows[m_next].end() <= m_rowsSeen;
    }

    void take(uchar *out) override
    {
        const Taps &taps = m_rows[m_next];
        const int y = m_rowsSeen - 1;
        if (m_rows.grows() && taps.first < y)
            sum(m_previous.data(), taps.firstWeight);
        if (!m_rows.grows() || taps.end() == m_rowsSeen)
            sum(m_last.data(), weightOf(y));
        writeRow(out, 1 / double(taps.total()));
        ++m_next;
        m_isEmpty = true;
        if (!m_rows.grows() && isUnderNext(y) && m_rows[m_next].end() > m_rowsSeen)
            sum(m_last.data(), weightOf(y)); // the row is shared by two result rows
    }

private:
    using Sample = typename Pixels::Sample;

    bool isUnderNext(int y) const
    {
        return m_next < m_rows.count() && y >= m_rows[m_next].first && y < m_rows[m_next].end();
    }

    /// Of source row \a y under the next result row.
    int weightOf(int y) const
    {
        const Taps &taps = m_rows[m_next];
        return y == taps.first    ? taps.firstWeight
            : y == taps.end() - 1 ? taps.lastWeight
                                  : Taps::kWholePixel;
    }

    void keep(const uchar *row) { std::memcpy(m_last.data(), row, m_last.size()); }

    void sum(const uchar *row, int weight)
    {
        if (m_isEmpty)
            m_pixels.template sumRows<false>(m_sums.data(), row, m_width, quint16(weight));
        else
            m_pixels.template sumRows<true>(m_sums.data(), row, m_width, quint16(weight));
        m_isEmpty = false;
    }

    void writeRow(uchar *out, double inverse) const
    {
        const size_t count = m_pixels.count();
        std::vector<Sum> many(count > kFew ? count : 0);
        Sum few[kFew];
        Sum *const sums = many.empty() ? few : many.data();
        for (int x = 0; x < m_columns.count(); ++x) {
            sumAlong(sums, m_columns[x]);
            m_pixels.store(out, size_t(x), sums, inverse * m_inverses[size_t(x)]);
        }
    }

    void sumAlong(Sum *sums, const Taps &taps) const
    {
        const size_t count = m_pixels.count();
        const RowSum *const first = &m_sums[size_t(taps.first) * count];
        const RowSum *const last = first + size_t(taps.count - 1) * count;
        for (size_t c = 0; c < count; ++c)
            sums[c] = 0;
        for (const RowSum *p = first + count; p < last; p += count) {
            for (size_t c = 0; c < count; ++c)
                sums[c] += p[c];
        }
        const auto lastWeight = taps.count > 1 ? Sum(taps.lastWeight) : Sum(0);
        for (size_t c = 0; c < count; ++c) {
            sums[c] = sums[c] * Sum(Taps::kWholePixel) + first[c] * Sum(taps.firstWeight) +
                last[c] * lastWeight;
        }
    }

    static constexpr size_t kFew = 4; // samples of a pixel without extra channels

    Pixels m_pixels;
    size_t m_first; // source pixel needed
    size_t m_width; // source pixels needed
    Axis m_columns; // counted from m_first
    std::vector<double> m_inverses; // of their weights
    Axis m_rows;
    std::vector<RowSum> m_sums; // of the source rows under the next result row
    bool m_isEmpty = true; // there are none yet, whatever m_sums holds
    std::vector<uchar> m_last; // source row, when its result row is complete
    std::vector<uchar> m_previous; // the one before, when rows are blended
    int m_rowsSeen = 0;
    int m_next = 0; // result row
};

quint64 largestTotal(const Axis &axis)
{
    qint64 largest = 0;
    for (int i = 0; i < axis.count(); ++i)
        largest = qMax(largest, axis[i].total());
    return quint64(largest);
}

/// With the smallest sums that hold what must be summed.
template <typename Pixels>
std::unique_ptr<RowScaler> makeScaler(const SampleLayout &layout, const Axis &columns,
                                      const Axis &rows)
{
    constexpr quint64 kMost32 = std::numeric_limits<qint32>::max(); // see asDouble()
    const quint64 alongColumns = Pixels::kMost * largestTotal(rows);
    if (alongColumns > kMost32)
        return std::make_unique<Scaler<Pixels, quint64, quint64>>(layout, columns, rows);
    if (alongColumns * largestTotal(columns) > kMost32)
        return std::make_unique<Scaler<Pixels, quint32, quint64>>(layout, columns, rows);
    return std::make_unique<Scaler<Pixels, quint32, quint32>>(layout, columns, rows);
}

template <typename Sample>
std::unique_ptr<RowScaler> makeFor(const SampleLayout &layout, const Axis &columns,
                                   const Axis &rows)
{
    if (layout.alpha == 0)
        return makeScaler<AlphaPixels<Sample, 0>>(layout, columns, rows);
    if (layout.alpha > 0)
        return makeScaler<AlphaPixels<Sample, 3>>(layout, columns, rows);
    switch (layout.count) {
    case 1:
        return makeScaler<PlainPixels<Sample, 1>>(layout, columns, rows);
    case 3:
        return makeScaler<PlainPixels<Sample, 3>>(layout, columns, rows);
    case 4:
        return makeScaler<PlainPixels<Sample, 4>>(layout, columns, rows);
    default:
        return makeScaler<PlainPixels<Sample, 0>>(layout, columns, rows);
    }
}

} // namespace

std::unique_ptr<RowScaler> RowScaler::make(const SampleLayout &layout, const Axis &columns,
                                           const Axis &rows)
{
    return layout.bytes == 1 ? makeFor<quint8>(layout, columns, rows)
                             : makeFor<quint16>(layout, columns, rows);
}

} // namespace vellum::plugin
