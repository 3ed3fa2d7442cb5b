#include <vellum/image/reservation_p.h>

#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

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

void adviseLargePages([[maybe_unused]] void *memory, [[maybe_unused]] std::size_t bytes) noexcept
{
#ifdef MADV_HUGEPAGE
    constexpr std::size_t kWorthIt = 4 << 20; // two large pages of common processors
    if (!memory || bytes < kWorthIt)
        return;
    const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto start = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t firstPage = start / pageSize * pageSize;
    // Only advice: failure changes nothing.
    madvise(reinterpret_cast<void *>(firstPage), start + bytes - firstPage, MADV_HUGEPAGE);
#endif
}

} // namespace vellum::image
