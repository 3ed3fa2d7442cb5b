#include "tiff/encoder.h"

#include "shared/device.h"
#include "tiff/tags.h"
#include <vellum/vellum.h>

#include <algorithm>
#include <cstring>

namespace vellum::plugin::tiff {

namespace {

constexpr int kTile = 256; // pixels a side
constexpr qint64 kStripBytes = 256 << 10;

struct Samples
{
    int count;
    int bits;
    bool hasAlpha;
};

Samples samplesOf(Encoding encoding)
{
    switch (encoding) {
    case Encoding::Mono:
        return {1, 1, false};
    case Encoding::Indexed8:
    case Encoding::Gray8:
        return {1, 8, false};
    case Encoding::Gray16:
        return {1, 16, false};
    case Encoding::Rgb8:
        return {3, 8, false};
    case Encoding::Rgba8:
        return {4, 8, true};
    case Encoding::Rgb16:
        return {3, 16, false};
    case Encoding::Rgba16:
        return {4, 16, true};
    case Encoding::Cmyk8:
        return {4, 8, false};
    }
    return {};
}

bool isIndexed(Encoding encoding)
{
    return encoding == Encoding::Mono || encoding == Encoding::Indexed8;
}

/// One sample of an extra channel, \a fromBytes wide, as one of \a T.
template <typename T>
T extraSample(const uchar *extra, int fromBytes)
{
    if (fromBytes == 1)
        return sizeof(T) == 1 ? T(*extra) : T(*extra * 257);
    quint16 wide;
    std::memcpy(&wide, extra, sizeof wide);
    return sizeof(T) == 2 ? T(wide) : T((wide + 128) / 257);
}

template <typename T>
void interleaveSamples(uchar *out, const uchar *row, int colors, const uchar *extra, int extras,
                       int extraBytes, int pixels)
{
    auto *to = reinterpret_cast<T *>(out);
    const auto *from = reinterpret_cast<const T *>(row);
    for (int x = 0; x < pixels; ++x, from += colors) {
        to = std::copy_n(from, colors, to);
        for (int i = 0; i < extras; ++i, extra += extraBytes)
            *to++ = extraSample<T>(extra, extraBytes);
    }
}

/// Bytes of the pixels of \a page in whatever encoding it may be written.
qint64 mostBytesOf(const QImage &page)
{
    const Vellum *const vellum = Vellum::getVellum(const_cast<QImage *>(&page));
    const bool isCmyk = vellum && vellum->isSaveCmykPrepared();
    const bool isTable = page.depth() <= 8 && page.hasAlphaChannel(); // becomes colours
    const bool isOpaque = page.depth() >= 32 && !page.hasAlphaChannel();
    int colors = isOpaque ? page.depth() / 4 * 3 : page.depth(); // bits
    if (isCmyk || isTable)
        colors = qMax(32, colors);
    int channels = 0;
    int channelBits = 0;
    int stride = 0;
    if (vellum)
        vellum->channelsData(channels, channelBits, stride);
    const int extras = channels * 16; // bits, as those of the colours
    return qint64(page.width()) * page.height() / 8 * (colors + extras);
}

} // namespace

TiffEncoder::TiffEncoder(QIODevice &device, const WriteForm &form) : m_device(device), m_form(form)
{
}

TiffEncoder::~TiffEncoder() = default;

void TiffEncoder::announce(const QVector<const QImage *> &pages)
{
    m_pages = pages.size();
    qint64 bytes = 0;
    for (const QImage *page : pages)
        bytes += mostBytesOf(*page);
    m_form.big = m_form.big || needsBigTiff(bytes, m_pages, m_form.compression);
}

bool TiffEncoder::open()
{
    QIODevice *device = &m_device;
    if (device->isSequential()) { // libtiff goes back to fill in where directories are
        m_spool = std::make_unique<QTemporaryFile>();
        if (!m_spool->open())
            return false;
        device = m_spool.get();
    }
    m_stream = std::make_unique<WriteStream>(*device, device->pos());
    m_handle = openToWrite(*m_stream, m_form.big);
    return m_handle != nullptr;
}

bool TiffEncoder::writeHeader(const Picture &picture, Encoding encoding)
{
    if (!m_handle && !open())
        return false;
    TIFF *const tiff = m_handle.get();
    const Samples samples = samplesOf(encoding);
    m_encoding = encoding;
    m_size = picture.size;
    m_extras = picture.extraChannels;
    m_extraBytes = picture.extraBits / 8;
    m_colors = samples.count;
    m_bits = m_extras > 0 ? qMax(8, samples.bits) : samples.bits;
    m_pixelBits = m_bits * (m_colors + m_extras);
    m_rowBytes = (qint64(m_size.width()) * m_pixelBits + 7) / 8;

    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, quint32(m_size.width()));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, quint32(m_size.height()));
    if (m_pages > 1) {
        TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
        if (m_pages <= 0xffff) // the tag has no room for more
            TIFFSetField(tiff, TIFFTAG_PAGENUMBER, m_page, m_pages);
    }
    describeSamples(picture);
    describeBlocks();
    writeTags(tiff, picture, samples.hasAlpha);
    m_y = 0;
    return picture.exif.isEmpty() || writeExif(tiff, *m_stream, picture.exif, m_form.big);
}

