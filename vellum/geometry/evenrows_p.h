// Which rows of an image can be reached from each other by a stride.
#pragma once

#include <vellum/image/rowruns_p.h>

#include <algorithm>
#include <memory>
#include <new>

namespace vellum::geometry {

/// The runs of rows of a \a source that lie at one distance, for those who start anywhere in them:
/// all rows of a plain image, those of a block in a big one.
class EvenRows
{
public:
    /// Where memory runs out no two rows are of one run.
    explicit EvenRows(const Vellum &source)
        : m_runs(new (std::nothrow) int[size_t(source.height())])
    {
        for (int y = 0; m_runs && y < source.height();) {
            const auto run = image::RowRuns::from(source, y, image::Walk::Down);
            std::fill_n(m_runs.get() + y, run.count, y);
            if (run.first)
                m_stride = run.stride;
            y += run.count;
        }
    }

    /// From one row to the next in all runs, in bytes.
    qptrdiff stride() const { return m_stride; }

    /// True when the rows \a top to \a bottom are of one run.
    bool contains(qint64 top, qint64 bottom) const
    {
        return m_runs && m_runs[size_t(top)] == m_runs[size_t(bottom)];
    }

private:
    std::unique_ptr<int[]> m_runs; // by row, the first row of its run
    qptrdiff m_stride = 0;
};

} // namespace vellum::geometry
