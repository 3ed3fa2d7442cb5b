#include "shared/exif.h"

#include <QtEndian>

namespace vellum::plugin {

namespace {

constexpr quint16 kOrientation = 0x0112;
constexpr quint16 kShort = 3; // the field type of 16-bit numbers

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

    /// Place of the orientation's value in the first directory; -1 when it has none.
    qint64 orientationAt() const
    {
        constexpr int kEntryBytes = 12;
        const qint64 directory = number<quint32>(4);
        const int entries = number<quint16>(directory);
        for (int i = 0; i < entries; ++i) {
            const qint64 entry = directory + 2 + qint64(i) * kEntryBytes;
            if (entry + kEntryBytes > m_bytes.size())
                break;
            if (number<quint16>(entry) == kOrientation && number<quint16>(entry + 2) == kShort)
                return entry + 8;
        }
        return -1;
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
    const qint64 at = view.orientationAt();
    return transformationOf(at < 0 ? 1 : view.number<quint16>(at));
}

QByteArray withoutExifOrientation(QByteArray block)
{
    const Block view(block);
    const qint64 at = view.orientationAt();
    const bool bigEndian = view.isBigEndian();
    if (at >= 0 && view.number<quint16>(at) != 1) {
        char *const value = block.data() + at;
        bigEndian ? qToBigEndian<quint16>(1, value) : qToLittleEndian<quint16>(1, value);
    }
    return block;
}

} // namespace vellum::plugin
