#include <vellum/scale/sectionscaler_p.h>

#include <cstring>

namespace vellum::scale {

namespace {

/// The source rows under a result row of a height that shrinks; all have weight.
struct AreaRows
{
    int first;
    int count;

    AreaRows(const ScaleInfo &info, int y)
        : first(info.ypoints[y]), m_span(areaSpan(first, info.yapoints[y])),
          m_whole(wholeWeight(info.yapoints[y]))
    {
        count = 1 + m_span.middle + (m_span.last > 0 ? 1 : 0);
    }

    /// Weight of row \a first + \a i.
    int weight(int i) const
    {
        return i == 0 ? m_span.first : i <= m_span.middle ? m_whole : m_span.last;
    }

private:
    Span m_span;
    int m_whole;
};

} // namespace

bool SectionScaler::run(int yStart, int yEnd)
{
    switch (m_scale.m_info->xup_yup) {
    case kXUp | kYUp:
        return upXY(yStart, yEnd);
    case kXUp:
        return upXDownY(yStart, yEnd);
    case kYUp:
        return downXUpY(yStart, yEnd);
    default:
        return m_scale.m_halves ? halveXY(yStart, yEnd) : downXY(yStart, yEnd);
    }
}

bool SectionScaler::downXY(int yStart, int yEnd)
{
    const AreaColumns &columns = m_scale.m_area.columns();
    const qint64 sumBytes = qint64(columns.count) * m_kernels.sumBytes;
    const auto sums = allocate<uchar>(sumBytes);
    if (!sums)
        return false;
    std::memset(sums.get(), 0, size_t(sumBytes));

    bool shared = false; // whether the result row above has added the first source row
    for (int y = yStart; y < yEnd; ++y) {
        const AreaRows rows(m_info, y);
        for (int i = shared ? 1 : 0; i < rows.count - 1;) {
            const uchar *group[RowGroup::kMost]; // of equal weight
            int count = 0;
            const int weight = rows.weight(i);
            do {
                group[count] = m_rows.row(rows.first + i);
                if (!group[count++])
                    return false;
                ++i;
            } while (count < RowGroup::kMost && i < rows.count - 1 && rows.weight(i) == weight);
            m_kernels.addArea(sums.get(), group, count, columns, weight);
        }

        const int last = rows.first + rows.count - 1;
        const int weight = shared && rows.count == 1 ? 0 : rows.weight(rows.count - 1);
        shared = y + 1 < yEnd && m_info.ypoints[y + 1] == last;
        const int nextWeight = shared ? AreaRows(m_info, y + 1).weight(0) : 0;
        const uchar *const row = m_rows.row(last);
        if (!row)
            return false;
        m_kernels.finishArea(m_result[y], sums.get(), row, columns, weight, nextWeight);
    }
    return true;
}

bool SectionScaler::halveXY(int yStart, int yEnd)
{
    const Table<int> &xpoints = m_info.xpoints;
    for (int y = yStart; y < yEnd; ++y) {
        const uchar *const above = m_rows.row(m_info.ypoints[y]);
        const uchar *const below = m_rows.row(m_info.ypoints[y] + 1);
        if (!above || !below)
            return false;
        const qptrdiff offset = qptrdiff(xpoints[xpoints.first()]) * m_kernels.pixelBytes;
        m_kernels.halve(m_result[y], above + offset, below + offset, xpoints.count());
    }
    return true;
}

bool SectionScaler::upXDownY(int yStart, int yEnd)
{
    const BlendTables &blend = m_scale.m_blend;
    const int count = blend.sourceCount();
    const qint64 sumBytes = qint64(count + 1) * m_kernels.sumBytes;
    const auto sums = allocate<uchar>(sumBytes);
    if (!sums)
        return false;
    std::memset(sums.get(), 0, size_t(sumBytes)); // the pixel behind the last has no other value

    for (int y = yStart; y < yEnd; ++y) {
        const AreaRows rows(m_info, y);
        for (int i = 0; i < rows.count; i += RowGroup::kMost) {
            RowGroup group = {};
            const int here = qMin(rows.count - i, RowGroup::kMost);
            group.count = here <= 2 ? 2 : RowGroup::kMost;
            group.add = i > 0;
            for (int k = 0; k < group.count; ++k) {
                const bool used = k < here; // otherwise any row will do
                group.rows[k] = firstPixel(rows.first + i + (used ? k : 0));
                group.weights[k] = used ? rows.weight(i + k) : 0;
                if (!group.rows[k])
                    return false;
            }
            m_kernels.sumRows(sums.get(), group, count);
        }
        m_kernels.blendSumColumns(m_result[y], sums.get(), blend.columns());
    }
    return true;
}

bool SectionScaler::downXUpY(int yStart, int yEnd)
{
    const AreaColumns &columns = m_scale.m_area.columns();
    const qint64 sumBytes = qint64(columns.count) * m_kernels.sumBytes;
    const Array<uchar> sums[2] = {allocate<uchar>(sumBytes), allocate<uchar>(sumBytes)};
    if (!sums[0] || !sums[1])
        return false;

    int summed[2] = {-1, -1}; // which rows the sums are of
    const auto sumsOf = [&](int sourceRow) -> const uchar * {
        const int slot = sourceRow % 2;
        if (summed[slot] != sourceRow) {
            const uchar *const row = m_rows.row(sourceRow);
            if (!row)
                return nullptr;
            m_kernels.sumColumns(sums[slot].get(), row, columns);
            summed[slot] = sourceRow;
        }
        return sums[slot].get();
    };

    for (int y = yStart; y < yEnd; ++y) {
        const int weight = m_info.yapoints[y];
        const uchar *const above = sumsOf(m_info.ypoints[y]);
        const uchar *const below = weight > 0 ? sumsOf(m_info.ypoints[y] + 1) : above;
        if (!above || !below)
            return false;
        m_kernels.blendSumRows(m_result[y], above, below, weight, columns.count);
    }
    return true;
}

bool SectionScaler::upXY(int yStart, int yEnd)
{
    const BlendTables &blend = m_scale.m_blend;
    const int count = blend.sourceCount();
    const qint64 bytes = qint64(count + 1) * m_kernels.pixelBytes;
    const auto blended = allocate<uchar>(bytes);
    if (!blended)
        return false;
    std::memset(blended.get(), 0, size_t(bytes)); // the pixel behind the last has no other value

    for (int y = yStart; y < yEnd; ++y) {
        const int sourceRow = m_info.ypoints[y];
        const int weight = m_info.yapoints[y];
        if (y > yStart && m_info.ypoints[y - 1] == sourceRow && m_info.yapoints[y - 1] == weight) {
            std::memcpy(m_result[y], m_result[y - 1],
                        size_t(blend.columns().count) * size_t(m_kernels.pixelBytes));
            continue;
        }
        const uchar *const above = firstPixel(sourceRow);
        const uchar *const below = weight > 0 ? firstPixel(sourceRow + 1) : above;
        if (!above || !below)
            return false;
        if (weight > 0)
            m_kernels.blendRows(blended.get(), above, below, weight, count);
        else
            std::memcpy(blended.get(), above, size_t(count) * size_t(m_kernels.pixelBytes));
        m_kernels.blendColumns(m_result[y], blended.get(), blend.columns());
    }
    return true;
}

/// The first pixel of row \a y that a width that grows needs; null when memory runs out.
const uchar *SectionScaler::firstPixel(int y)
{
    const uchar *const row = m_rows.row(y);
    return row ? row + qptrdiff(m_scale.m_blend.firstSource()) * m_kernels.pixelBytes : nullptr;
}

} // namespace vellum::scale
