#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <support/images.h>

using namespace vellum::test;

namespace {

class Lifecycle : public testing::TestWithParam<Storage>
{
protected:
    Vellum noise(unsigned seed = 1) const
    {
        return makeNoise(13, 9, QImage::Format_ARGB32, GetParam(), seed);
    }
};

char *mallocedBytes(int size)
{
    auto *const bytes = static_cast<char *>(std::malloc(size_t(size)));
    std::memset(bytes, 0x5a, size_t(size));
    return bytes;
}

void countCleanup(void *counter) { ++*static_cast<int *>(counter); }

/// Everything that assignments leave alone, set to values that are not the defaults.
struct Furnished
{
    Furnished(Vellum &furnished, Vellum &previous, Vellum &next)
    {
        furnished.setOffset(3, -4);
        furnished.setPrevImage(&previous);
        furnished.setNextImage(&next);
        furnished.setReadOptions(5);
        furnished.setSaveAsCmyk(true);
        furnished.setColorSpaceFactory(factory());
        QList<PsdGroupData> groups {PsdGroupData {}};
        furnished.setLayerGroup(groups);
        furnished.setCallback(
            [](void *count, int, void *) { return ++*static_cast<int *>(count) < 0; }, &calls, 0,
            1);
    }

    static IPsColorSpaceFactory *factory()
    {
        static int opaque;
        return reinterpret_cast<IPsColorSpaceFactory *>(&opaque);
    }

