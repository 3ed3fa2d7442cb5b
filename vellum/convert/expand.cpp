#include <vellum/convert/expand_p.h>

namespace {

template <int First, int Third>
void expand(unsigned char *out, const unsigned char *in, int width)
{
    for (int x = 0; x < width; ++x, in += 3, out += 4) {
        const unsigned char first = in[First];
        const unsigned char second = in[1];
        const unsigned char third = in[Third];
        out[0] = first;
        out[1] = second;
        out[2] = third;
        out[3] = 255;
    }
}

} // namespace

void vellum::convert::expandRgbPortable(unsigned char *out, const unsigned char *in, int width)
{
    expand<2, 0>(out, in, width);
}

void vellum::convert::expandBgrPortable(unsigned char *out, const unsigned char *in, int width)
{
    expand<0, 2>(out, in, width);
}
