#include <vellum/image/cpufeatures_p.h>

#ifdef VELLUM_HAVE_SSE41
#include <private/qsimd_p.h>
#endif

bool vellum::hasSse41() noexcept
{
#ifdef VELLUM_HAVE_SSE41
    return qCpuHasFeature(SSE4_1);
#else
    return false;
#endif
}
