// Pixels of JPEG files, of every kind and into every kind of image.

#include <QBuffer>
#include <QColorSpace>

#include <gtest/gtest.h>

#include <support/devices.h>
#include <support/jpegfile.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

/// What a file of samples holds, by libjpeg and lcms2 alone: grey or sRGB.
Samples expectedOf(const QByteArray &file, const QByteArray &icc = {})
{
    const Samples samples = decodeJpeg(file).samples;
    return samples.perPixel == 4 ? inksToSrgb(samples, icc) : samples;
}

class JpegRead : public testing::TestWithParam<JpegKind>
{
protected:
    void SetUp() override { useOwnPlugins(); }

    QByteArray makeFile(int width, int height) const
    {
        return makeJpeg(photoSamples(width, height, GetParam().perPixel()), GetParam());
    }
};

TEST_P(JpegRead, ImagesOfBothKindsAndStoragesShowThePixelsOfTheFile)
{
    for (const QSize size : {QSize(1, 1), QSize(67, 51), QSize(64, 200), QSize(333, 3)}) {
        const QByteArray file = makeFile(size.width(), size.height());
        const Samples expected = expectedOf(file);

        for (const Storage storage : kStorages) {
            const Vellum image = readFresh(file, storage);
            EXPECT_EQ(image.isBigImage(), storage == Storage::Big);
            EXPECT_TRUE(showsSamples(image, expected));
        }
        EXPECT_TRUE(showsSamples(QImage::fromData(file, "jpg"), expected));
    }
}

TEST_P(JpegRead, HeaderTellsSizeAndFormatWithoutReadingPixels)
{
    QByteArray file = makeFile(67, 51);
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);

    EXPECT_EQ(reader.format(), "jpeg");
    EXPECT_EQ(reader.size(), QSize(67, 51));
    EXPECT_EQ(reader.imageFormat(),
              GetParam().perPixel() == 1 ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
    EXPECT_LT(buffer.pos(), file.size() + 1);
}

TEST_P(JpegRead, PipesGiveThePixelsThatFilesGive)
{
    const QByteArray file = makeFile(67, 51);
    const Samples expected = expectedOf(file);
    for (const qint64 atOnce : {3, 7, 5000}) {
        SequentialDevice pipe(file, atOnce);
        QImage image;
        ASSERT_TRUE(QImageReader(&pipe, "jpg").read(&image)) << atOnce;
        EXPECT_TRUE(showsSamples(image, expected));
    }
}

TEST_P(JpegRead, LoadGivesUprightPixelsInTheImagesOwnStorage)
{
    const QTemporaryDir folder;
    const QByteArray content = makeFile(67, 51);
    const QString path = store(folder, "picture.jpg", content);

    const bool isGrey = GetParam().perPixel() == 1;
    for (const Storage storage : kStorages) {
        Vellum image =
            makeNoise(67, 51, isGrey ? QImage::Format_Grayscale8 : QImage::Format_RGB32, storage);
        ASSERT_TRUE(image.load(path, nullptr));
        EXPECT_EQ(image.isBigImage(), storage == Storage::Big);
        EXPECT_EQ(image.format(), isGrey ? QImage::Format_Grayscale8 : QImage::Format_ARGB32);
        EXPECT_EQ(image.isOrgFileCmyk(), GetParam().perPixel() == 4);
        EXPECT_TRUE(showsSamples(image, expectedOf(content)));
    }
}

