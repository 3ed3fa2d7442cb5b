#include "jpeg/jpegencoder.h"

#include "jpeg/coefficients.h"
#include "jpeg/markers.h"
#include "jpeg/sampling.h"

#include <algorithm>

namespace vellum::plugin {

namespace {

constexpr int kDefaultQuality = 75;
constexpr int kMostProfileBytes = 255 * 65519; // what the markers of a file can hold

} // namespace

JpegEncoder::JpegEncoder(QIODevice &device, const WriteOptions &options)
    : m_options(options), m_target(device), m_codec()
{
    m_codec.err = &m_errors;
    m_isReady = runGuarded(m_errors, [this] { jpeg_create_compress(&m_codec); });
    m_codec.dest = &m_target;
}

JpegEncoder::~JpegEncoder() { jpeg_destroy_compress(&m_codec); }

Encoding JpegEncoder::encodingFor(Encoding natural) const
{
    const bool isGrey = natural == Encoding::Gray8 || natural == Encoding::Gray16;
    return isGrey ? Encoding::Gray8 : Encoding::Rgb8;
}

bool JpegEncoder::writeHeader(const Picture &picture, Encoding encoding)
{
    m_encoding = encoding;
    if (std::max(picture.size.width(), picture.size.height()) > JPEG_MAX_DIMENSION) {
        qCWarning(jpegLog) << "JPEG has no room for" << picture.size.width() << "x"
                           << picture.size.height() << "pixels: at most" << JPEG_MAX_DIMENSION
                           << "each way";
        m_isReady = false;
    }
    m_isReady = m_isReady && setUp(picture) &&
        runGuarded(m_errors, [this] { jpeg_start_compress(&m_codec, TRUE); }) &&
        writeMarkers(picture);
    return m_isReady;
}

bool JpegEncoder::setUp(const Picture &picture)
{
    if (!m_options.subType.isEmpty() && !isSampling(m_options.subType)) {
        qCWarning(jpegLog) << "there is no sub-type" << m_options.subType << "of JPEG";
        m_options.subType.clear();
    }
    m_codec.image_width = JDIMENSION(picture.size.width());
    m_codec.image_height = JDIMENSION(picture.size.height());
    const int quality = m_options.quality < 0 ? kDefaultQuality : std::min(m_options.quality, 100);
    if (!runGuarded(m_errors, [&] {
            setColors();
            jpeg_set_quality(&m_codec, quality, TRUE);
            if (m_options.progressive)
                jpeg_simple_progression(&m_codec);
        }))
        return false;
    m_codec.optimize_coding = m_options.optimized;
    m_codec.write_JFIF_header = TRUE; // also beside inks: it is where others look for resolution
    setResolution(m_codec, picture);
    return !(m_options.progressive || m_options.optimized) ||
        mayHoldCoefficients(coefficientBytes(m_codec));
}

void JpegEncoder::setColors()
{
    switch (m_encoding) {
    case Encoding::Cmyk8:
        m_codec.input_components = 4;
        m_codec.in_color_space = JCS_CMYK;
        break;
    case Encoding::Gray8:
        m_codec.input_components = 1;
        m_codec.in_color_space = JCS_GRAYSCALE;
        break;
    default:
        m_codec.input_components = 3;
        m_codec.in_color_space = JCS_RGB;
        break;
    }
    jpeg_set_defaults(&m_codec);
    if (m_options.subType.isEmpty() || m_encoding == Encoding::Gray8)
        return;
    if (m_encoding == Encoding::Cmyk8 && m_options.subType != "444")
        jpeg_set_colorspace(&m_codec, JCS_YCCK); // only there are colours apart from brightness
    if (m_codec.jpeg_color_space != JCS_CMYK)
        setSampling(m_codec, m_options.subType);
}

bool JpegEncoder::writeMarkers(const Picture &picture)
{
    const auto *const icc = reinterpret_cast<const JOCTET *>(picture.icc.constData());
    const int iccBytes = picture.icc.size() <= kMostProfileBytes ? picture.icc.size() : 0;
    if (iccBytes < picture.icc.size())
        qCWarning(jpegLog) << "the profile is left out: it is too large for JPEG";
    const std::vector<Marker> markers = markersOf(picture);
    return runGuarded(m_errors, [&] {
        for (const Marker &marker : markers) {
            jpeg_write_marker(&m_codec, marker.code,
                              reinterpret_cast<const JOCTET *>(marker.bytes.constData()),
                              static_cast<unsigned int>(marker.bytes.size()));
        }
        if (iccBytes > 0)
            jpeg_write_icc_profile(&m_codec, icc, static_cast<unsigned int>(iccBytes));
    });
}

bool JpegEncoder::writeRow(const uchar *row, const uchar * /*extra*/)
{
    if (!m_isReady)
        return false;
    if (m_encoding == Encoding::Cmyk8) {
        m_inverted.resize(size_t(m_codec.image_width) * 4);
        std::transform(row, row + m_inverted.size(), m_inverted.begin(),
                       [](uchar ink) { return uchar(255 - ink); });
        row = m_inverted.data();
    }
    auto *const samples = const_cast<JSAMPROW>(row); // libjpeg does not write to it
    m_isReady = runGuarded(m_errors, [&] {
        JSAMPROW rows[] = {samples};
        jpeg_write_scanlines(&m_codec, rows, 1);
    });
    return m_isReady;
}

bool JpegEncoder::writeEnd()
{
    m_isReady = m_isReady && runGuarded(m_errors, [this] { jpeg_finish_compress(&m_codec); });
    return m_isReady;
}

} // namespace vellum::plugin
