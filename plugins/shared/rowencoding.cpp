#include "shared/rowencoding.h"

#include "shared/pixelrows.h"
#include "shared/transformprobe.h"
#include <vellum/vellum.h>

#include <cstring>
#include <new>

namespace vellum::plugin {

namespace {

/// Of pixels of 32 bits, whose last byte is alpha in all formats that have a transform.
constexpr quint32 kColorsBeforeAlpha = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 0x00ffffff : 0xffffff00;

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

RowEncoding::RowEncoding(const QImage &image, Vellum *vellum)
    : m_image(image), m_vellum(vellum), m_width(image.width()),
      m_imageRowBytes(rowBytes(image.width(), image.depth())),
      m_isStoredInPart(vellum && vellum->storedBytesPerLine() < m_imageRowBytes),
      m_isGrey(image.format() == QImage::Format_Indexed8 && image.colorCount() == 0),
      m_colorTable(image.colorTable()), m_rowFormat(image.format())
{
}

void RowEncoding::setEncoding(Encoding encoding)
{
    m_encoding = encoding;
    m_rowFormat = formatFor(encoding);
    if (encoding != Encoding::Cmyk8)
        return;
    if (m_vellum->hasSaveCmykTransform())
        m_rowFormat = m_image.format();
    else // grey, and formats that no transform can take
        m_vellum->rePrepareSaveCmyk(m_rowFormat);
}

bool RowEncoding::convertTo(QByteArray icc)
{
    const unsigned int code = CVlLcmsManager::toLcmsFormat(m_image.format());
    m_manager.prepareIccSaveTransform(code, code, icc);
    m_toProfile = writesPixels(
        [&](const uchar *in, uchar *out) { m_manager.doIccTransformSave(in, out, 1, 1, 64, 64); });
    return m_toProfile;
}

bool RowEncoding::isNeeded() const
{
    return m_isStoredInPart || m_toProfile || m_rowFormat != m_image.format() ||
        m_encoding == Encoding::Rgb16 || m_encoding == Encoding::Cmyk8;
}

const uchar *RowEncoding::encoded(const uchar *row, RowBuffers &buffers, RowWorker &worker)
try {
    row = complete(row, buffers);
    row = inProfile(row, buffers);
    row = converted(row, buffers);
    return row && m_encoding == Encoding::Cmyk8 ? inCmyk(row, buffers, worker) : row;
} catch (const std::bad_alloc &) { // nobody could catch it on a thread of the pool
    return nullptr;
}

const uchar *RowEncoding::complete(const uchar *row, RowBuffers &buffers) const
{
    if (!m_isStoredInPart)
        return row;
    buffers.whole.resize(size_t(m_imageRowBytes));
    std::memcpy(buffers.whole.data(), row, size_t(m_vellum->storedBytesPerLine()));
    return buffers.whole.data();
}

const uchar *RowEncoding::inProfile(const uchar *row, RowBuffers &buffers)
{
    if (!m_toProfile)
        return row;
    buffers.colors.assign(row, row + m_imageRowBytes); // alpha stays
    const auto bytes = unsigned(m_imageRowBytes);
    m_manager.doIccTransformSave(row, buffers.colors.data(), unsigned(m_width), 1, bytes, bytes);
    return buffers.colors.data();
}

/// The row in m_rowFormat.
const uchar *RowEncoding::converted(const uchar *row, RowBuffers &buffers) const
{
    if (m_image.format() != m_rowFormat) {
        QImage wrapped(row, m_width, 1, int(m_imageRowBytes),
                       m_isGrey ? QImage::Format_Grayscale8 : m_image.format());
        if (!m_isGrey && wrapped.depth() <= 8)
            wrapped.setColorTable(m_colorTable);
        buffers.converted = wrapped.convertToFormat(m_rowFormat);
        row = buffers.converted.constBits();
    }
    if (!row || m_encoding != Encoding::Rgb16)
        return row;
    buffers.packed.resize(size_t(m_width) * 6);
    for (int x = 0; x < m_width; ++x)
        std::memcpy(&buffers.packed[size_t(x) * 6], row + qptrdiff(x) * 8, 6);
    return buffers.packed.data();
}

const uchar *RowEncoding::inCmyk(const uchar *row, RowBuffers &buffers, RowWorker &worker)
{
    buffers.packed.resize(size_t(m_width) * 4);
    uchar *const inks = buffers.packed.data();
    const int bytes = bitsPerPixel(m_rowFormat) / 8;
    const auto convert = [&](uchar *out, const uchar *in, int count) {
        m_vellum->doCmykTransform(in, out, unsigned(count), 1, unsigned(count * bytes),
                                  unsigned(count) * 4);
    };
    if (bytes != 4) {
        convert(inks, row, m_width);
        return inks;
    }
    if (!worker.inks)
        worker.inks = std::make_unique<KnownColors>(kColorsBeforeAlpha);
    worker.inks->convert(inks, row, m_width, convert);
    return inks;
}

} // namespace vellum::plugin
