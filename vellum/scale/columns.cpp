#include <vellum/scale/columns_p.h>

#include <algorithm>

namespace vellum::scale {

namespace {

constexpr int kMostPairs = 4;

/// Weight of pixel \a i of \a span, counted from its first.
int weightOf(const Span &span, int whole, int i)
{
    if (i < 0 || i > span.middle + 1)
        return 0;
    return i == 0 ? span.first : i <= span.middle ? whole : span.last;
}

} // namespace

bool AreaTables::make(const ScaleInfo &info)
{
    const int count = info.xpoints.count();
    m_spans = allocate<Span>(count);
    if (!m_spans)
        return false;
    for (int i = 0; i < count; ++i) {
        const int x = info.xpoints.first() + i;
        Span span = areaSpan(info.xpoints[x], info.xapoints[x]);
        // One whole pixel, perhaps the last of its row: let it be the second of two.
        if (span.last == 0 && span.start > 0)
            span = {span.start - 1, 0, 0, kWhole};
        m_spans[i] = span;
    }
    m_columns.spans = m_spans.get();
    m_columns.count = count;
    m_columns.whole = wholeWeight(info.xapoints[info.xapoints.first()]);
    return true;
}

bool AreaTables::makePairs(const ScaleInfo &info)
{
    int most = 0; // pixels of a column
    int leastMiddle = info.sw;
    for (int i = 0; i < m_columns.count; ++i) {
        most = std::max(most, m_spans[i].middle + 2);
        leastMiddle = std::min(leastMiddle, m_spans[i].middle);
    }
    const int pairs = (most + 1) / 2;
    if (pairs > kMostPairs)
        return leastMiddle >= 4;
    if (info.sw < 2 * pairs)
        return false;

    m_pairStarts = allocate<int>(m_columns.count);
    m_pairWeights = allocate<quint32>(qint64(m_columns.count) * pairs);
    if (!m_pairStarts || !m_pairWeights)
        return false;
    quint32 *weights = m_pairWeights.get();
    for (int i = 0; i < m_columns.count; ++i) {
        const Span &span = m_spans[i];
        const int start = std::min(span.start, info.sw - 2 * pairs);
        for (int k = start; k < start + 2 * pairs; k += 2) {
            const int a = weightOf(span, m_columns.whole, k - span.start);
            const int b = weightOf(span, m_columns.whole, k + 1 - span.start);
            *weights++ = quint32(b) << 16 | quint32(a);
        }
        m_pairStarts[i] = start;
    }
    m_columns.pairs = pairs;
    m_columns.pairStarts = m_pairStarts.get();
    m_columns.pairWeights = m_pairWeights.get();
    return true;
}

bool BlendTables::make(const ScaleInfo &info)
{
    const int count = info.xpoints.count();
    m_starts = allocate<int>(count);
    m_weights = allocate<quint16>(count);
    if (!m_starts || !m_weights)
        return false;
    const int first = info.xpoints.first();
    m_firstSource = info.xpoints[first];
    for (int i = 0; i < count; ++i) {
        m_starts[i] = info.xpoints[first + i] - m_firstSource;
        m_weights[i] = quint16(info.xapoints[first + i]);
    }
    m_sourceCount = std::min(m_starts[count - 1] + 2, info.sw - m_firstSource);
    m_columns = {m_starts.get(), m_weights.get(), count};
    return true;
}

} // namespace vellum::scale