void TiffEncoder::describeSamples(const Picture &picture)
{
    TIFF *const tiff = m_handle.get();
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, m_bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, m_colors + m_extras);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    const bool hasAlpha = samplesOf(m_encoding).hasAlpha;
    std::vector<quint16> kinds(size_t(m_extras), EXTRASAMPLE_UNSPECIFIED);
    if (hasAlpha)
        kinds.insert(kinds.begin(), EXTRASAMPLE_UNASSALPHA);
    if (!kinds.empty())
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, int(kinds.size()), kinds.data());

    if (isIndexed(m_encoding)) {
        describeColors(picture.colorTable);
    } else if (m_encoding == Encoding::Cmyk8) {
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_SEPARATED);
        TIFFSetField(tiff, TIFFTAG_INKSET, INKSET_CMYK);
    } else {
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                     m_colors == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    }

    TIFFSetField(tiff, TIFFTAG_COMPRESSION, m_form.compression);
    const bool predicts = m_form.compression == COMPRESSION_LZW ||
        m_form.compression == COMPRESSION_ADOBE_DEFLATE || m_form.compression == COMPRESSION_ZSTD;
    if (predicts && !isIndexed(m_encoding))
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    if (m_form.level > 0) {
        TIFFSetField(
            tiff, m_form.compression == COMPRESSION_ZSTD ? TIFFTAG_ZSTD_LEVEL : TIFFTAG_ZIPQUALITY,
            m_form.level);
    }
}

void TiffEncoder::describeColors(const QVector<QRgb> &table)
{
    TIFF *const tiff = m_handle.get();
    const QRgb black = qRgb(0, 0, 0);
    const QRgb white = qRgb(255, 255, 255);
    const bool isBits = m_bits == 1;
    // Without a table, clear bits are black.
    const bool isBlackWhite =
        table.size() < 2 || (table.value(0) == black && table.value(1) == white);
    if (isBits && isBlackWhite) {
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    } else if (isBits && table.value(0) == white && table.value(1) == black) {
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    } else {
        std::vector<quint16> colors[3];
        for (int i = 0; i < 1 << m_bits; ++i) {
            const QRgb color = table.size() < 2 && i == 1 ? white : table.value(i, black);
            colors[0].push_back(quint16(qRed(color) * 257));
            colors[1].push_back(quint16(qGreen(color) * 257));
            colors[2].push_back(quint16(qBlue(color) * 257));
        }
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
        TIFFSetField(tiff, TIFFTAG_COLORMAP, colors[0].data(), colors[1].data(), colors[2].data());
    }
}

