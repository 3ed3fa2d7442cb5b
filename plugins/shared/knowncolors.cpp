#include "shared/knowncolors.h"

#include <array>
#include <cstring>

namespace vellum::plugin {

namespace {

constexpr int kBucketBits = 14;
constexpr int kMostKnown = 1 << 16;

int bucketOf(quint32 color)
{
    constexpr quint32 kGoldenRatio = 2654435769U; // of 2^32: spreads colours that lie close by
    return int(color * kGoldenRatio >> (32 - kBucketBits));
}

} // namespace

struct KnownColors::Tables
{
    struct Bucket
    {
        quint32 color;
        quint32 result; // index
    };

    std::array<Bucket, size_t(1) << kBucketBits> buckets; // the last colour of each
    std::array<quint32, kMostKnown> results;
    std::array<quint32, kPiece + 1> unknown;
    std::array<quint32, kPiece> pixels; // indices of their results
};

KnownColors::KnownColors(quint32 colorBits) : m_tables(new Tables), m_colorBits(colorBits)
{
    forget();
}

KnownColors::~KnownColors() = default;

void KnownColors::forget()
{
    m_known = 0;
    // Colours that do not belong there: no colour is found that has not been put in.
    m_tables->buckets.fill({0, 0});
    m_tables->buckets[size_t(bucketOf(0))].color = 1;
    m_tables->results.fill(~0U);
}

KnownColors::Unknown KnownColors::findUnknown(const uchar *in, int count)
{
    if (m_known + count > kMostKnown)
        forget();
    Tables &tables = *m_tables;
    const auto known = quint32(m_known);
    quint32 found = 0;
    // Without branches, which could not be predicted.
    for (int i = 0; i < count; ++i) {
        quint32 color;
        std::memcpy(&color, in + qptrdiff(i) * 4, sizeof color);
        color &= m_colorBits;
        Tables::Bucket &bucket = tables.buckets[size_t(bucketOf(color))];
        const bool isUnknown = bucket.color != color;
        const quint32 result = isUnknown ? known + found : bucket.result;
        tables.unknown[found] = color;
        found += isUnknown;
        bucket = {color, result};
        tables.pixels[size_t(i)] = result;
    }
    m_known += int(found);
    return {reinterpret_cast<uchar *>(tables.results.data() + known),
            reinterpret_cast<const uchar *>(tables.unknown.data()), int(found)};
}

void KnownColors::lookUp(uchar *out, int count) const
{
    for (int i = 0; i < count; ++i) {
        const quint32 result = m_tables->results[m_tables->pixels[size_t(i)]];
        std::memcpy(out + qptrdiff(i) * 4, &result, sizeof result);
    }
}

} // namespace vellum::plugin
