#include "shared/source.h"

#include "shared/colorinput.h"
#include "shared/exif.h"
#include "shared/parallel.h"
#include "shared/pixelrows.h"
#include "shared/texts.h"
#include <vellum/vellum.h>

#include <QColorSpace>

#include <algorithm>

namespace vellum::plugin {

namespace {

constexpr qint64 kBatchBytes = 1 << 20; // of rows that the caches hold until they are written
constexpr int kPixelsPerTask = 1 << 15; // a millisecond of colour conversion

/// Whether loading converts pixels of \a format from their profile to sRGB.
bool isManagedRgb(QImage::Format format)
{
    return CVlLcmsManager::toLcmsFormat(format) != 0 && samplesOf(format).count > 1;
}

} // namespace

WriteSource::WriteSource(const QImage &image)
    : m_image(image), m_vellum(Vellum::getVellum(const_cast<QImage *>(&image))),
      m_encoding(image, m_vellum)
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

bool WriteSource::hasGreyTable() const
{
    const QVector<QRgb> colors = m_image.colorTable();
    return !colors.isEmpty() && std::all_of(colors.begin(), colors.end(), [](QRgb color) {
        return qAlpha(color) == 255 && qIsGray(color);
    });
}

bool WriteSource::prepare(Encoding encoding, bool withProfile)
{
    if (encoding == Encoding::Cmyk8 && !m_vellum)
        return false;
    m_encoding.setEncoding(encoding);
    if (encoding == Encoding::Cmyk8) {
        m_vellum->getCmykIccProfile(m_profile);
        return m_vellum->hasSaveCmykTransform();
    }
    m_profile = withProfile ? profileFor(encoding) : QByteArray();
    // A Vellum's pixels are sRGB, whatever its profile, unless its QColorSpace says that they are
    // in the profile already.
    const bool areInProfile = !m_vellum || m_image.colorSpace().iccProfile() == m_profile;
    const bool change = !m_profile.isEmpty() && !areInProfile && isManagedRgb(m_image.format());
    if (change && !m_encoding.convertTo(m_profile))
        m_profile.clear(); // it is damaged, and the pixels stay sRGB
    return true;
}

/// The profile that fits the pixels as they are written, if the image has it.
QByteArray WriteSource::profileFor(Encoding encoding) const
{
    const QByteArray icc = m_vellum ? m_vellum->getIccProfile() : m_image.colorSpace().iccProfile();
    const bool isGrey = encoding == Encoding::Gray8 || encoding == Encoding::Gray16;
    const bool isIndexed = encoding == Encoding::Mono || encoding == Encoding::Indexed8;
    const bool fits =
        isProfileOf(icc, isGrey ? "GRAY" : "RGB ") || (isIndexed && isProfileOf(icc, "GRAY"));
    // A damaged one no reader could use, and libpng refuses it.
    return fits && describeProfile(icc).isValid() ? icc : QByteArray();
}

const uchar *WriteSource::row(int y) { return nextRow(y, 1, image_constScanLine); }

const uchar *WriteSource::rowFromBelow(int y)
{
    return nextRow(y, -1, image_constScanLine_reverse);
}

const uchar *WriteSource::nextRow(int y, int step, Fetch fetch)
{
    if (!m_encoding.isNeeded())
        return fetch(m_vellum, &m_image, y);
    if (m_given == m_filled) {
        if (!fillBatch(y, step, fetch))
            return nullptr;
        encodeBatch();
    }
    return m_batch[size_t(m_given++)].row;
}

/// Fetches the rows from \a y on. \return false as soon as one is null
bool WriteSource::fillBatch(int y, int step, Fetch fetch)
{
    const int left = step > 0 ? m_image.height() - y : y + 1;
    const qint64 bytes = rowBytes(m_image.width(), m_image.depth());
    const int most = qMin(left, kMostRowsAhead);
    const auto count = int(qBound(qint64(1), kBatchBytes / bytes, qint64(most)));
    m_batch.resize(qMax(m_batch.size(), size_t(count)));
    m_given = m_filled = 0;
    for (int i = 0; i < count; ++i, y += step) {
        m_batch[size_t(i)].row = fetch(m_vellum, &m_image, y);
        if (!m_batch[size_t(i)].row)
            return false;
    }
    m_filled = count;
    return true;
}

void WriteSource::encodeBatch()
{
    const int rowsPerTask = qMax(1, kPixelsPerTask / m_image.width());
    const int tasks = (m_filled + rowsPerTask - 1) / rowsPerTask;
    m_workers.resize(size_t(mostWorkers()));
    forAllInParallel(tasks, int(m_workers.size()), [&](int task, int worker) {
        const int last = qMin((task + 1) * rowsPerTask, m_filled);
        for (int i = task * rowsPerTask; i < last; ++i) {
            Row &row = m_batch[size_t(i)];
            row.row = m_encoding.encoded(row.row, row.buffers, m_workers[size_t(worker)]);
        }
    });
}

const uchar *WriteSource::extra(int y) const
{
    return m_channels ? m_channels + qptrdiff(y) * m_channelStride : nullptr;
}

Picture WriteSource::picture(const QString &description) const
{
    Picture picture;
    picture.size = m_image.size();
    picture.format = m_encoding.rowFormat();
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
        picture.exif = exifForUpright(exifBlock(QByteArray(exif->data, exif->size)), picture.size);
    }
    return picture;
}

} // namespace vellum::plugin
