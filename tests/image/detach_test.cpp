// Raw rows between beginDetach() and endDetach().

#include <cstring>
#include <support/images.h>
#include <utility>

using namespace vellum::test;

namespace {

Vellum noise(Storage storage = Storage::Plain)
{
    return makeNoise(7, 9, QImage::Format_ARGB32, storage);
}

TEST(Detach, RowsAreThoseOfTheBuffer)
{
    Vellum image = noise();
    const uchar *const bits = image.constBits();

    image.beginDetach();

    for (int y = 0; y < 9; ++y) {
        EXPECT_EQ(image.scanLineEx(y), bits + qptrdiff(y) * 28);
        EXPECT_EQ(std::as_const(image).scanLineEx(y), bits + qptrdiff(y) * 28);
        EXPECT_EQ(image_scanLine(&image, nullptr, y), bits + qptrdiff(y) * 28);
    }
    EXPECT_EQ(image.scanLineEx(-1), nullptr);
    EXPECT_EQ(image.scanLineEx(9), nullptr);
}

// Deliberate: the caller promises that nobody shares the image.
TEST(Detach, WritesToASharedImageReachAllWhoShareIt)
{
    Vellum image = noise();
    const Vellum copy = image;

    image.beginDetach();
    std::memset(image.scanLineEx(4), 0x33, 28);
    image.endDetach();

    EXPECT_EQ(copy.scanLineEx(4)[27], 0x33);
    EXPECT_FALSE(image.isDetached());
}

TEST(Detach, AfterwardsSharedImagesDetachAgain)
{
    Vellum image = noise();
    const Vellum copy = image;
    image.beginDetach();
    image.endDetach();

    std::memset(image.scanLineEx(4), 0x33, 28);

    EXPECT_TRUE(samePixels(copy, noise()));
}

TEST(Detach, NullImageStaysAsItIs)
{
    Vellum image;
    image.beginDetach();
    EXPECT_EQ(image.scanLineEx(0), nullptr);
    image.endDetach();
    EXPECT_TRUE(image.isNull());
}

TEST(Detach, BigImageGoesOnUsingItsStore)
{
    Vellum image = noise(Storage::Big);
    const uchar *const row = std::as_const(image).scanLineEx(3);

    image.beginDetach(); // its base may not be touched

    EXPECT_EQ(image.scanLineEx(3), row);
    EXPECT_TRUE(samePixels(image, noise()));
}

TEST(Detach, StateIsNotCopied)
{
    Vellum image = noise();
    image.beginDetach();

    Vellum copy = image;
    Vellum assigned;
    assigned = image;
    copy.scanLineEx(0)[0] ^= 0xff;
    assigned.scanLineEx(0)[0] ^= 0xff;

    EXPECT_TRUE(samePixels(image, noise()));
}

TEST(Detach, EndWithoutBeginDoesNothing)
{
    Vellum image = noise();
    image.endDetach();
    EXPECT_TRUE(samePixels(image, noise()));
}

} // namespace
