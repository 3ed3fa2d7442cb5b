// Memory of the scaler: tables and working rows, from malloc, with failure as an answer.
#pragma once

#include <QtGlobal>

#include <cstdlib>
#include <memory>
#include <type_traits>

namespace vellum::scale {

struct Free
{
    void operator()(void *memory) const noexcept { std::free(memory); }
};

/// An array of \a T, undefined content.
template <typename T>
using Array = std::unique_ptr<T[], Free>;

/// \return null when \a count is negative or memory runs out
template <typename T>
[[nodiscard]] Array<T> allocate(qint64 count)
{
    static_assert(std::is_trivial_v<T>);
    if (count < 0)
        return nullptr;
    return Array<T>(static_cast<T *>(std::malloc(size_t(qMax<qint64>(count, 1)) * sizeof(T))));
}

/// Values for the columns or rows \a first to \a first + \a count - 1 of a larger whole, looked
/// up by their place in the whole.
template <typename T>
class Table
{
public:
    /// \return false when memory runs out
    [[nodiscard]] bool make(int first, int count)
    {
        m_values = allocate<T>(count);
        m_first = first;
        m_count = count;
        return m_values != nullptr;
    }

    T &operator[](int place) { return m_values[place - m_first]; }
    const T &operator[](int place) const { return m_values[place - m_first]; }

    int first() const { return m_first; }
    int count() const { return m_count; }
    int end() const { return m_first + m_count; }

private:
    Array<T> m_values;
    int m_first = 0;
    int m_count = 0;
};

} // namespace vellum::scale
