// How the pixels along one axis of a picture become those of a result of another size.
#pragma once

#include <QtGlobal>

#include <vector>

namespace vellum::plugin {

/// The source pixels under one result pixel and their weights, in 1/256 pixel.
struct Taps
{
    int first; ///< first source pixel
    int count; ///< at least 1
    int firstWeight; ///< of the first; 256 and less
    int lastWeight; ///< of the last, if there is more than one; those between weigh 256

    int end() const { return first + count; }
    qint64 total() const
    {
        return firstWeight + (count > 1 ? lastWeight + qint64(count - 2) * kWholePixel : 0);
    }

    static constexpr int kWholePixel = 256;
};

/// An axis that shrinks averages source pixels by covered length; one that grows blends the two
/// nearest. Weights are whole numbers whose sum is known, so that a flat area stays as it is.
class Axis
{
public:
    /// \param start, length  the part of the source that is the whole result, in source pixels;
    ///                       need not lie on pixel boundaries
    /// \param size           of the whole result, in pixels; at least 1
    /// \param from, count    the result pixels that are wanted
    /// \param sourceSize     source pixels there are; none outside the part is looked at
    Axis(double start, double length, int size, int from, int count, int sourceSize);

    int count() const { return int(m_taps.size()); }
    const Taps &operator[](int i) const { return m_taps[size_t(i)]; }

    int begin() const { return m_taps.front().first; } ///< First source pixel needed.
    int end() const { return m_taps.back().end(); } ///< One behind the last source pixel needed.

    /// Whether taps of two pixels are blends: they advance by less than a source pixel.
    bool grows() const { return m_grows; }

    /// True when every result pixel is one source pixel, one after the other.
    bool isIdentity() const;

    /// The same taps counted from source pixel \a origin.
    Axis relativeTo(int origin) const;

private:
    std::vector<Taps> m_taps;
    bool m_grows;
};

} // namespace vellum::plugin
