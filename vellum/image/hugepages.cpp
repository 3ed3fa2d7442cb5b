#include <vellum/image/hugepages_p.h>

#include <QtGlobal>

#include <cstdlib>

#ifdef Q_OS_LINUX
#include <sys/mman.h>
#endif

namespace vellum::image {

#if defined(Q_OS_LINUX) && defined(MADV_HUGEPAGE)

namespace {

constexpr std::size_t kHugePage = 2 << 20;

} // namespace

void preferHugePages(void *memory, std::size_t bytes) noexcept
{
    // What does not fill a huge page stays in small ones.
    const quintptr begin = (quintptr(memory) + kHugePage - 1) & ~(kHugePage - 1);
    const quintptr end = (quintptr(memory) + bytes) & ~(kHugePage - 1);
    if (begin < end) // the answer does not matter
        static_cast<void>(madvise(reinterpret_cast<void *>(begin), end - begin, MADV_HUGEPAGE));
}

void *allocateInHugePages(std::size_t bytes) noexcept
{
    if (bytes < kHugePage)
        return std::malloc(bytes);
    void *memory = nullptr;
    if (posix_memalign(&memory, kHugePage, bytes) != 0)
        return nullptr;
    preferHugePages(memory, bytes);
    return memory;
}

#else

void preferHugePages(void *, std::size_t) noexcept { }

void *allocateInHugePages(std::size_t bytes) noexcept { return std::malloc(bytes); }

#endif

} // namespace vellum::image
