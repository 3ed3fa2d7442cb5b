// Rows that pass through a conversion on their way, strip by strip.
#pragma once

#include <vellum/image/rowwindow_p.h>
#include <vellum/io/handleroptions.h>
#include <vellum/io/streampicture.h>

namespace vellum::io {

/// Converts the rows of a window into another window, in the order in which they come.
class StripRows
{
    Q_DISABLE_COPY(StripRows)

public:
    /// \param source   shows \a window and describes the picture; both must outlive this
    /// \param order    in which rows come; not None
    /// \param convert  makes of every strip one of the same size; all of one format
    StripRows(const Vellum &source, const image::RowWindow &window, RowOrder order,
              RowConversion convert);

    /// Rows that must be there before the next strip can be converted, counted in their order; the
    /// height of the picture when all have been converted.
    int rowsNeeded() const { return end(m_strips + 1); }

    int rowsConverted() const { return end(m_strips); }

    /// Converts the next strip.
    /// \return false when the conversion gave nothing, or nothing that fits, or memory runs out
    [[nodiscard]] bool convertNext();

    /// Shows the rows that have been converted, the last kRowsBehind of them at least, with what
    /// the conversion of the first strip made of the description. Null before that.
    Vellum &image() { return m_image; }

private:
    int end(int strips) const;
    bool begin(const Vellum &strip);

    const Vellum &m_source;
    const int m_stripRows;
    const RowOrder m_order;
    const RowConversion m_convert;
    int m_strips = 0; // that have been converted
    image::RowWindow m_window;
    Vellum m_image;
};

} // namespace vellum::io
