#include "bitmap/bmpheader.h"

#include "shared/device.h"

#include <QtEndian>

#include <limits>

namespace vellum::plugin {

namespace {

using namespace bmp;

bool isHeaderSize(quint32 bytes)
{
    return bytes == kCoreHeaderBytes || (bytes >= 16 && bytes <= kV5HeaderBytes);
}

/// The fields of any version at the places of the latest; those that a file lacks are 0.
class Fields
{
public:
    quint32 headerBytes() const { return number<quint32>(0); }
    bool isOs2() const
    {
        return headerBytes() < kInfoHeaderBytes || headerBytes() == kOs2HeaderBytes;
    }

    template <typename T>
    T number(int at) const
    {
        return qFromLittleEndian<T>(m_bytes.data() + at);
    }

    /// \return false when the file ends early or the version is unknown
    bool read(ByteReader &bytes)
    {
        if (!bytes.read(m_bytes.data(), 4) || !isHeaderSize(headerBytes()) ||
            !bytes.read(m_bytes.data() + 4, headerBytes() - 4))
            return false;
        if (headerBytes() == kCoreHeaderBytes) {
            widenCore();
            return true;
        }
        // The oldest of today's headers has the masks behind it.
        const auto compression = number<quint32>(kCompressionAt);
        const bool hasAlpha = compression == kAlphaBitFields;
        if (headerBytes() != kInfoHeaderBytes || !(hasAlpha || compression == kBitFields))
            return true;
        return bytes.read(m_bytes.data() + kMasksAt, hasAlpha ? 16 : 12);
    }

private:
    void widenCore()
    {
        const auto width = number<quint16>(4);
        const auto height = number<quint16>(6);
        const auto bits = number<quint16>(10);
        qToLittleEndian<quint32>(width, m_bytes.data() + kWidthAt);
        qToLittleEndian<quint32>(height, m_bytes.data() + kHeightAt);
        qToLittleEndian<quint16>(bits, m_bytes.data() + kBitsAt);
    }

    std::array<uchar, kV5HeaderBytes> m_bytes {};
};

bool isSupported(const BmpHeader &header)
{
    switch (header.compression) {
    case kRgb:
        return header.bits == 1 || header.bits == 4 || header.bits == 8 || header.bits == 16 ||
            header.bits == 24 || header.bits == 32;
    case kRle8:
        return header.bits == 8;
    case kRle4:
        return header.bits == 4;
    case kBitFields:
    case kAlphaBitFields:
        return header.bits == 16 || header.bits == 32;
    default:
        return false;
    }
}

std::array<quint32, 4> masksOf(const Fields &fields, const BmpHeader &header)
{
    if (header.compression == kRgb && header.bits == 16)
        return {0x7c00, 0x03e0, 0x001f, 0};
    if (header.compression == kRgb)
        return {0x00ff0000, 0x0000ff00, 0x000000ff, 0};
    const auto mask = [&](int i) { return fields.number<quint32>(kMasksAt + 4 * i); };
    return {mask(0), mask(1), mask(2), mask(3)};
}

void readColorSpace(const Fields &fields, BmpHeader &header)
{
    if (fields.headerBytes() < kV4HeaderBytes)
        return;
    const auto colorSpace = fields.number<quint32>(kColorSpaceAt);
    header.isSrgb = colorSpace == kSrgb;
    if (fields.headerBytes() == kV5HeaderBytes && colorSpace == kEmbeddedProfile) {
        header.profileAt = kFileHeaderBytes + qint64(fields.number<quint32>(kProfileAt));
        header.profileBytes = fields.number<quint32>(kProfileBytesAt);
    }
}

/// \param room  bytes between the header and the pixels; 0 or less when the file does not tell
bool readColors(ByteReader &bytes, const Fields &fields, qint64 room, BmpHeader &header)
{
    const int entryBytes = fields.headerBytes() == kCoreHeaderBytes ? 3 : 4;
    const qint64 most = qint64(1) << header.bits;
    const qint64 stated = fields.number<quint32>(kColorsAt);
    qint64 count = stated > 0 ? qMin(stated, most) : most;
    if (room > 0)
        count = qMin(count, room / entryBytes);
    header.colors.reserve(int(most));
    for (int i = 0; i < count; ++i) {
        uchar entry[4]; // blue, green, red, and one that says nothing
        if (!bytes.read(entry, entryBytes))
            return false;
        header.colors.append(qRgb(entry[2], entry[1], entry[0]));
    }
    if (count == 0) {
        for (int i = 0; i < most; ++i) {
            const int level = i * 255 / int(most - 1);
            header.colors.append(qRgb(level, level, level));
        }
    }
    if (header.bits == 1) // both can be in use, whatever the file says
        header.colors.resize(2);
    return true;
}

} // namespace

bool isBmp(QIODevice &device)
{
    if (!startsWith(device, "BM"))
        return false;
    const QByteArray head = peekAll(device, kFileHeaderBytes + 4);
    return head.size() < kFileHeaderBytes + 4 ||
        isHeaderSize(qFromLittleEndian<quint32>(head.constData() + kFileHeaderBytes));
}

const char *readBmpHeader(ByteReader &bytes, BmpHeader &header)
{
    std::array<uchar, kFileHeaderBytes> file;
    Fields fields;
    if (!bytes.read(file.data(), kFileHeaderBytes) || file[0] != 'B' || file[1] != 'M' ||
        !fields.read(bytes))
        return "there is no header";

    const auto height = fields.number<qint32>(kHeightAt);
    header.size = {fields.number<qint32>(kWidthAt),
                   qAbs(qMax(height, -std::numeric_limits<int>::max()))};
    header.bottomUp = height > 0;
    header.bits = fields.number<quint16>(kBitsAt);
    header.compression = fields.number<quint32>(kCompressionAt);
    if (header.size.isEmpty())
        return "the picture has no pixels";
    if (!isSupported(header) || (fields.isOs2() && header.compression >= kBitFields))
        return "the kind of compression is not known";
    header.masks = masksOf(fields, header);
    header.dotsPerMeterX = qMax(0, fields.number<qint32>(kResolutionXAt));
    header.dotsPerMeterY = qMax(0, fields.number<qint32>(kResolutionYAt));
    readColorSpace(fields, header);

    constexpr int kPixelsAt = 10;
    const qint64 pixelsAt = qFromLittleEndian<quint32>(file.data() + kPixelsAt);
    if (header.bits <= 8 && !readColors(bytes, fields, pixelsAt - bytes.position(), header))
        return "the colour table breaks off";
    if (pixelsAt > bytes.position() && !bytes.skip(pixelsAt - bytes.position()))
        return "there are no pixels";
    return nullptr;
}

} // namespace vellum::plugin
