// Reading 32-bit pixels whose address may be any.
#pragma once

#include <cstdint>
#include <cstring>

namespace vellum::convert {

/// The pixel, 0xAARRGGBB, that begins at \a p.
inline std::uint32_t pixelAt(const unsigned char *p)
{
    std::uint32_t pixel;
    std::memcpy(&pixel, p, sizeof pixel);
    return pixel;
}

} // namespace vellum::convert
