// All eight orientations of a file, undone by Vellum::load on both storages.

#include <support/images.h>
#include <support/loadtrace.h>
#include <support/oriented.h>
#include <support/polls.h>
#include <support/profiles.h>
#include <support/recordingplugins.h>

using namespace vellum::test;

namespace {

struct Case
{
    int transformation;
    Storage storage;
};

void PrintTo(const Case &c, std::ostream *out)
{
    *out << "Transformation" << c.transformation;
    PrintTo(c.storage, out);
}

std::vector<Case> allCases()
{
    std::vector<Case> cases;
    for (const Storage storage : kStorages) {
        for (int t = 0; t < 8; ++t)
            cases.push_back({t, storage});
    }
    return cases;
}

class LoadOrientation : public WithRecordingPlugins, public testing::WithParamInterface<Case>
{
protected:
    static int transformation() { return GetParam().transformation; }
    static bool big() { return GetParam().storage == Storage::Big; }
    static bool replaced() { return big() && transformation() != 0; }

    /// Provides \a picture in the orientation of the case, and loads it into an image of the
    /// case's storage, which reads it as it is.
    bool load(Picture picture, Vellum &image, const QByteArray &format = "tiff")
    {
        picture.transformation = transformation();
        provide(picture);
        image = makeImage(picture.pixels.width(), picture.pixels.height(), picture.pixels.format(),
                          GetParam().storage);
        return image.load(testImage(format));
    }
};

INSTANTIATE_TEST_SUITE_P(All, LoadOrientation, testing::ValuesIn(allCases()),
                         testing::PrintToStringParamName());

} // namespace

TEST_P(LoadOrientation, PictureIsUpright)
{
    for (const QSize size : {QSize(5, 3), QSize(4, 4), QSize(1, 6), QSize(6, 1), QSize(1, 1)}) {
        for (const auto format : {QImage::Format_Grayscale8, QImage::Format_RGB888,
                                  QImage::Format_ARGB32, QImage::Format_RGBA8888}) {
            const Vellum pixels = makeNoise(size.width(), size.height(), format, Storage::Plain);
            Vellum image;

            ASSERT_TRUE(load({pixels}, image));

            EXPECT_TRUE(samePixels(image, orientedNaively(pixels, transformation())))
                << size.width() << " x " << size.height() << " format " << format;
            EXPECT_EQ(onlyCall(Asked::Read).isBig, big());
            recorder().calls.clear();
        }
    }
}

TEST_P(LoadOrientation, ColourTableComesAlong)
{
    const Vellum pixels = makeNoise(5, 3, QImage::Format_Indexed8, Storage::Plain);
    Vellum image;

    ASSERT_TRUE(load({pixels}, image));

    EXPECT_EQ(image.format(), QImage::Format_Indexed8);
    EXPECT_TRUE(samePixels(image, orientedNaively(pixels, transformation())));
}

TEST_P(LoadOrientation, FormatIsNormalisedAfterwards)
{
    Vellum grey = makeNoise(5, 3, QImage::Format_Indexed8, Storage::Plain);
    QVector<QRgb> table;
    for (int i = 0; i < 256; ++i)
        table.append(qRgb(255 - i, 255 - i, 255 - i));
    grey.setColorTable(table);
    Vellum image;

    ASSERT_TRUE(load({grey}, image));

    EXPECT_EQ(image.format(), QImage::Format_Grayscale8);
    const Vellum expected = orientedNaively(grey, transformation());
    ASSERT_EQ(image.size(), expected.size());
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            EXPECT_EQ(rawPixel(image, x, y), 255 - rawPixel(expected, x, y));
    }

    const Vellum opaque = makeNoise(5, 3, QImage::Format_RGB32, Storage::Plain);
    ASSERT_TRUE(load({opaque}, image));
    Vellum normal = orientedNaively(opaque, transformation());
    convert32BitsImageToARGB32(normal, true);
    EXPECT_TRUE(samePixels(image, normal));
}

