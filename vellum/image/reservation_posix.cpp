#include <vellum/image/reservation_p.h>

#include <sys/mman.h>

namespace vellum::image {

namespace {

#ifdef MAP_NORESERVE
constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
#else
constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS;
#endif

} // namespace

unsigned char *reserveZeroed(std::size_t bytes) noexcept
{
    if (bytes == 0)
        return nullptr;
    void *memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, kFlags, -1, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<unsigned char *>(memory);
}

void releaseReserved(unsigned char *memory, std::size_t bytes) noexcept
{
    if (memory)
        munmap(memory, bytes);
}

} // namespace vellum::image
