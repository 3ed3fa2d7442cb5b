// Bit reversal of whole rows.
#pragma once

#include <cstddef>

namespace vellum::convert {

/// Writes every byte of \a in with its bits in reverse order to \a out; the two may be the same.
void reverseBits(unsigned char *out, const unsigned char *in, std::size_t bytes);

void reverseBitsPortable(unsigned char *out, const unsigned char *in, std::size_t bytes);
void reverseBitsSse41(unsigned char *out, const unsigned char *in, std::size_t bytes);

} // namespace vellum::convert
