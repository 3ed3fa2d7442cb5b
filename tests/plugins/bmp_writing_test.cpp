// BMP files as they are written, and what stands in them beside the pixels.

#include <QBuffer>
#include <QColorSpace>

#include <support/bitmapfile.h>
#include <support/devices.h>
#include <support/imageplugin.h>
#include <support/images.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

constexpr quint32 kSrgbSpace = 0x73524742;
constexpr quint32 kProfileSpace = 0x4d424544;

QImage readBmp(const QByteArray &bytes) { return bitmapRead(bytes, "bmp"); }

class BmpWriting : public testing::TestWithParam<std::tuple<QImage::Format, Storage>>
{
};

INSTANTIATE_TEST_SUITE_P(All, BmpWriting,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

} // namespace

TEST_P(BmpWriting, OthersReadThePixels)
{
    const auto [format, storage] = GetParam();
    Vellum image = makeNoise(41, 13, format, storage);
    if (image.colorCount() > 0) { // the format has no alpha in tables
        QVector<QRgb> colors = image.colorTable();
        for (QRgb &color : colors)
            color |= 0xff000000;
        image.setColorTable(colors);
    }
    const QImage plain = toPlain(image);
    const QImage expected = plain.convertToFormat(plain.hasAlphaChannel() ? QImage::Format_ARGB32
                                                                          : QImage::Format_RGB32);

    const QByteArray written = bitmapWritten(image, "bmp");

    EXPECT_EQ(qtRead(written, "bmp").convertToFormat(expected.format()), expected);
    EXPECT_EQ(readBmp(written).convertToFormat(expected.format()), expected);
    EXPECT_EQ(bitmapWritten(plain, "bmp"), written);
}

TEST(BmpWriting, OpaqueAndIndexedFilesAreThoseThatQtWrites)
{
    for (const auto format : {QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_RGB32}) {
        QImage image = toPlain(makeNoise(64, 13, format, Storage::Plain));
        for (int i = 0; i < image.colorCount(); ++i)
            image.setColor(i, image.color(i) | 0xff000000);

        // Qt leaves the sizes in the headers at 0 or counts otherwise.
        QByteArray ours = bitmapWritten(image, "bmp");
        QByteArray theirs = qtWritten(image, "bmp");
        for (QByteArray *const bytes : {&ours, &theirs})
            bytes->replace(34, 20, QByteArray(20, '\0'));

        EXPECT_EQ(ours, theirs) << format;
    }
}

TEST(BmpWriting, FewColorsTakeFourBits)
{
    QImage image(9, 2, QImage::Format_Indexed8);
    image.setColorTable(bmpColors(16));
    image.fill(0);
    for (int x = 0; x < 9; ++x)
        image.setPixel(x, 1, uint(15 - x));

    const QByteArray written = bitmapWritten(image, "bmp");

    EXPECT_EQ(written.at(28), 4);
    EXPECT_EQ(qtRead(written, "bmp"), image);
    EXPECT_EQ(readBmp(written), image);
}

TEST(BmpMetadata, ResolutionIsKept)
{
    QImage image(3, 3, QImage::Format_RGB32);
    image.fill(Qt::red);
    image.setDotsPerMeterX(1000);
    image.setDotsPerMeterY(2000);

    const QImage again = readBmp(bitmapWritten(image, "bmp"));

    EXPECT_EQ(again.dotsPerMeterX(), 1000);
    EXPECT_EQ(again.dotsPerMeterY(), 2000);
}

TEST(BmpMetadata, AnEmbeddedProfileIsFoundOnDevicesOfBothKinds)
{
    BmpFile file;
    file.headerBytes = 124;
    file.colorSpace = kProfileSpace;
    file.profile = matrixProfile();
    const QByteArray bytes = makeBmp(file);

    Vellum image;
    ASSERT_TRUE(readBitmap(bytes, image, "bmp"));
    EXPECT_EQ(image.getIccProfile(), matrixProfile());
    EXPECT_FALSE(image.isOrgFileCmyk());

    SequentialDevice pipe(bytes, 1000);
    Vellum piped;
    ASSERT_TRUE(makeHandler(QStringLiteral("bitmap"), &pipe, "bmp")->read(&piped));
    EXPECT_EQ(piped.getIccProfile(), matrixProfile());

    EXPECT_EQ(readBmp(bytes).colorSpace(), QColorSpace::fromIccProfile(matrixProfile()));
}

TEST(BmpMetadata, AFileThatSaysSrgbGivesAPlainImageThatColorSpace)
{
    BmpFile file;
    file.headerBytes = 108;
    EXPECT_FALSE(readBmp(makeBmp(file)).colorSpace().isValid());
    file.colorSpace = kSrgbSpace;
    EXPECT_EQ(readBmp(makeBmp(file)).colorSpace(), QColorSpace(QColorSpace::SRgb));
}

TEST(BmpMetadata, PixelsOfUnknownColorSpaceStayUnknown)
{
    for (const auto format : {QImage::Format_RGB32, QImage::Format_ARGB32}) {
        const QImage image = toPlain(makeValidNoise(9, 5, format, Storage::Plain));
        EXPECT_FALSE(readBmp(bitmapWritten(image, "bmp")).colorSpace().isValid());
    }
}

TEST(BmpMetadata, AProfileThatTheFileCannotHoldIsCutNotAllocated)
{
    BmpFile file;
    file.headerBytes = 124;
    file.colorSpace = kProfileSpace;
    file.profile = matrixProfile();
    QByteArray bytes = makeBmp(file);
    bytes.replace(14 + 116, 4, QByteArray("\xff\xff\xff\x7f", 4));

    for (const bool sequential : {false, true}) {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        SequentialDevice pipe(bytes, 1000);
        QIODevice *const device = sequential ? static_cast<QIODevice *>(&pipe) : &buffer;
        Vellum image;
        ASSERT_TRUE(makeHandler(QStringLiteral("bitmap"), device, "bmp")->read(&image));
        EXPECT_EQ(image.getIccProfile(), matrixProfile());
    }
}

TEST(BmpMetadata, PixelsAreWrittenInTheirProfileAndComeBack)
{
    for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_ARGB32}) {
        for (const Storage storage : kStorages) {
            Vellum image = makeNoise(31, 9, format, storage);
            image.setIccProfile(srgbProfile());

            Vellum again;
            ASSERT_TRUE(readBitmap(bitmapWritten(image, "bmp"), again, "bmp"));

            EXPECT_EQ(again.getIccProfile(), srgbProfile());
            EXPECT_EQ(again.format(), format);
            EXPECT_EQ(toPlain(again), toPlain(image));
        }
    }
}

TEST(BmpMetadata, NoProfileOfAnEarlierFileStays)
{
    Vellum image;
    BmpFile file;
    file.headerBytes = 124;
    file.colorSpace = kProfileSpace;
    file.profile = matrixProfile();
    ASSERT_TRUE(readBitmap(makeBmp(file), image, "bmp"));
    image.setOrgFileCmyk(true);

    ASSERT_TRUE(readBitmap(makeBmp(BmpFile()), image, "bmp"));

    EXPECT_EQ(image.getIccProfile(), QByteArray());
    EXPECT_FALSE(image.isOrgFileCmyk());
}
