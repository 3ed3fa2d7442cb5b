// Big images made by createBig(), on a base that costs nothing.

#include <cstring>
#include <limits>
#include <support/images.h>
#include <support/process.h>
#include <tuple>

using namespace vellum::test;

namespace {

constexpr qint64 kMebibyte = 1 << 20;

class BigImage : public testing::TestWithParam<QImage::Format>
{
};

TEST_P(BigImage, AnswersTruthfully)
{
    const QImage plain(13, 7, GetParam());
    Vellum image;

    ASSERT_TRUE(Vellum::createBig(image, 13, 7, GetParam()));

    EXPECT_TRUE(image.isBigImage());
    EXPECT_FALSE(image.isNull());
    EXPECT_TRUE(image.isDetached());
    EXPECT_EQ(image.size(), plain.size());
    EXPECT_EQ(image.format(), plain.format());
    EXPECT_EQ(image.depth(), plain.depth());
    EXPECT_EQ(image.bytesPerLine(), plain.bytesPerLine());
    EXPECT_EQ(image.storedBytesPerLine(), plain.bytesPerLine());
    EXPECT_EQ(image.sizeInBytes(), plain.sizeInBytes());
    EXPECT_EQ(image.colorTable(), plain.colorTable());
}

TEST_P(BigImage, StrayQImageCallsReadZeros)
{
    Vellum image;
    ASSERT_TRUE(Vellum::createBig(image, 13, 7, GetParam()));
    image.setColorTable({0xff102030});
    for (int y = 0; y < 7; ++y)
        std::memset(image.scanLineEx(y), 0xff, size_t(image.bytesPerLine()));
    const QImage &base = image;

    for (int y = 0; y < 7; ++y) {
        for (int i = 0; i < base.bytesPerLine(); ++i)
            ASSERT_EQ(base.constScanLine(y)[i], 0);
    }
    QImage zeros(13, 7, GetParam());
    zeros.setColorTable({0xff102030});
    std::memset(zeros.bits(), 0, size_t(zeros.sizeInBytes()));
    EXPECT_EQ(base.pixel(12, 6), zeros.pixel(12, 6));
    EXPECT_EQ(base.copy(), zeros);
}

TEST_P(BigImage, StrayQImageWritesReachTheBaseOnly)
{
    Vellum image;
    ASSERT_TRUE(Vellum::createBig(image, 13, 7, GetParam()));
    image.fill(0U);

    std::memset(image.bits(), 0x77, size_t(image.sizeInBytes()));

    for (int y = 0; y < 7; ++y)
        EXPECT_EQ(image.scanLineEx(y)[0], 0);
}

TEST_P(BigImage, EveryRowCanBeWritten)
{
    Vellum image;
    ASSERT_TRUE(Vellum::createBig(image, 13, 17, GetParam()));
    const Vellum noise = makeNoise(13, 17, GetParam(), Storage::Plain);
    image.setColorTable(noise.colorTable());

    for (int y = 0; y < 17; ++y)
        std::memcpy(image.scanLineEx(y), noise.scanLineEx(y), size_t(image.bytesPerLine()));

    EXPECT_TRUE(samePixels(image, noise));
}

INSTANTIATE_TEST_SUITE_P(Formats, BigImage, testing::ValuesIn(allFormats()),
                         [](const auto &format) {
                             return "Format" + std::to_string(format.param);
                         });

TEST(BigImage, KeepsTheProfileOfTheTarget)
{
    Vellum image;
    image.setIccProfile("profile");
    EXPECT_TRUE(Vellum::createBig(image, 3, 3, QImage::Format_RGB32));
    EXPECT_EQ(image.getIccProfile(), "profile");
}

TEST(BigImage, LeavesThoseWhoSharedThePixels)
{
    for (const Storage storage : kStorages) {
        Vellum image = makeNoise(5, 6, QImage::Format_RGB32, storage);
        const Vellum copy = image;

        EXPECT_TRUE(Vellum::createBig(image, 5, 6, QImage::Format_RGB32));
        image.fill(0U);

        EXPECT_TRUE(samePixels(copy, makeNoise(5, 6, QImage::Format_RGB32, Storage::Plain)));
    }
}

TEST(BigImage, OfAnInvalidGeometryIsFalseAndNull)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    const std::tuple<int, int, QImage::Format> geometries[] = {
        {0, 5, QImage::Format_RGB32},          {5, 0, QImage::Format_RGB32},
        {-1, 5, QImage::Format_RGB32},         {5, -1, QImage::Format_RGB32},
        {5, 5, QImage::Format_Invalid},        {5, 5, QImage::NImageFormats},
        {kMost, kMost, QImage::Format_RGBA64}, {kMost, kMost, QImage::Format_Mono},
        {kMost, 1, QImage::Format_RGB32},
    };
    for (const auto &[w, h, format] : geometries) {
        Vellum image = makeNoise(5, 6, QImage::Format_RGB32, Storage::Big);
        image.setIccProfile("profile");

        EXPECT_FALSE(Vellum::createBig(image, w, h, format)) << w << " x " << h;

        EXPECT_TRUE(image.isNull());
        EXPECT_FALSE(image.isBigImage());
        EXPECT_EQ(image.getIccProfile(), "profile");
    }
}

