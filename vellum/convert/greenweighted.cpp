#include <vellum/convert/greenweighted_p.h>
#include <vellum/convert/pixelat_p.h>
#include <vellum/image/cpufeatures_p.h>

namespace vellum::convert {

namespace {

/// The grey of every pair of red and green, at red << 8 | green.
struct Greys
{
    unsigned char of[65536];
    LowGreys low = {};

    Greys()
    {
        for (int red = 0; red < 256; ++red) {
            for (int green = 0; green < 256; ++green) {
                const double grey = 0.299 * red + 0.587 * green + 0.114 * green;
                of[red << 8 | green] = static_cast<unsigned char>(grey);
            }
        }
        for (int v = 0; v < 256; ++v) {
            if (of[v << 8 | v] != v)
                low[v >> 3] = static_cast<unsigned char>(low[v >> 3] | 1 << (v & 7));
        }
    }
};

const Greys &greys()
{
    static const Greys table;
    return table;
}

} // namespace

void greenWeighted(unsigned char *out, const unsigned char *pixels, int width)
{
#ifdef VELLUM_HAVE_SSE41
    if (hasSse41()) {
        greenWeightedSse41(out, pixels, width, greys().low);
        return;
    }
#endif
    greenWeightedPortable(out, pixels, width);
}

void greenWeightedPortable(unsigned char *out, const unsigned char *pixels, int width)
{
    const unsigned char *const table = greys().of;
    for (int x = 0; x < width; ++x, pixels += 4)
        out[x] = table[pixelAt(pixels) >> 8 & 0xffff];
}

} // namespace vellum::convert
