#include <vellum/io/rowhandover_p.h>

namespace vellum::io {

bool RowHandover::waitForRoom(int row)
{
    Lock lock(m_mutex);
    m_made = qMax(m_made, row);
    m_rowsMade.notify_one();
    m_roomMade.wait(lock, [&] { return row - m_free < m_window || m_isStopped; });
    return !m_isStopped;
}

void RowHandover::finish(int rows)
{
    const Lock lock(m_mutex);
    m_made = rows;
    m_rowsMade.notify_one();
}

void RowHandover::release(int row)
{
    m_released = qMax(m_released, row);
    const Lock lock(m_mutex);
    // The maker is not woken for every single row: each time would cost two changes of threads.
    if (m_released - m_free >= qMax(1, m_window / 16))
        letMakerKnow(lock);
}

void RowHandover::letMakerKnow(const Lock &)
{
    m_free = m_released;
    m_roomMade.notify_one();
}

void RowHandover::stop(Side side)
{
    const Lock lock(m_mutex);
    if (m_isStopped)
        return;
    m_isStopped = true;
    m_stopper = side;
    m_rowsMade.notify_one();
    m_roomMade.notify_one();
}

bool RowHandover::isStopped() const
{
    const Lock lock(m_mutex);
    return m_isStopped;
}

bool RowHandover::isStoppedBy(Side side) const
{
    const Lock lock(m_mutex);
    return m_isStopped && m_stopper == side;
}

} // namespace vellum::io
