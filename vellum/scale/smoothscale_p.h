// One smooth scaling: its tables, its kernels, and the work on its result rows.
#pragma once

#include <vellum/scale/columns_p.h>
#include <vellum/scale/rowkernels_p.h>
#include <vellum/scale/scaleinfo_p.h>
#include <vellum/scale/sourcerows_p.h>
#include <vellum/scale/table_p.h>

namespace vellum::scale {

/// Addresses of result rows, by their place in the whole target.
using ResultRows = Table<uchar *>;

class SmoothScale
{
public:
    /// Prepares scaling \a source, read as \a workFormat, to \a size, for the part in \a rect.
    /// \return false when the sizes or rows are invalid or memory runs out
    [[nodiscard]] bool make(const Vellum &source, QImage::Format workFormat, const QSize &size,
                            const QRect &rect);

    /// Scales the \a count rows from \a first on, on the global thread pool when that pays.
    /// \return false when memory runs out
    [[nodiscard]] bool run(const ResultRows &result, int first, int count) const;

    /// Scales all rows that \a result holds.
    [[nodiscard]] bool run(const ResultRows &result) const
    {
        return run(result, result.first(), result.count());
    }

private:
    friend class SectionScaler;

    std::unique_ptr<ScaleInfo> m_info;
    Source m_source;
    const RowKernels *m_kernels = nullptr; // null: the depth has no kernels, nothing is drawn
    bool m_halves = false; // both axes shrink to exactly one half
    AreaTables m_area; // of a width that shrinks
    BlendTables m_blend; // of a width that grows
};

/// Finds the rows of \a image, which become the rows of a target from \a first on.
/// \return false when a row is missing or memory runs out
[[nodiscard]] bool findResultRows(ResultRows &rows, Vellum &image, int first);

} // namespace vellum::scale
