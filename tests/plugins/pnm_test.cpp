// PBM, PGM and PPM files: Qt's own reader and writer are the measure where they can be.

#include <QBuffer>
#include <QColorSpace>

#include <random>
#include <support/bitmapfile.h>
#include <support/imageplugin.h>
#include <support/images.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

/// A file of kind P1 to P6 and what its samples mean.
struct PnmFile
{
    int kind = 6;
    int most = 255;
    QSize size = {19, 7};
    unsigned seed = 1;

    bool isPlain() const { return kind <= 3; }
    bool isBits() const { return kind % 3 == 1; }
    int samplesPerRow() const { return size.width() * (kind % 3 == 0 ? 3 : 1); }
    QByteArray key() const { return isBits() ? "pbm" : kind % 3 == 2 ? "pgm" : "ppm"; }

    std::vector<int> samples() const
    {
        std::mt19937 random(seed);
        std::vector<int> all;
        for (int i = 0; i < samplesPerRow() * size.height(); ++i)
            all.push_back(int(random() >> 4) % ((isBits() ? 1 : most) + 1));
        return all;
    }
};

void PrintTo(const PnmFile &, std::ostream *) { }

QByteArray makePnm(const PnmFile &file)
{
    QByteArray bytes = "P" + QByteArray::number(file.kind) + " # a comment\n" +
        QByteArray::number(file.size.width()) + "\n# another\n\t" +
        QByteArray::number(file.size.height()) + "\n";
    if (!file.isBits())
        bytes += QByteArray::number(file.most) + "\n";
    const std::vector<int> samples = file.samples();
    for (size_t i = 0; i < samples.size(); ++i) {
        const int x = int(i) % file.samplesPerRow();
        const int sample = samples[i];
        if (file.isPlain()) {
            bytes += QByteArray::number(sample);
            bytes += x == file.samplesPerRow() - 1 ? "\n" : file.isBits() ? "" : " ";
        } else if (file.isBits()) {
            if (x % 8 == 0)
                bytes += '\0';
            bytes.back() = char(bytes.back() | sample << (7 - x % 8));
        } else {
            if (file.most > 255)
                bytes += char(sample >> 8);
            bytes += char(sample & 255);
        }
    }
    return bytes;
}

std::vector<PnmFile> allFiles()
{
    std::vector<PnmFile> files;
    for (int kind = 1; kind <= 6; ++kind) {
        for (const int most : {255, 1, 15, 100, 254, 256, 1023, 65534, 65535}) {
            PnmFile file;
            file.kind = kind;
            file.most = most;
            if (!file.isBits() || most == 255)
                files.push_back(file);
        }
    }
    return files;
}

std::string nameOf(const testing::TestParamInfo<PnmFile> &info)
{
    return "P" + std::to_string(info.param.kind) + "Most" + std::to_string(info.param.most);
}

class PnmKinds : public testing::TestWithParam<PnmFile>
{
};

INSTANTIATE_TEST_SUITE_P(All, PnmKinds, testing::ValuesIn(allFiles()), nameOf);

QImage readPnm(const QByteArray &bytes) { return bitmapRead(bytes, "ppm"); }

} // namespace

TEST_P(PnmKinds, EverySampleIsScaledToTheRangeOfTheImage)
{
    const PnmFile &file = GetParam();
    const std::vector<int> samples = file.samples();

    const QImage image = readPnm(makePnm(file));

    ASSERT_EQ(image.size(), file.size);
    const bool isWide = !file.isBits() && file.most > 255;
    const int top = isWide ? 65535 : 255;
    const auto level = [&](int y, int index) {
        const int sample = samples[size_t(y * file.samplesPerRow() + index)];
        if (file.isBits())
            return sample == 0 ? 255 : 0;
        return int((double(sample) * top) / file.most + 0.5);
    };
    for (int y = 0; y < file.size.height(); ++y) {
        for (int x = 0; x < file.size.width(); ++x) {
            const int first = file.kind % 3 == 0 ? 3 * x : x;
            const int step = file.kind % 3 == 0 ? 1 : 0;
            const QRgba64 pixel = image.pixelColor(x, y).rgba64();
            const int factor = isWide ? 1 : 257;
            ASSERT_EQ(pixel.red(), level(y, first) * factor) << x << ", " << y;
            ASSERT_EQ(pixel.green(), level(y, first + step) * factor) << x << ", " << y;
            ASSERT_EQ(pixel.blue(), level(y, first + 2 * step) * factor) << x << ", " << y;
        }
    }
}