TEST_P(JpegRead, EveryTenthRowCanBeTheLast)
{
    const QByteArray file = makeFile(40, 61);
    const Samples expected = expectedOf(file);
    for (int last = 0; last < 61; last += 10) {
        for (const Storage storage : kStorages) {
            Vellum image = makeImage(40, 61,
                                     GetParam().perPixel() == 1 ? QImage::Format_Grayscale8
                                                                : QImage::Format_RGB32,
                                     storage);
            int rows = 0; // polled for; scans before them count as none
            {
                const vellum::ProgressGuard guard(image, [&](int percent) {
                    rows += percent > 0 ? 1 : 0;
                    return rows <= last;
                });
                EXPECT_FALSE(readInto(image, file)) << last;
            }
            EXPECT_EQ(rows, last + 1);
            EXPECT_EQ(image.isBigImage(), storage == Storage::Big);
            if (last > 0) {
                EXPECT_TRUE(showsSamples(image.copy(0, 0, 40, last), expected)) << last;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, JpegRead, testing::ValuesIn(allKinds()), kindName);

class JpegInks : public testing::Test
{
protected:
    void SetUp() override { useOwnPlugins(); }
};

JpegKind inksKind(J_COLOR_SPACE stored, int adobeTransform)
{
    JpegKind kind;
    kind.stored = stored;
    kind.h = 1;
    kind.v = 1;
    kind.adobeTransform = adobeTransform;
    return kind;
}

TEST_F(JpegInks, AreInvertedWithAndWithoutAMarkerThatSaysSo)
{
    const Samples inks = photoSamples(50, 40, 4);
    for (const int transform : {-2, 0}) { // no marker; a marker for plain CMYK
        const QByteArray file = makeJpeg(inks, inksKind(JCS_CMYK, transform));
        EXPECT_TRUE(showsSamples(readFresh(file, Storage::Big), expectedOf(file))) << transform;
    }
    // Values that make no sense are taken for YCCK, by libjpeg too.
    for (const int transform : {1, 2, 77}) {
        const QByteArray file = makeJpeg(inks, inksKind(JCS_YCCK, transform));
        EXPECT_TRUE(showsSamples(readFresh(file, Storage::Big), expectedOf(file))) << transform;
    }
}

TEST_F(JpegInks, WhiteIsWhiteAndBlackIsBlack)
{
    const QByteArray white =
        makeJpeg({8, 8, 4, std::vector<uchar>(256, 255)}, inksKind(JCS_CMYK, -1));
    const QByteArray black =
        makeJpeg({8, 8, 4, std::vector<uchar>(256, 0)}, inksKind(JCS_CMYK, -1));
    EXPECT_GT(qGray(QImage::fromData(white).pixel(3, 3)), 250);
    EXPECT_LT(qGray(QImage::fromData(black).pixel(3, 3)), 40);
}

TEST_F(JpegInks, ReadOptionTakesThemAsTheyStand)
{
    const QByteArray file = makeJpeg(photoSamples(50, 40, 4), inksKind(JCS_CMYK, -1));
    const Samples expected = inksToSrgb(decodeJpeg(file).samples, {}, false);
    for (const Storage storage : kStorages) {
        Vellum image = makeImage(50, 40, QImage::Format_RGB32, storage);
        image.setReadOptions(vellum::CmykNotInverted);
        ASSERT_TRUE(readInto(image, file));
        EXPECT_TRUE(showsSamples(image, expected));
    }
}

TEST_F(JpegInks, AreConvertedThroughTheProfileOfTheFile)
{
    JpegKind kind = inksKind(JCS_CMYK, -1);
    kind.icc = cmykProfile();
    const QByteArray file = makeJpeg(photoSamples(50, 40, 4), kind);

    const Vellum image = readFresh(file, Storage::Big);

    EXPECT_TRUE(showsSamples(image, expectedOf(file, kind.icc), 0, 0, 1));
    EXPECT_EQ(Vellum(image).getIccProfile(), kind.icc);
    EXPECT_TRUE(Vellum(image).isOrgFileCmyk());
}

TEST_F(JpegInks, ProfileOfAnotherColourSpaceIsIgnored)
{
    JpegKind kind = inksKind(JCS_CMYK, -1);
    kind.icc = matrixProfile();
    const QByteArray file = makeJpeg(photoSamples(50, 40, 4), kind);
    Vellum image = readFresh(file, Storage::Plain);
    EXPECT_TRUE(showsSamples(image, expectedOf(file)));
    EXPECT_EQ(image.getIccProfile(), QByteArray()) << "the pixels are no colours of it";
    EXPECT_TRUE(image.isOrgFileCmyk());
}

/// The sRGB samples of the CMYK file \a path, decoded by one program and converted by lcms2's own.
Samples convertedByOthers(const QTemporaryDir &folder, const QString &path)
{
    const QString inks = folder.filePath("inks.tif");
    const QString rgb = folder.filePath("rgb.tif");
    run("gm", {"convert", path, "+profile", "*", inks});
    run("tificc", {"-w8", "-t0", "-i", profileFile("cmyk.icm"), "-o*sRGB", inks, rgb});
    const QByteArray samples = run("gm", {"convert", rgb, "+profile", "*", "-depth", "8", "rgb:-"});
    const Samples size = patches(3);
    return {size.width, size.height, 3, {samples.begin(), samples.end()}};
}

TEST_F(JpegInks, ColoursAreThoseOfOtherPrograms)
{
    JpegKind kind = inksKind(JCS_CMYK, -1);
    kind.quality = 100;
    const QByteArray file = makeJpeg(patches(4), kind);
    const QTemporaryDir folder;

    const Samples theirs = convertedByOthers(folder, store(folder, "inks.jpg", file));

    EXPECT_LE(worstDifference(samplesOf(readFresh(file, Storage::Plain)), theirs), 0.5);
}

TEST_F(JpegInks, FilesOfLcmsOwnProgramShowTheirColours)
{
    const QTemporaryDir folder;
    JpegKind kind;
    kind.quality = 100;
    const QString rgb = store(folder, "rgb.jpg", makeJpeg(patches(3), kind));
    const QString inks = folder.filePath("inks.jpg");
    run("jpgicc", {"-q100", "-o", profileFile("cmyk.icm"), rgb, inks});

    Vellum image;
    ASSERT_TRUE(image.load(inks, nullptr));

    EXPECT_TRUE(image.isOrgFileCmyk());
    EXPECT_LE(worstDifference(samplesOf(image), convertedByOthers(folder, inks)), 0.5);
}

TEST_F(JpegInks, PlainImagesAreSrgb)
{
    const QByteArray file = makeJpeg(photoSamples(50, 40, 4), inksKind(JCS_CMYK, -1));
    EXPECT_EQ(QImage::fromData(file).colorSpace(), QColorSpace(QColorSpace::SRgb));
}

TEST_F(JpegInks, NothingOfAnEarlierFileStays)
{
    JpegKind withProfile = inksKind(JCS_CMYK, -1);
    withProfile.icc = cmykProfile();
    Vellum image = readFresh(makeJpeg(photoSamples(50, 40, 4), withProfile), Storage::Plain);
    ASSERT_TRUE(image.isOrgFileCmyk());

    ASSERT_TRUE(readInto(image, makeJpeg(photoSamples(50, 40, 3), JpegKind())));

    EXPECT_FALSE(image.isOrgFileCmyk());
    EXPECT_TRUE(image.getIccProfile().isEmpty());
}

} // namespace
