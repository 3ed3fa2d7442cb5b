#include <vellum/image/reservation_p.h>

#include <cstdlib>

namespace vellum::image {

unsigned char *reserveZeroed(std::size_t bytes) noexcept
{
    return bytes == 0 ? nullptr : static_cast<unsigned char *>(std::calloc(bytes, 1));
}

void releaseReserved(unsigned char *memory, std::size_t) noexcept { std::free(memory); }

} // namespace vellum::image
