#include <vellum/convert/rgba64_p.h>

#include <cstdint>
#include <cstring>

namespace {

constexpr std::uint32_t narrowed(std::uint32_t channel)
{
    return (channel + 128 - ((channel + 128) >> 8)) >> 8;
}

} // namespace

void vellum::convert::narrowRgba64Portable(unsigned char *out, const unsigned char *in, int width)
{
    for (int x = 0; x < width; ++x, in += 8, out += 4) {
        std::uint16_t rgba[4];
        std::memcpy(rgba, in, sizeof rgba);
        const std::uint32_t pixel = narrowed(rgba[3]) << 24 | narrowed(rgba[0]) << 16 |
            narrowed(rgba[1]) << 8 | narrowed(rgba[2]);
        std::memcpy(out, &pixel, sizeof pixel);
    }
}