TEST_P(PnmKinds, EveryStorageIsFilledWithTheSamePixels)
{
    const QByteArray bytes = makePnm(GetParam());
    const QImage expected = readPnm(bytes);
    for (const Storage storage : kStorages) {
        Vellum image =
            makeImage(expected.width(), expected.height(), expected.format(), storage, 3);
        ASSERT_TRUE(readBitmap(bytes, image, GetParam().key()));

        EXPECT_EQ(image.isBigImage(), storage == Storage::Big);
        EXPECT_TRUE(samePixels(image, expected));
    }
}

TEST_P(PnmKinds, WhatWasReadIsWrittenBackUnchanged)
{
    const QImage first = readPnm(makePnm(GetParam()));
    for (const Storage storage : kStorages) {
        Vellum image = makeImage(first.width(), first.height(), first.format(), storage);
        ASSERT_TRUE(readBitmap(makePnm(GetParam()), image, "ppm"));

        const QImage second = readPnm(bitmapWritten(image, GetParam().key()));

        EXPECT_EQ(second.format(), first.format());
        EXPECT_EQ(second, first);
    }
}

TEST_P(PnmKinds, OfByteSamplesQtReadsTheSame)
{
    const PnmFile &file = GetParam();
    if (!file.isBits() && file.most != 255)
        GTEST_SKIP() << "Qt 5.15 does not round, and has no 16 bits";
    if (file.isBits() && file.isPlain())
        GTEST_SKIP() << "Qt 5.15 wants white space between the bits";
    const QByteArray bytes = makePnm(file);

    const QImage image = readPnm(bytes);

    EXPECT_EQ(image.format(), qtRead(bytes, file.key()).format());
    EXPECT_EQ(image, qtRead(bytes, file.key()));
}

TEST_P(PnmKinds, TheFormatIsNamedAfterTheFile)
{
    QByteArray bytes = makePnm(GetParam());
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto handler = makeHandler(QStringLiteral("bitmap"), &buffer, "ppm");

    EXPECT_TRUE(handler->canRead());

    EXPECT_EQ(handler->format(), GetParam().key());
    EXPECT_EQ(handler->option(QImageIOHandler::SubType).toByteArray(), GetParam().key());
    EXPECT_EQ(handler->option(QImageIOHandler::Size).toSize(), GetParam().size);
}

TEST_P(PnmKinds, FilesThatFollowEachOtherAreReadInTurn)
{
    PnmFile file = GetParam();
    QByteArray bytes = makePnm(file);
    const QImage first = readPnm(bytes);
    file.seed = 2;
    const QImage second = readPnm(makePnm(file));
    bytes += makePnm(file);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto handler = makeHandler(QStringLiteral("bitmap"), &buffer, "ppm");

    QImage image;
    ASSERT_TRUE(handler->read(&image));
    EXPECT_EQ(image, first);
    ASSERT_TRUE(handler->read(&image));
    EXPECT_EQ(image, second);
    EXPECT_FALSE(handler->canRead());
}

TEST(PnmReading, ValuesAboveTheLargestCountAsIt)
{
    EXPECT_EQ(readPnm("P2 2 1 10 99 5").pixel(0, 0), qRgb(255, 255, 255));
    EXPECT_EQ(readPnm(QByteArray("P5 2 1 10\n\xff\x05", 12)).pixel(0, 0), qRgb(255, 255, 255));
    EXPECT_EQ(readPnm("P2 1 1 10 99999999999999999999").pixel(0, 0), qRgb(255, 255, 255));
}

