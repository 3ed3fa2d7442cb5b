#include "shared/source.h"

#include "shared/exif.h"
#include "shared/pixelrows.h"
#include "shared/texts.h"
#include "shared/transformprobe.h"
#include <vellum/vellum.h>

#include <QColorSpace>

#include <lcms2.h>

#include <cstring>

namespace vellum::plugin {

namespace {

bool isProfileOf(const QByteArray &icc, const char *colorSpace)
{
    constexpr int kColorSpaceAt = 16; // in the header of an ICC profile
    return icc.mid(kColorSpaceAt, 4) == colorSpace;
}

/// Whether loading converts pixels of \a format from their profile to sRGB.
bool isManagedRgb(QImage::Format format)
{
    return CVlLcmsManager::toLcmsFormat(format) != 0 && samplesOf(format).count > 1;
}

QImage::Format formatFor(Encoding encoding)
{
    switch (encoding) {
    case Encoding::Mono:
        return QImage::Format_Mono;
    case Encoding::Indexed8:
        return QImage::Format_Indexed8;
    case Encoding::Gray8:
        return QImage::Format_Grayscale8;
    case Encoding::Gray16:
        return QImage::Format_Grayscale16;
    case Encoding::Rgb8:
        return QImage::Format_RGB888;
    case Encoding::Rgba8:
        return QImage::Format_RGBA8888;
    case Encoding::Rgb16: // its rows lose the fourth sample in a step of their own
        return QImage::Format_RGBX64;
    case Encoding::Rgba16:
        return QImage::Format_RGBA64;
    case Encoding::Cmyk8:
        return QImage::Format_RGB32;
    }
    return QImage::Format_Invalid;
}

} // namespace

WriteSource::WriteSource(const QImage &image)
    : m_image(image), m_vellum(Vellum::getVellum(const_cast<QImage *>(&image))),
      m_rowFormat(image.format())
{
    if (m_vellum)
        m_channels = m_vellum->channelsData(m_channelCount, m_channelBits, m_channelStride);
}

bool WriteSource::wantsCmyk() const { return m_vellum && m_vellum->isSaveCmykPrepared(); }

Encoding WriteSource::naturalEncoding(bool translucentTables) const
{
    if (!translucentTables && m_image.depth() <= 8 && m_image.hasAlphaChannel())
        return Encoding::Rgba8;
    switch (m_image.format()) {
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
        return Encoding::Mono;
    case QImage::Format_Indexed8: // without colours its bytes are levels of grey
        return m_image.colorCount() > 0 ? Encoding::Indexed8 : Encoding::Gray8;
    case QImage::Format_Grayscale8:
        return Encoding::Gray8;
    case QImage::Format_Grayscale16:
        return Encoding::Gray16;
    case QImage::Format_RGBX64:
    case QImage::Format_RGB30:
    case QImage::Format_BGR30:
        return Encoding::Rgb16;
    case QImage::Format_RGBA64:
    case QImage::Format_RGBA64_Premultiplied:
    case QImage::Format_A2BGR30_Premultiplied:
    case QImage::Format_A2RGB30_Premultiplied:
        return Encoding::Rgba16;
    default:
        return m_image.hasAlphaChannel() ? Encoding::Rgba8 : Encoding::Rgb8;
    }
}

bool WriteSource::prepare(Encoding encoding, bool withProfile)
{
    m_encoding = encoding;
    m_rowFormat = formatFor(encoding);
    if (encoding == Encoding::Cmyk8) {
        if (!m_vellum)
            return false;
        if (m_vellum->hasSaveCmykTransform())
            m_rowFormat = m_image.format();
        else // grey, and formats that no transform can take
            m_vellum->rePrepareSaveCmyk(m_rowFormat);
        m_inks.resize(size_t(width()) * 4);
        m_vellum->getCmykIccProfile(m_profile);
        return m_vellum->hasSaveCmykTransform();
    }
    m_profile = withProfile ? profileFor(encoding) : QByteArray();
    // A Vellum's pixels are sRGB, whatever its profile, unless its QColorSpace says that they are
    // in the profile already.
    const bool areInProfile = !m_vellum || m_image.colorSpace().iccProfile() == m_profile;
    if (!m_profile.isEmpty() && !areInProfile && isManagedRgb(m_image.format()))
        prepareColors();
    return true;
}

void WriteSource::prepareColors()
{
    const unsigned int code = CVlLcmsManager::toLcmsFormat(m_image.format());
    m_manager.prepareIccSaveTransform(code, code, m_profile);
    m_toProfile = writesPixels(
        [&](const uchar *in, uchar *out) { m_manager.doIccTransformSave(in, out, 1, 1, 64, 64); });
    if (m_toProfile)
        m_colors.resize(size_t(rowBytes(width(), m_image.depth())));
    else
        m_profile.clear(); // it is damaged, and the pixels stay sRGB
}

/// The profile that fits the pixels as they are written, if the image has it.
QByteArray WriteSource::profileFor(Encoding encoding) const
{
    const QByteArray icc = m_vellum ? m_vellum->getIccProfile() : m_image.colorSpace().iccProfile();
    const bool isGrey = encoding == Encoding::Gray8 || encoding == Encoding::Gray16;
    const bool isIndexed = encoding == Encoding::Mono || encoding == Encoding::Indexed8;
    const bool fits =
        isProfileOf(icc, isGrey ? "GRAY" : "RGB ") || (isIndexed && isProfileOf(icc, "GRAY"));
    return fits ? icc : QByteArray();
}

const uchar *WriteSource::row(int y) { return encoded(image_constScanLine(m_vellum, &m_image, y)); }

const uchar *WriteSource::rowFromBelow(int y)
{
    return encoded(image_constScanLine_reverse(m_vellum, &m_image, y));
}

const uchar *WriteSource::extra(int y) const
{
    return m_channels ? m_channels + qptrdiff(y) * m_channelStride : nullptr;
}

const uchar *WriteSource::encoded(const uchar *row)
{
    if (!row)
        return nullptr;
    const qint64 bytes = rowBytes(width(), m_image.depth());
    if (m_vellum && m_vellum->storedBytesPerLine() < bytes) {
        m_whole.resize(size_t(bytes));
        std::memcpy(m_whole.data(), row, size_t(m_vellum->storedBytesPerLine()));
        row = m_whole.data();
    }
    if (m_toProfile) {
        std::memcpy(m_colors.data(), row, size_t(bytes)); // alpha stays
        m_manager.doIccTransformSave(row, m_colors.data(), unsigned(width()), 1, unsigned(bytes),
                                     unsigned(bytes));
        row = m_colors.data();
    }
    row = converted(row);
    return m_encoding == Encoding::Cmyk8 ? inCmyk(row) : row;
}

/// The row in m_rowFormat.
const uchar *WriteSource::converted(const uchar *row)
{
    const QImage::Format format = m_image.format();
    if (format != m_rowFormat) {
        const bool isGrey = format == QImage::Format_Indexed8 && m_image.colorCount() == 0;
        QImage wrapped(row, width(), 1, int(rowBytes(width(), m_image.depth())),
                       isGrey ? QImage::Format_Grayscale8 : format);
        if (!isGrey && wrapped.depth() <= 8)
            wrapped.setColorTable(m_image.colorTable());
        m_converted = wrapped.convertToFormat(m_rowFormat);
        row = m_converted.constBits();
    }
    if (m_encoding != Encoding::Rgb16)
        return row;
    m_whole.resize(size_t(width()) * 8);
    for (int x = 0; x < width(); ++x) // in place, or from another row
        std::memmove(&m_whole[size_t(x) * 6], row + qptrdiff(x) * 8, 6);
    return m_whole.data();
}

const uchar *WriteSource::inCmyk(const uchar *row)
{
    const auto pixels = unsigned(width());
    m_vellum->doCmykTransform(row, m_inks.data(), pixels, 1,
                              unsigned(rowBytes(width(), bitsPerPixel(m_rowFormat))), pixels * 4);
    return m_inks.data();
}

Picture WriteSource::picture(const QString &description) const
{
    Picture picture;
    picture.size = m_image.size();
    picture.format = m_rowFormat;
    picture.colorTable = m_image.colorTable();
    picture.icc = m_profile;
    picture.dotsPerMeterX = m_image.dotsPerMeterX();
    picture.dotsPerMeterY = m_image.dotsPerMeterY();
    picture.offset = m_image.offset();
    picture.texts = textsToWrite(m_image, description);
    if (m_channels) {
        picture.extraChannels = m_channelCount;
        picture.extraBits = m_channelBits;
        picture.extraNames = channelNames(m_image);
    }
    const ExifData *const exif = m_vellum ? m_vellum->getExifData() : nullptr;
    if (exif && exif->data && exif->size > 0) {
        picture.exif = withoutExifOrientation(exifBlock(QByteArray(exif->data, exif->size)));
    }
    return picture;
}

} // namespace vellum::plugin
