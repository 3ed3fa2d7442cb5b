// Reading ahead of a loop whose next address no processor guesses.
#pragma once

namespace vellum::image {

/// Brings the cache line of \a address, which may be read, towards the processor, where the
/// compiler knows how to.
inline void prefetch([[maybe_unused]] const void *address)
{
#ifdef __GNUC__
    __builtin_prefetch(address);
#endif
}

} // namespace vellum::image
