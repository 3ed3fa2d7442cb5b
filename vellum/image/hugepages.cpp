#include <vellum/image/hugepages_p.h>

#include <QtGlobal>

#ifdef Q_OS_LINUX
#include <sys/mman.h>
#endif

namespace vellum::image {

#if defined(Q_OS_LINUX) && defined(MADV_HUGEPAGE)
void preferHugePages(void *memory, std::size_t bytes) noexcept
{
    constexpr quintptr kHugePage = 2 << 20; // what does not fill one stays in small pages
    const quintptr begin = (quintptr(memory) + kHugePage - 1) & ~(kHugePage - 1);
    const quintptr end = (quintptr(memory) + bytes) & ~(kHugePage - 1);
    if (begin < end) // the answer does not matter
        static_cast<void>(madvise(reinterpret_cast<void *>(begin), end - begin, MADV_HUGEPAGE));
}
#else
void preferHugePages(void *, std::size_t) noexcept { }
#endif

} // namespace vellum::image
