#include "jpeg/coefficients.h"

#include "jpeg/errors.h"
#include <vellum/io/limits.h>

#include <algorithm>

namespace vellum::plugin {

namespace {

/// Blocks along one axis, filled up to whole groups of \a factor.
qint64 blocksAlong(qint64 pixels, int factor, int maxFactor)
{
    const qint64 perGroup = qint64(DCTSIZE) * maxFactor;
    return (pixels + perGroup - 1) / perGroup * factor;
}

template <typename Codec>
qint64 bytesOf(const Codec &codec)
{
    const jpeg_component_info *const first = codec.comp_info;
    const jpeg_component_info *const last = first + codec.num_components;
    int maxH = 1;
    int maxV = 1;
    for (auto *component = first; component != last; ++component) {
        maxH = std::max(maxH, component->h_samp_factor);
        maxV = std::max(maxV, component->v_samp_factor);
    }
    qint64 blocks = 0;
    for (auto *component = first; component != last; ++component) {
        blocks += blocksAlong(codec.image_width, component->h_samp_factor, maxH) *
            blocksAlong(codec.image_height, component->v_samp_factor, maxV);
    }
    return blocks * qint64(sizeof(JBLOCK));
}

} // namespace

qint64 coefficientBytes(const jpeg_decompress_struct &codec) { return bytesOf(codec); }

qint64 coefficientBytes(const jpeg_compress_struct &codec) { return bytesOf(codec); }

bool mayHoldCoefficients(qint64 bytes)
{
    constexpr qint64 kMiB = 1 << 20;
    constexpr qint64 kMany = 64 * kMiB;
    const qint64 limit = defaultLimits().memory;
    if (bytes > limit) {
        qCWarning(jpegLog) << "the picture must be held as coefficients, which takes"
                           << bytes / kMiB << "MiB; the limit of memory is" << limit / kMiB
                           << "MiB";
        return false;
    }
    if (bytes > kMany)
        qCInfo(jpegLog) << "the picture is held as coefficients, which takes" << bytes / kMiB
                        << "MiB";
    return true;
}

} // namespace vellum::plugin
