#include "png/pngdecoder.h"

#include "png/pngcolor.h"
#include "png/pnglatechunks.h"
#include "shared/device.h"
#include "shared/exif.h"
#include "shared/pixelrows.h"

#include <QBuffer>

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <utility>

namespace vellum::plugin {

namespace {

/// Deflate's best ratio, reached by rows of equal bytes, is just below.
constexpr int kDeflateExpansion = 1032;

constexpr int kMostChunks = 1000; // of texts and the like, whose cost grows with the square

/// What libpng's memory is accounted with.
struct alignas(std::max_align_t) Allocation
{
    size_t bytes;
};

constexpr bool kLittleEndian = Q_BYTE_ORDER == Q_LITTLE_ENDIAN;

} // namespace

PngDecoder::PngDecoder(QIODevice &device, const QLoggingCategory &category)
    : PngCodec(device, category)
{
    m_png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, static_cast<PngCodec *>(this), fail,
                                     warn, this, allocate, release);
    m_info = m_png ? png_create_info_struct(m_png) : nullptr;
}

PngDecoder::~PngDecoder() { png_destroy_read_struct(&m_png, &m_info, nullptr); }

png_voidp PngDecoder::allocate(png_structp png, png_alloc_size_t bytes)
{
    auto &decoder = *static_cast<PngDecoder *>(png_get_mem_ptr(png));
    const size_t whole = bytes + sizeof(Allocation);
    if (whole < bytes || whole > decoder.m_mostMemory - decoder.m_memory)
        return nullptr;
    auto *const allocation = static_cast<Allocation *>(std::malloc(whole));
    if (!allocation)
        return nullptr;
    allocation->bytes = whole;
    decoder.m_memory += whole;
    return allocation + 1;
}

void PngDecoder::release(png_structp png, png_voidp memory)
{
    auto *const allocation = static_cast<Allocation *>(memory) - 1;
    static_cast<PngDecoder *>(png_get_mem_ptr(png))->m_memory -= allocation->bytes;
    std::free(allocation);
}

void PngDecoder::readData(png_structp png, png_bytep out, size_t bytes)
{
    auto *const device = static_cast<QIODevice *>(png_get_io_ptr(png));
    if (!readExactly(*device, out, qint64(bytes)))
        png_error(png, "the file ends early");
    // The compressed data is asked for in portions. One that ends with the file must be no larger
    // than what is there, or the rows in it would be lost.
    constexpr qint64 kPortion = 8192;
    const qint64 portion = qBound(qint64(1), device->bytesAvailable(), kPortion);
    png_set_compression_buffer_size(png, size_t(portion));
}

