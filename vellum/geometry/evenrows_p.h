// Which rows of an image can be reached from each other by a stride.
#pragma once

#include <vellum/image/rowtable_p.h>

#include <memory>
#include <new>

namespace vellum::geometry {

/// Groups of rows that lie at one distance from each other: all rows of a plain image, those of a
/// block in a big one.
class EvenRows
{
public:
    /// Where memory runs out no two rows are of one group.
    EvenRows(const image::RowTable &rows, int height)
        : m_groups(new (std::nothrow) int[size_t(height)])
    {
        const auto distance = [&rows](int y) {
            return qptrdiff(quintptr(rows[y]) - quintptr(rows[y - 1]));
        };
        m_stride = height > 1 ? distance(1) : 0;
        for (int y = 0; m_groups && y < height; ++y) {
            const bool first = y == 0;
            const bool begins = !first && distance(y) != m_stride;
            m_groups[size_t(y)] = first ? 0 : m_groups[size_t(y - 1)] + (begins ? 1 : 0);
        }
    }

    /// From one row to the next of a group, in bytes; can be negative or 0.
    qptrdiff stride() const { return m_stride; }

    /// True when the rows \a top to \a bottom are of one group.
    bool contains(qint64 top, qint64 bottom) const
    {
        return m_groups && m_groups[size_t(top)] == m_groups[size_t(bottom)];
    }

private:
    std::unique_ptr<int[]> m_groups; // number of each row's
    qptrdiff m_stride = 0;
};

} // namespace vellum::geometry
