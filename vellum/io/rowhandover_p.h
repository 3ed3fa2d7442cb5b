// Rows on their way from the thread that makes them to the one that uses them.
#pragma once

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace vellum::io {

/// Keeps two threads that go through the rows of one window apart: the maker waits until there is
/// room, the user until there are rows. Rows are numbered in the order in which they are made.
///
/// Either side may stop the other, which then finds that out at its next call, or at once when it
/// is waiting.
class RowHandover
{
    Q_DISABLE_COPY(RowHandover)

public:
    enum class Side { Maker, User };

    /// \param window  rows that there is room for at the same time
    explicit RowHandover(int window) : m_window(window) { }

    /// \name The maker's
    /// @{
    /// All rows before \a row have been made. Waits until there is room for it.
    /// \return false when the other side has stopped
    [[nodiscard]] bool waitForRoom(int row);
    void finish(int rows); ///< All \a rows rows have been made, and nothing follows.
    /// @}

    /// \name The user's
    /// @{
    /// Rows before \a row are not needed any more. It may take until the next wait before the
    /// maker gets to know.
    void release(int row);

    /// Waits until \a rows rows have been made; for none, until the first is about to be.
    /// \param idle  called now and then while it waits, with the number of rows made so far;
    ///              answers true to go on. When it says otherwise, the user's side has stopped.
    /// \return false when a side has stopped
    template <typename Idle>
    [[nodiscard]] bool waitForRows(int rows, Idle idle);
    /// @}

    /// Ends the handover, unless the other side has done that before.
    void stop(Side side);
    bool isStopped() const;
    bool isStoppedBy(Side side) const; ///< The first to stop.

private:
    using Lock = std::unique_lock<std::mutex>;
    void letMakerKnow(const Lock &lock);

    const int m_window;
    mutable std::mutex m_mutex;
    std::condition_variable m_rowsMade;
    std::condition_variable m_roomMade;
    int m_made = -1; // rows; below 0 before the first is begun
    int m_free = 0; // rows that are not needed any more, as far as the maker knows
    bool m_isStopped = false;
    Side m_stopper = Side::Maker;

    int m_released = 0; // the user's own
};

template <typename Idle>
bool RowHandover::waitForRows(int rows, Idle idle)
{
    constexpr std::chrono::milliseconds kPatience(50); // until somebody may say "stop"
    Lock lock(m_mutex);
    if (m_made < rows)
        letMakerKnow(lock);
    const auto isOver = [&] { return m_made >= rows || m_isStopped; };
    while (!m_rowsMade.wait_for(lock, kPatience, isOver)) {
        const int made = qMax(0, m_made);
        lock.unlock();
        const bool goesOn = idle(made);
        if (!goesOn)
            stop(Side::User);
        lock.lock();
    }
    return !m_isStopped;
}

} // namespace vellum::io
