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
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    // Whole pages inside only: a page at the edge also belongs to a neighbour, whose write to it
    // would back large pages that nobody is about to write.
    const std::uintptr_t first =
        (reinterpret_cast<std::uintptr_t>(memory) + page - 1) / page * page;
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(memory) + bytes) / page * page;
    // Only advice: failure changes nothing.
    madvise(reinterpret_cast<void *>(first), end - first, MADV_HUGEPAGE);
#endif
}

} // namespace vellum::image
