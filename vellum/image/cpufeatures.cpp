#include <vellum/image/cpufeatures_p.h>

#if defined(VELLUM_HAVE_SSE41) || defined(VELLUM_HAVE_AVX2)
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

bool vellum::hasAvx2() noexcept
{
#ifdef VELLUM_HAVE_AVX2
    return hasSse41() && qCpuHasFeature(AVX2);
#else
    return false;
#endif
}
