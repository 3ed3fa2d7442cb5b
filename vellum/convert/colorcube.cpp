#include <vellum/convert/colorcube_p.h>
#include <vellum/convert/constants_p.h>
#include <vellum/image/cpufeatures_p.h>

#include <array>
#include <cstring>

namespace vellum::convert {

namespace {

constexpr int kLevelStep = 51;

quint32 pixelAt(const uchar *p)
{
    quint32 pixel;
    std::memcpy(&pixel, p, sizeof pixel);
    return pixel;
}

/// What every value of a channel adds to an index, each value at its nearest level.
constexpr std::array<uchar, 256> nearestLevels(int factor)
{
    std::array<uchar, 256> table {};
    for (int v = 0; v < 256; ++v)
        table[size_t(v)] = uchar((v * 5 + 127) / 255 * factor);
    return table;
}

constexpr auto kBlueLevels = nearestLevels(1);
constexpr auto kGreenLevels = nearestLevels(6);
constexpr auto kRedLevels = nearestLevels(36);

void nearestCube(uchar *out, const uchar *pixels, int width)
{
    for (int x = 0; x < width; ++x, pixels += 4) {
        const quint32 p = pixelAt(pixels);
        out[x] =
            uchar(kRedLevels[p >> 16 & 255] + kGreenLevels[p >> 8 & 255] + kBlueLevels[p & 255]);
    }
}

/// The level that a value with errors is given. Rounds half up, unlike nearestLevels().
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
    const auto level = [](quint32 v, quint32 m) { return (1286 * v + 256 * m) >> 16; };
    for (int x = 0; x < width; ++x, pixels += 4) {
        const quint32 p = pixelAt(pixels);
        const quint32 m = matrixRow[x & 15];
        out[x] =
            uchar(36 * level(p >> 16 & 255, m) + 6 * level(p >> 8 & 255, m) + level(p & 255, m));
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

QVector<QRgb> cubeColors()
{
    QVector<QRgb> colors;
    colors.reserve(256);
    for (int i = 0; i < 216; ++i)
        colors.append(qRgb(i / 36 * kLevelStep, i / 6 % 6 * kLevelStep, i % 6 * kLevelStep));
    return colors;
}

CubeDither::CubeDither(int width, DitherMode mode)
    : m_width(width), m_mode(mode), m_errors(mode == DitherMode::Diffuse ? size_t(width) * 4 : 0)
{
}

void CubeDither::dither(uchar *out, const uchar *pixels)
{
    switch (m_mode) {
    case DitherMode::Threshold:
        nearestCube(out, pixels, m_width);
        break;
    case DitherMode::Ordered: {
        const auto ordered = VELLUM_CHOOSE_SSE41(orderedCubePortable, orderedCubeSse41);
        ordered(out, pixels, kDitherMatrix[m_row & 15], m_width);
        break;
    }
    case DitherMode::Diffuse: {
        const auto diffuse = VELLUM_CHOOSE_SSE41(diffuseCubePortable, diffuseCubeSse41);
        diffuse(out, pixels, m_errors.data(), m_width, (m_row & 1) != 0);
        break;
    }
    }
    ++m_row;
}

} // namespace vellum::convert
