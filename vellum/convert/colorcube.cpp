#include <vellum/convert/colorcube_p.h>
#include <vellum/convert/constants_p.h>
#include <vellum/convert/cubekernels_p.h>
#include <vellum/image/cpufeatures_p.h>

namespace vellum::convert {

namespace {

/// A pattern without a pattern: gives every value its nearest level.
constexpr uchar kNearest[16] = {126, 126, 126, 126, 126, 126, 126, 126,
                                126, 126, 126, 126, 126, 126, 126, 126};

constexpr bool givesNearestLevels(uchar m)
{
    for (int v = 0; v < 256; ++v) {
        if (orderedLevel(v, m) != (v * 5 + 127) / 255)
            return false;
    }
    return true;
}

static_assert(givesNearestLevels(kNearest[0]));

} // namespace

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
    if (m_mode == DitherMode::Diffuse) {
        const auto diffuse = VELLUM_CHOOSE_SSE41(diffuseCubePortable, diffuseCubeSse41);
        diffuse(out, pixels, m_errors.data(), m_width, (m_row & 1) != 0);
    } else {
        const auto ordered = VELLUM_CHOOSE_SSE41(orderedCubePortable, orderedCubeSse41);
        ordered(out, pixels, m_mode == DitherMode::Ordered ? kDitherMatrix[m_row & 15] : kNearest,
                m_width);
    }
    ++m_row;
}

} // namespace vellum::convert
