#include <cstring>
#include <support/hrle.h>

namespace vellum::test {

namespace {

QByteArray le16(quint16 value)
{
    QByteArray bytes;
    bytes.append(char(value & 255));
    bytes.append(char(value >> 8));
    return bytes;
}

quint32 wordAt(const QByteArray &data, int at)
{
    quint32 word = 0;
    for (int i = 3; i >= 0; --i)
        word = word * 256 + uchar(data[at + i]);
    return word;
}

} // namespace

HrleFields::HrleFields(int w, int h, quint32 c) : width(w), height(h), compression(c)
{
    const int stride = (w + 3) / 4 * 4;
    imageSize = quint32(stride) * quint32(qAbs(h));
    fileSize = imageSize + 54;
}

QByteArray HrleFields::bytes() const
{
    return magic + le32(fileSize) + le16(reserved1) + le16(reserved2) + le32(dataOffset) +
        le32(infoSize) + le32(quint32(width)) + le32(quint32(height)) + le16(planes) + le16(depth) +
        le32(compression) + le32(imageSize) + le32(quint32(dotsX)) + le32(quint32(dotsY)) +
        le32(colorsUsed) + le32(colorsImportant);
}

QByteArray le32(quint32 value) { return le16(quint16(value & 65535)) + le16(quint16(value >> 16)); }

QByteArray run(quint32 length, int value)
{
    return le32(length % 16777216 + quint32(value) * 16777216);
}

QByteArray endRow(quint32 repeats) { return le32(0) + le32(repeats); }

QByteArray runLengthFile(int w, int h, const QByteArray &data)
{
    return HrleFields(w, h, 1).bytes() + le32(quint32(data.size())) + data;
}

QByteArray naiveEncode(const Rows &rows)
{
    QByteArray data;
    for (size_t y = 0; y < rows.size();) {
        const QByteArray &row = rows[y];
        int length = 0;
        for (int x = 0; x < row.size(); ++x) {
            ++length;
            if (x + 1 == row.size() || row[x + 1] != row[x]) {
                data += run(quint32(length), uchar(row[x]));
                length = 0;
            }
        }
        quint32 repeats = 0;
        for (; y < rows.size() && rows[y] == row; ++y)
            ++repeats;
        data += endRow(repeats);
    }
    return data;
}

QByteArray naiveFile(int width, const Rows &rows, qint32 dotsX, qint32 dotsY)
{
    const int height = int(rows.size());
    const QByteArray data = naiveEncode(rows);
    // A word may not reach the last 16 bytes, nor may the next one begin there.
    const bool fits = data.size() < height * width / 10 - 16;
    HrleFields fields(width, height, fits ? 1 : 0);
    fields.dotsX = dotsX;
    fields.dotsY = dotsY;
    QByteArray file = fields.bytes();
    if (fits)
        return file + le32(quint32(data.size())) + data;
    for (auto row = rows.rbegin(); row != rows.rend(); ++row)
        file += *row;
    return file;
}

Rows naiveDecode(const QByteArray &data, int height, int bytesPerLine)
{
    Rows rows(size_t(height), QByteArray(bytesPerLine, '\0'));
    qint64 y = 0;
    int x = 0;
    for (int at = 0; at + 4 <= data.size() && y < height; at += 4) {
        const quint32 word = wordAt(data, at);
        if (word != 0) {
            const int length = int(word % 16777216);
            if (x + length <= bytesPerLine) {
                for (int i = 0; i < length; ++i)
                    rows[size_t(y)][x++] = char(word / 16777216);
            }
            continue;
        }
        x = 0;
        at += 4;
        if (at + 4 > data.size())
            break;
        const quint32 repeats = wordAt(data, at);
        for (qint64 copy = y + 1; copy < y + repeats && copy < height; ++copy)
            rows[size_t(copy)] = rows[size_t(y)];
        y += repeats;
    }
    return rows;
}

Rows rowsOf(const Vellum &image)
{
    Rows rows;
    for (int y = 0; y < image.height(); ++y) {
        QByteArray row(image.bytesPerLine(), '\0');
        std::memcpy(row.data(), image.scanLineEx(y), size_t(image.storedBytesPerLine()));
        rows.push_back(row);
    }
    return rows;
}

QByteArray expectedFile(const Vellum &image)
{
    return naiveFile(image.width(), rowsOf(image), image.dotsPerMeterX(), image.dotsPerMeterY());
}

} // namespace vellum::test
