#include <vellum/convert/colorcube_p.h>
#include <vellum/convert/colortables_p.h>
#include <vellum/convert/ditherrows_p.h>
#include <vellum/convert/monokernels_p.h>
#include <vellum/image/cpufeatures_p.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

namespace vellum::convert {

namespace {

/// The mode of the colour bits; both of them set are no mode of their own and mean \a both.
DitherMode colorMode(Qt::ImageConversionFlags flags, DitherMode both)
{
    switch (int(flags & Qt::Dither_Mask)) {
    case Qt::DiffuseDither:
        return DitherMode::Diffuse;
    case Qt::OrderedDither:
        return DitherMode::Ordered;
    case Qt::ThresholdDither:
        return DitherMode::Threshold;
    default:
        return both;
    }
}

/// Any other bits, both of the mask included, mean the threshold.
DitherMode alphaMode(Qt::ImageConversionFlags flags)
{
    switch (int(flags & Qt::AlphaDither_Mask)) {
    case Qt::DiffuseAlphaDither:
        return DitherMode::Diffuse;
    case Qt::OrderedAlphaDither:
        return DitherMode::Ordered;
    default:
        return DitherMode::Threshold;
    }
}

class MonoRows : public RowConverter
{
public:
    MonoRows(int width, QImage::Format from, const QVector<QRgb> &colors, bool lsbFirst,
             Qt::ImageConversionFlags flags)
        : m_width(width), m_indexed(from == QImage::Format_Indexed8),
          m_greys(bytesOfIndices(colors, greyOf)),
          m_dither(width, colorMode(flags, DitherMode::Diffuse), MonoSense::Color, lsbFirst)
    {
    }

    bool convert(uchar *const *out, const uchar *const *in, int count) override
    {
        const auto greysOfPixels = VELLUM_CHOOSE_SSE41(greysOfPixelsPortable, greysOfPixelsSse41);
        for (int i = 0; i < count; ++i) {
            uchar *const values = m_dither.values(i);
            if (m_indexed) {
                for (int x = 0; x < m_width; ++x)
                    values[x] = m_greys[in[i][x]];
            } else {
                greysOfPixels(values, in[i], m_width);
            }
        }
        m_dither.dither(out, count);
        return true;
    }

    QVector<QRgb> colors() const override { return {0xffffffff, 0xff000000}; }

private:
    int m_width;
    bool m_indexed;
    std::array<uchar, 256> m_greys; // of the indices
    MonoDither m_dither;
};

class PaletteRows : public RowConverter
{
public:
    PaletteRows(int width, QImage::Format from)
        : m_width(width), m_alphaMask(from == QImage::Format_RGB32 ? 0xff000000 : 0)
    {
        m_slots.fill({0, kNoIndex});
    }

    bool convert(uchar *const *out, const uchar *const *in, int count) override
    {
        for (int i = 0; i < count; ++i) {
            if (!convertRow(out[i], in[i]))
                return false;
        }
        return true;
    }

    QVector<QRgb> colors() const override { return m_colors; }

private:
    static constexpr int kNoIndex = -1;
    static constexpr quint32 kSlots = 997; // prime, and four times the most colours

    struct Slot
    {
        QRgb color;
        int index;
    };

    bool convertRow(uchar *out, const uchar *in)
    {
        for (int x = 0; x < m_width; ++x, in += 4) {
            QRgb color;
            std::memcpy(&color, in, sizeof color);
            color |= m_alphaMask;
            // Neighbours are often alike.
            if (color != m_lastColor || m_lastIndex == kNoIndex) {
                const int index = indexOf(color);
                if (index == kNoIndex)
                    return false;
                m_lastColor = color;
                m_lastIndex = index;
            }
            out[x] = uchar(m_lastIndex);
        }
        return true;
    }

    int indexOf(QRgb color)
    {
        quint32 i = color % kSlots;
        while (m_slots[i].index != kNoIndex && m_slots[i].color != color)
            i = i + 1 < kSlots ? i + 1 : 0;
        if (m_slots[i].index == kNoIndex && m_colors.size() < 256) {
            m_slots[i] = {color, m_colors.size()};
            m_colors.append(color);
        }
        return m_slots[i].index;
    }

