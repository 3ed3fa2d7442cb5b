// A smooth scaler that is only written to be compared with: result pixel by result pixel and
// channel by channel, in 64 bits.
#pragma once

#include <vellum/vellum.h>

#include <cstdint>
#include <vector>

namespace vellum::test {

/// One axis: where a result pixel samples the source and with which weight word.
struct OracleAxis
{
    bool up;
    std::vector<int64_t> point;
    std::vector<int64_t> apoint;

    OracleAxis(int64_t s, int64_t d) : up(d >= s)
    {
        const int64_t inc = s * 65536 / d;
        const int64_t start = up ? ((s << 15) / d) - 32768 : 0;
        const int64_t whole = ((d << 14) + s - 1) / s;
        for (int64_t i = 0; i < d; ++i) {
            const int64_t val = start + i * inc;
            const int64_t pos = val >> 16;
            point.push_back(val < 65536 ? 0 : pos);
            if (up)
                apoint.push_back(pos >= 0 && pos < s - 1 ? (val >> 8) & 255 : 0);
            else
                apoint.push_back((((65536 - (val & 0xffff)) * whole) >> 16) | (whole << 16));
        }
    }
};

/// Adds up term(0), term(1), ... with the weights that \a word holds.
template <typename Term>
int64_t oracleAreaSum(int64_t word, Term term)
{
    const int64_t whole = word >> 16;
    const int64_t first = word & 0xffff;
    int i = 0;
    int64_t sum = term(i) * first;
    int64_t j = 16384 - first;
    while (j > whole) {
        sum += term(++i) * whole;
        j -= whole;
    }
    if (j > 0) // otherwise nothing is read with no weight
        sum += term(++i) * j;
    return sum;
}

class Oracle
{
public:
    Oracle(const Vellum &source, const QSize &size)
        : m_source(source), m_size(size), m_x(source.width(), size.width()),
          m_y(source.height(), size.height()), m_wide(source.depth() == 64),
          m_channels(source.depth() == 8 ? 1 : 4)
    {
    }

    QImage scale(const QRect &rect) const
    {
        QImage result(rect.size(), m_source.format());
        const bool opaque = m_source.depth() == 32 && !m_source.hasAlphaChannel();
        for (int y = 0; y < rect.height(); ++y) {
            uchar *const row = result.scanLine(y);
            for (int x = 0; x < rect.width(); ++x) {
                for (int c = 0; c < m_channels; ++c) {
                    int64_t value = channel(rect.x() + x, rect.y() + y, c);
                    if (opaque && c == 3)
                        value = 255;
                    if (m_wide)
                        reinterpret_cast<quint16 *>(row)[x * m_channels + c] = quint16(value);
                    else
                        row[x * m_channels + c] = uchar(value);
                }
            }
        }
        return result;
    }

private:
    int64_t in(int64_t x, int64_t y, int c) const
    {
        if (x < 0 || y < 0 || x >= m_source.width() || y >= m_source.height())
            std::abort(); // the formulas do not leave the source
        const uchar *const row = m_source.scanLineEx(int(y));
        const int64_t i = x * m_channels + c;
        return m_wide ? reinterpret_cast<const quint16 *>(row)[i] : row[i];
    }

    static int64_t blend(int64_t a, int64_t b, int64_t w) { return (a * (256 - w) + b * w) >> 8; }

    int64_t channel(int x, int y, int c) const
    {
        const int64_t px = m_x.point[size_t(x)], wx = m_x.apoint[size_t(x)];
        const int64_t py = m_y.point[size_t(y)], wy = m_y.apoint[size_t(y)];
        const auto along = [&](int64_t row) {
            return oracleAreaSum(wx, [&](int i) { return in(px + i, row, c); });
        };
        const auto down = [&](int64_t column) {
            return oracleAreaSum(wy, [&](int i) { return in(column, py + i, c); });
        };
        if (m_x.up && m_y.up) {
            const auto vertical = [&](int64_t column) {
                return wy ? blend(in(column, py, c), in(column, py + 1, c), wy) : in(column, py, c);
            };
            return wx ? blend(vertical(px), vertical(px + 1), wx) : vertical(px);
        }
        if (m_x.up)
            return (wx ? blend(down(px), down(px + 1), wx) : down(px)) >> 14;
        if (m_y.up)
            return (wy ? blend(along(py), along(py + 1), wy) : along(py)) >> 14;
        if (m_wide)
            return (oracleAreaSum(wy, [&](int i) { return along(py + i); }) >> 28) & 0xffff;
        return oracleAreaSum(wy, [&](int i) { return along(py + i) >> 4; }) >> 24;
    }

    const Vellum &m_source;
    QSize m_size;
    OracleAxis m_x;
    OracleAxis m_y;
    bool m_wide;
    int m_channels;
};

inline QImage oracleScale(const Vellum &source, const QSize &size, const QRect &rect)
{
    return Oracle(source, size).scale(rect);
}

inline QImage oracleScale(const Vellum &source, const QSize &size)
{
    return oracleScale(source, size, QRect(QPoint(0, 0), size));
}

} // namespace vellum::test
