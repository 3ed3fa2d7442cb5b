#include "tiff/pixels.h"

#include "tiff/lab.h"
#include "tiff/ycbcr.h"

#include <QRgba64>

#include <lcms2.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

namespace vellum::plugin::tiff {

namespace {

bool isIndexed(const Layout &layout) { return layout.photometric == PHOTOMETRIC_PALETTE; }

bool isGrey(const Layout &layout) { return layout.colors == 1 && !isIndexed(layout); }

/// A pixel of four samples as it lies in an image.
template <typename T>
using Pixel = std::conditional_t<std::is_same_v<T, uchar>, QRgb, QRgba64>;

QRgb pixelOf(uchar r, uchar g, uchar b, uchar a) { return qRgba(r, g, b, a); }
QRgba64 pixelOf(quint16 r, quint16 g, quint16 b, quint16 a) { return qRgba64(r, g, b, a); }

template <typename T>
constexpr T kWhite = std::numeric_limits<T>::max();

/// Divides by an alpha that colours were multiplied with.
template <typename T>
T divided(T color, T alpha)
{
    const quint32 white = kWhite<T>;
    return alpha == 0 ? T(0) : T(std::min(white, (color * white + alpha / 2U) / alpha));
}

/// Gives colours the alpha that stands beside them.
template <typename T>
class AlphaWriter
{
public:
    explicit AlphaWriter(const Layout &layout)
        : m_alpha(layout.alpha), m_associated(layout.alphaIsAssociated)
    {
    }

    Pixel<T> pixel(T r, T g, T b, const T *samples) const
    {
        if (m_alpha < 0)
            return pixelOf(r, g, b, kWhite<T>);
        const T alpha = samples[m_alpha];
        if (!m_associated)
            return pixelOf(r, g, b, alpha);
        return pixelOf(divided(r, alpha), divided(g, alpha), divided(b, alpha), alpha);
    }

private:
    int m_alpha;
    bool m_associated;
};

template <typename T>
class GrayConverter : public PixelConverter<T>
{
public:
    explicit GrayConverter(const Layout &layout)
        : m_samples(layout.samples),
          m_flip(layout.photometric == PHOTOMETRIC_MINISWHITE ? kWhite<T> : T(0))
    {
    }

    void convert(uchar *out, const T *in, int count) const override
    {
        auto *const pixels = reinterpret_cast<T *>(out);
        for (int x = 0; x < count; ++x, in += m_samples)
            pixels[x] = *in ^ m_flip;
    }

private:
    int m_samples;
    T m_flip;
};

template <typename T>
class GrayAlphaConverter : public PixelConverter<T>
{
public:
    explicit GrayAlphaConverter(const Layout &layout)
        : m_samples(layout.samples), m_writer(layout),
          m_flip(layout.photometric == PHOTOMETRIC_MINISWHITE ? kWhite<T> : T(0))
    {
    }

    void convert(uchar *out, const T *in, int count) const override
    {
        auto *const pixels = reinterpret_cast<Pixel<T> *>(out);
        for (int x = 0; x < count; ++x, in += m_samples) {
            const T gray = *in ^ m_flip;
            pixels[x] = m_writer.pixel(gray, gray, gray, in);
        }
    }

private:
    int m_samples;
    AlphaWriter<T> m_writer;
    T m_flip;
};

/// Indices that stay such.
class IndexConverter : public PixelConverter<uchar>
{
public:
    explicit IndexConverter(const Layout &layout) : m_samples(layout.samples) { }

    void convert(uchar *out, const uchar *in, int count) const override
    {
        for (int x = 0; x < count; ++x, in += m_samples)
            out[x] = *in;
    }

private:
    int m_samples;
};

/// Indices that become colours.
template <typename T>
class LookUpConverter : public PixelConverter<T>
{
public:
    LookUpConverter(const Layout &layout, const Palette &palette)
        : m_samples(layout.samples), m_writer(layout), m_palette(palette)
    {
    }

