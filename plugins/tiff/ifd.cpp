#include "tiff/ifd.h"

#include <QtEndian>

#include <algorithm>

namespace vellum::plugin::tiff {

namespace {

constexpr qint64 kMostValueBytes = 1 << 20;

template <typename T>
T numberAt(const char *bytes, bool bigEndian)
{
    return bigEndian ? qFromBigEndian<T>(bytes) : qFromLittleEndian<T>(bytes);
}

template <typename T>
void append(QByteArray &bytes, T number, bool bigEndian)
{
    char encoded[sizeof(T)];
    bigEndian ? qToBigEndian<T>(number, encoded) : qToLittleEndian<T>(number, encoded);
    bytes.append(encoded, int(sizeof(T)));
}

/// Numbers whose size is that of the offsets of a file.
void appendOffset(QByteArray &bytes, quint64 number, const FileForm &form)
{
    if (form.big)
        append<quint64>(bytes, number, form.bigEndian);
    else
        append<quint32>(bytes, quint32(number), form.bigEndian);
}

QByteArray bytesAt(Stream &stream, quint64 offset, qint64 count)
{
    QByteArray bytes(int(count), Qt::Uninitialized);
    if (stream.seek(offset, SEEK_SET) != offset || stream.read(bytes.data(), count) != count)
        return {};
    return bytes;
}

} // namespace

int ifdTypeBytes(int type)
{
    constexpr int kBytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    return type >= 1 && type <= 12 ? kBytes[type] : 0;
}

FileForm readForm(Stream &stream)
{
    const QByteArray magic = bytesAt(stream, 0, 4);
    const bool bigEndian = magic.startsWith("MM");
    return {bigEndian,
            !magic.isEmpty() && numberAt<quint16>(magic.constData() + 2, bigEndian) == 43};
}

Ifd readIfd(Stream &stream, const FileForm &form, quint64 offset)
{
    const int countBytes = form.big ? 8 : 2;
    const int offsetBytes = form.big ? 8 : 4;
    const int entryBytes = 4 + 2 * offsetBytes;
    const auto offsetAt = [&](const char *bytes) {
        return form.big ? numberAt<quint64>(bytes, form.bigEndian)
                        : quint64(numberAt<quint32>(bytes, form.bigEndian));
    };

    const QByteArray head = bytesAt(stream, offset, countBytes);
    if (head.isEmpty())
        return {};
    constexpr quint64 kMostEntries = 1024;
    const quint64 count =
        std::min(kMostEntries,
                 form.big ? numberAt<quint64>(head.constData(), form.bigEndian)
                          : quint64(numberAt<quint16>(head.constData(), form.bigEndian)));
    const QByteArray table =
        bytesAt(stream, offset + quint64(countBytes), qint64(count) * entryBytes);
    Ifd ifd;
    qint64 room = kMostValueBytes;
    for (const char *at = table.constData(); at < table.constData() + table.size();
         at += entryBytes) {
        const auto type = numberAt<quint16>(at + 2, form.bigEndian);
        const quint64 values = offsetAt(at + 4);
        const int bytesEach = ifdTypeBytes(type);
        if (bytesEach == 0 || values == 0 || values > quint64(room))
            continue;
        const qint64 bytes = qint64(values) * bytesEach;
        const char *const value = at + 4 + offsetBytes;
        if (bytes > room)
            continue;
        const QByteArray kept = bytes <= offsetBytes ? QByteArray(value, int(bytes))
                                                     : bytesAt(stream, offsetAt(value), bytes);
        if (kept.isEmpty())
            continue;
        room -= bytes;
        ifd.push_back({numberAt<quint16>(at, form.bigEndian), type, quint32(values), kept});
    }
    return ifd;
}

quint64 ifdNumber(const Ifd &ifd, int tag, bool bigEndian)
{
    const auto entry = std::find_if(ifd.begin(), ifd.end(),
                                    [tag](const IfdEntry &other) { return other.tag == tag; });
    if (entry == ifd.end())
        return 0;
    const char *const value = entry->value.constData();
    return ifdTypeBytes(entry->type) == 4 ? numberAt<quint32>(value, bigEndian) : 0;
}

QByteArray ifdBytes(Ifd ifd, const FileForm &form, quint64 offset)
{
    std::sort(ifd.begin(), ifd.end(),
              [](const IfdEntry &a, const IfdEntry &b) { return a.tag < b.tag; });
    const int offsetBytes = form.big ? 8 : 4;
    const auto entryBytes = quint64(4 + 2 * offsetBytes);
    const quint64 tableBytes =
        quint64(form.big ? 8 : 2) + ifd.size() * entryBytes + quint64(offsetBytes);

    QByteArray table;
    QByteArray values; // behind the table
    if (form.big)
        append<quint64>(table, ifd.size(), form.bigEndian);
    else
        append<quint16>(table, quint16(ifd.size()), form.bigEndian);
    for (const IfdEntry &entry : ifd) {
        append<quint16>(table, entry.tag, form.bigEndian);
        append<quint16>(table, entry.type, form.bigEndian);
        appendOffset(table, entry.count, form);
        if (entry.value.size() <= offsetBytes) {
            table.append(entry.value.leftJustified(offsetBytes, '\0'));
            continue;
        }
        appendOffset(table, offset + tableBytes + quint64(values.size()), form);
        values.append(entry.value);
        if (values.size() % 2 != 0) // values start at even bytes
            values.append('\0');
    }
    appendOffset(table, 0, form); // no next directory
    return table + values;
}

} // namespace vellum::plugin::tiff