bool PngDecoder::readHeader(Picture &picture)
{
    if (!m_info)
        return false;
    QImage::Format format = QImage::Format_Invalid;
    const bool isRead = guarded([&] {
        png_set_user_limits(m_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_chunk_cache_max(m_png, kMostChunks);
        png_set_benign_errors(m_png, 1);
        png_set_read_fn(m_png, &m_device, readData);
        png_read_info(m_png, m_info);
        format = chooseFormat();
    });
    if (!isRead)
        return false;

    m_size = {int(png_get_image_width(m_png, m_info)), int(png_get_image_height(m_png, m_info))};
    picture.size = m_size;
    picture.format = format;
    picture.colorTable = colorTable();
    chooseColors(picture);
    picture.exif = exif();
    picture.transformation = exifTransformation(picture.exif);
    picture.dotsPerMeterX = int(png_get_x_pixels_per_meter(m_png, m_info));
    picture.dotsPerMeterY = int(png_get_y_pixels_per_meter(m_png, m_info));
    png_int_32 x = 0;
    png_int_32 y = 0;
    int unit = 0;
    if (png_get_oFFs(m_png, m_info, &x, &y, &unit) && unit == PNG_OFFSET_PIXEL)
        picture.offset = {x, y};
    picture.texts = texts();
    return true;
}

/// Asks libpng for rows in one of QImage's formats.
QImage::Format PngDecoder::chooseFormat()
{
    m_type = png_get_color_type(m_png, m_info);
    m_depth = png_get_bit_depth(m_png, m_info);
    const bool isTransparent = png_get_valid(m_png, m_info, PNG_INFO_tRNS) != 0;
    const int storedBits = m_depth * png_get_channels(m_png, m_info);
    const auto chosen = [&](QImage::Format format) {
        m_maxExpansion = kDeflateExpansion * (bitsPerPixel(format) + storedBits - 1) / storedBits;
        return format;
    };

    if (m_type == PNG_COLOR_TYPE_PALETTE || (m_type == PNG_COLOR_TYPE_GRAY && m_depth < 16)) {
        if (m_depth == 1)
            return chosen(QImage::Format_Mono);
        if (m_type == PNG_COLOR_TYPE_PALETTE || isTransparent) {
            png_set_packing(m_png); // one index per byte, unscaled
            return chosen(QImage::Format_Indexed8);
        }
        png_set_expand_gray_1_2_4_to_8(m_png);
        return chosen(QImage::Format_Grayscale8);
    }
    if (m_depth == 16 && kLittleEndian)
        png_set_swap(m_png);
    if (m_type == PNG_COLOR_TYPE_GRAY && !isTransparent)
        return chosen(QImage::Format_Grayscale16);

    png_set_gray_to_rgb(m_png);
    if (isTransparent)
        png_set_tRNS_to_alpha(m_png);
    const bool hasAlpha = isTransparent || (m_type & PNG_COLOR_MASK_ALPHA) != 0;
    if (m_depth == 16) {
        if (!hasAlpha)
            png_set_filler(m_png, 0xffff, PNG_FILLER_AFTER);
        return chosen(hasAlpha ? QImage::Format_RGBA64 : QImage::Format_RGBX64);
    }
    if (kLittleEndian)
        png_set_bgr(m_png);
    else if (hasAlpha)
        png_set_swap_alpha(m_png);
    if (!hasAlpha)
        png_set_filler(m_png, 0xff, kLittleEndian ? PNG_FILLER_AFTER : PNG_FILLER_BEFORE);
    return chosen(hasAlpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
}

void PngDecoder::chooseColors(Picture &picture) const
{
    const bool isGrey = (m_type & PNG_COLOR_MASK_COLOR) == 0;
    const bool isGreyAsRgb = isGrey && bitsPerPixel(picture.format) > 16;
    png_charp name = nullptr;
    int compression = 0;
    png_bytep profile = nullptr;
    png_uint_32 bytes = 0;
    if (png_get_iCCP(m_png, m_info, &name, &compression, &profile, &bytes)) {
        const QByteArray icc(reinterpret_cast<const char *>(profile), int(bytes));
        picture.icc = isGreyAsRgb ? rgbProfileOf(icc) : icc;
        return;
    }
    PngColors colors;
    if (png_get_valid(m_png, m_info, PNG_INFO_gAMA))
        png_get_gAMA(m_png, m_info, &colors.gamma);
    PngPrimaries p {};
    if (png_get_valid(m_png, m_info, PNG_INFO_cHRM) &&
        png_get_cHRM(m_png, m_info, &p.whiteX, &p.whiteY, &p.redX, &p.redY, &p.greenX, &p.greenY,
                     &p.blueX, &p.blueY))
        colors.primaries = p;
    picture.isSrgb = png_get_valid(m_png, m_info, PNG_INFO_sRGB) || colors.areSrgb();
    if (!picture.isSrgb)
        picture.icc = profileOf(colors, isGrey && !isGreyAsRgb);
}

/// That of an indexed picture, of one bit too; empty for others.
QVector<QRgb> PngDecoder::colorTable() const
{
    if (m_type == PNG_COLOR_TYPE_GRAY)
        return greyTable();
    png_colorp colors = nullptr;
    int count = 0;
    if (m_type != PNG_COLOR_TYPE_PALETTE || !png_get_PLTE(m_png, m_info, &colors, &count))
        return {};
    png_bytep alphas = nullptr;
    int alphaCount = 0;
    if (png_get_valid(m_png, m_info, PNG_INFO_tRNS))
        png_get_tRNS(m_png, m_info, &alphas, &alphaCount, nullptr);
    QVector<QRgb> table(count);
    for (int i = 0; i < count; ++i) {
        table[i] =
            qRgba(colors[i].red, colors[i].green, colors[i].blue, i < alphaCount ? alphas[i] : 255);
    }
    return table;
}

/// Levels of grey for pictures that are Mono, or Indexed8 because one level is transparent.
QVector<QRgb> PngDecoder::greyTable() const
{
    const bool isTransparent = png_get_valid(m_png, m_info, PNG_INFO_tRNS) != 0;
    if (m_depth > 8 || (m_depth > 1 && !isTransparent))
        return {};
    const int most = (1 << m_depth) - 1;
    QVector<QRgb> table(most + 1);
    for (int i = 0; i <= most; ++i)
        table[i] = qRgb(i * 255 / most, i * 255 / most, i * 255 / most);
    png_color_16p transparent = nullptr;
    if (isTransparent && png_get_tRNS(m_png, m_info, nullptr, nullptr, &transparent) &&
        transparent && transparent->gray <= most)
        table[transparent->gray] &= RGB_MASK;
    return table;
}

QVector<Text> PngDecoder::texts() const
{
    png_textp entries = nullptr;
    const int count = png_get_text(m_png, m_info, &entries, nullptr);
    QVector<Text> texts;
    for (int i = 0; i < count; ++i) {
        const png_text &entry = entries[i];
        const bool isUtf8 = entry.compression >= PNG_ITXT_COMPRESSION_NONE;
        const size_t length = isUtf8 ? entry.itxt_length : entry.text_length;
        texts.append({QString::fromLatin1(entry.key),
                      isUtf8 ? QString::fromUtf8(entry.text, int(length))
                             : QString::fromLatin1(entry.text, int(length))});
    }
    return texts;
}

QByteArray PngDecoder::exif() const
{
    png_uint_32 bytes = 0;
    png_bytep block = nullptr;
    if (!png_get_eXIf_1(m_png, m_info, &bytes, &block))
        return {};
    return exifBlock(QByteArray(reinterpret_cast<const char *>(block), int(bytes)));
}

QRect PngDecoder::start(const QRect &)
{
    // Takes memory for rows, whose size the header claims.
    m_mostMemory = std::numeric_limits<size_t>::max();
    if (!guarded([&] { png_read_update_info(m_png, m_info); }))
        return {};
    m_mostMemory = m_memory + kMostMetadata; // for texts behind the pixels
    m_rowsLeft = m_size.height();
    const QVector<Lattice> passes = lattices();
    if (!passes.isEmpty())
        m_rowsLeft = 0;
    for (const Lattice &pass : passes)
        m_rowsLeft += (m_size.height() - pass.y + pass.stepY - 1) / pass.stepY;
    return {QPoint(0, 0), m_size};
}

QVector<Lattice> PngDecoder::lattices() const
{
    if (png_get_interlace_type(m_png, m_info) == PNG_INTERLACE_NONE)
        return {};
    QVector<Lattice> passes;
    for (int pass = 0; pass < PNG_INTERLACE_ADAM7_PASSES; ++pass) {
        const Lattice lattice {PNG_PASS_START_COL(pass), PNG_PASS_START_ROW(pass),
                               1 << PNG_PASS_COL_SHIFT(pass), 1 << PNG_PASS_ROW_SHIFT(pass)};
        // A pass without pixels has no rows in the file.
        if (lattice.x < m_size.width() && lattice.y < m_size.height())
            passes.append(lattice);
    }
    return passes;
}

bool PngDecoder::readRow(uchar *row, uchar *)
{
    const auto rowsSeen = [this] {
        return std::pair(png_get_current_pass_number(m_png), png_get_current_row_number(m_png));
    };
    const auto before = rowsSeen();
    --m_rowsLeft;
    // A call for the last row also reads what follows it, and fails when that is missing.
    return guarded([&] { png_read_row(m_png, row, nullptr); }) || rowsSeen() != before;
}

bool PngDecoder::foresee(int lastRow, Picture &picture)
{
    if (lastRow + 1 < m_size.height()) // readEnd() will not go behind the pixels
        return true;
    const QVector<Text> before = texts();
    std::optional<QByteArray> late =
        lateChunks(m_device, kMostMetadata, kMostChunks / 2 - before.size());
    if (!late || late->isEmpty())
        return late.has_value();
    QBuffer file(&*late);
    Picture end;
    if (!file.open(QIODevice::ReadOnly) || !PngDecoder(file, m_category).readHeader(end))
        return false;
    picture.texts = before + end.texts;
    if (picture.exif.isEmpty())
        picture.exif = end.exif;
    return true;
}

void PngDecoder::readEnd(Picture &picture)
{
    // Behind rows that nobody wanted, the rest would have to be decompressed to be skipped.
    if (m_rowsLeft > 0 || !guarded([&] { png_read_end(m_png, m_info); }))
        return;
    picture.texts = texts();
    if (picture.exif.isEmpty()) {
        picture.exif = exif();
        picture.transformation = exifTransformation(picture.exif);
    }
}

} // namespace vellum::plugin