    void convert(uchar *out, const T *in, int count) const override
    {
        constexpr int kUnused = std::is_same_v<T, uchar> ? 8 : 0; // bits of a colour
        auto *const pixels = reinterpret_cast<Pixel<T> *>(out);
        for (int x = 0; x < count; ++x, in += m_samples) {
            const int index = *in;
            const auto color = [index](const QVector<quint16> &table) {
                return T(table.value(index) >> kUnused);
            };
            pixels[x] = m_writer.pixel(color(m_palette.red), color(m_palette.green),
                                       color(m_palette.blue), in);
        }
    }

private:
    int m_samples;
    AlphaWriter<T> m_writer;
    Palette m_palette;
};

template <typename T>
class RgbConverter : public PixelConverter<T>
{
public:
    explicit RgbConverter(const Layout &layout) : m_samples(layout.samples), m_writer(layout) { }

    void convert(uchar *out, const T *in, int count) const override
    {
        auto *const pixels = reinterpret_cast<Pixel<T> *>(out);
        for (int x = 0; x < count; ++x, in += m_samples)
            pixels[x] = m_writer.pixel(in[0], in[1], in[2], in);
    }

private:
    int m_samples;
    AlphaWriter<T> m_writer;
};

class YCbCrConverter : public PixelConverter<uchar>
{
public:
    YCbCrConverter(TIFF *tiff, const Layout &layout)
        : m_samples(layout.samples), m_writer(layout), m_table(tiff)
    {
    }

    void convert(uchar *out, const uchar *in, int count) const override
    {
        auto *const pixels = reinterpret_cast<QRgb *>(out);
        for (int x = 0; x < count; ++x, in += m_samples) {
            const QRgb rgb = m_table.rgb(in[0], in[1], in[2]);
            pixels[x] = m_writer.pixel(uchar(qRed(rgb)), uchar(qGreen(rgb)), uchar(qBlue(rgb)), in);
        }
    }

private:
    int m_samples;
    AlphaWriter<uchar> m_writer;
    YCbCrTable m_table;
};

template <typename T>
class InkConverter : public PixelConverter<T>
{
public:
    explicit InkConverter(const Layout &layout) : m_samples(layout.samples) { }

    void convert(uchar *out, const T *in, int count) const override
    {
        for (int x = 0; x < count; ++x, in += m_samples, out += 4 * sizeof(T))
            std::memcpy(out, in, 4 * sizeof(T));
    }

private:
    int m_samples;
};

template <typename T>
class LabConverter : public PixelConverter<T>
{
public:
    explicit LabConverter(const Layout &layout)
        : m_samples(layout.samples), m_hasColors(layout.colors == 3),
          m_photometric(layout.photometric)
    {
    }

    void convert(uchar *out, const T *in, int count) const override
    {
        for (int x = 0; x < count; ++x, in += m_samples, out += sizeof(Lab16)) {
            Lab16 pixel = converted(in);
            if (!m_hasColors)
                pixel.a = pixel.b = kNeutral;
            std::memcpy(out, &pixel, sizeof pixel);
        }
    }

private:
    static constexpr quint16 kNeutral = 0x8080;

    Lab16 converted(const T *in) const
    {
        const T a = m_hasColors ? in[1] : T(0);
        const T b = m_hasColors ? in[2] : T(0);
        switch (m_photometric) {
        case PHOTOMETRIC_CIELAB:
            return fromCieLab(in[0], a, b);
        case PHOTOMETRIC_ICCLAB:
            return fromIccLab(in[0], a, b);
        default:
            return fromItuLab(in[0], a, b);
        }
    }

    int m_samples;
    bool m_hasColors;
    quint16 m_photometric;
};

QVector<QRgb> colorTableOf(const Palette &palette)
{
    QVector<QRgb> table;
    table.reserve(palette.red.size());
    for (int i = 0; i < palette.red.size(); ++i)
        table.append(qRgb(palette.red[i] >> 8, palette.green[i] >> 8, palette.blue[i] >> 8));
    return table;
}

} // namespace

Palette readPalette(TIFF *tiff, int bits)
{
    quint16 *red = nullptr;
    quint16 *green = nullptr;
    quint16 *blue = nullptr;
    if (bits > 16 || !TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue))
        return {};
    const int count = 1 << bits;
    const auto table = [count](const quint16 *colors) {
        return QVector<quint16>(colors, colors + count);
    };
    Palette palette {table(red), table(green), table(blue)};
    QVector<quint16> *const tables[] = {&palette.red, &palette.green, &palette.blue};
    const auto is8Bit = [](const QVector<quint16> *colors) {
        return std::all_of(colors->begin(), colors->end(), [](quint16 c) { return c < 256; });
    };
    // Some writers forget to scale their colours to 16 bits.
    if (std::all_of(std::begin(tables), std::end(tables), is8Bit)) {
        for (QVector<quint16> *colors : tables)
            for (quint16 &color : *colors)
                color = quint16(color * 257);
    }
    return palette;
}

