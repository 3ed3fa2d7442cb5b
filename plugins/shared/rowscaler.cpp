#include "shared/rowscaler.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace vellum::plugin {

namespace {

template <typename Sample>
Sample sampleAt(const uchar *row, qint64 index)
{
    Sample sample;
    std::memcpy(&sample, row + index * qint64(sizeof(Sample)), sizeof(Sample));
    return sample;
}

template <typename Sample>
void setSample(uchar *row, qint64 index, double value)
{
    const auto sample = Sample(value + 0.5);
    std::memcpy(row + index * qint64(sizeof(Sample)), &sample, sizeof(Sample));
}

/// Sums of samples. Those of 8 bits leave room for 2^24 whole pixels before they are weighted.
template <typename Sample>
struct SumOf;
template <>
struct SumOf<quint8>
{
    using Type = quint32;
};
template <>
struct SumOf<quint16>
{
    using Type = quint64;
};

/// Every sample by itself. \c Count is the number of samples, or 0 for one known at run time only.
template <typename SampleType, int Count>
class PlainPixels
{
public:
    using Sample = SampleType;

    explicit PlainPixels(const SampleLayout &layout) : m_count(layout.count) { }

    int count() const { return Count > 0 ? Count : m_count; }

    /// Adds the weighted samples under \a taps to \a sums.
    void sum(quint64 *sums, const uchar *row, const Taps &taps) const
    {
        for (int c = 0; c < count(); ++c) {
            const qint64 first = qint64(taps.first) * count() + c;
            const qint64 last = first + qint64(taps.count - 1) * count();
            quint64 total = quint64(sampleAt<Sample>(row, first)) * quint64(taps.firstWeight);
            if (taps.count > 1) {
                typename SumOf<Sample>::Type whole = 0;
                for (qint64 i = first + count(); i < last; i += count())
                    whole += sampleAt<Sample>(row, i);
                total += quint64(whole) * Taps::kWholePixel +
                    quint64(sampleAt<Sample>(row, last)) * quint64(taps.lastWeight);
            }
            sums[c] = total;
        }
    }

    void store(uchar *row, int x, const quint64 *sums, double weight) const
    {
        for (int c = 0; c < count(); ++c)
            setSample<Sample>(row, qint64(x) * count() + c, double(sums[c]) / weight);
    }

private:
    int m_count;
};

/// Four samples, one of them alpha, with which the others are weighted.
template <typename SampleType>
class AlphaPixels
{
public:
    using Sample = SampleType;

    explicit AlphaPixels(const SampleLayout &layout) : m_alpha(layout.alpha) { }

    static constexpr int count() { return 4; }

    void sum(quint64 *sums, const uchar *row, const Taps &taps) const
    {
        std::fill(sums, sums + 4, 0);
        for (int i = 0; i < taps.count; ++i) {
            const bool isLast = i > 0 && i == taps.count - 1;
            const int weight = i == 0 ? taps.firstWeight
                : isLast              ? taps.lastWeight
                                      : Taps::kWholePixel;
            const qint64 pixel = qint64(taps.first + i) * 4;
            const quint64 alpha = sampleAt<Sample>(row, pixel + m_alpha);
            for (int c = 0; c < 4; ++c) {
                const quint64 color = sampleAt<Sample>(row, pixel + c);
                sums[c] += (c == m_alpha ? alpha : color * alpha / kLess) * quint64(weight);
            }
        }
    }

