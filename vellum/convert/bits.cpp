#include <vellum/convert/bits_p.h>
#include <vellum/convert/constants_p.h>
#include <vellum/image/cpufeatures_p.h>

namespace vellum::convert {

void reverseBits(unsigned char *out, const unsigned char *in, std::size_t bytes)
{
    static const auto form = VELLUM_CHOOSE_SSE41(reverseBitsPortable, reverseBitsSse41);
    form(out, in, bytes);
}

void reverseBitsPortable(unsigned char *out, const unsigned char *in, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        out[i] = kReversedBits[in[i]];
}

} // namespace vellum::convert
