#include <vellum/convert/monokernels_p.h>
#include <vellum/convert/pixelat_p.h>

#include <cstdint>

namespace {

/// Collects bits in the order of the pixels and writes them byte by byte.
class BitWriter
{
public:
    BitWriter(unsigned char *bits, bool lsbFirst) : m_bits(bits), m_lsbFirst(lsbFirst) { }

    void write(bool bit)
    {
        m_byte |= unsigned(bit) << (m_lsbFirst ? m_count : 7 - m_count);
        if (++m_count == 8)
            finish();
    }

    /// Writes what there is of a last byte.
    void finish()
    {
        if (m_count > 0)
            *m_bits++ = static_cast<unsigned char>(m_byte);
        m_byte = 0;
        m_count = 0;
    }

private:
    unsigned char *m_bits;
    bool m_lsbFirst;
    unsigned m_byte = 0;
    int m_count = 0;
};

void diffuseRow(unsigned char *bits, const unsigned char *values, short *errors, int width,
                bool lsbFirst)
{
    BitWriter writer(bits, lsbFirst);
    int toRight = 0;
    int belowLast = 0; // what the pixel to the left got from above so far
    int belowHere = 0; // likewise this pixel
    for (int x = 0; x < width; ++x) {
        const int v = values[x] + errors[x] + toRight;
        const bool set = v < 128;
        writer.write(set);
        const int error = set ? v : v - 255;
        toRight = (7 * error + 8) >> 4;
        const int below = (5 * error + 8) >> 4;
        const int belowLeft = (3 * error + 8) >> 4;
        if (x > 0)
            errors[x - 1] = short(belowLast + belowLeft);
        belowLast = belowHere + below;
        belowHere = error - belowLeft - below - toRight;
    }
    errors[width - 1] = short(belowLast);
    writer.finish();
}

} // namespace

namespace vellum::convert {

void greysOfPixelsPortable(unsigned char *greys, const unsigned char *pixels, int width)
{
    for (int x = 0; x < width; ++x, pixels += 4) {
        const std::uint32_t p = pixelAt(pixels);
        greys[x] = static_cast<unsigned char>(
            (11 * (p >> 16 & 255) + 16 * (p >> 8 & 255) + 5 * (p & 255)) >> 5);
    }
}

void transparenciesOfPixelsPortable(unsigned char *out, const unsigned char *pixels, int width)
{
    for (int x = 0; x < width; ++x, pixels += 4)
        out[x] = static_cast<unsigned char>(255 - (pixelAt(pixels) >> 24));
}

void packBelowPortable(unsigned char *bits, const unsigned char *values,
                       const unsigned char *thresholds, int width, bool lsbFirst)
{
    BitWriter writer(bits, lsbFirst);
    for (int x = 0; x < width; ++x)
        writer.write(values[x] < thresholds[x & 15]);
    writer.finish();
}

void diffuseRowsPortable(const DiffuseRows &rows, int count)
{
    if (rows.width == 0)
        return;
    for (int i = 0; i < count; ++i) {
        diffuseRow(rows.bits[i], rows.values + i * rows.stride, rows.errors, rows.width,
                   rows.lsbFirst);
    }
}

} // namespace vellum::convert
