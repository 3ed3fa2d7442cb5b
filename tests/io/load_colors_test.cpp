// The colour conversion of Vellum::load: from which profile, when, and when not.

#include <support/hrle.h>
#include <support/images.h>
#include <support/loadtrace.h>
#include <support/profiles.h>
#include <support/recordingplugins.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

/// Made once: profiles carry the time at which they were made.
const QByteArray &rgbProfile()
{
    static const QByteArray icc = matrixProfile();
    return icc;
}

/// \a image converted from \a icc to sRGB by lcms2 itself, row by row in place.
Vellum converted(const Vellum &image, const QByteArray &icc)
{
    Vellum result = image.copyEx();
    const cmsUInt32Number format = CVlLcmsManager::toLcmsFormat(image.format());
    const OwnedTransform transform =
        chainTransform({openBytes(icc).release(), cmsCreate_sRGBProfile()}, format, format);
    EXPECT_TRUE(transform);
    const auto stride = cmsUInt32Number(result.bytesPerLine());
    for (int y = 0; transform && y < result.height(); ++y) {
        uchar *const row = result.scanLineEx(y);
        cmsDoTransformLineStride(transform.get(), row, row, cmsUInt32Number(result.width()), 1,
                                 stride, stride, 0, 0);
    }
    return result;
}

Vellum noise(QImage::Format format, unsigned seed = 1)
{
    return makeNoise(13, 6, format, Storage::Plain, seed);
}

/// \a image with alpha 255 in every pixel, as ARGB32.
Vellum opaque(Vellum image)
{
    convert32BitsImageToARGB32(image, false);
    return image;
}

Vellum relabelled(const Vellum &image, QImage::Format format)
{
    Vellum result = image.copyEx();
    result.setFormat(format);
    return result;
}

class LoadColors : public WithRecordingPlugins, public testing::WithParamInterface<Param>
{
protected:
    static QImage::Format format() { return std::get<0>(GetParam()); }
    static Storage storage() { return std::get<1>(GetParam()); }
    /// An image that a picture in the format is read into as it is.
    static Vellum fitting() { return makeNoise(13, 6, format(), storage(), 7); }
};

class LoadColorsOn : public WithRecordingPlugins, public testing::WithParamInterface<Storage>
{
protected:
    static Vellum fitting(QImage::Format format) { return makeNoise(13, 6, format, GetParam(), 7); }
};

INSTANTIATE_TEST_SUITE_P(
    Formats, LoadColors,
    testing::Combine(testing::Values(QImage::Format_ARGB32, QImage::Format_RGB888,
                                     QImage::Format_RGBX8888, QImage::Format_RGBA8888,
                                     QImage::Format_BGR888),
                     testing::ValuesIn(kStorages)),
    caseName);
INSTANTIATE_TEST_SUITE_P(Storages, LoadColorsOn, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

} // namespace

TEST_P(LoadColors, EmbeddedProfileIsConvertedToSrgb)
{
    for (const QByteArray &icc : {rgbProfile(), lutProfile()}) {
        Picture picture {noise(format())};
        picture.profile = icc;
        provide(picture);
        Vellum image = fitting();

        ASSERT_TRUE(image.load(testImage("png")));

        EXPECT_TRUE(samePixels(image, converted(picture.pixels, icc)));
        EXPECT_FALSE(samePixels(image, picture.pixels));
        EXPECT_EQ(image.getIccProfile(), icc);
        EXPECT_EQ(image.isBigImage(), storage() == Storage::Big);
    }
}

TEST_P(LoadColors, CmykFileIsLeftAlone)
{
    Picture picture {noise(format())};
    picture.profile = rgbProfile();
    picture.cmyk = true;
    provide(picture);
    Vellum image = fitting();

    ASSERT_TRUE(image.load(testImage("jpg")));

    EXPECT_TRUE(samePixels(image, picture.pixels));
    EXPECT_EQ(image.getIccProfile(), picture.profile);
    EXPECT_TRUE(image.isOrgFileCmyk());
}

