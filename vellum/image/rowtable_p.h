// The addresses of all rows of an image, for loops that visit rows again and again.
#pragma once

#include <vellum/image/vellum.h>

#include <memory>
#include <new>

namespace vellum::image {

/// Where the rows of a \a source lie, plain or big, valid until its pixels change hands.
///
/// Rows that the store of a big image lacks are rows of zeros, so that no entry is null.
class RowTable
{
public:
    explicit RowTable(const Vellum &source)
        : m_rows(new (std::nothrow) const uchar *[size_t(source.height())])
    {
        for (int y = 0; m_rows && y < source.height(); ++y) {
            m_rows[size_t(y)] = source.scanLineEx(y);
            if (!m_rows[size_t(y)] && !substitute(source, y))
                m_rows.reset();
        }
    }

    /// False when memory ran out: the table must not be used.
    bool isValid() const { return m_rows != nullptr; }

    const uchar *operator[](int y) const { return m_rows[size_t(y)]; }
    const uchar *const *data() const { return m_rows.get(); }

private:
    bool substitute(const Vellum &source, int y)
    {
        if (!m_zeros)
            m_zeros.reset(new (std::nothrow) uchar[size_t(source.bytesPerLine())]());
        m_rows[size_t(y)] = m_zeros.get();
        return m_zeros != nullptr;
    }

    std::unique_ptr<const uchar *[]> m_rows;
    std::unique_ptr<uchar[]> m_zeros;
};

} // namespace vellum::image