PixelKind pixelKind(const Layout &layout, const Palette &palette)
{
    const bool wide = layout.isWide();
    const bool hasAlpha = layout.alpha >= 0;
    const QImage::Format opaque = wide ? QImage::Format_RGBX64 : QImage::Format_RGB32;
    const QImage::Format translucent = wide ? QImage::Format_RGBA64 : QImage::Format_ARGB32;
    switch (layout.photometric) {
    case PHOTOMETRIC_SEPARATED:
        return {opaque, wide ? unsigned(TYPE_CMYK_16) : unsigned(TYPE_CMYK_8), {}};
    case PHOTOMETRIC_CIELAB:
    case PHOTOMETRIC_ICCLAB:
    case PHOTOMETRIC_ITULAB:
        return {opaque, TYPE_Lab_16, {}};
    default:
        break;
    }
    if (hasAlpha || layout.colors == 3 || (isIndexed(layout) && wide))
        return {hasAlpha ? translucent : opaque, 0, {}};
    if (isIndexed(layout)) {
        const bool isBits = layout.bits == 1 && layout.samples == 1;
        return {isBits ? QImage::Format_Mono : QImage::Format_Indexed8, 0, colorTableOf(palette)};
    }
    if (layout.bits == 1 && layout.samples == 1) {
        const QRgb black = qRgb(0, 0, 0);
        const QRgb white = qRgb(255, 255, 255);
        if (layout.photometric == PHOTOMETRIC_MINISWHITE)
            return {QImage::Format_Mono, 0, {white, black}};
        return {QImage::Format_Mono, 0, {black, white}};
    }
    return {wide ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8, 0, {}};
}

bool needsScaling(const Layout &layout) { return !isIndexed(layout); }

template <typename T>
std::unique_ptr<PixelConverter<T>> makePixelConverter(TIFF *tiff, const Layout &layout,
                                                      const Palette &palette)
{
    constexpr bool kNarrow = std::is_same_v<T, uchar>;
    const bool hasAlpha = layout.alpha >= 0;
    switch (layout.photometric) {
    case PHOTOMETRIC_SEPARATED:
        return std::make_unique<InkConverter<T>>(layout);
    case PHOTOMETRIC_CIELAB:
    case PHOTOMETRIC_ICCLAB:
    case PHOTOMETRIC_ITULAB:
        return std::make_unique<LabConverter<T>>(layout);
    case PHOTOMETRIC_PALETTE:
        if constexpr (kNarrow) {
            if (!hasAlpha)
                return std::make_unique<IndexConverter>(layout);
        }
        return std::make_unique<LookUpConverter<T>>(layout, palette);
    case PHOTOMETRIC_YCBCR:
        if constexpr (kNarrow)
            return std::make_unique<YCbCrConverter>(tiff, layout);
        else
            return nullptr; // readLayout() lets 8 bits through only
    default:
        break;
    }
    if (!isGrey(layout))
        return std::make_unique<RgbConverter<T>>(layout);
    if (hasAlpha)
        return std::make_unique<GrayAlphaConverter<T>>(layout);
    return std::make_unique<GrayConverter<T>>(layout);
}

template std::unique_ptr<PixelConverter<uchar>> makePixelConverter(TIFF *, const Layout &,
                                                                   const Palette &);
template std::unique_ptr<PixelConverter<quint16>> makePixelConverter(TIFF *, const Layout &,
                                                                     const Palette &);

} // namespace vellum::plugin::tiff
