#include "shared/exif.h"

#include <QtEndian>

namespace vellum::plugin {

namespace {

constexpr quint16 kOrientation = 0x0112;
constexpr quint16 kResolutionX = 0x011a;
constexpr quint16 kResolutionY = 0x011b;
constexpr quint16 kResolutionUnit = 0x0128;
// Types of fields: 16-bit numbers, and fractions of two 32-bit numbers.
constexpr quint16 kShort = 3;
constexpr quint16 kRational = 5;

/// A bounds-checked view of a block's numbers.
class Block
{
public:
    explicit Block(const QByteArray &bytes)
        : m_bytes(bytes), m_bigEndian(bytes.startsWith(QByteArray("MM\0*", 4)))
    {
    }

    bool isBigEndian() const { return m_bigEndian; }

    template <typename T>
    T number(qint64 at) const
    {
        if (at < 0 || at + qint64(sizeof(T)) > m_bytes.size())
            return 0;
        const char *const p = m_bytes.constData() + at;
        return m_bigEndian ? qFromBigEndian<T>(p) : qFromLittleEndian<T>(p);
    }

    /// Place of the value of \a field, of \a type, in the first directory; -1 when it has none. Of
    /// values longer than 4 bytes it holds the place.
    qint64 valueAt(quint16 field, quint16 type) const
    {
        constexpr int kEntryBytes = 12;
        const qint64 directory = number<quint32>(4);
        const int entries = number<quint16>(directory);
        for (int i = 0; i < entries; ++i) {
            const qint64 entry = directory + 2 + qint64(i) * kEntryBytes;
            if (entry + kEntryBytes > m_bytes.size())
                break;
            if (number<quint16>(entry) == field && number<quint16>(entry + 2) == type)
                return entry + 8;
        }
        return -1;
    }

    /// The fraction that \a field holds; 0 when there is none.
    double fraction(quint16 field) const
    {
        const qint64 at = number<quint32>(valueAt(field, kRational));
        const auto denominator = number<quint32>(at + 4);
        return at > 0 && denominator > 0 ? double(number<quint32>(at)) / denominator : 0;
    }

private:
    const QByteArray &m_bytes;
    bool m_bigEndian;
};

} // namespace

QByteArray exifBlock(const QByteArray &bytes)
{
    const QByteArray prefix("Exif\0\0", 6);
    const QByteArray block = bytes.startsWith(prefix) ? bytes.mid(prefix.size()) : bytes;
    const bool isBlock =
        block.startsWith(QByteArray("II*\0", 4)) || block.startsWith(QByteArray("MM\0*", 4));
    return isBlock ? block : QByteArray();
}

QImageIOHandler::Transformations transformationOf(int orientation)
{
    constexpr QImageIOHandler::Transformation kOf[] = {
        QImageIOHandler::TransformationNone,
        QImageIOHandler::TransformationMirror,
        QImageIOHandler::TransformationRotate180,
        QImageIOHandler::TransformationFlip,
        QImageIOHandler::TransformationFlipAndRotate90,
        QImageIOHandler::TransformationRotate90,
        QImageIOHandler::TransformationMirrorAndRotate90,
        QImageIOHandler::TransformationRotate270,
    };
    return orientation >= 1 && orientation <= 8 ? kOf[orientation - 1]
                                                : QImageIOHandler::TransformationNone;
}

QImageIOHandler::Transformations exifTransformation(const QByteArray &block)
{
    const Block view(block);
    const qint64 at = view.valueAt(kOrientation, kShort);
    return transformationOf(at < 0 ? 1 : view.number<quint16>(at));
}

ExifResolution exifResolution(const QByteArray &block)
{
    const Block view(block);
    const qint64 unit = view.valueAt(kResolutionUnit, kShort);
    constexpr int kCentimeter = 3;
    const bool inCentimeters = unit >= 0 && view.number<quint16>(unit) == kCentimeter;
    const double perMeter = inCentimeters ? 100 : 1 / 0.0254;
    const auto dots = [&](quint16 field) {
        constexpr double kMost = 1e8; // no picture has more
        const double value = view.fraction(field) * perMeter;
        return value < kMost ? qRound(value) : 0;
    };
    return {dots(kResolutionX), dots(kResolutionY)};
}

QByteArray withoutExifOrientation(QByteArray block)
{
    const Block view(block);
    const qint64 at = view.valueAt(kOrientation, kShort);
    const bool bigEndian = view.isBigEndian();
    if (at >= 0 && view.number<quint16>(at) != 1) {
        char *const value = block.data() + at;
        bigEndian ? qToBigEndian<quint16>(1, value) : qToLittleEndian<quint16>(1, value);
    }
    return block;
}

} // namespace vellum::plugin
