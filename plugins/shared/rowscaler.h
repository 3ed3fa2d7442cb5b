// Rows averaged as they come: a smaller (or larger) picture without ever holding the whole one.
#pragma once

#include "shared/axis.h"
#include "shared/pixelrows.h"

#include <memory>

namespace vellum::plugin {

/// Takes source rows from the top down and gives result rows as soon as they are complete.
///
/// Holds a row of sums and one or two of pixels, of the source's width. Colours are weighted with
/// their alpha.
class RowScaler
{
    Q_DISABLE_COPY(RowScaler)

public:
    /// \param layout   of source and result pixels; count at least 1
    /// \param columns  relative to the first pixel of the rows that add() gets
    /// \param rows     relative to the first row that add() gets
    static std::unique_ptr<RowScaler> make(const SampleLayout &layout, const Axis &columns,
                                           const Axis &rows);
    virtual ~RowScaler() = default;

    /// Takes the next source row. The result rows that are there must have been taken.
    virtual void add(const uchar *row) = 0;

    /// Whether the next result row is complete.
    virtual bool hasRow() const = 0;

    /// Writes the next result row, which must be complete, to \a out.
    virtual void take(uchar *out) = 0;

protected:
    RowScaler() = default;
};

} // namespace vellum::plugin