    void store(uchar *row, int x, const quint64 *sums, double weight) const
    {
        constexpr double kMost = std::numeric_limits<Sample>::max();
        const auto alpha = double(sums[m_alpha]);
        for (int c = 0; c < 4; ++c) {
            const double value = c == m_alpha ? alpha / weight
                : alpha > 0                   ? double(sums[c]) * kLess / alpha
                                              : 0;
            setSample<Sample>(row, qint64(x) * 4 + c, qMin(value, kMost));
        }
    }

private:
    // Products of 16-bit samples leave too little room in 64 bits for large areas.
    static constexpr quint64 kLess = sizeof(Sample) == 1 ? 1 : 256;
    int m_alpha;
};

template <typename Pixels>
class Scaler : public RowScaler
{
public:
    Scaler(const SampleLayout &layout, const Axis &columns, const Axis &rows)
        : m_pixels(layout), m_columns(columns), m_rows(rows),
          m_sums(size_t(columns.count()) * size_t(m_pixels.count())), m_current(m_sums.size()),
          m_previous(rows.grows() ? m_sums.size() : 0)
    {
    }

    void add(const uchar *row) override
    {
        if (m_rows.grows())
            std::swap(m_previous, m_current);
        for (int x = 0; x < m_columns.count(); ++x)
            m_pixels.sum(&m_current[size_t(x) * size_t(m_pixels.count())], row, m_columns[x]);
        ++m_rowsSeen;
        if (!m_rows.grows())
            accumulate();
    }

    bool hasRow() const override
    {
        return m_next < m_rows.count() && m_rows[m_next].end() <= m_rowsSeen;
    }

    void take(uchar *out) override
    {
        if (m_rows.grows())
            blend();
        const auto rowWeight = double(m_rows[m_next].total());
        for (int x = 0; x < m_columns.count(); ++x) {
            m_pixels.store(out, x, &m_sums[size_t(x) * size_t(m_pixels.count())],
                           rowWeight * double(m_columns[x].total()));
        }
        ++m_next;
        if (!m_rows.grows()) {
            std::fill(m_sums.begin(), m_sums.end(), 0);
            accumulate(); // the row that this result row shares with the next
        }
    }

private:
    /// Adds the current row to the sums of the next result row, if it is under it.
    void accumulate()
    {
        const int y = m_rowsSeen - 1;
        if (m_next == m_rows.count() || y < m_rows[m_next].first || y >= m_rows[m_next].end())
            return;
        const Taps &taps = m_rows[m_next];
        const bool isLast = taps.count > 1 && y == taps.end() - 1;
        const auto weight = quint64(y == taps.first ? taps.firstWeight
                                        : isLast    ? taps.lastWeight
                                                    : Taps::kWholePixel);
        for (size_t i = 0; i < m_sums.size(); ++i)
            m_sums[i] += m_current[i] * weight;
    }

    /// Sums of the next result row from the last two rows.
    void blend()
    {
        const Taps &taps = m_rows[m_next];
        const std::vector<quint64> &first = taps.first == m_rowsSeen - 1 ? m_current : m_previous;
        for (size_t i = 0; i < m_sums.size(); ++i) {
            m_sums[i] = first[i] * quint64(taps.firstWeight) +
                (taps.count > 1 ? m_current[i] * quint64(taps.lastWeight) : 0);
        }
    }

    Pixels m_pixels;
    Axis m_columns;
    Axis m_rows;
    std::vector<quint64> m_sums; // of the next result row
    std::vector<quint64> m_current; // the last source row, scaled along the columns
    std::vector<quint64> m_previous; // the one before, when rows are blended
    int m_rowsSeen = 0;
    int m_next = 0; // result row
};

template <typename Sample>
std::unique_ptr<RowScaler> makeFor(const SampleLayout &layout, const Axis &columns,
                                   const Axis &rows)
{
    if (layout.alpha >= 0)
        return std::make_unique<Scaler<AlphaPixels<Sample>>>(layout, columns, rows);
    switch (layout.count) {
    case 1:
        return std::make_unique<Scaler<PlainPixels<Sample, 1>>>(layout, columns, rows);
    case 3:
        return std::make_unique<Scaler<PlainPixels<Sample, 3>>>(layout, columns, rows);
    case 4:
        return std::make_unique<Scaler<PlainPixels<Sample, 4>>>(layout, columns, rows);
    default:
        return std::make_unique<Scaler<PlainPixels<Sample, 0>>>(layout, columns, rows);
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