    int m_width;
    QRgb m_alphaMask;
    std::array<Slot, kSlots> m_slots;
    QVector<QRgb> m_colors; // in order of appearance
    QRgb m_lastColor = 0;
    int m_lastIndex = kNoIndex;
};

class CubeRows : public RowConverter
{
public:
    CubeRows(int width, QImage::Format from, Qt::ImageConversionFlags flags,
             const QVector<QRgb> &collected)
        : m_width(width), m_cube(width, colorMode(flags, DitherMode::Ordered)), m_colors(collected)
    {
        m_colors.resize(256);
        const QVector<QRgb> cube = cubeColors();
        std::copy(cube.cbegin(), cube.cend(), m_colors.begin());
        if (from == QImage::Format_RGB32)
            return;
        m_colors[kTransparentIndex] = 0;
        m_mask = std::make_unique<MonoDither>(width, alphaMode(flags), MonoSense::Alpha, false);
        m_maskStride = size_t(width) / 8 + 1;
        m_maskBits.resize(m_maskStride * kGroup);
    }

    bool convert(uchar *const *out, const uchar *const *in, int count) override
    {
        for (int i = 0; i < count; ++i)
            m_cube.dither(out[i], in[i]);
        if (m_mask)
            maskOut(out, in, count);
        return true;
    }

    QVector<QRgb> colors() const override { return m_colors; }

private:
    static constexpr uchar kTransparentIndex = 216; // behind the cube

    void maskOut(uchar *const *out, const uchar *const *in, int count)
    {
        const auto transparencies =
            VELLUM_CHOOSE_SSE41(transparenciesOfPixelsPortable, transparenciesOfPixelsSse41);
        uchar *bits[kGroup];
        for (int i = 0; i < count; ++i) {
            transparencies(m_mask->values(i), in[i], m_width);
            bits[i] = m_maskBits.data() + size_t(i) * m_maskStride;
        }
        m_mask->dither(bits, count);
        for (int i = 0; i < count; ++i) {
            for (int x = 0; x < m_width; x += 8) {
                const uchar opaque = bits[i][x / 8];
                if (opaque == 0xff)
                    continue;
                for (int k = 0; k < 8 && x + k < m_width; ++k) {
                    if (!(opaque & 0x80 >> k))
                        out[i][x + k] = kTransparentIndex;
                }
            }
        }
    }

    int m_width;
    CubeDither m_cube;
    QVector<QRgb> m_colors;
    std::unique_ptr<MonoDither> m_mask; // none for opaque sources
    size_t m_maskStride = 0;
    std::vector<uchar> m_maskBits;
};

/// Null when there is no memory for the buffers, which are some rows wide.
template <typename Rows, typename... Arguments>
std::unique_ptr<RowConverter> make(const Arguments &...arguments)
{
    try {
        return std::make_unique<Rows>(arguments...);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

} // namespace

RowConverter::~RowConverter() = default;

std::unique_ptr<RowConverter> makeMonoRows(int width, QImage::Format from,
                                           const QVector<QRgb> &colors, bool lsbFirst,
                                           Qt::ImageConversionFlags flags)
{
    return make<MonoRows>(width, from, colors, lsbFirst, flags);
}

std::unique_ptr<RowConverter> makePaletteRows(int width, QImage::Format from)
{
    return make<PaletteRows>(width, from);
}

std::unique_ptr<RowConverter> makeCubeRows(int width, QImage::Format from,
                                           Qt::ImageConversionFlags flags,
                                           const QVector<QRgb> &collected)
{
    return make<CubeRows>(width, from, flags, collected);
}

IndexedPlan indexedPlan(QImage::Format from, Qt::ImageConversionFlags flags)
{
    const bool collects = (flags & Qt::DitherMode_Mask) != Qt::PreferDither;
    return {collects, collects && from == QImage::Format_RGB32};
}

} // namespace vellum::convert
