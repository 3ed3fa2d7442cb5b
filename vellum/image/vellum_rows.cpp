// Row-block store, row access and filling.

#include <vellum/image/fillbytes_p.h>
#include <vellum/image/hugepages_p.h>
#include <vellum/image/imagedata_p.h>
#include <vellum/image/reservation_p.h>
#include <vellum/image/rowstore_p.h>
#include <vellum/image/vellum.h>

#include <QColor>
#include <QDebug>

#include <memory>
#include <utility>

namespace {

/// Address space under the base of a big image.
struct Reserved
{
    explicit Reserved(size_t size) : bytes(size), memory(vellum::image::reserveZeroed(size)) { }
    ~Reserved() { vellum::image::releaseReserved(memory, bytes); }
    Q_DISABLE_COPY(Reserved)

    static void destroy(void *reserved) { delete static_cast<Reserved *>(reserved); }

    size_t bytes;
    uchar *memory;
};

/// From this size on an image does not stay in the caches anyway.
constexpr qint64 kStreamFrom = 32 << 20;

} // namespace

bool Vellum::alloc_buffer(qint64 bytesPerLine, int height)
{
    using vellum::image::RowStore;
    m_rowBlocks.reset();
    int failedBlock = 0;
    m_rowBlocks = RowStore::allocate(bytesPerLine, height, failedBlock);
    if (m_rowBlocks)
        return true;
    qDebug() << "alloc_buffer fail, index= " << failedBlock;
    // Others that share the data keep it, and this image goes on pointing at it.
    if (isLastHolder())
        delete std::exchange(data_ptr(), nullptr);
    return false;
}

bool Vellum::isBigImage() const { return m_rowBlocks != nullptr; }

uchar *Vellum::scanLineEx(int y)
{
    if (y < 0 || y >= height())
        return nullptr;
    if (m_rowBlocks)
        return m_rowBlocks->row(y);
    if (m_detachBits)
        return m_detachBits + y * m_detachBytesPerLine;
    return QImage::scanLine(y);
}

const uchar *Vellum::scanLineEx(int y) const
{
    if (y < 0 || y >= height())
        return nullptr;
    if (m_rowBlocks)
        return m_rowBlocks->row(y);
    if (m_detachBits)
        return m_detachBits + y * m_detachBytesPerLine;
    return QImage::constScanLine(y);
}

uchar *Vellum::scanLine(int y) { return scanLineEx(y); }

const uchar *Vellum::scanLine(int y) const { return scanLineEx(y); }

int Vellum::storedBytesPerLine() const
{
    return m_rowBlocks ? qMin(bytesPerLine(), m_rowBlocks->bytesPerLine) : bytesPerLine();
}

void Vellum::beginDetach()
{
    if (const QImageData *const data = QImageData::get(*this)) {
        m_detachBits = data->data;
        m_detachBytesPerLine = data->bytes_per_line;
    }
}

void Vellum::endDetach() { m_detachBits = nullptr; }

bool Vellum::replacePixels(Vellum &image, const Vellum &pixels)
{
    const QByteArray profile = image.m_iccProfile;
    image = pixels;
    image.m_iccProfile = profile;
    return !image.isNull();
}

bool Vellum::create(Vellum &image, int w, int h, QImage::Format format)
{
    // QImage looks formats up in a table.
    const bool known = format >= Format_Invalid && format < NImageFormats;
    const Vellum plain = known ? Vellum(w, h, format) : Vellum();
    if (const QImageData *const data = QImageData::get(plain))
        vellum::image::preferHugePages(data->data, size_t(data->nbytes));
    return replacePixels(image, plain);
}

/// The base of a big image, on address space that costs no memory; null when it cannot be had.
Vellum Vellum::withoutRows(int w, int h, QImage::Format format)
{
    const bool valid = w > 0 && h > 0 && format > Format_Invalid && format < NImageFormats;
    const auto nominal = valid
        ? QImageData::calculateImageParameters(w, h, qt_depthForFormat(format))
        : QImageData::ImageSizeParameters {-1, -1};
    if (!nominal.isValid())
        return {};
    auto reserved = std::make_unique<Reserved>(size_t(nominal.totalSize));
    if (!reserved->memory)
        return {};
    Vellum base(reserved->memory, w, h, format, Reserved::destroy, reserved.get());
    if (base.isNull())
        return base;
    static_cast<void>(reserved.release()); // the image data destroys it from now on
    if (base.depth() == 1) // as every QImage that owns its pixels
        base.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
    return base;
}

bool Vellum::createBig(Vellum &image, int w, int h, QImage::Format format)
{
    Vellum big = withoutRows(w, h, format);
    if (!big.isNull())
        big.alloc_buffer(big.bytesPerLine(), h); // leaves a null image on failure
    return replacePixels(image, big);
}

Vellum Vellum::createImage(uint fill) const
{
    Vellum image;
    if (create(image, width(), height(), format()))
        image.fill(fill);
    return image;
}

void Vellum::fill(uint pixel)
{
    using namespace vellum::image;
    const int bytesPerPixel = depth() / 8;
    const auto lowByte = uchar(pixel);
    // Below 8 bits a pixel has no bytes of its own; its format's two plain colours fill bytes.
    const bool byBytes = bytesPerPixel <= 1 || pixel == lowByte * 0x01010101U;
    // A 64-bit pixel holds the 32-bit value twice.
    const int period = byBytes ? 1 : qMin(bytesPerPixel, 4);
    Pattern pattern;
    for (int i = 0; i < kPatternBytes; ++i)
        pattern[i] = uchar(pixel >> 8 * (i % period));
    const auto write = sizeInBytes() < kStreamFrom ? fillCached : fillStreaming;

    if (!byBytes) {
        for (int y = 0; y < height(); ++y) {
            if (uchar *const row = scanLineEx(y))
                write(row, size_t(storedBytesPerLine()), pattern);
        }
    } else if (m_rowBlocks) {
        for (int i = 0; i < m_rowBlocks->blockCount; ++i) {
            if (uchar *const block = m_rowBlocks->blocks[i])
                write(block, m_rowBlocks->blockBytes(), pattern);
        }
    } else if (uchar *const pixels = bits()) {
        write(pixels, size_t(sizeInBytes()), pattern);
    }
}

void Vellum::fill(const QColor &color) { fill(color.rgba()); }

void Vellum::fill(Qt::GlobalColor color) { fill(QColor(color)); }