TEST_P(LoadColors, UselessProfilesChangeNothing)
{
    for (const QByteArray &icc :
         {QByteArray("damaged"), rgbProfile().left(200), cmykProfile(), greyProfile()}) {
        Picture picture {noise(format())};
        picture.profile = icc;
        provide(picture);
        Vellum image = fitting();

        EXPECT_TRUE(image.load(testImage("png")));

        EXPECT_TRUE(samePixels(image, picture.pixels));
        EXPECT_EQ(image.getIccProfile(), icc);
    }
}

TEST_P(LoadColors, ProfileOfAnEarlierFileCountsWhenThePluginSetsNone)
{
    for (const char *format : {"png", "gif"}) { // read directly, and through a temporary image
        provide({noise(LoadColors::format())});
        for (const bool fits : {true, false}) {
            Vellum image = fits ? fitting() : Vellum();
            image.setIccProfile(rgbProfile());

            ASSERT_TRUE(image.load(testImage(format)));

            EXPECT_TRUE(samePixels(image, converted(noise(LoadColors::format()), rgbProfile())))
                << format;
            EXPECT_EQ(image.getIccProfile(), rgbProfile());
        }
    }
}

TEST_P(LoadColors, ReloadingDoesNotConvertTwice)
{
    Picture picture {noise(format())};
    picture.profile = rgbProfile();
    provide(picture);
    Vellum image = fitting();

    ASSERT_TRUE(image.load(testImage("png")));
    ASSERT_TRUE(image.load(testImage("png")));

    EXPECT_TRUE(samePixels(image, converted(picture.pixels, picture.profile)));
}

// The flag belongs to the storage: it stays with storage that is used again.
TEST_P(LoadColors, EarlierCmykFlagStaysWithTheStorageOnly)
{
    Picture picture {noise(format())};
    picture.profile = rgbProfile();
    provide(picture);

    Vellum reused = fitting();
    reused.setOrgFileCmyk(true);
    ASSERT_TRUE(reused.load(testImage("png")));
    EXPECT_TRUE(reused.isOrgFileCmyk());
    EXPECT_TRUE(samePixels(reused, picture.pixels));

    Vellum fresh = makeNoise(5, 5, format(), storage());
    fresh.setOrgFileCmyk(true);
    ASSERT_TRUE(fresh.load(testImage("png")));
    EXPECT_FALSE(fresh.isOrgFileCmyk());
    EXPECT_TRUE(samePixels(fresh, converted(picture.pixels, picture.profile)));

    Vellum general = fitting();
    general.setOrgFileCmyk(true);
    general.setIccProfile(rgbProfile());
    ASSERT_TRUE(general.load(testImage("gif")));
    EXPECT_TRUE(general.isOrgFileCmyk());
    EXPECT_TRUE(samePixels(general, picture.pixels));
}

// Directly read pictures are normalised first, and their colours converted as ARGB32.
TEST_P(LoadColorsOn, DirectReadConvertsColoursLast)
{
    for (const auto format : {QImage::Format_ARGB32_Premultiplied, QImage::Format_RGB32}) {
        Picture picture {noise(format)};
        picture.profile = rgbProfile();
        provide(picture);
        Vellum image = fitting(format);

        ASSERT_TRUE(image.load(testImage("png")));

        const Vellum normal = format == QImage::Format_RGB32
            ? opaque(picture.pixels.copyEx())
            : relabelled(picture.pixels, QImage::Format_ARGB32);
        EXPECT_TRUE(samePixels(image, converted(normal, picture.profile)));
        EXPECT_EQ(image.getIccProfile(), picture.profile);
        EXPECT_EQ(image.isBigImage(), GetParam() == Storage::Big);
    }
}

