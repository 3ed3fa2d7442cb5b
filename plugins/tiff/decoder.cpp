#include "tiff/decoder.h"

#include "shared/limits.h"
#include "tiff/tags.h"

#include <cstring>
#include <new>

namespace vellum::plugin::tiff {

TiffDecoder::TiffDecoder(QIODevice &device, qint64 start, int page)
    : m_directory {device, start, 0}, m_page(page)
{
}

TiffDecoder::~TiffDecoder() = default;

bool TiffDecoder::readHeader(Picture &picture)
{
    const Handle handle = openToRead(m_directory.device, m_directory.start);
    TIFF *const tiff = handle.get();
    if (!tiff || (m_page > 0 && !TIFFSetDirectory(tiff, tdir_t(m_page))))
        return false;
    m_directory.offset = TIFFCurrentDirOffset(tiff);
    letCodecsConvert(tiff);
    const auto layout = readLayout(tiff);
    if (!layout)
        return false;
    m_layout = *layout;
    const bool isIndexed = m_layout.photometric == PHOTOMETRIC_PALETTE;
    const Palette palette = isIndexed ? readPalette(tiff, m_layout.bits) : Palette();
    if (isIndexed && palette.red.isEmpty())
        return false;
    if (!isJustified()) {
        qCWarning(lcTiff, "the file is too short for the size it claims");
        return false;
    }

    m_kind = pixelKind(m_layout, palette);
    const bool isLab = m_kind.inputColors != 0 && m_layout.photometric != PHOTOMETRIC_SEPARATED;
    // a and b have a sign of their own, which SampleFormat may or may not repeat.
    m_code = {m_layout.bits, m_layout.sampleFormat == SAMPLEFORMAT_INT && !isLab,
              m_layout.sampleFormat == SAMPLEFORMAT_IEEEFP, !isIndexed};
    if (m_layout.isWide())
        m_wide = makePixelConverter<quint16>(tiff, m_layout, palette);
    else
        m_narrow = makePixelConverter<uchar>(tiff, m_layout, palette);

    picture.size = m_layout.size;
    picture.format = m_kind.format;
    picture.inputColors = m_kind.inputColors;
    picture.colorTable = m_kind.colorTable;
    picture.extraChannels = m_layout.extras.size();
    picture.extraBits = m_layout.isWide() ? 16 : 8;
    readTags(tiff, m_layout, picture);
    picture.exif = readExif(m_directory, tiff);
    return true;
}

/// Whether the file is long enough for the samples it claims, and for those that must be decoded
/// together.
bool TiffDecoder::isJustified() const
{
    const qint64 file = m_directory.device.size() - m_directory.start;
    const qint64 pixelBits = qint64(m_layout.bits) * m_layout.samples;
    const auto bytesOf = [pixelBits](const QSize &size) {
        return qint64(size.width()) * size.height() / 8 * pixelBits;
    };
    const QSize together(qMax(m_layout.size.width(), m_layout.block.width()),
                         m_layout.block.height());
    const int expansion = tiff::maxExpansion(m_layout.compression);
    return plugin::isJustified(bytesOf(m_layout.size), file, expansion) &&
        plugin::isJustified(bytesOf(together), file, expansion);
}

int TiffDecoder::maxExpansion() const { return tiff::maxExpansion(m_layout.compression); }

QRect TiffDecoder::start(const QRect &wanted)
{
    QRect delivered = wanted;
    if (m_kind.isBits())
        delivered.setLeft(wanted.left() / 8 * 8); // rows start with a byte
    m_width = delivered.width();
    try {
        m_samples.resize(size_t(m_width) * size_t(m_layout.samples));
        m_source = makeRowSource(m_directory, m_layout);
        return m_source->start(delivered) ? delivered : QRect();
    } catch (const std::bad_alloc &) {
        qCWarning(lcTiff, "no memory for a row of what is decoded together");
        return {};
    }
}

bool TiffDecoder::readRow(uchar *row, uchar *extra)
{
    if (!m_source->next())
        return false;
    if (m_kind.isBits())
        copyBits(row);
    else if (m_wide)
        convertRow(*m_wide, row, extra);
    else
        convertRow(*m_narrow, row, extra);
    return true;
}

template <typename T>
void TiffDecoder::convertRow(const PixelConverter<T> &converter, uchar *row, uchar *extra)
{
    const T *const in = samples<T>();
    converter.convert(row, in, m_width);
    if (extra)
        takeExtras(extra, in);
}

/// The samples of the current row, pixel by pixel; where they lie, if they lie so.
template <typename T>
const T *TiffDecoder::samples()
{
    const bool isPlain = !m_code.isFloat && !m_code.isSigned && m_code.bits == 8 * sizeof(T);
    const auto &first = m_source->segments(0);
    if (isPlain && !m_layout.separate && first.size() == 1) {
        return reinterpret_cast<const T *>(first[0].samples) +
            qptrdiff(first[0].first) * m_layout.samples;
    }
    T *const out = reinterpret_cast<T *>(m_samples.data());
    const int together = m_layout.samplesPerPlane();
    const int step = m_layout.separate ? m_layout.samples : 1;
    for (int plane = 0; plane < m_layout.planes(); ++plane) {
        T *at = out + plane;
        for (const Segment &segment : m_source->segments(plane)) {
            const qint64 count = qint64(segment.count) * together;
            unpack(at, step, segment.samples, qint64(segment.first) * together, count, m_code);
            at += qint64(segment.count) * m_layout.samples;
        }
    }
    return out;
}

template <typename T>
void TiffDecoder::takeExtras(uchar *extra, const T *in) const
{
    auto *out = reinterpret_cast<T *>(extra);
    for (int x = 0; x < m_width; ++x, in += m_layout.samples)
        for (const int sample : m_layout.extras)
            *out++ = in[sample];
}

void TiffDecoder::copyBits(uchar *row) const
{
    // Tiles are whole bytes wide, and what is wanted starts with one.
    for (const Segment &segment : m_source->segments(0)) {
        const auto bytes = size_t(segment.count + 7) / 8;
        std::memcpy(row, segment.samples + segment.first / 8, bytes);
        row += bytes;
    }
}

} // namespace vellum::plugin::tiff
