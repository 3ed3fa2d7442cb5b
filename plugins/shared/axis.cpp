#include "shared/axis.h"

#include <algorithm>
#include <cmath>

namespace vellum::plugin {

namespace {

/// Pixels \a low to \a high - 1 may be looked at.
Taps blendOf(double centre, int low, int high)
{
    const double at = std::floor(centre);
    const int weight = int(std::lround((centre - at) * Taps::kWholePixel));
    const int first = int(at);
    if (weight == 0 || first < low || first + 1 >= high)
        return {std::clamp(first < low ? low : first, low, high - 1), 1, Taps::kWholePixel, 0};
    if (weight == Taps::kWholePixel)
        return {first + 1, 1, Taps::kWholePixel, 0};
    return {first, 2, Taps::kWholePixel - weight, weight};
}

/// \a from and \a to in 1/256 pixel.
Taps averageOf(qint64 from, qint64 to)
{
    constexpr int kWhole = Taps::kWholePixel;
    const auto first = int(from / kWhole);
    const auto last = int((to - 1) / kWhole);
    if (first == last)
        return {first, 1, int(to - from), 0};
    return {first, last - first + 1, int((first + 1) * qint64(kWhole) - from),
            int(to - last * qint64(kWhole))};
}

} // namespace

Axis::Axis(double start, double length, int size, int from, int count, int sourceSize)
    : m_grows(length < size)
{
    const double step = length / size;
    const int low = std::clamp(int(std::floor(start)), 0, sourceSize - 1);
    const int high = std::clamp(int(std::ceil(start + length)), low + 1, sourceSize);
    const auto boundary = [&](int i, qint64 least) {
        const auto at = qint64(std::llround((start + i * step) * Taps::kWholePixel));
        return std::clamp(at, least, qint64(high) * Taps::kWholePixel);
    };
    m_taps.reserve(size_t(count));
    for (int i = from; i < from + count; ++i) {
        if (m_grows) {
            m_taps.push_back(blendOf(start + (i + 0.5) * step - 0.5, low, high));
        } else {
            const qint64 least = qint64(low) * Taps::kWholePixel;
            const qint64 begin = qMin(boundary(i, least), qint64(high) * Taps::kWholePixel - 1);
            m_taps.push_back(averageOf(begin, boundary(i + 1, begin + 1)));
        }
    }
}

bool Axis::isIdentity() const
{
    const int origin = begin();
    for (int i = 0; i < count(); ++i) {
        const Taps &taps = (*this)[i];
        if (taps.first != origin + i || taps.count != 1)
            return false;
    }
    return true;
}

Axis Axis::relativeTo(int origin) const
{
    Axis moved = *this;
    for (Taps &taps : moved.m_taps)
        taps.first -= origin;
    return moved;
}

} // namespace vellum::plugin
