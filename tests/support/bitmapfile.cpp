#include <QBuffer>
#include <QImageReader>
#include <QImageWriter>
#include <QtEndian>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <support/bitmapfile.h>
#include <support/imageplugin.h>

namespace vellum::test {

bool readBitmap(QByteArray bytes, QImage &image, const QByteArray &key)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return makeHandler(QStringLiteral("bitmap"), &buffer, key)->read(&image);
}

QImage bitmapRead(const QByteArray &bytes, const QByteArray &key)
{
    QImage image;
    EXPECT_TRUE(readBitmap(bytes, image, key));
    return image;
}

QByteArray bitmapWritten(const QImage &image, const QByteArray &key)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(makeHandler(QStringLiteral("bitmap"), &buffer, key)->write(image));
    return buffer.data();
}

QImage qtRead(QByteArray bytes, const QByteArray &key)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return QImageReader(&buffer, key).read();
}

QByteArray qtWritten(const QImage &image, const QByteArray &key)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(QImageWriter(&buffer, key).write(image)) << key.constData();
    return buffer.data();
}

QImage deep(const QImage &image) { return image.convertToFormat(QImage::Format_RGBA64); }

Vellum makeValidNoise(int w, int h, QImage::Format format, Storage storage)
{
    if (format == QImage::Format_Indexed8)
        return makeNoise(w, h, format, storage);
    const QImage colors = toPlain(makeNoise(w, h, QImage::Format_RGBA64, Storage::Plain));
    const QImage plain = colors.convertToFormat(format);
    Vellum image = makeImage(w, h, format, storage);
    image.setColorTable(plain.colorTable());
    for (int y = 0; y < h; ++y) {
        std::copy_n(plain.constScanLine(y), (qint64(w) * plain.depth() + 7) / 8,
                    image.scanLineEx(y));
    }
    return image;
}

QImage withPlainColors(const QImage &image)
{
    return image.pixelFormat().premultiplied() == QPixelFormat::Premultiplied
        ? image.convertToFormat(QImage::Format_RGB888)
        : image;
}

QVector<QRgb> bmpColors(int count)
{
    QVector<QRgb> colors;
    for (int i = 0; i < count; ++i)
        colors.append(qRgb(i * 91 % 256, i * 37 % 256, 255 - i));
    return colors;
}

namespace {

template <typename T>
void put(QByteArray &bytes, int at, T value)
{
    qToLittleEndian<T>(value, bytes.data() + at);
}

QByteArray noise(qint64 bytes, int colors)
{
    std::mt19937 random(7);
    QByteArray all(int(bytes), '\0');
    std::generate(all.begin(), all.end(), [&] { return char(int(random() >> 8) % colors); });
    return all;
}

/// Everything behind the file header and before the colours.
QByteArray infoHeader(const BmpFile &file, int height, int colors)
{
    QByteArray info(int(file.headerBytes), '\0');
    put<quint32>(info, 0, file.headerBytes);
    if (file.headerBytes == 12) {
        put<quint16>(info, 4, quint16(file.size.width()));
        put<quint16>(info, 6, quint16(height));
        put<quint16>(info, 8, 1);
        put<quint16>(info, 10, quint16(file.bits));
        return info;
    }
    put<qint32>(info, 4, file.size.width());
    put<qint32>(info, 8, file.topDown ? -height : height);
    put<quint16>(info, 12, 1);
    put<quint16>(info, 14, quint16(file.bits));
    put<quint32>(info, 16, file.compression);
    put<qint32>(info, 24, 1234);
    put<qint32>(info, 28, 4321);
    put<qint32>(info, 32, colors);
    if (file.compression != 3 && file.compression != 6)
        return info;
    const int masksEnd = file.compression == 6 || file.headerBytes >= 56 ? 56 : 52;
    info.resize(qMax(info.size(), masksEnd));
    for (int i = 0; i < (masksEnd - 40) / 4; ++i)
        put<quint32>(info, 40 + 4 * i, file.masks[size_t(i)]);
    return info;
}

} // namespace

QByteArray makeBmp(const BmpFile &file)
{
    const int colors = file.bits > 8 ? 0 : file.colors > 0 ? file.colors : 1 << file.bits;
    QByteArray info = infoHeader(file, file.size.height(), file.colors);
    const int indices = file.bits == 8 ? colors : 256;
    const qint64 rowBytes = (qint64(file.size.width()) * file.bits + 31) / 32 * 4;
    const QByteArray pixels =
        file.pixels.isEmpty() ? noise(rowBytes * file.size.height(), indices) : file.pixels;
    const int pixelsAt = 14 + info.size() + colors * (file.headerBytes == 12 ? 3 : 4) + file.gap;
    if (file.headerBytes >= 108)
        put<quint32>(info, 56, file.colorSpace);
    if (!file.profile.isEmpty()) {
        put<qint32>(info, 112, pixelsAt - 14 + pixels.size());
        put<qint32>(info, 116, file.profile.size());
    }

    QByteArray bytes(14, '\0');
    bytes.replace(0, 2, "BM");
    put<qint32>(bytes, 2, pixelsAt + pixels.size() + file.profile.size());
    put<qint32>(bytes, 10, pixelsAt);
    bytes += info;
    for (const QRgb color : bmpColors(colors)) {
        const char entry[] = {char(qBlue(color)), char(qGreen(color)), char(qRed(color)), 0};
        bytes.append(entry, file.headerBytes == 12 ? 3 : 4);
    }
    return bytes + QByteArray(file.gap, 'x') + pixels + file.profile;
}

} // namespace vellum::test
