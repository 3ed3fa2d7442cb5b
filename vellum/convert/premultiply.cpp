#include <vellum/convert/premultiply_p.h>

void vellum::convert::premultiplyPortable(unsigned char *out, const unsigned char *in, int width)
{
    for (int x = 0; x < width; ++x, in += 4, out += 4) {
        const unsigned alpha = in[3];
        for (int c = 0; c < 3; ++c) {
            const unsigned t = in[c] * alpha;
            out[c] = static_cast<unsigned char>(((t >> 8) + t + 128) >> 8);
        }
        out[3] = static_cast<unsigned char>(alpha);
    }
}
