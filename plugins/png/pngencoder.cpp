#include "png/pngencoder.h"

#include "shared/device.h"
#include "shared/xmp.h"

#include <array>
#include <vector>

namespace vellum::plugin {

namespace {

constexpr QRgb kBlack = 0xff000000;
constexpr QRgb kWhite = 0xffffffff;

bool isRgbProfile(const QByteArray &icc) { return icc.mid(16, 4) == "RGB "; }

/// zlib's level, 0 to 9; -1 for its default.
int compressionLevel(const WriteOptions &options)
{
    if (options.compression >= 0)
        return qMin(options.compression, 100) * 9 / 100;
    if (options.quality >= 0)
        return qMin((100 - qMin(options.quality, 100)) * 9 / 91, 9);
    return -1;
}

/// The smallest depth for indices into \a colors colours.
int indexDepth(int colors) { return colors <= 2 ? 1 : colors <= 4 ? 2 : colors <= 16 ? 4 : 8; }

bool isLatin1(const QString &text) { return QString::fromLatin1(text.toLatin1()) == text; }

} // namespace

PngEncoder::PngEncoder(QIODevice &device, const WriteOptions &options,
                       const QLoggingCategory &category)
    : PngCodec(device, category), m_options(options)
{
    m_png =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, static_cast<PngCodec *>(this), fail, warn);
    m_info = m_png ? png_create_info_struct(m_png) : nullptr;
}

PngEncoder::~PngEncoder() { png_destroy_write_struct(&m_png, &m_info); }

void PngEncoder::writeData(png_structp png, png_bytep data, size_t bytes)
{
    auto *const device = static_cast<QIODevice *>(png_get_io_ptr(png));
    if (!writeExactly(*device, data, qint64(bytes)))
        png_error(png, "the device takes no more");
}

void PngEncoder::flush(png_structp) { }

PngEncoder::Layout PngEncoder::layoutFor(const Picture &picture, Encoding encoding)
{
    const QVector<QRgb> &colors = picture.colorTable;
    switch (encoding) {
    case Encoding::Mono: {
        // With an RGB profile black and white are colours: grey pictures cannot have one.
        const bool isGrey = !isRgbProfile(picture.icc);
        if (isGrey && (colors.size() < 2 || colors == QVector<QRgb> {kBlack, kWhite}))
            return {PNG_COLOR_TYPE_GRAY, 1};
        if (isGrey && colors == QVector<QRgb> {kWhite, kBlack})
            return {PNG_COLOR_TYPE_GRAY, 1, true};
        return {PNG_COLOR_TYPE_PALETTE, 1};
    }
    case Encoding::Indexed8:
        return {PNG_COLOR_TYPE_PALETTE, indexDepth(colors.size())};
    case Encoding::Gray8:
        return {PNG_COLOR_TYPE_GRAY};
    case Encoding::Gray16:
        return {PNG_COLOR_TYPE_GRAY, 16};
    case Encoding::Rgba8:
        return {PNG_COLOR_TYPE_RGB_ALPHA};
    case Encoding::Rgb16:
        return {PNG_COLOR_TYPE_RGB, 16};
    case Encoding::Rgba16:
        return {PNG_COLOR_TYPE_RGB_ALPHA, 16};
    case Encoding::Rgb8:
    case Encoding::Cmyk8:
        break;
    }
    return {PNG_COLOR_TYPE_RGB};
}