TEST(BigImage, CanBeTheTargetAgain)
{
    Vellum image;
    for (int i = 1; i < 50; ++i) {
        ASSERT_TRUE(Vellum::createBig(image, i, 50 - i, QImage::Format_RGB32));
        image.fill(0U);
    }
}

TEST(BigImage, GivesItsMemoryBack)
{
    if (kSanitized)
        GTEST_SKIP() << "sanitizers keep freed memory";
    const auto make = [] {
        Vellum image;
        EXPECT_TRUE(Vellum::createBig(image, 4000, 4000, QImage::Format_RGB32));
        image.setText("key", "value");
        const Vellum copy = image;
        image.setText("key", "other value");
        image.fill(0x01020304U);
    };
    make();
    const qint64 before = reservedBytes();
    for (int i = 0; i < 5; ++i)
        make();
    EXPECT_LT(reservedBytes() - before, 64 * kMebibyte); // what one image needs
}

TEST(BigImage, UnwrittenCostsUnderFiftyMebibytes)
{
    if (kSanitized)
        GTEST_SKIP() << "sanitizers keep notes on every byte";
    const qint64 before = residentBytes();
    Vellum image;

    ASSERT_TRUE(Vellum::createBig(image, 40000, 40000, QImage::Format_ARGB32));

    EXPECT_LT(residentBytes() - before, 50 * kMebibyte);
    EXPECT_EQ(image.sizeInBytes(), qint64(40000) * 40000 * 4);
}

TEST(BigImage, HundredThousandSquaredCanBeMade)
{
    if (kSanitized)
        GTEST_SKIP() << "40 GB of address space, twice";
    Vellum image;

    ASSERT_TRUE(Vellum::createBig(image, 100000, 100000, QImage::Format_ARGB32));

    EXPECT_EQ(image.bytesPerLine(), 400000);
    EXPECT_EQ(image.sizeInBytes(), 40000000000);
    for (const int y : {0, 49999, 99999}) {
        std::memset(image.scanLineEx(y), y & 0xff, 400000);
        EXPECT_EQ(image.scanLineEx(y)[399999], y & 0xff);
    }
    EXPECT_EQ(image.constScanLine(99999)[399999], 0);
    EXPECT_EQ(image.scanLineEx(100000), nullptr);
}

TEST(BigImage, MetadataOfAHugeSharedImageCostsNothing)
{
    if (kSanitized)
        GTEST_SKIP() << "sanitizers keep notes on every byte";
    Vellum image;
    ASSERT_TRUE(Vellum::createBig(image, 40000, 40000, QImage::Format_ARGB32));
    const Vellum copy = image;
    const qint64 before = residentBytes();

    image.setText("key", "value");
    image.setDotsPerMeterX(1234);

    EXPECT_LT(residentBytes() - before, kMebibyte);
    EXPECT_EQ(image.scanLineEx(39999), copy.scanLineEx(39999));
}

} // namespace
