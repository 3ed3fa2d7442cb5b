// Attachments: EXIF, layer records, layer groups and extra channels.

#include <vellum/image/heldattachments_p.h>
#include <vellum/image/vellum.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

namespace {

/// Bytes per row of interleaved samples, rounded up to 4.
qint64 channelStride(int width, int channels, int bits)
{
    return (qint64(bits / 8) * width * channels + 3) & ~qint64(3);
}

/// Copies every \a step th sample of \a in.
template <typename Sample>
void extractSamples(uchar *out, const uchar *in, qptrdiff step, int width)
{
    for (int x = 0; x < width; ++x, in += step, out += sizeof(Sample))
        std::memcpy(out, in, sizeof(Sample));
}

} // namespace

void Vellum::setExifData(char *data, int size)
{
    if (!m_exifData)
        m_exifData = new ExifData {nullptr, 0};
    if (m_exifData->data != data)
        std::free(m_exifData->data);
    *m_exifData = {data, size};
}

ExifData *Vellum::getExifData() { return m_exifData; }

void Vellum::setPsdLayerData(PsdLayerData *layer)
{
    if (layer == m_psdLayerData)
        return;
    delete m_psdLayerData;
    m_psdLayerData = layer;
}

PsdLayerData *Vellum::getPsdLayerData() { return m_psdLayerData; }

void Vellum::setLayerGroup(QList<PsdGroupData> &groups) { m_layerGroup = groups; }

QList<PsdGroupData> &Vellum::getLayerGroup() { return m_layerGroup; }

void Vellum::setColorSpaceFactory(IPsColorSpaceFactory *factory) { m_colorSpaceFactory = factory; }

IPsColorSpaceFactory *Vellum::getColorSpaceFactory() { return m_colorSpaceFactory; }

uchar *Vellum::allocChannelsData(int channels, int bits, int &stride)
{
    m_channelCount = channels;
    m_channelBits = bits;
    m_channelsData = nullptr; // an earlier buffer is the caller's to free, before this call
    m_channelsBytes = 0;
    stride = 0;
    // The width and the number of samples have 31 bits each: their product fits 64, three do not.
    constexpr qint64 kMost = std::numeric_limits<int>::max();
    if ((bits != 8 && bits != 16) || channels < 0 || qint64(width()) * channels > kMost)
        return nullptr;
    const qint64 rowBytes = channelStride(width(), channels, bits);
    if (rowBytes > kMost || rowBytes * height() > kMost)
        return nullptr;
    m_channelsData = static_cast<uchar *>(std::malloc(size_t(rowBytes * height())));
    if (!m_channelsData)
        return nullptr;
    m_channelsBytes = int(rowBytes * height());
    stride = int(rowBytes);
    return m_channelsData;
}

uchar *Vellum::getChannelsData(int, int, int &) { return nullptr; }

const uchar *Vellum::channelsData(int &channels, int &bits, int &stride) const
{
    // The image may have been given another size since.
    const qint64 rowBytes =
        m_channelsData ? channelStride(width(), m_channelCount, m_channelBits) : 0;
    const bool fits = m_channelsData && rowBytes <= m_channelsBytes / qMax(height(), 1);
    channels = fits ? m_channelCount : 0;
    bits = fits ? m_channelBits : 0;
    stride = fits ? int(rowBytes) : 0;
    return fits ? m_channelsData : nullptr;
}

void Vellum::freeChannelsData()
{
    std::free(m_channelsData);
    m_channelsData = nullptr;
    m_channelsBytes = 0;
}

