#include <limits>
#include <support/images.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

class Create : public testing::TestWithParam<Param>
{
};

TEST_P(Create, MakesAPlainImageOfTheGeometry)
{
    const auto [format, storage] = GetParam();
    Vellum image = makeNoise(5, 6, QImage::Format_RGB32, storage);

    EXPECT_TRUE(Vellum::create(image, 13, 7, format));

    EXPECT_FALSE(image.isBigImage());
    EXPECT_EQ(image.size(), QSize(13, 7));
    EXPECT_EQ(image.format(), format);
    EXPECT_EQ(image.bytesPerLine(), QImage(13, 7, format).bytesPerLine());
    EXPECT_TRUE(image.isDetached());
}

TEST_P(Create, CreateImageIsPlainAndFilled)
{
    const auto [format, storage] = GetParam();
    const Vellum image = makeNoise(13, 7, format, storage);
    Vellum expected(13, 7, format);
    expected.fill(0x01020304U);

    const Vellum created = image.createImage(0x01020304U);

    EXPECT_FALSE(created.isBigImage());
    EXPECT_TRUE(samePixels(created, expected));
    EXPECT_TRUE(samePixels(image, makeNoise(13, 7, format, storage)));
}

INSTANTIATE_TEST_SUITE_P(Formats, Create,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(Create, KeepsTheProfileOfTheTarget)
{
    Vellum image;
    image.setIccProfile("profile");
    image.setOrgFileCmyk(true);
    image.setOffset(1, 2);

    EXPECT_TRUE(Vellum::create(image, 3, 3, QImage::Format_RGB32));

    EXPECT_EQ(image.getIccProfile(), "profile");
    EXPECT_FALSE(image.isOrgFileCmyk()); // as by any assignment
    EXPECT_EQ(image.getOffsetX(), 1);
}

TEST(Create, LeavesThoseWhoSharedThePixels)
{
    for (const Storage storage : kStorages) {
        Vellum image = makeNoise(5, 6, QImage::Format_RGB32, storage);
        const Vellum copy = image;

        EXPECT_TRUE(Vellum::create(image, 13, 7, QImage::Format_RGB32));

        EXPECT_FALSE(image.isBigImage());
        EXPECT_EQ(copy.isBigImage(), storage == Storage::Big);
        EXPECT_TRUE(samePixels(copy, makeNoise(5, 6, QImage::Format_RGB32, storage)));
    }
}

TEST(Create, OfAnInvalidGeometryIsFalseAndNull)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    const std::tuple<int, int, QImage::Format> geometries[] = {
        {0, 5, QImage::Format_RGB32},          {5, 0, QImage::Format_RGB32},
        {-1, 5, QImage::Format_RGB32},         {5, -1, QImage::Format_RGB32},
        {5, 5, QImage::Format_Invalid},        {5, 5, QImage::NImageFormats},
        {kMost, kMost, QImage::Format_RGBA64},
    };
    for (const auto &[w, h, format] : geometries) {
        Vellum image = makeNoise(5, 6, QImage::Format_RGB32, Storage::Big);
        image.setIccProfile("profile");

        EXPECT_FALSE(Vellum::create(image, w, h, format));

        EXPECT_TRUE(image.isNull());
        EXPECT_FALSE(image.isBigImage());
        EXPECT_EQ(image.getIccProfile(), "profile");
    }
}

TEST(Create, ImageOfNullIsNull) { EXPECT_TRUE(Vellum().createImage(7).isNull()); }

TEST(Create, CreateImageHasNothingButThePixels)
{
    Vellum image = makeNoise(5, 6, QImage::Format_RGB32, Storage::Plain);
    image.setIccProfile("profile");
    image.setOffset(3, 4);

    const Vellum created = image.createImage(0);

    EXPECT_TRUE(created.getIccProfile().isEmpty());
    EXPECT_EQ(created.getOffsetX(), 0);
}

} // namespace
