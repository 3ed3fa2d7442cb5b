#include "jpeg/jpegdecoder.h"

#include "jpeg/coefficients.h"
#include "jpeg/markers.h"
#include "jpeg/sampling.h"
#include "shared/device.h"
#include "shared/limits.h"
#include <vellum/io/readoptions.h>

#include <lcms2.h>

#include <cstdlib>
#include <memory>

namespace vellum::plugin {

namespace {

constexpr int kMostScans = 1000; // files of a few bytes can claim millions, each a pass over all
constexpr unsigned int kDenominator = DCTSIZE; // of the scale

struct FreeMemory
{
    void operator()(void *memory) const { std::free(memory); }
};

/// \a size pixels at \a numerator eighths, as libjpeg counts them.
int scaledSide(unsigned int side, unsigned int numerator)
{
    return int((quint64(side) * numerator + kDenominator - 1) / kDenominator);
}

} // namespace

JpegDecoder::JpegDecoder(QIODevice &device)
    : m_source(device), m_progress(), m_codec(), m_fileBytes(bytesLeft(device))
{
    m_errors.warned = onWarning;
    m_progress.progress_monitor = onProgress;
    m_codec.err = &m_errors;
    m_codec.client_data = this;
    m_isReady = runGuarded(m_errors, [this] {
        jpeg_create_decompress(&m_codec);
        keepMarkers(m_codec);
    });
    m_codec.src = &m_source;
    m_codec.progress = &m_progress;
}

JpegDecoder::~JpegDecoder() { jpeg_destroy_decompress(&m_codec); }

void JpegDecoder::onWarning(j_common_ptr codec, int code)
{
    auto *const self = static_cast<JpegDecoder *>(codec->client_data);
    self->m_intact.noteWarning(self->m_codec, code, self->m_source.hasEnded());
}

/// Called while the scans of a file are read one after the other, and for rows.
void JpegDecoder::onProgress(j_common_ptr codec)
{
    auto *const self = static_cast<JpegDecoder *>(codec->client_data);
    if (!jpeg_has_multiple_scans(&self->m_codec))
        return;
    self->m_intact.noteScan(self->m_codec);
    if (self->m_codec.input_scan_number > kMostScans)
        ERREXIT(codec, JERR_BAD_PROGRESSION);
    if (!self->mayGoOn()) // several scans are all read before the first row
        self->m_errors.leave();
}

bool JpegDecoder::readHeader(Picture &picture)
{
    m_isReady = m_isReady && runGuarded(m_errors, [this] { jpeg_read_header(&m_codec, TRUE); }) &&
        setColors(picture);
    if (!m_isReady)
        return false;
    m_codec.scale_num = kDenominator;
    m_codec.scale_denom = kDenominator;
    picture.size = {int(m_codec.image_width), int(m_codec.image_height)};
    picture.subType = samplingOf(m_codec);
    picture.icc = readProfile();
    readMarkers(m_codec, picture);
    return true;
}

bool JpegDecoder::setColors(Picture &picture)
{
    switch (m_codec.jpeg_color_space) {
    case JCS_GRAYSCALE:
        m_codec.out_color_space = JCS_GRAYSCALE;
        picture.format = QImage::Format_Grayscale8;
        return true;
    case JCS_RGB:
    case JCS_YCbCr:
        m_codec.out_color_space = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? JCS_EXT_BGRA : JCS_EXT_ARGB;
        picture.format = QImage::Format_RGB32;
        return true;
    case JCS_CMYK:
    case JCS_YCCK:
        m_codec.out_color_space = JCS_CMYK;
        picture.format = QImage::Format_RGB32;
        picture.inputColors = TYPE_CMYK_8_REV;
        return true;
    default:
        qCWarning(jpegLog) << "pictures of" << m_codec.num_components << "components are not known";
        return false;
    }
}

QByteArray JpegDecoder::readProfile()
{
    JOCTET *bytes = nullptr;
    unsigned int size = 0;
    const bool isWhole = runGuarded(m_errors, [&] {
        if (!jpeg_read_icc_profile(&m_codec, &bytes, &size))
            size = 0;
    });
    const std::unique_ptr<JOCTET, FreeMemory> owner(bytes);
    return isWhole && size > 0 ? QByteArray(reinterpret_cast<const char *>(bytes), int(size))
                               : QByteArray();
}

void JpegDecoder::obey(unsigned int readOptions, Picture &picture)
{
    if (picture.inputColors != 0 && (readOptions & CmykNotInverted))
        picture.inputColors = TYPE_CMYK_8;
}

int JpegDecoder::maxExpansion() const
{
    // Huffman coding spends at least a bit on each block of each component, and there are at most
    // 18 blocks of three components in 32 by 32 pixels. Arithmetic coding has no such bound.
    constexpr int kHuffman = 2048;
    constexpr int kArithmetic = 1 << 16;
    return m_codec.arith_code ? kArithmetic : kHuffman;
}

QSize JpegDecoder::reduce(const QSize &atLeast)
{
    m_codec.scale_num = 1;
    const auto size = [this] {
        return QSize(scaledSide(m_codec.image_width, m_codec.scale_num),
                     scaledSide(m_codec.image_height, m_codec.scale_num));
    };
    const auto isSmaller = [&] {
        return size().width() < atLeast.width() || size().height() < atLeast.height();
    };
    while (m_codec.scale_num < kDenominator && isSmaller())
        m_codec.scale_num *= 2; // the eighths between cost more than the whole: no vector forms
    return size();
}

QRect JpegDecoder::start(const QRect &wanted)
{
    m_isReady = m_isReady && begin();
    const QRect delivered = m_isReady ? moveTo(wanted) : QRect();
    m_isReady = !delivered.isEmpty();
    return delivered;
}

/// Up to the first row; files with several scans are read as a whole.
bool JpegDecoder::begin()
{
    const bool hasSeveralScans = jpeg_has_multiple_scans(&m_codec);
    if (hasSeveralScans) {
        const qint64 bytes = coefficientBytes(m_codec);
        if (!isJustified(bytes, m_fileBytes, maxExpansion())) {
            qCWarning(jpegLog) << "the file is too short for the size it claims";
            return false;
        }
        if (!mayHoldCoefficients(bytes))
            return false;
    }
    const bool hasBegun = runGuarded(m_errors, [this] {
        if (jpeg_start_decompress(&m_codec))
            return;
        m_codec.unread_marker = JPEG_EOI; // make do with the scans that came
        jpeg_start_decompress(&m_codec);
    });
    if (!hasBegun)
        return false;
    if (hasSeveralScans)
        m_intact.noteEndOfScans(m_codec, m_source.hasEnded());
    return true;
}

QRect JpegDecoder::moveTo(const QRect &wanted)
{
    // Pixels at the edge of a narrower picture may differ: their neighbours' colours are missing.
    const int margin = m_codec.max_h_samp_factor * DCTSIZE;
    const int width = int(m_codec.output_width);
    const int left = qMax(0, wanted.left() - margin);
    const int right = qMin(width, wanted.right() + 1 + margin);
    auto first = JDIMENSION(left);
    auto count = JDIMENSION(right - left);
    const bool moved = runGuarded(m_errors, [&] {
        if (left > 0 || right < width)
            jpeg_crop_scanline(&m_codec, &first, &count);
        if (wanted.top() > 0)
            jpeg_skip_scanlines(&m_codec, JDIMENSION(wanted.top()));
    });
    return moved ? QRect(int(first), wanted.top(), int(count), wanted.height()) : QRect();
}

bool JpegDecoder::readRow(uchar *row, uchar * /*extra*/)
{
    const auto isBelow = [this](JDIMENSION y) { return y >= m_intact.count(); };
    if (!m_isReady || isBelow(m_codec.output_scanline))
        return false;
    const JDIMENSION y = m_codec.output_scanline;
    m_isReady = runGuarded(m_errors, [&] { jpeg_read_scanlines(&m_codec, &row, 1); });
    return m_isReady && m_codec.output_scanline > y && !isBelow(y);
}

void JpegDecoder::readEnd(Picture & /*picture*/)
{
    if (m_isReady && m_codec.output_scanline >= m_codec.output_height)
        m_isReady = runGuarded(m_errors, [this] { jpeg_finish_decompress(&m_codec); });
    m_source.giveBack();
}

bool JpegDecoder::isDamaged() const { return m_intact.isDamaged(); }

} // namespace vellum::plugin
