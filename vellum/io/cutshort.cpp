#include <vellum/io/cutshort_p.h>

#include <QByteArray>
#include <QIODevice>
#include <QtEndian>

namespace vellum::io {

namespace {

constexpr qint64 kChunkBytes = 1 << 16;

/// BMP states the size of the file behind its magic number.
bool isCutShortBmp(QIODevice &device)
{
    const QByteArray head = device.read(6);
    return head.size() == 6 && qFromLittleEndian<quint32>(head.constData() + 2) > device.size();
}

/// Moves \a device to where the first scan of a JPEG file begins; the segments before it, such as
/// a thumbnail, may hold ends of their own.
bool seekFirstScan(QIODevice &device)
{
    for (qint64 at = 2; device.seek(at);) {
        const QByteArray head = device.read(4); // FF, kind, length with itself
        if (head.size() < 4 || head.at(0) != '\xff')
            return false;
        if (head.at(1) == '\xda')
            return true;
        at += head.at(1) == '\xff' ? 1 : 2 + qFromBigEndian<quint16>(head.constData() + 2);
    }
    return false;
}

/// In a scan FF D9 can only be the end of the picture.
bool isCutShortJpeg(QIODevice &device)
{
    if (!seekFirstScan(device))
        return true;
    char last = 0;
    for (;;) {
        const QByteArray chunk = device.read(kChunkBytes);
        if (chunk.isEmpty())
            return true;
        if ((last == '\xff' && chunk.startsWith('\xd9')) || chunk.contains("\xff\xd9"))
            return false;
        last = chunk.back();
    }
}

} // namespace

bool isCutShort(QIODevice &device)
{
    if (device.isSequential())
        return false;
    const qint64 start = device.pos();
    device.seek(0);
    const QByteArray magic = device.peek(2);
    bool cutShort = false;
    if (magic == "BM")
        cutShort = isCutShortBmp(device);
    else if (magic == "\xff\xd8")
        cutShort = isCutShortJpeg(device);
    device.seek(start);
    return cutShort;
}

} // namespace vellum::io
