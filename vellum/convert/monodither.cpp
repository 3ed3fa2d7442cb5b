#include <vellum/convert/constants_p.h>
#include <vellum/convert/monodither_p.h>
#include <vellum/convert/monokernels_p.h>
#include <vellum/image/cpufeatures_p.h>

#include <algorithm>

namespace vellum::convert {

static_assert(MonoDither::kGroup == kDiffuseRows);

MonoDither::MonoDither(int width, DitherMode mode, MonoSense sense, bool lsbFirst)
    : m_width(width), m_mode(mode), m_sense(sense), m_lsbFirst(lsbFirst),
      m_stride(size_t(width) + 2 * kDiffusePad), m_values(m_stride * kGroup)
{
    if (mode == DitherMode::Diffuse) {
        m_errors.resize(size_t(width));
        m_bits.resize(m_stride);
    }
}

uchar *MonoDither::values(int i) { return m_values.data() + size_t(i) * m_stride + kDiffusePad; }

void MonoDither::dither(uchar *const *bits, int count)
{
    if (m_mode != DitherMode::Diffuse) {
        ditherBelow(bits, count);
    } else {
        const auto diffuse = count == kDiffuseRows
            ? VELLUM_CHOOSE_SSE41(diffuseRowsPortable, diffuseRowsSse41)
            : diffuseRowsPortable;
        diffuse({values(0), qint64(m_stride), m_errors.data(), m_bits.data(), bits, m_width,
                 m_lsbFirst},
                count);
    }
    m_row += count;
}

void MonoDither::ditherBelow(uchar *const *bits, int count)
{
    const auto packBelow = VELLUM_CHOOSE_SSE41(packBelowPortable, packBelowSse41);
    for (int i = 0; i < count; ++i) {
        uchar thresholds[16];
        std::fill_n(thresholds, 16, uchar(128));
        for (int x = 0; m_mode == DitherMode::Ordered && x < 16; ++x) {
            const uchar m = kDitherMatrix[x][(m_row + i) & 15];
            // alpha >= m is 255 - alpha < 256 - m; no entry is 0
            thresholds[x] = m_sense == MonoSense::Color ? m : uchar(256 - m);
        }
        packBelow(bits[i], values(i), thresholds, m_width, m_lsbFirst);
    }
}

} // namespace vellum::convert