TEST_P(LoadOrientation, OnlyAnUprightBigImageStaysBig)
{
    Vellum image;
    ASSERT_TRUE(load({makeNoise(5, 3, QImage::Format_ARGB32, Storage::Plain)}, image));
    EXPECT_EQ(image.isBigImage(), big() && transformation() == 0);
}

// Turning a big image upright makes a new image, which has no profile.
TEST_P(LoadOrientation, ProfileAndCmykFlagAreLostByTurningABigImage)
{
    Picture picture {makeNoise(5, 3, QImage::Format_RGB888, Storage::Plain)};
    picture.profile = matrixProfile();
    picture.cmyk = true;
    Vellum image;

    ASSERT_TRUE(load(picture, image));

    EXPECT_EQ(image.getIccProfile(), replaced() ? QByteArray() : picture.profile);
    EXPECT_EQ(image.isOrgFileCmyk(), !replaced());
    EXPECT_TRUE(samePixels(image, orientedNaively(picture.pixels, transformation())));
}

TEST_P(LoadOrientation, ColoursAreConvertedUnlessTheProfileWasLost)
{
    Picture picture {makeNoise(5, 3, QImage::Format_RGB888, Storage::Plain)};
    picture.profile = matrixProfile();
    Vellum image;

    ASSERT_TRUE(load(picture, image));

    Vellum expected = orientedNaively(picture.pixels, transformation());
    if (!replaced())
        expected.doNormalIccTransform(picture.profile);
    EXPECT_TRUE(samePixels(image, expected));
    EXPECT_FALSE(samePixels(image, picture.pixels));
}

TEST_P(LoadOrientation, OtherFormatsAreTurnedToo)
{
    const Vellum pixels = makeNoise(5, 3, QImage::Format_RGB888, Storage::Plain);
    Vellum image;

    ASSERT_TRUE(load({pixels}, image, "gif"));

    EXPECT_FALSE(image.isBigImage());
    EXPECT_TRUE(samePixels(image, orientedNaively(pixels, transformation())));
}

TEST_P(LoadOrientation, ReloadingReadsTheFileAsItLies)
{
    for (const QSize size : {QSize(5, 3), QSize(4, 4)}) {
        const Vellum pixels =
            makeNoise(size.width(), size.height(), QImage::Format_RGB888, Storage::Plain);
        Vellum image;
        ASSERT_TRUE(load({pixels}, image));

        ASSERT_TRUE(image.load(path(QStringLiteral("image"))));

        EXPECT_TRUE(samePixels(image, orientedNaively(pixels, transformation())));
    }
}

TEST_P(LoadOrientation, CallbackSurvivesAndItsAnswerWhileTurningIsIgnored)
{
    const Vellum pixels = makeNoise(5, 3, QImage::Format_RGB888, Storage::Plain);
    Vellum image = makeImage(5, 3, QImage::Format_RGB888, GetParam().storage);
    Polls polls;
    polls.stopAt = 3; // the first poll after the rows have been read
    polls.attach(image);

    ASSERT_TRUE(load({pixels}, image));

    EXPECT_TRUE(samePixels(image, orientedNaively(pixels, transformation())));
    const size_t before = polls.percents.size();
    EXPECT_GE(before, 3U);
    image.set_progress(1);
    EXPECT_EQ(polls.percents.size(), before + 1);
}

TEST_P(LoadOrientation, CancelledReadIsNotTurned)
{
    const Vellum pixels = makeNoise(5, 3, QImage::Format_RGB888, Storage::Plain);
    Vellum image = makeImage(5, 3, QImage::Format_RGB888, GetParam().storage);
    Polls polls;
    polls.stopAt = 2;
    polls.attach(image);
    const MessageLog log;

    EXPECT_FALSE(load({pixels}, image));

    EXPECT_EQ(image.size(), QSize(5, 3));
    EXPECT_EQ(image.isBigImage(), big());
    EXPECT_TRUE(samePixels(image.copyEx(0, 0, 5, 2), pixels.copyEx(0, 0, 5, 2)));
}
