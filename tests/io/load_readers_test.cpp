// Real files through Qt's own readers.

#include <QImageReader>
#include <QImageWriter>
#include <QtEndian>

#include <gmock/gmock.h>

#include <support/images.h>
#include <support/recordingplugins.h>
#include <vector>

using namespace vellum::test;

namespace {

quint32 crc(const QByteArray &data)
{
    quint32 sum = 0xffffffff;
    for (const char c : data) {
        sum ^= uchar(c);
        for (int i = 0; i < 8; ++i)
            sum = sum >> 1 ^ (sum & 1 ? 0xedb88320 : 0);
    }
    return ~sum;
}

QByteArray be32(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray chunk(const QByteArray &type, const QByteArray &data)
{
    return be32(quint32(data.size())) + type + data + be32(crc(type + data));
}

/// A PNG file of \a rows, each of packed samples of \a bits; colour type 0 is grey, 3 a palette.
QByteArray pngFile(int width, const std::vector<QByteArray> &rows, char bits, char colourType,
                   const QByteArray &palette = QByteArray(), const QByteArray &alpha = QByteArray())
{
    QByteArray lines;
    for (const QByteArray &row : rows)
        lines += '\0' + row; // no filter
    const QByteArray header =
        be32(quint32(width)) + be32(quint32(rows.size())) + bits + colourType + QByteArray(3, '\0');
    QByteArray file = QByteArray("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", header);
    if (!palette.isEmpty())
        file += chunk("PLTE", palette);
    if (!alpha.isEmpty())
        file += chunk("tRNS", alpha);
    return file + chunk("IDAT", qCompress(lines).mid(4)) + chunk("IEND", QByteArray());
}

/// Expects \a image to show \a expected, whatever the formats.
void expectSameColours(const Vellum &image, const QImage &expected)
{
    ASSERT_EQ(image.size(), expected.size());
    const QImage shown = image.toImage();
    for (int y = 0; y < expected.height(); ++y) {
        for (int x = 0; x < expected.width(); ++x)
            ASSERT_EQ(shown.pixel(x, y), expected.pixel(x, y)) << x << ", " << y;
    }
}

class LoadReaders : public WithRecordingPlugins
{
protected:
    QString write(const QImage &image, const QString &name)
    {
        QImageWriter writer(path(name));
        EXPECT_TRUE(writer.write(image)) << qPrintable(writer.errorString());
        return path(name);
    }

    Vellum load(const QString &file)
    {
        Vellum image;
        EXPECT_TRUE(image.load(file)) << qPrintable(file);
        EXPECT_FALSE(image.isBigImage());
        return image;
    }
};

QImage noise(QImage::Format format) { return makeNoise(19, 7, format, Storage::Plain).toImage(); }

QImage indexed(const QVector<QRgb> &table)
{
    QImage image(19, 7, QImage::Format_Indexed8);
    image.setColorTable(table);
    for (int y = 0; y < 7; ++y) {
        for (int x = 0; x < 19; ++x)
            image.scanLine(y)[x] = uchar((x + y * 3) % table.size());
    }
    return image;
}

} // namespace

TEST_F(LoadReaders, PngOfEightBitsPerChannel)
{
    for (const auto format : {QImage::Format_ARGB32, QImage::Format_RGB32, QImage::Format_RGB888,
                              QImage::Format_RGBA8888}) {
        const QImage picture = noise(format);
        const Vellum image = load(write(picture, QStringLiteral("picture.png")));
        EXPECT_EQ(image.format(), QImage::Format_ARGB32);
        expectSameColours(image, picture);
    }
}

TEST_F(LoadReaders, PngOfSixteenBitsPerChannel)
{
    for (const auto format : {QImage::Format_RGBA64, QImage::Format_RGBX64}) {
        QImage picture = noise(format);
        if (format == QImage::Format_RGBX64)
            picture =
                picture.convertToFormat(QImage::Format_BGR30).convertToFormat(format); // opaque
        const QString file = write(picture, QStringLiteral("deep.png"));
        ASSERT_EQ(QImageReader(file).read().format(), format);

        const Vellum image = load(file);

        EXPECT_EQ(image.format(), QImage::Format_ARGB32);
        expectSameColours(image, picture.convertToFormat(QImage::Format_ARGB32));
    }
    const QImage grey = noise(QImage::Format_Grayscale16);
    const Vellum image = load(write(grey, QStringLiteral("grey.png")));
    EXPECT_TRUE(samePixels(image, Vellum(grey)));
}

TEST_F(LoadReaders, PngOfGrey)
{
    const QImage grey = noise(QImage::Format_Grayscale8);
    EXPECT_TRUE(samePixels(load(write(grey, QStringLiteral("grey.png"))), Vellum(grey)));

    QImage mono = noise(QImage::Format_Mono);
    mono.setColorTable({qRgb(255, 255, 255), qRgb(0, 0, 0)});
    const Vellum image = load(write(mono, QStringLiteral("mono.png")));
    EXPECT_EQ(image.format(), QImage::Format_Mono);
    expectSameColours(image, mono);
}

TEST_F(LoadReaders, PngOfFewBitsPerGreyPixel)
{
    for (const int bits : {1, 2, 4, 8}) {
        const int width = 16 / bits;
        const QByteArray row("\x1b\xe4", 2); // 2 bits: 0 1 2 3, 3 2 1 0
        const Vellum image =
            load(makeFile(QStringLiteral("grey.png"), pngFile(width, {row, row}, char(bits), 0)));
        QImage expected(width, 2, QImage::Format_Grayscale8);
        for (int x = 0; x < width; ++x) {
            const int level =
                (uchar(row[x * bits / 8]) >> (8 - bits - x * bits % 8)) & ((1 << bits) - 1);
            expected.scanLine(0)[x] = uchar(level * 255 / ((1 << bits) - 1));
            expected.scanLine(1)[x] = expected.scanLine(0)[x];
        }
        expectSameColours(image, expected);
    }
}

TEST_F(LoadReaders, PngOfAGreyPaletteIsGrey)
{
    QVector<QRgb> table;
    for (const int level : {200, 3, 77, 77, 255, 0})
        table.append(qRgb(level, level, level));
    const QImage picture = indexed(table);

    const Vellum image = load(write(picture, QStringLiteral("picture.png")));

    EXPECT_EQ(image.format(), QImage::Format_Grayscale8);
    expectSameColours(image, picture);
    EXPECT_EQ(image.scanLineEx(0)[0], 200);
    EXPECT_EQ(image.scanLineEx(0)[1], 3);
}

TEST_F(LoadReaders, PngOfOtherPalettesStaysIndexed)
{
    const QVector<QRgb> tables[] = {
        {qRgb(200, 200, 200), qRgb(3, 3, 4), qRgb(7, 7, 7)},
        {qRgb(200, 200, 200), qRgba(3, 3, 3, 128), qRgb(7, 7, 7)},
        {qRgba(0, 0, 0, 0), qRgb(1, 1, 1), qRgb(7, 7, 7)},
    };
    for (const QVector<QRgb> &table : tables) {
        const Vellum image = load(write(indexed(table), QStringLiteral("picture.png")));
        EXPECT_EQ(image.format(), QImage::Format_Indexed8);
        expectSameColours(image, indexed(table));
    }
}

TEST_F(LoadReaders, PngOfSmallPalettes)
{
    const QByteArray row("\x1b\xe4", 2);
    const QByteArray grey("\x0a\x0a\x0a\x14\x14\x14\x1e\x1e\x1e\x28\x28\x28", 12);
    const QByteArray red("\xff\x00\x00\x14\x14\x14\x1e\x1e\x1e\x28\x28\x28", 12);

    const Vellum image = load(makeFile(QStringLiteral("grey.png"), pngFile(8, {row}, 2, 3, grey)));
    EXPECT_EQ(image.format(), QImage::Format_Grayscale8);
    const uchar levels[] = {10, 20, 30, 40, 40, 30, 20, 10};
    EXPECT_THAT(std::vector<uchar>(image.scanLineEx(0), image.scanLineEx(0) + 8),
                testing::ElementsAreArray(levels));

    EXPECT_EQ(load(makeFile(QStringLiteral("red.png"), pngFile(8, {row}, 2, 3, red))).format(),
              QImage::Format_Indexed8);
    EXPECT_EQ(load(makeFile(QStringLiteral("clear.png"),
                            pngFile(8, {row}, 2, 3, grey, QByteArray("\xff\x80", 2))))
                  .format(),
              QImage::Format_Indexed8);
}

TEST_F(LoadReaders, Bmp)
{
    const QImage colours = noise(QImage::Format_RGB32);
    const Vellum image = load(write(colours, QStringLiteral("picture.bmp")));
    EXPECT_EQ(image.format(), QImage::Format_ARGB32);
    expectSameColours(image, colours.convertToFormat(QImage::Format_RGB32));

    QVector<QRgb> table;
    for (int i = 0; i < 256; ++i)
        table.append(qRgb(255 - i, 255 - i, 255 - i));
    const Vellum grey = load(write(indexed(table), QStringLiteral("grey.bmp")));
    EXPECT_EQ(grey.format(), QImage::Format_Grayscale8);
    expectSameColours(grey, indexed(table));

    table[3] = qRgb(1, 2, 3);
    const Vellum palette = load(write(indexed(table), QStringLiteral("palette.bmp")));
    EXPECT_EQ(palette.format(), QImage::Format_Indexed8);
    expectSameColours(palette, indexed(table));

    QImage mono = noise(QImage::Format_Mono);
    mono.setColorTable({qRgb(255, 0, 0), qRgb(0, 0, 255)});
    const Vellum two = load(write(mono, QStringLiteral("mono.bmp")));
    EXPECT_EQ(two.depth(), 1);
    expectSameColours(two, mono);
}

TEST_F(LoadReaders, PortableAnymaps)
{
    const QImage colours = noise(QImage::Format_RGB32);
    const Vellum image = load(write(colours, QStringLiteral("picture.ppm")));
    EXPECT_EQ(image.format(), QImage::Format_ARGB32);
    expectSameColours(image, colours);

    const QImage grey = noise(QImage::Format_Grayscale8);
    expectSameColours(load(write(grey, QStringLiteral("picture.pgm"))), grey);

    QImage mono = noise(QImage::Format_Mono);
    mono.setColorTable({qRgb(255, 255, 255), qRgb(0, 0, 0)});
    expectSameColours(load(write(mono, QStringLiteral("picture.pbm"))), mono);
}

// Qt's readers fill a QImage, which has no rows of a big image: nothing of the picture is seen.
TEST_F(LoadReaders, BigImageOfTheSameKindKeepsItsRows)
{
    const QString file = write(noise(QImage::Format_ARGB32), QStringLiteral("picture.png"));
    Vellum image;
    ASSERT_TRUE(Vellum::createBig(image, 19, 7, QImage::Format_ARGB32));
    image.fill(0x11223344U);

    EXPECT_TRUE(image.load(file));

    EXPECT_TRUE(image.isBigImage());
    Vellum filled(19, 7, QImage::Format_ARGB32);
    filled.fill(0x11223344U);
    EXPECT_TRUE(samePixels(image, filled));
}

TEST_F(LoadReaders, ReloadingGivesTheSame)
{
    const QImage grey = noise(QImage::Format_Grayscale8);
    const QImage colours = noise(QImage::Format_ARGB32);
    Vellum image;
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(image.load(write(colours, QStringLiteral("colours.png"))));
        expectSameColours(image, colours);
        ASSERT_TRUE(image.load(write(colours, QStringLiteral("colours.png"))));
        expectSameColours(image, colours);
        ASSERT_TRUE(image.load(write(grey, QStringLiteral("grey.png"))));
        expectSameColours(image, grey);
    }
}

TEST_F(LoadReaders, ContentDecidesNotTheName)
{
    const QImage picture = noise(QImage::Format_ARGB32);
    write(picture, QStringLiteral("picture.png"));
    for (const char *name : {"a.bmp", "b.jpg", "c", "d.HRLE"}) {
        const QString copy = path(QString::fromLatin1(name));
        ASSERT_TRUE(QFile::copy(path(QStringLiteral("picture.png")), copy));
        expectSameColours(load(copy), picture);
    }
}