QList<Vellum *> Vellum::getChannelsImage(bool to8Bit, bool freeData)
{
    QList<Vellum *> images;
    int count = 0;
    int bits = 0;
    int stride = 0;
    if (const uchar *const data = channelsData(count, bits, stride)) {
        const int bytes = bits / 8;
        const bool wide = bytes == 2 && !to8Bit;
        const auto extract = wide ? extractSamples<quint16> : extractSamples<quint8>;
        const int highByte = wide ? 0 : bytes - 1; // samples are little-endian
        for (int c = 0; c < count; ++c) {
            auto *const image =
                new Vellum(width(), height(), wide ? Format_Grayscale16 : Format_Grayscale8);
            images.append(image);
            const uchar *const samples = data + qptrdiff(c) * bytes + highByte;
            for (int y = 0; y < image->height(); ++y) {
                extract(image->scanLineEx(y), samples + qptrdiff(y) * stride,
                        qptrdiff(count) * bytes, width());
            }
        }
    }
    if (freeData)
        freeChannelsData();
    return images;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface is fixed
bool Vellum::setChannelsImage(QList<Vellum *>) { return false; }

void Vellum::swapAttachments(Vellum &other)
{
    std::swap(m_exifData, other.m_exifData);
    std::swap(m_psdLayerData, other.m_psdLayerData);
    std::swap(m_colorSpaceFactory, other.m_colorSpaceFactory);
    std::swap(m_layerGroup, other.m_layerGroup);
    std::swap(m_channelsData, other.m_channelsData);
    std::swap(m_channelCount, other.m_channelCount);
    std::swap(m_channelBits, other.m_channelBits);
    std::swap(m_channelsBytes, other.m_channelsBytes);
    std::swap(m_offsetX, other.m_offsetX);
    std::swap(m_offsetY, other.m_offsetY);
}

namespace vellum::image {

HeldAttachments::HeldAttachments(Vellum &image) { m_holder.swapAttachments(image); }

HeldAttachments::~HeldAttachments()
{
    m_holder.freeChannelsData(); // the destructor releases all else
}

void HeldAttachments::giveTo(Vellum &image)
{
    const HeldAttachments old(image);
    m_holder.swapAttachments(image);
}

void HeldAttachments::dropChannels() { m_holder.freeChannelsData(); }

bool HeldAttachments::rearrangeChannels(const QSize &from, const QSize &to,
                                        const std::function<QPoint(QPoint)> &origin)
{
    if (!m_holder.m_channelsData)
        return true;
    const qptrdiff pixelBytes = m_holder.m_channelCount * m_holder.m_channelBits / 8;
    const qint64 oldStride =
        channelStride(from.width(), m_holder.m_channelCount, m_holder.m_channelBits);
    const qint64 newStride =
        channelStride(to.width(), m_holder.m_channelCount, m_holder.m_channelBits);
    const qint64 bytes = newStride * to.height(); // rows are padded, so that it may be more
    const bool fits = oldStride * from.height() <= m_holder.m_channelsBytes;
    const std::unique_ptr<uchar[], FreeMemory> old(std::exchange(m_holder.m_channelsData, nullptr));
    m_holder.m_channelsBytes = 0;
    if (!fits)
        return true; // they were never those of the picture
    if (bytes > std::numeric_limits<int>::max())
        return false;
    m_holder.m_channelsData = static_cast<uchar *>(std::malloc(size_t(bytes)));
    if (!m_holder.m_channelsData)
        return false;
    m_holder.m_channelsBytes = int(bytes);
    for (int y = 0; y < to.height(); ++y) {
        const QPoint first = origin(QPoint(0, y));
        const QPoint step = origin(QPoint(1, y)) - first;
        qint64 at = first.y() * oldStride + first.x() * pixelBytes;
        uchar *out = m_holder.m_channelsData + y * newStride;
        for (int x = 0; x < to.width(); ++x, out += pixelBytes) {
            std::memcpy(out, old.get() + at, size_t(pixelBytes));
            at += step.y() * oldStride + step.x() * pixelBytes;
        }
    }
    return true;
}

void HeldAttachments::lendChannels(Vellum &to, const Vellum &from)
{
    to.m_channelsData = from.m_channelsData;
    to.m_channelCount = from.m_channelCount;
    to.m_channelBits = from.m_channelBits;
    to.m_channelsBytes = from.m_channelsBytes;
}

void HeldAttachments::takeBackChannels(Vellum &to)
{
    to.m_channelsData = nullptr;
    to.m_channelsBytes = 0;
}

void copyExif(Vellum &to, const Vellum &from)
{
    const ExifData *const exif = const_cast<Vellum &>(from).getExifData();
    if (!exif || exif->size <= 0 || !exif->data)
        return;
    auto *const bytes = static_cast<char *>(std::malloc(size_t(exif->size)));
    if (!bytes)
        return;
    std::memcpy(bytes, exif->data, size_t(exif->size));
    to.setExifData(bytes, exif->size);
}

} // namespace vellum::image