    int calls = 0;
};

TEST(Lifecycle, DefaultImageHasEveryDefault)
{
    Vellum image;

    EXPECT_TRUE(image.isNull());
    EXPECT_FALSE(image.isBigImage());
    EXPECT_EQ(image.getReadOptions(), 0U);
    EXPECT_FALSE(image.getSaveAsCmyk());
    EXPECT_FALSE(image.hasSaveCmykTransform());
    EXPECT_FALSE(image.isOrgFileCmyk());
    EXPECT_EQ(image.getOffsetX(), 0);
    EXPECT_EQ(image.getOffsetY(), 0);
    EXPECT_EQ(image.getPrevImage(), nullptr);
    EXPECT_EQ(image.getNextImage(), nullptr);
    EXPECT_EQ(image.getExifData(), nullptr);
    EXPECT_EQ(image.getPsdLayerData(), nullptr);
    EXPECT_EQ(image.getColorSpaceFactory(), nullptr);
    EXPECT_TRUE(image.getLayerGroup().isEmpty());
    EXPECT_TRUE(image.getIccProfile().isEmpty());
    EXPECT_TRUE(image.set_progress(1));
}

TEST(Lifecycle, SizedImageIsPlainAndUnshared)
{
    for (const QImage::Format format : allFormats()) {
        const Vellum image(7, 5, format);
        EXPECT_EQ(image.size(), QSize(7, 5)) << format;
        EXPECT_EQ(image.format(), format);
        EXPECT_FALSE(image.isBigImage());
        EXPECT_TRUE(image.isDetached());
    }
}

TEST(Lifecycle, ImageThatCannotBeHadIsNull)
{
    EXPECT_TRUE(Vellum(0, 5, QImage::Format_RGB32).isNull());
    EXPECT_TRUE(Vellum(5, -1, QImage::Format_RGB32).isNull());
    EXPECT_TRUE(Vellum(5, 5, QImage::Format_Invalid).isNull());
    const int huge = std::numeric_limits<int>::max();
    EXPECT_TRUE(Vellum(huge, huge, QImage::Format_RGB32).isNull());
}

TEST(Lifecycle, ExternalBufferIsShownInPlaceAndCleanedUpByTheLastHolder)
{
    alignas(4) uchar buffer[2 * 8];
    for (int i = 0; i < 16; ++i)
        buffer[i] = uchar(i);
    int cleanups = 0;
    {
        Vellum survivor;
        {
            Vellum image(buffer, 2, 2, QImage::Format_ARGB32, countCleanup, &cleanups);
            EXPECT_EQ(image.scanLineEx(0), buffer);
            EXPECT_EQ(image.scanLineEx(1), buffer + 8);
            survivor = image;
        }
        EXPECT_EQ(cleanups, 0);
    }
    EXPECT_EQ(cleanups, 1);
}

TEST(Lifecycle, FromQImageSharesItsPixels)
{
    QImage plain(3, 3, QImage::Format_RGB32);
    const Vellum image(plain);

    EXPECT_EQ(image.constBits(), plain.constBits());
    EXPECT_FALSE(plain.isDetached());
    EXPECT_FALSE(image.isBigImage());
}

TEST(Lifecycle, FromTheBaseOfABigImageIsNotBig)
{
    const Vellum big = makeNoise(9, 4, QImage::Format_RGB32, Storage::Big);

    const Vellum image(static_cast<const QImage &>(big));

    EXPECT_FALSE(image.isBigImage());
    EXPECT_EQ(image.constBits(), big.constBits());
}

TEST_P(Lifecycle, CopyHasPixelsProfileAndOriginAndDefaultsOtherwise)
{
    Vellum previous;
    Vellum next;
    Vellum source = noise();
    const Furnished furnished(source, previous, next);
    source.setExifData(mallocedBytes(4), 4);
    source.setPsdLayerData(new PsdLayerData);
    source.setIccProfile("profile");
    source.setOrgFileCmyk(true);
    {
        Vellum copy(source);

        EXPECT_TRUE(samePixels(copy, source));
        EXPECT_EQ(copy.isBigImage(), source.isBigImage());
        EXPECT_EQ(copy.getIccProfile(), "profile");
        EXPECT_TRUE(copy.isOrgFileCmyk());
        EXPECT_EQ(copy.getExifData(), nullptr);
        EXPECT_EQ(copy.getPsdLayerData(), nullptr);
        EXPECT_EQ(copy.getOffsetX(), 0);
        EXPECT_EQ(copy.getOffsetY(), 0);
        EXPECT_EQ(copy.getPrevImage(), nullptr);
        EXPECT_EQ(copy.getNextImage(), nullptr);
        EXPECT_EQ(copy.getReadOptions(), 0U);
        EXPECT_FALSE(copy.getSaveAsCmyk());
        EXPECT_EQ(copy.getColorSpaceFactory(), nullptr);
        EXPECT_TRUE(copy.getLayerGroup().isEmpty());
        EXPECT_TRUE(copy.set_progress(1));
        EXPECT_EQ(furnished.calls, 0);
    }
    EXPECT_EQ(source.getExifData()->size, 4);
    EXPECT_NE(source.getPsdLayerData(), nullptr);
}

TEST_P(Lifecycle, AssignmentLeavesWhatItDoesNotTakeOver)
{
    Vellum previous;
    Vellum next;
    Vellum image = noise();
    Furnished furnished(image, previous, next);
    Vellum source = noise(2);
    source.setOffset(70, 80);
    source.setReadOptions(90);

    image = source;

    EXPECT_EQ(image.getOffsetX(), 3);
    EXPECT_EQ(image.getOffsetY(), -4);
    EXPECT_EQ(image.getPrevImage(), &previous);
    EXPECT_EQ(image.getNextImage(), &next);
    EXPECT_EQ(image.getReadOptions(), 5U);
    EXPECT_TRUE(image.getSaveAsCmyk());
    EXPECT_EQ(image.getColorSpaceFactory(), Furnished::factory());
    EXPECT_EQ(image.getLayerGroup().size(), 1);
    EXPECT_FALSE(image.set_progress(1));
    EXPECT_EQ(furnished.calls, 1);
}

TEST_P(Lifecycle, AssignmentOfQImageLeavesProfileAndOrigin)
{
    Vellum image = noise();
    image.setIccProfile("profile");
    image.setOrgFileCmyk(true);

    image = QImage(3, 3, QImage::Format_RGB32);

    EXPECT_EQ(image.getIccProfile(), "profile");
    EXPECT_TRUE(image.isOrgFileCmyk());
}

TEST_P(Lifecycle, AssignmentTakesProfileAndOriginOver)
{
    Vellum image = noise();
    image.setIccProfile("profile");
    image.setOrgFileCmyk(true);
    Vellum source = noise(2);
    source.setIccProfile("other");

    image = source;

    EXPECT_EQ(image.getIccProfile(), "other");
    EXPECT_FALSE(image.isOrgFileCmyk());
}

// The records are the caller's from then on; who keeps no pointer loses them.
TEST_P(Lifecycle, AssignmentForgetsAttachmentsWithoutReleasingThem)
{
    for (const bool ofQImage : {false, true}) {
        Vellum image = noise();
        image.setExifData(mallocedBytes(8), 8);
        image.setPsdLayerData(new PsdLayerData);
        image.getPsdLayerData()->name = "layer";
        ExifData *const exif = image.getExifData();
        const std::unique_ptr<PsdLayerData> layer(image.getPsdLayerData());

        if (ofQImage)
            image = QImage(3, 3, QImage::Format_RGB32);
        else
            image = Vellum(3, 3, QImage::Format_RGB32);

        EXPECT_EQ(image.getExifData(), nullptr);
        EXPECT_EQ(image.getPsdLayerData(), nullptr);
        EXPECT_EQ(exif->data[7], 0x5a);
        EXPECT_EQ(layer->name, "layer");
        std::free(exif->data);
        delete exif;
    }
}

TEST_P(Lifecycle, SelfAssignmentKeepsThePixels)
{
    Vellum image = noise();
    const Vellum &same = image;
    const QImage &sameBase = image;
    const bool big = image.isBigImage();

    image = same;
    EXPECT_EQ(image.isBigImage(), big);
    EXPECT_TRUE(samePixels(image, noise()));

    image = sameBase;
    EXPECT_EQ(image.isBigImage(), big);
    EXPECT_TRUE(samePixels(image, noise()));
    EXPECT_TRUE(image.isDetached());
}

TEST_P(Lifecycle, AssigningNullGivesNull)
{
    Vellum image = noise();
    image = Vellum();
    EXPECT_TRUE(image.isNull());
    EXPECT_FALSE(image.isBigImage());

    image = noise();
    image = QImage();
    EXPECT_TRUE(image.isNull());
    EXPECT_FALSE(image.isBigImage());
}

TEST_P(Lifecycle, AssignmentThroughThePlainBaseIsSafe)
{
    Vellum image = noise();
    QImage &base = image;
    base = QImage(5, 21, QImage::Format_Grayscale8); // as a plugin might do

    for (int y = 0; y < image.height(); ++y) {
        if (uchar *const row = image.scanLineEx(y))
            std::memset(row, 1, size_t(image.storedBytesPerLine()));
    }
    image = noise(3);

    EXPECT_TRUE(samePixels(image, noise(3)));
}

TEST(Lifecycle, GetVellumTellsVellumsFromPlainImages)
{
    Vellum image;
    QImage plain;

    EXPECT_EQ(Vellum::getVellum(nullptr), nullptr);
    EXPECT_EQ(Vellum::getVellum(&plain), nullptr);
    EXPECT_EQ(Vellum::getVellum(static_cast<QImage *>(&image)), &image);
}

TEST(Lifecycle, DeletingThroughThePlainBaseReleasesEverything)
{
    QImage *const image = new Vellum(makeNoise(5, 5, QImage::Format_RGB32, Storage::Big));
    Vellum::getVellum(image)->setExifData(mallocedBytes(3), 3);

    delete image; // LeakSanitizer proves it
}

TEST_P(Lifecycle, ToImageSharesTheData)
{
    const Vellum image = noise();

    const QImage plain = image.toImage();

    EXPECT_EQ(plain.constBits(), image.constBits());
    EXPECT_EQ(plain.size(), image.size());
    EXPECT_FALSE(image.isDetached());
}

TEST(Lifecycle, ToImageOfNullIsNull) { EXPECT_TRUE(Vellum().toImage().isNull()); }

TEST_P(Lifecycle, SetFormatIsSeenByAllWhoShareTheData)
{
    Vellum image = noise();
    const Vellum copy = image;
    const QImage plain = image.toImage();
    const uchar *const bits = image.constBits();

    image.setFormat(QImage::Format_RGB32);

    EXPECT_EQ(image.format(), QImage::Format_RGB32);
    EXPECT_EQ(copy.format(), QImage::Format_RGB32);
    EXPECT_EQ(plain.format(), QImage::Format_RGB32);
    EXPECT_EQ(image.constBits(), bits);
}

TEST(Lifecycle, SetFormatOfNullDoesNothing)
{
    Vellum image;
    image.setFormat(QImage::Format_RGB32);
    EXPECT_TRUE(image.isNull());
    EXPECT_EQ(image.format(), QImage::Format_Invalid);
}

TEST(Lifecycle, ChainIsLinkedBothWays)
{
    Vellum first;
    Vellum second;
    Vellum third;

    first.setNextImage(&second);
    third.setPrevImage(&second);

    EXPECT_EQ(first.getNextImage(), &second);
    EXPECT_EQ(second.getPrevImage(), &first);
    EXPECT_EQ(second.getNextImage(), &third);
    EXPECT_EQ(third.getPrevImage(), &second);
}

TEST(Lifecycle, LinksAreRedirectedButNotRemoved)
{
    Vellum first;
    Vellum second;
    Vellum third;
    first.setNextImage(&second);

    first.setNextImage(nullptr);
    second.setPrevImage(nullptr);
    EXPECT_EQ(first.getNextImage(), &second);
    EXPECT_EQ(second.getPrevImage(), &first);

    first.setNextImage(&third);
    EXPECT_EQ(first.getNextImage(), &third);
    EXPECT_EQ(third.getPrevImage(), &first);
    EXPECT_EQ(second.getPrevImage(), &first); // nobody told it
}

TEST(Lifecycle, DestroyingAnImageLeavesItsNeighboursAlone)
{
    Vellum first(2, 2, QImage::Format_RGB32);
    Vellum third(2, 2, QImage::Format_RGB32);
    {
        Vellum second(2, 2, QImage::Format_RGB32);
        second.setPrevImage(&first);
        second.setNextImage(&third);
    }
    EXPECT_EQ(first.size(), QSize(2, 2));
    EXPECT_EQ(third.size(), QSize(2, 2));
}

TEST(Lifecycle, OptionsAreStoredAndReturned)
{
    Vellum image;

    image.setReadOptions(-1);
    image.setSaveAsCmyk(true);
    image.setOrgFileCmyk(true);
    image.setOffset(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());

    EXPECT_EQ(image.getReadOptions(), 0xffffffffU);
    EXPECT_TRUE(image.getSaveAsCmyk());
    EXPECT_TRUE(image.isOrgFileCmyk());
    EXPECT_EQ(image.getOffsetX(), std::numeric_limits<int>::min());
    EXPECT_EQ(image.getOffsetY(), std::numeric_limits<int>::max());
    EXPECT_FALSE(image.hasSaveCmykTransform()); // saving prepares it
}

TEST(Lifecycle, IccProfileIsACopy)
{
    Vellum image;
    QByteArray profile("profile");
    image.setIccProfile(profile);
    profile[0] = 'x';

    QByteArray got = image.getIccProfile();
    got[1] = 'y';

    EXPECT_EQ(image.getIccProfile(), "profile");
}

INSTANTIATE_TEST_SUITE_P(Storages, Lifecycle, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

} // namespace
