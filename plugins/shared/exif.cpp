#include "shared/exif.h"

#include <QtEndian>

#include <algorithm>

namespace vellum::plugin {

namespace {

constexpr quint16 kOrientation = 0x0112;
constexpr quint16 kResolutionX = 0x011a;
constexpr quint16 kResolutionY = 0x011b;
constexpr quint16 kResolutionUnit = 0x0128;
constexpr quint16 kStripOffset = 0x0111;
constexpr quint16 kStripBytes = 0x0117;
constexpr quint16 kPreviewOffset = 0x0201; // of a JPEG
constexpr quint16 kPreviewBytes = 0x0202;
constexpr quint16 kExifDirectory = 0x8769;
constexpr quint16 kWidth = 0xa002;
constexpr quint16 kHeight = 0xa003;
// Types of fields: 16-bit numbers, 32-bit numbers, and fractions of two of those.
constexpr quint16 kShort = 3;
constexpr quint16 kLong = 4;
constexpr quint16 kRational = 5;
constexpr int kEntryBytes = 12;

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

    qint64 firstDirectory() const { return number<quint32>(4); }

    /// Where the place of the directory behind \a directory stands.
    qint64 linkOf(qint64 directory) const
    {
        return directory + 2 + qint64(number<quint16>(directory)) * kEntryBytes;
    }

    /// Place of the value of \a field, of \a type, in \a directory; -1 when it has none. Of values
    /// longer than 4 bytes it holds the place.
    qint64 valueAt(qint64 directory, quint16 field, quint16 type) const
    {
        const int entries = directory > 0 ? number<quint16>(directory) : 0;
        for (int i = 0; i < entries; ++i) {
            const qint64 entry = directory + 2 + qint64(i) * kEntryBytes;
            if (entry + kEntryBytes > m_bytes.size())
                break;
            if (number<quint16>(entry) == field && number<quint16>(entry + 2) == type)
                return entry + 8;
        }
        return -1;
    }

    /// The same in the first directory.
    qint64 valueAt(quint16 field, quint16 type) const
    {
        return valueAt(firstDirectory(), field, type);
    }

    /// The whole number that \a field of \a directory holds; -1 when there is none.
    qint64 wholeNumber(qint64 directory, quint16 field) const
    {
        if (const qint64 at = valueAt(directory, field, kLong); at >= 0)
            return number<quint32>(at);
        const qint64 at = valueAt(directory, field, kShort);
        return at >= 0 ? number<quint16>(at) : -1;
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

namespace {

/// Changes numbers of a block where they stand.
class BlockEditor
{
public:
    explicit BlockEditor(QByteArray &bytes) : m_bytes(bytes), m_view(bytes) { }

    /// \return whether it was another one
    bool setOrientation(int orientation)
    {
        const qint64 at = m_view.valueAt(kOrientation, kShort);
        if (at < 0 || m_view.number<quint16>(at) == orientation)
            return false;
        set(at, quint16(orientation));
        return true;
    }

    /// \return whether it stated another one, or none
    bool setSize(const QSize &size)
    {
        const qint64 at = m_view.valueAt(kExifDirectory, kLong);
        const qint64 directory = at >= 0 ? m_view.number<quint32>(at) : 0;
        const bool isSame = m_view.wholeNumber(directory, kWidth) == size.width() &&
            m_view.wholeNumber(directory, kHeight) == size.height();
        if (!isSame) {
            setWholeNumber(directory, kWidth, size.width());
            setWholeNumber(directory, kHeight, size.height());
        }
        return !isSame;
    }

    void dropPreview()
    {
        const qint64 link = m_view.linkOf(m_view.firstDirectory());
        const qint64 directory = m_view.number<quint32>(link);
        if (directory == 0)
            return;
        clear(m_view.wholeNumber(directory, kPreviewOffset),
              m_view.wholeNumber(directory, kPreviewBytes));
        clear(m_view.wholeNumber(directory, kStripOffset),
              m_view.wholeNumber(directory, kStripBytes));
        set(link, quint32(0));
    }

private:
    template <typename T>
    void set(qint64 at, T value)
    {
        if (at < 0 || at + qint64(sizeof(T)) > m_bytes.size())
            return;
        char *const p = m_bytes.data() + at;
        m_view.isBigEndian() ? qToBigEndian<T>(value, p) : qToLittleEndian<T>(value, p);
    }

    /// A number that does not fit stays as it is.
    void setWholeNumber(qint64 directory, quint16 field, int value)
    {
        if (const qint64 at = m_view.valueAt(directory, field, kLong); at >= 0)
            set(at, quint32(value));
        else if (value <= 0xffff)
            set(m_view.valueAt(directory, field, kShort), quint16(value));
    }

    void clear(qint64 at, qint64 count)
    {
        constexpr qint64 kHeaderBytes = 8;
        if (at < kHeaderBytes || count <= 0 || at + count > m_bytes.size())
            return;
        std::fill_n(m_bytes.data() + at, count, char(0));
    }

    QByteArray &m_bytes;
    Block m_view;
};

} // namespace

QByteArray exifForUpright(QByteArray block, const QSize &size)
{
    BlockEditor editor(block);
    const bool isTurned = editor.setOrientation(1);
    const bool isResized = editor.setSize(size);
    if (isTurned || isResized)
        editor.dropPreview();
    return block;
}

} // namespace vellum::plugin
