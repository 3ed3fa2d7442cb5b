#include <vellum/convert/cubekernels_p.h>
#include <vellum/convert/pixelat_p.h>

#include <QtGlobal>

namespace vellum::convert {

namespace {

/// The level that a value with errors is given.
constexpr int diffusedLevel(int v) { return qBound(0, (5 * qBound(0, v, 255) + 128) / 255, 5); }

/// Three channels of integers.
struct Sums
{
    int c[3] = {};
};

} // namespace

void orderedCubePortable(unsigned char *out, const unsigned char *pixels,
                         const unsigned char *matrixRow, int width)
{
    for (int x = 0; x < width; ++x, pixels += 4) {
        const quint32 p = pixelAt(pixels);
        const int m = matrixRow[x & 15];
        out[x] = uchar(36 * orderedLevel(p >> 16 & 255, m) + 6 * orderedLevel(p >> 8 & 255, m) +
                       orderedLevel(p & 255, m));
    }
}

void diffuseCubePortable(unsigned char *out, const unsigned char *pixels, int *errors, int width,
                         bool leftToRight)
{
    const int step = leftToRight ? 1 : -1;
    Sums ahead; // to the next pixel of the run
    Sums belowLast; // what lies below the pixel behind got so far
    Sums belowHere; // likewise below this pixel
    for (int i = 0, x = leftToRight ? 0 : width - 1; i < width; ++i, x += step) {
        const quint32 p = pixelAt(pixels + qptrdiff(x) * 4);
        int index = 0;
        for (int c = 2; c >= 0; --c) {
            const int v = int(p >> 8 * c & 255) + errors[qptrdiff(x) * 4 + c] + ahead.c[c];
            const int level = diffusedLevel(v);
            index = index * 6 + level;
            const int error = v - level * kLevelStep;
            // A quirk of the rule: running right, nothing goes below-behind into column 0.
            const int belowBehind = leftToRight && x == 1 ? 0 : (3 * error) >> 4;
            if (i > 0)
                errors[qptrdiff(x - step) * 4 + c] = belowLast.c[c] + belowBehind;
            belowLast.c[c] = belowHere.c[c] + ((5 * error) >> 4);
            belowHere.c[c] = error >> 4;
            ahead.c[c] = (7 * error) >> 4;
        }
        out[x] = uchar(index);
    }
    const qptrdiff last = leftToRight ? width - 1 : 0;
    for (int c = 0; c < 3 && width > 0; ++c)
        errors[last * 4 + c] = belowLast.c[c];
}

} // namespace vellum::convert
