// Turning by any angle, one pixel at a time: the oracle of the fast forms.
#pragma once

#include <cmath>
#include <support/pixels.h>

namespace vellum::test {

/// The fixed-point geometry of a turn of \a w x \a h pixels by \a degrees counter-clockwise.
struct NaiveTurn
{
    qint64 s;
    qint64 c;
    qint64 spanW;
    qint64 spanH;
    qint64 w;
    qint64 h;

    NaiveTurn(int width, int height, double degrees) : w(width), h(height)
    {
        const double r = degrees * 3.1415926535 / 180.0;
        s = qint64(std::trunc(std::sin(r) * 1024));
        c = qint64(std::trunc(std::cos(r) * 1024));
        spanW = w * std::abs(c) + h * std::abs(s);
        spanH = h * std::abs(c) + w * std::abs(s);
    }

    QSize size() const { return QSize(int(spanW >> 10), int(spanH >> 10)); }

    /// The position that a result pixel shows, in 1/1024.
    std::pair<qint64, qint64> position(int column, int row) const
    {
        const qint64 x = column - ((spanW >> 11) - 1);
        const qint64 y = row - ((spanH >> 11) - 1);
        return {x * c - y * s + (w >> 1) * 1024, x * s + y * c + (h >> 1) * 1024};
    }
};

/// Calls \a sample(column, row, ix, iy) for result pixels whose nearest pixel is in the source.
template <typename Sample>
void forEachNearest(const NaiveTurn &turn, Sample sample)
{
    for (int row = 0; row < turn.size().height(); ++row) {
        for (int column = 0; column < turn.size().width(); ++column) {
            const auto [x, y] = turn.position(column, row);
            const auto ix = qint64(std::floor(double(x) / 1024));
            const auto iy = qint64(std::floor(double(y) / 1024));
            if (ix >= 0 && ix < turn.w && iy >= 0 && iy < turn.h)
                sample(column, row, int(ix), int(iy));
        }
    }
}

/// Draws \a source over \a result bilinearly. \a widths are the bits of a pixel's channels, from
/// the lowest up.
inline void drawNaively(Vellum &result, const Vellum &source, const NaiveTurn &turn,
                        const std::vector<int> &widths)
{
    const int w = source.width();
    const int h = source.height();
    for (int row = 0; row < result.height(); ++row) {
        for (int column = 0; column < result.width(); ++column) {
            const auto [x, y] = turn.position(column, row);
            if (x < -1023 || x >= qint64(w) * 1024 || y < -1023 || y >= qint64(h) * 1024)
                continue;
            const int ix = int(std::floor(double(x) / 1024));
            const int iy = int(std::floor(double(y) / 1024));
            const quint64 fx = quint64(x - qint64(ix) * 1024);
            const quint64 fy = quint64(y - qint64(iy) * 1024);
            const int rowA = iy == -1 ? 0 : iy;
            const int rowB = iy >= 0 && iy < h - 1 ? iy + 1 : rowA;
            const int left = ix == -1 ? 0 : ix;
            const int right = ix >= 0 && ix < w - 1 ? ix + 1 : left;
            quint64 pixel = 0;
            int shift = 0;
            for (const int width : widths) {
                const auto channel = [&](int px, int py) {
                    return rawPixel(source, px, py) >> shift & ((1ULL << width) - 1);
                };
                const quint64 out =
                    ((channel(right, rowA) * fx + channel(left, rowA) * (1024 - fx)) * (1024 - fy) +
                     (channel(left, rowB) * (1024 - fx) + channel(right, rowB) * fx) * fy) >>
                    20;
                pixel |= out << shift;
                shift += width;
            }
            setRawPixel(result, column, row, pixel);
        }
    }
}

} // namespace vellum::test