bool PngEncoder::writeHeader(const Picture &picture, Encoding encoding)
{
    const Layout layout = layoutFor(picture, encoding);
    if (!m_info || !guarded([&] {
            png_set_user_limits(m_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
            png_set_benign_errors(m_png, 1);
            png_set_write_fn(m_png, &m_device, writeData, flush);
            png_set_compression_level(m_png, compressionLevel(m_options));
            png_set_IHDR(m_png, m_info, png_uint_32(picture.size.width()),
                         png_uint_32(picture.size.height()), layout.depth, layout.type,
                         PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        }))
        return false;

    if (layout.type == PNG_COLOR_TYPE_PALETTE)
        setColorTable(picture.colorTable);
    const bool isGrey = (layout.type & PNG_COLOR_MASK_COLOR) == 0;
    if (!picture.icc.isEmpty() && isRgbProfile(picture.icc) != isGrey && !setProfile(picture.icc))
        return false;
    setTexts(picture.texts);
    return guarded([&] {
        if (picture.dotsPerMeterX > 0 && picture.dotsPerMeterY > 0) {
            png_set_pHYs(m_png, m_info, png_uint_32(picture.dotsPerMeterX),
                         png_uint_32(picture.dotsPerMeterY), PNG_RESOLUTION_METER);
        }
        if (!picture.offset.isNull()) {
            png_set_oFFs(m_png, m_info, picture.offset.x(), picture.offset.y(), PNG_OFFSET_PIXEL);
        }
        if (!picture.exif.isEmpty()) {
            png_set_eXIf_1(
                m_png, m_info, png_uint_32(picture.exif.size()),
                reinterpret_cast<png_bytep>(const_cast<char *>(picture.exif.constData())));
        }
        png_write_info(m_png, m_info);
        if (layout.isInverted)
            png_set_invert_mono(m_png);
        if (layout.depth < 8 && encoding == Encoding::Indexed8)
            png_set_packing(m_png);
        if (layout.depth == 16 && Q_BYTE_ORDER == Q_LITTLE_ENDIAN)
            png_set_swap(m_png);
    });
}

void PngEncoder::setColorTable(const QVector<QRgb> &colors)
{
    std::array<png_color, PNG_MAX_PALETTE_LENGTH> palette {};
    std::array<png_byte, PNG_MAX_PALETTE_LENGTH> alphas {};
    const int count = qMin(colors.size(), PNG_MAX_PALETTE_LENGTH);
    int alphaCount = 0; // opaque colours at the end need none
    for (int i = 0; i < count; ++i) {
        palette[size_t(i)] = {png_byte(qRed(colors[i])), png_byte(qGreen(colors[i])),
                              png_byte(qBlue(colors[i]))};
        alphas[size_t(i)] = png_byte(qAlpha(colors[i]));
        if (qAlpha(colors[i]) != 255)
            alphaCount = i + 1;
    }
    static_cast<void>(guarded([&] {
        png_set_PLTE(m_png, m_info, palette.data(), count);
        if (alphaCount > 0)
            png_set_tRNS(m_png, m_info, alphas.data(), alphaCount, nullptr);
    }));
}

/// \return false when libpng does not accept the profile that the pixels are in
bool PngEncoder::setProfile(const QByteArray &icc)
{
    static_cast<void>(guarded([&] {
        png_set_iCCP(m_png, m_info, "ICC profile", PNG_COMPRESSION_TYPE_BASE,
                     reinterpret_cast<png_const_bytep>(icc.constData()), png_uint_32(icc.size()));
    }));
    return png_get_valid(m_png, m_info, PNG_INFO_iCCP) != 0;
}

void PngEncoder::setTexts(const QVector<Text> &texts)
{
    constexpr int kLongestKey = 79;
    constexpr int kWorthCompressing = 1024; // bytes
    // What other programs look for uncompressed.
    const QByteArray xmp = kXmpKey;
    struct Entry
    {
        QByteArray key;
        QByteArray value;
        int compression;
    };
    std::vector<Entry> entries;
    for (const Text &text : texts) {
        const QByteArray key = text.key.simplified().toLatin1().left(kLongestKey).trimmed();
        if (key.isEmpty())
            continue;
        const bool isUtf8 = key == xmp || !isLatin1(text.value);
        const QByteArray value = isUtf8 ? text.value.toUtf8() : text.value.toLatin1();
        const bool isLong = key != xmp && value.size() >= kWorthCompressing;
        entries.push_back({key, value,
                           isUtf8
                               ? (isLong ? PNG_ITXT_COMPRESSION_zTXt : PNG_ITXT_COMPRESSION_NONE)
                               : (isLong ? PNG_TEXT_COMPRESSION_zTXt : PNG_TEXT_COMPRESSION_NONE)});
    }
    for (const Entry &entry : entries) {
        png_text chunk {};
        chunk.key = const_cast<char *>(entry.key.constData());
        chunk.text = const_cast<char *>(entry.value.constData());
        chunk.compression = entry.compression;
        char none[] = "";
        chunk.lang = none;
        chunk.lang_key = none;
        static_cast<void>(guarded([&] { png_set_text(m_png, m_info, &chunk, 1); }));
    }
}

bool PngEncoder::writeRow(const uchar *row, const uchar *)
{
    return guarded([&] { png_write_row(m_png, row); });
}

bool PngEncoder::writeEnd()
{
    return guarded([&] { png_write_end(m_png, nullptr); });
}

} // namespace vellum::plugin
