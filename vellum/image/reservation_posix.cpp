#include <vellum/image/reservation_p.h>

#include <cstdint>
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

void preferLargePages([[maybe_unused]] unsigned char *memory,
                      [[maybe_unused]] std::size_t bytes) noexcept
{
#ifdef MADV_HUGEPAGE
    // Whole large pages only: what else lies in the first and the last is not ours.
    constexpr std::uintptr_t kLargePage = std::uintptr_t(2) << 20;
    const auto start = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t first = (start + kLargePage - 1) / kLargePage * kLargePage;
    const std::uintptr_t last = (start + bytes) / kLargePage * kLargePage;
    if (first < last)
        madvise(reinterpret_cast<void *>(first), last - first, MADV_HUGEPAGE);
#endif
}

} // namespace vellum::image
