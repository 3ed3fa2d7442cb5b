#include <vellum/convert/bitreverse_p.h>
#include <vellum/convert/bits_p.h>
#include <vellum/image/cpufeatures_p.h>

namespace vellum::convert {

void reverseBits(unsigned char *out, const unsigned char *in, std::size_t bytes)
{
    VELLUM_CHOOSE_SSE41(reverseBitsPortable, reverseBitsSse41)(out, in, bytes);
}

void reverseBitsPortable(unsigned char *out, const unsigned char *in, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        out[i] = kReversedBits[in[i]];
}

} // namespace vellum::convert