// On the other path the colours come first, and premultiplied ones have no conversion.
TEST_P(LoadColorsOn, OtherReadsConvertColoursFirst)
{
    provide({noise(QImage::Format_ARGB32_Premultiplied)});
    Vellum image = fitting(QImage::Format_ARGB32_Premultiplied);
    image.setIccProfile(rgbProfile());
    ASSERT_TRUE(image.load(testImage("gif")));
    EXPECT_TRUE(samePixels(
        image, relabelled(noise(QImage::Format_ARGB32_Premultiplied), QImage::Format_ARGB32)));

    provide({noise(QImage::Format_RGB32)});
    image.setIccProfile(rgbProfile());
    ASSERT_TRUE(image.load(testImage("gif")));
    EXPECT_TRUE(samePixels(image, opaque(converted(noise(QImage::Format_RGB32), rgbProfile()))));
}

TEST_P(LoadColorsOn, DeepPicturesLoseTheirProfileAndFlagUnconverted)
{
    for (const bool cmyk : {false, true}) {
        Picture picture {noise(QImage::Format_RGBA64)};
        picture.profile = rgbProfile();
        picture.cmyk = cmyk;
        provide(picture);
        Vellum image = fitting(QImage::Format_RGBA64);

        ASSERT_TRUE(image.load(testImage("png")));

        EXPECT_TRUE(samePixels(
            image, Vellum(picture.pixels.toImage().convertToFormat(QImage::Format_ARGB32))));
        EXPECT_TRUE(image.getIccProfile().isEmpty());
        EXPECT_FALSE(image.isOrgFileCmyk());
    }
}

TEST_P(LoadColorsOn, DeepPicturesOfOtherFormatsAreConvertedDeep)
{
    for (const auto format : {QImage::Format_RGBA64, QImage::Format_RGBX64}) {
        provide({noise(format)});
        Vellum image = fitting(format);
        image.setIccProfile(rgbProfile());

        ASSERT_TRUE(image.load(testImage("gif")));

        EXPECT_TRUE(samePixels(image, converted(noise(format), rgbProfile())));
        EXPECT_EQ(image.getIccProfile(), rgbProfile());
    }
}

TEST_P(LoadColorsOn, PalettesAndGreyKeepTheirColours)
{
    for (const auto format :
         {QImage::Format_Indexed8, QImage::Format_Mono, QImage::Format_Alpha8, QImage::Format_RGB16,
          QImage::Format_Grayscale8, QImage::Format_Grayscale16, QImage::Format_BGR30,
          QImage::Format_RGBA8888_Premultiplied}) {
        for (const QByteArray &icc : {rgbProfile(), greyProfile()}) {
            Picture picture {noise(format)};
            picture.profile = icc;
            provide(picture);
            Vellum image = fitting(format);

            EXPECT_TRUE(image.load(testImage("png")));

            EXPECT_TRUE(samePixels(image, picture.pixels)) << format;
            EXPECT_EQ(image.getIccProfile(), icc);
        }
    }
}

TEST_P(LoadColorsOn, HrleTakesNeitherProfileNorFlagOver)
{
    makeFile(QStringLiteral("grey.hrle"), runLengthFile(4, 1, run(4, 9) + endRow(1)));
    Vellum image = fitting(QImage::Format_RGB888);
    image.setIccProfile(rgbProfile());
    image.setOrgFileCmyk(true);

    ASSERT_TRUE(image.load(path(QStringLiteral("grey.hrle"))));

    EXPECT_TRUE(image.getIccProfile().isEmpty());
    EXPECT_FALSE(image.isOrgFileCmyk());
    EXPECT_EQ(image.scanLineEx(0)[0], 9);
}

TEST_P(LoadColorsOn, ConversionWritesNoOtherImage)
{
    Picture picture {noise(QImage::Format_ARGB32)};
    picture.profile = rgbProfile();
    provide(picture);
    // The plugin keeps its picture and gives it to Qt without copying.
    recorder().first.read = [picture](QImage *out) {
        *out = picture.pixels.toImage();
        return true;
    };
    Vellum image;
    image.setIccProfile(rgbProfile());

    for (const char *format : {"png", "gif"}) {
        ASSERT_TRUE(image.load(testImage(format)));
        EXPECT_TRUE(samePixels(image, converted(noise(QImage::Format_ARGB32), rgbProfile())));
        EXPECT_TRUE(samePixels(picture.pixels, noise(QImage::Format_ARGB32)));
    }
}
