#include <vellum/io/hrlecheck.h>
#include <vellum/io/hrlecodec_p.h>
#include <vellum/io/hrleheader_p.h>

#include <QDataStream>
#include <QFile>

namespace vellum {

using namespace io;

namespace {

HrleCheck failure(HrleCheck::Status status, const QString &reason)
{
    HrleCheck check;
    check.status = status;
    check.reason = reason;
    return check;
}

/// Why the file cannot have \a actual bytes when it should have \a expected; empty when equal.
QString lengthFault(qint64 actual, qint64 expected)
{
    if (actual == expected)
        return {};
    return QStringLiteral("it has %1 bytes where the header asks for %2").arg(actual).arg(expected);
}

/// Why \a words are not exactly the rows of an image; empty when they are. \a y becomes the number
/// of rows that are whole.
QString runLengthFault(WordReader &words, qint64 rows, qint64 bytesPerRow, qint64 &y)
{
    qint64 x = 0;
    quint32 word = 0;
    while (words.next(word)) {
        if (y == rows)
            return QStringLiteral("there is data behind the last row");
        if (word != kEndOfRow) {
            x += runLength(word);
            if (runLength(word) == 0)
                return QStringLiteral("row %1 has a run of no bytes").arg(y);
            if (x > bytesPerRow)
                return QStringLiteral("row %1 is too long").arg(y);
            continue;
        }
        if (x < bytesPerRow)
            return QStringLiteral("row %1 is too short").arg(y);
        quint32 repeats = 0;
        if (!words.next(repeats))
            break;
        if (repeats == 0)
            return QStringLiteral("row %1 occurs no times").arg(y);
        if (repeats > rows - y)
            return QStringLiteral("there are more rows than the header states");
        y += repeats;
        x = 0;
    }
    if (y < rows)
        return QStringLiteral("the data ends in row %1 of %2").arg(y).arg(rows);
    return {};
}

/// Why what follows the headers at \a start is not exactly what they state; empty when it is.
/// \a wholeRows becomes the number of rows that are there.
QString dataFault(QIODevice &device, qint64 start, const HrleInfoHeader &info, qint64 &wholeRows)
{
    const qint64 length = device.size() - start;
    const qint64 data = dataStart(info);
    if (info.informationHeaderSize < kInfoHeaderBytes)
        return QStringLiteral("the pixels would begin inside the header");
    if (info.compression == RawRows) {
        wholeRows = qBound<qint64>(0, (length - data) / rowBytes(info), rowCount(info));
        return lengthFault(length, data + rowCount(info) * rowBytes(info));
    }
    if (info.compression != RunLength)
        return QStringLiteral("its compression is unknown");
    if (length < data + kCountBytes || !device.seek(start + data))
        return QStringLiteral("it ends before its run-length data");
    const std::optional<quint32> count = readCount(device);
    if (!count)
        return QStringLiteral("its run-length data cannot be read");
    const qint64 available = length - data - kCountBytes;
    WordReader words(device, quint32(qMin<qint64>(available, *count)));
    const QString rowFault = runLengthFault(words, rowCount(info), rowBytes(info), wholeRows);
    const QString fault = lengthFault(length, data + kCountBytes + *count);
    if (!fault.isEmpty())
        return fault;
    if (*count % 4 != 0)
        return QStringLiteral("its run-length data does not end with a whole word");
    return rowFault;
}

} // namespace

HrleCheck checkHrle(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return failure(HrleCheck::Unreadable, file.errorString());
    return checkHrle(file);
}

HrleCheck checkHrle(QIODevice &device)
{
    if (!device.isReadable())
        return failure(HrleCheck::Unreadable, QStringLiteral("it is not open for reading"));
    if (device.isSequential())
        return failure(HrleCheck::Unreadable,
                       QStringLiteral("it can only be read from end to end"));
    const qint64 start = device.pos();
    QDataStream stream(&device);
    HrleFileHeader file;
    HrleInfoHeader info;
    if (!readHeaders(stream, file, info))
        return failure(HrleCheck::NotHrle, QStringLiteral("it ends inside the header"));
    if (const char *const fault = headerFault(file, info))
        return failure(HrleCheck::NotHrle, QString::fromLatin1(fault));

    HrleCheck check;
    check.width = info.width;
    check.height = int(rowCount(info));
    check.dotsPerMeterX = info.dotsPerMeterX;
    check.dotsPerMeterY = info.dotsPerMeterY;
    check.compressed = info.compression == RunLength;
    qint64 wholeRows = 0;
    check.reason = dataFault(device, start, info, wholeRows);
    check.rows = int(wholeRows);
    check.status = check.reason.isEmpty() ? HrleCheck::Complete : HrleCheck::Damaged;
    return check;
}

} // namespace vellum