TEST(PnmReading, CommentsMayStandBetweenPlainSamples)
{
    const QImage image = readPnm("P2\n2 1\n255 # three\n# more\n 7 # of\n 8");
    EXPECT_EQ(image.pixel(0, 0), qRgb(7, 7, 7));
    EXPECT_EQ(image.pixel(1, 0), qRgb(8, 8, 8));
}

TEST(PnmReading, WhatIsNoHeaderIsRefused)
{
    for (const QByteArray bytes : {"", "P", "P0 1 1 1 1", "P7 1 1 1 1", "P2", "P2 1", "P2 0 1 1 0",
                                   "P2 1 -1 1 0", "P2 1 1 0 0", "P2 1 1 65536 0", "P2x1 1 1 0"}) {
        QImage image;
        EXPECT_FALSE(readBitmap(bytes, image, "pgm")) << bytes.constData();
    }
}

namespace {

class PnmWriting : public testing::TestWithParam<std::tuple<QImage::Format, Storage>>
{
};

INSTANTIATE_TEST_SUITE_P(All, PnmWriting,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

bool isDeep(QImage::Format format)
{
    return QImage::toPixelFormat(format).redSize() > 8 || format == QImage::Format_Grayscale16;
}

} // namespace

TEST_P(PnmWriting, EveryKeyGetsThePixelsThatQtWrites)
{
    const auto [format, storage] = GetParam();
    if (isDeep(format))
        GTEST_SKIP() << "Qt 5.15 writes 8 bits";
    const Vellum image = makeValidNoise(43, 13, format, storage);
    const QImage plain = toPlain(image);
    for (const char *const key : {"pbm", "pgm", "ppm"}) {
        const QByteArray written = bitmapWritten(image, key);

        const QImage source = key == QByteArray("pgm") ? plain : withPlainColors(plain);
        EXPECT_EQ(qtRead(written, key), qtRead(qtWritten(source, key), key)) << key;
        EXPECT_EQ(bitmapWritten(plain, key), written) << key;
    }
}

TEST_P(PnmWriting, SixteenBitsAreKept)
{
    const auto [format, storage] = GetParam();
    if (!isDeep(format))
        GTEST_SKIP();
    const Vellum image = makeValidNoise(43, 13, format, storage);
    const QImage plain = toPlain(image);

    EXPECT_EQ(readPnm(bitmapWritten(image, "pgm")),
              plain.convertToFormat(QImage::Format_Grayscale16));
    EXPECT_EQ(readPnm(bitmapWritten(image, "ppm")), plain.convertToFormat(QImage::Format_RGBX64));
}

TEST(PnmWriting, TheSubTypeDecidesBeforeTheFormat)
{
    const QImage image = toPlain(makeNoise(9, 5, QImage::Format_RGB32, Storage::Plain));
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    const auto handler = makeHandler(QStringLiteral("bitmap"), &buffer, "ppm");
    handler->setOption(QImageIOHandler::SubType, QByteArray("pgm"));

    ASSERT_TRUE(handler->write(image));

    EXPECT_EQ(buffer.data(), bitmapWritten(image, "pgm"));
    EXPECT_EQ(handler->option(QImageIOHandler::SupportedSubTypes).value<QList<QByteArray>>(),
              QList<QByteArray>({"pbm", "pgm", "ppm"}));
}

// The file could not say what its colours are.
TEST(PnmWriting, PixelsStaySrgbThoughTheImageHasAProfile)
{
    for (const Storage storage : kStorages) {
        Vellum image = makeNoise(9, 5, QImage::Format_RGB32, storage);
        const QByteArray expected = bitmapWritten(image, "ppm");
        image.setIccProfile(matrixProfile());

        EXPECT_EQ(bitmapWritten(image, "ppm"), expected);
    }
}