void TiffEncoder::describeBlocks()
{
    TIFF *const tiff = m_handle.get();
    if (m_form.tiled) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, kTile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, kTile);
        m_blockRows = kTile;
        m_tile.assign(size_t(kTile) * kTile * size_t(m_pixelBits) / 8, 0);
    } else {
        m_blockRows = int(qBound(qint64(1), kStripBytes / m_rowBytes, qint64(m_size.height())));
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, quint32(m_blockRows));
    }
    m_rows.resize(size_t(m_rowBytes) * size_t(m_blockRows));
}

bool TiffEncoder::writeRow(const uchar *row, const uchar *extra)
{
    uchar *const out = m_rows.data() + qptrdiff(m_y % m_blockRows) * m_rowBytes;
    if (m_extras > 0)
        interleave(out, row, extra);
    else
        std::memcpy(out, row, size_t(m_rowBytes));
    ++m_y;
    return m_y % m_blockRows != 0 || flush();
}

void TiffEncoder::interleave(uchar *out, const uchar *row, const uchar *extra) const
{
    std::vector<uchar> indices;
    if (m_encoding == Encoding::Mono) { // bits become bytes beside others
        for (int x = 0; x < m_size.width(); ++x)
            indices.push_back(row[x / 8] >> (7 - x % 8) & 1);
        row = indices.data();
    }
    const auto into = m_bits == 16 ? interleaveSamples<quint16> : interleaveSamples<uchar>;
    into(out, row, m_colors, extra, m_extras, m_extraBytes, m_size.width());
}

/// Writes the rows there are.
bool TiffEncoder::flush()
{
    const int rows = m_y % m_blockRows == 0 ? m_blockRows : m_y % m_blockRows;
    m_stream->setKeeping(false); // pixels are not read back
    bool written = false;
    if (m_form.tiled) {
        written = writeTiles(rows);
    } else {
        const auto strip = quint32((m_y - 1) / m_blockRows);
        const auto bytes = tmsize_t(m_rowBytes * rows);
        written = TIFFWriteEncodedStrip(m_handle.get(), strip, m_rows.data(), bytes) == bytes;
    }
    m_stream->setKeeping(true);
    return written;
}

bool TiffEncoder::writeTiles(int rows)
{
    TIFF *const tiff = m_handle.get();
    const auto top = quint32((m_y - 1) / kTile * kTile);
    const qint64 tileRowBytes = qint64(kTile) * m_pixelBits / 8;
    for (int left = 0; left < m_size.width(); left += kTile) {
        const qint64 first = qint64(left) * m_pixelBits / 8;
        const qint64 bytes = qMin(tileRowBytes, m_rowBytes - first);
        std::fill(m_tile.begin(), m_tile.end(), uchar(0)); // beyond the edges
        for (int y = 0; y < rows; ++y)
            std::memcpy(m_tile.data() + y * tileRowBytes, m_rows.data() + y * m_rowBytes + first,
                        size_t(bytes));
        const auto tile = TIFFComputeTile(tiff, quint32(left), top, 0, 0);
        const auto size = tmsize_t(m_tile.size());
        if (TIFFWriteEncodedTile(tiff, tile, m_tile.data(), size) != size)
            return false;
    }
    return true;
}

bool TiffEncoder::writeEnd()
{
    ++m_page;
    return (m_y % m_blockRows == 0 || flush()) && TIFFWriteDirectory(m_handle.get()) == 1;
}

bool TiffEncoder::finish()
{
    m_handle.reset();
    if (!m_spool)
        return m_stream->leaveAtEnd();
    QByteArray part;
    bool done = m_spool->seek(0);
    while (done && !m_spool->atEnd()) {
        part = m_spool->read(1 << 20);
        done = !part.isEmpty() && writeExactly(m_device, part.constData(), part.size());
    }
    return done;
}

} // namespace vellum::plugin::tiff
