// The one place that chooses between a portable form and its vector twin.
#pragma once

namespace vellum {

/// True when this build has SSE4.1 forms and the processor can run them.
///
/// Asks Qt's processor-feature word, so that the environment variable
/// <tt>QT_NO_CPU_FEATURE=sse4.1</tt> switches the vector forms off. The answer never changes
/// while the process runs. Cheap, but meant to be asked once per operation, not per pixel.
[[nodiscard]] bool hasSse41() noexcept;

/// The same of AVX2 forms, which go without those of SSE4.1 nowhere: switched off by
/// <tt>QT_NO_CPU_FEATURE=avx2</tt>, or together with them.
[[nodiscard]] bool hasAvx2() noexcept;

} // namespace vellum

/// One of two functions of the same signature: \a sse41 where hasSse41() says so, else
/// \a portable. Without SSE4.1 forms in the build \a sse41 need not exist as a symbol.
#ifdef VELLUM_HAVE_SSE41
#define VELLUM_CHOOSE_SSE41(portable, sse41) (vellum::hasSse41() ? (sse41) : (portable))
#else
#define VELLUM_CHOOSE_SSE41(portable, sse41) (portable)
#endif

/// The same of \a avx2, which few functions have; \a other may be a choice of this kind.
#ifdef VELLUM_HAVE_AVX2
#define VELLUM_CHOOSE_AVX2(other, avx2) (vellum::hasAvx2() ? (avx2) : (other))
#else
#define VELLUM_CHOOSE_AVX2(other, avx2) (other)
#endif
