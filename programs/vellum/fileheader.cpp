#include "fileheader.h"

#include <QByteArray>
#include <QIODevice>
#include <QtEndian>

namespace vellum::tool {

namespace {

/// \a size bytes from \a offset on; empty if the file has fewer.
QByteArray bytesAt(QIODevice &file, qint64 offset, int size)
{
    const QByteArray bytes = file.seek(offset) ? file.read(size) : QByteArray();
    return bytes.size() == size ? bytes : QByteArray();
}

Resolution pngResolution(QIODevice &file)
{
    // Chunks of: length, type, data, check sum. pHYs must come before the pixels (IDAT).
    for (qint64 offset = 8;;) {
        const QByteArray head = bytesAt(file, offset, 8);
        if (head.isEmpty() || head.endsWith("IDAT"))
            return {};
        const auto length = qFromBigEndian<quint32>(head.constData());
        if (head.endsWith("pHYs") && length == 9) {
            const QByteArray data = bytesAt(file, offset + 8, 9);
            const bool perMetre = !data.isEmpty() && data.at(8) == 1;
            if (!perMetre)
                return {};
            return {qFromBigEndian<qint32>(data.constData()),
                    qFromBigEndian<qint32>(data.constData() + 4)};
        }
        offset += qint64(length) + 12;
    }
}

Resolution jpegResolution(QIODevice &file)
{
    // The JFIF segment, if there is one, is the first: FF D8 FF E0 length "JFIF\0" version unit.
    const QByteArray head = bytesAt(file, 0, 18);
    if (head.mid(2, 2) != "\xff\xe0" || head.mid(6, 4) != "JFIF")
        return {};
    const double perMetre[] = {0, 100 / 2.54, 100}; // nothing, per inch, per centimetre
    const auto unit = uchar(head.at(13));
    if (unit > 2)
        return {};
    const auto inMetres = [&](int offset) {
        return int(qFromBigEndian<quint16>(head.constData() + offset) * perMetre[unit]);
    };
    return {inMetres(14), inMetres(16)};
}

Resolution bmpResolution(QIODevice &file)
{
    const QByteArray head = bytesAt(file, 0, 46);
    if (head.isEmpty() || qFromLittleEndian<quint32>(head.constData() + 14) < 40)
        return {};
    return {qFromLittleEndian<qint32>(head.constData() + 38),
            qFromLittleEndian<qint32>(head.constData() + 42)};
}

} // namespace

Resolution statedResolution(QIODevice &file)
{
    const QByteArray magic = bytesAt(file, 0, 4);
    Resolution stated;
    if (magic == "\x89PNG")
        stated = pngResolution(file);
    else if (magic.startsWith("\xff\xd8"))
        stated = jpegResolution(file);
    else if (magic.startsWith("BM"))
        stated = bmpResolution(file); // HRLE has the same header
    return stated.x > 0 && stated.y > 0 ? stated : Resolution();
}

} // namespace vellum::tool
