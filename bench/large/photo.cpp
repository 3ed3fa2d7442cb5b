#include "photo.h"

#include <vellum/vellum.h>

#include <algorithm>
#include <vector>

namespace vellum::bench {

namespace {

quint32 scrambled(quint32 value)
{
    value = (value ^ value >> 16) * 0x45d9f3bU;
    value = (value ^ value >> 16) * 0x45d9f3bU;
    return value ^ value >> 16;
}

/// Random heights on a lattice, blended between: shapes of about \c cell pixels.
class Shapes
{
public:
    Shapes(int width, int cell, float strength, quint32 seed)
        : m_cell(cell), m_strength(strength), m_seed(seed), m_nodes(size_t(width / cell) + 2)
    {
    }

    void addTo(std::vector<float> &row, int y)
    {
        const float down = float(y % m_cell) / float(m_cell);
        for (size_t i = 0; i < m_nodes.size(); ++i)
            m_nodes[i] = height(i, y / m_cell) * (1 - down) + height(i, y / m_cell + 1) * down;
        const float step = 1 / float(m_cell);
        for (size_t x = 0, i = 0; x < row.size(); ++i) {
            const float slope = (m_nodes[i + 1] - m_nodes[i]) * step;
            float value = m_nodes[i];
            for (int k = 0; k < m_cell && x < row.size(); ++k, ++x, value += slope)
                row[x] += value;
        }
    }

private:
    float height(size_t column, int line) const
    {
        const quint32 bits = scrambled(quint32(column) * 7919U + quint32(line) * 104729U + m_seed);
        return (float(bits >> 16) / 32768.0F - 1) * m_strength;
    }

    int m_cell;
    float m_strength;
    quint32 m_seed;
    std::vector<float> m_nodes;
};

struct Plane
{
    std::vector<Shapes> shapes;
    std::vector<float> row;

    void computeRow(int y, float base)
    {
        std::fill(row.begin(), row.end(), base);
        for (Shapes &layer : shapes)
            layer.addTo(row, y);
    }
};

uchar level(float value) { return uchar(std::clamp(value, 0.0F, 255.0F)); }

} // namespace

void fillWithPhoto(Vellum &image)
{
    const int width = image.width();
    const auto columns = size_t(width);
    Plane light {{{width, 3001, 70, 1},
                  {width, 701, 40, 2},
                  {width, 97, 18, 3},
                  {width, 11, 8, 4},
                  {width, 3, 14, 9}},
                 std::vector<float>(columns)};
    Plane red {{{width, 1501, 35, 5}, {width, 301, 12, 6}}, std::vector<float>(columns)};
    Plane blue {{{width, 1301, 35, 7}, {width, 257, 12, 8}}, std::vector<float>(columns)};
    for (int y = 0; y < image.height(); ++y) {
        light.computeRow(y, 128);
        red.computeRow(y, 0);
        blue.computeRow(y, 0);
        uchar *out = image.scanLineEx(y);
        for (size_t x = 0; x < columns; ++x, out += 3) {
            const quint32 bits = scrambled(quint32(x) + quint32(y) * 65537U);
            const float grain = float(bits & 3) - 1.5F;
            out[0] = level(light.row[x] + red.row[x] + grain);
            out[1] = level(light.row[x] + grain);
            out[2] = level(light.row[x] + blue.row[x] + grain);
        }
    }
}

} // namespace vellum::bench
