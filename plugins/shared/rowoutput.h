// The rows of a result, in the order in which a file has them.
#pragma once

#include "shared/target.h"

namespace vellum::plugin {

class RowOutput
{
public:
    /// \param bottomUp  whether the last row comes first
    /// \param channels  row 0 of the image's extra channels, \a stride bytes to the next; may be
    ///                  null
    RowOutput(ReadTarget &target, const QSize &size, bool bottomUp, uchar *channels, int stride)
        : m_target(target), m_size(size), m_bottomUp(bottomUp), m_channels(channels),
          m_stride(stride)
    {
    }

    int width() const { return m_size.width(); }
    int height() const { return m_size.height(); }
    int rowsDone() const { return m_done; }

    /// The next row, after polling; null means stop.
    uchar *row() const
    {
        return m_bottomUp ? m_target.rowFromBelow(index(m_done)) : m_target.row(m_done);
    }
    /// Its extra channels; null when none are kept.
    uchar *extra() const
    {
        return m_channels ? m_channels + qint64(index(m_done)) * m_stride : nullptr;
    }
    /// The next row is complete.
    void next() { ++m_done; }

    /// Row \a i in file order without polling.
    uchar *unpolledRow(int i) const { return m_target.unpolledRow(index(i)); }

    /// Polls with \a part of \a parts done. \return false for stop
    [[nodiscard]] bool poll(qint64 part, qint64 parts) const
    {
        return m_target.poll(int(part * height() / parts));
    }

private:
    int index(int i) const { return m_bottomUp ? m_size.height() - 1 - i : i; }

    ReadTarget &m_target;
    QSize m_size;
    bool m_bottomUp;
    uchar *m_channels;
    int m_stride;
    int m_done = 0;
};

} // namespace vellum::plugin
