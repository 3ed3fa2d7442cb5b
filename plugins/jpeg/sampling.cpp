#include "jpeg/sampling.h"

#include <algorithm>

namespace vellum::plugin {

namespace {

struct Sampling
{
    const char *name;
    int h; ///< pixels side by side that share a colour
    int v; ///< pixels one above the other that do
};

constexpr Sampling kSamplings[] = {
    {"444", 1, 1}, {"440", 1, 2}, {"422", 2, 1}, {"420", 2, 2}, {"411", 4, 1},
};

const Sampling *samplingFor(const QByteArray &name)
{
    const auto *const found = std::find_if(std::begin(kSamplings), std::end(kSamplings),
                                           [&](const Sampling &s) { return name == s.name; });
    return found == std::end(kSamplings) ? nullptr : found;
}

} // namespace

QList<QByteArray> samplingNames()
{
    QList<QByteArray> names;
    for (const Sampling &sampling : kSamplings)
        names.append(sampling.name);
    return names;
}

bool isSampling(const QByteArray &name) { return samplingFor(name) != nullptr; }

QByteArray samplingOf(const jpeg_decompress_struct &codec)
{
    if (codec.num_components < 3)
        return {};
    const jpeg_component_info *const c = codec.comp_info;
    if (c[1].h_samp_factor != c[2].h_samp_factor || c[1].v_samp_factor != c[2].v_samp_factor)
        return {};
    for (const Sampling &sampling : kSamplings) {
        if (c[0].h_samp_factor == sampling.h * c[1].h_samp_factor &&
            c[0].v_samp_factor == sampling.v * c[1].v_samp_factor)
            return sampling.name;
    }
    return {};
}

void setSampling(jpeg_compress_struct &codec, const QByteArray &name)
{
    const Sampling &sampling = *samplingFor(name);
    for (int i = 0; i < codec.num_components; ++i) {
        const bool isFull = i == 0 || i == 3; // brightness, and black
        codec.comp_info[i].h_samp_factor = isFull ? sampling.h : 1;
        codec.comp_info[i].v_samp_factor = isFull ? sampling.v : 1;
    }
}

} // namespace vellum::plugin
