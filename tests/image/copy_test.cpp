#include <QColorSpace>

#include <random>
#include <support/images.h>
#include <support/pixels.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

/// The area (x, y, w, h) of \a image, pixel by pixel.
Vellum naiveCopy(const Vellum &image, int x, int y, int w, int h)
{
    bool transparent = false;
    const quint64 fill = filledPixel(getFillColorForRotate(image, transparent), image.depth());
    Vellum result(w, h, image.format());
    result.fill(0U);
    result.setColorTable(image.colorTable());
    for (int j = 0; j < h; ++j) {
        for (int i = 0; i < w; ++i) {
            const bool inside =
                x + i >= 0 && y + j >= 0 && x + i < image.width() && y + j < image.height();
            setRawPixel(result, i, j, inside ? rawPixel(image, x + i, y + j) : fill);
        }
    }
    return result;
}

class Copy : public testing::TestWithParam<Param>
{
protected:
    const QImage::Format m_format = std::get<0>(GetParam());
    const Storage m_storage = std::get<1>(GetParam());
};

TEST_P(Copy, RectanglesAnywhereEqualTheNaiveCopy)
{
    std::mt19937 random(7);
    const auto between = [&](int low, int high) {
        return low + int(random() % unsigned(high - low + 1));
    };
    for (int round = 0; round < 60; ++round) {
        const int w = between(1, 45);
        const int h = between(1, 20);
        const Vellum image = makeNoise(w, h, m_format, m_storage, random(), 5);
        for (int i = 0; i < 10; ++i) {
            const QRect r(between(-50, 50), between(-25, 25), between(1, 60), between(1, 30));
            const Vellum result = image.copyEx(r);
            ASSERT_TRUE(samePixels(result, naiveCopy(image, r.x(), r.y(), r.width(), r.height())))
                << r.x() << ' ' << r.y() << ' ' << r.width() << ' ' << r.height() << " of " << w
                << " x " << h;
            ASSERT_FALSE(result.isBigImage());
        }
    }
}

TEST_P(Copy, RectanglesInsideEqualQImagesCopy)
{
    std::mt19937 random(8);
    const Vellum image = makeNoise(67, 9, m_format, m_storage, 3, 3);
    const QImage plain = toPlain(image);
    for (int i = 0; i < 200; ++i) {
        const int x = int(random() % 67);
        const int y = int(random() % 9);
        const int w = 1 + int(random() % unsigned(67 - x));
        const int h = 1 + int(random() % unsigned(9 - y));
        ASSERT_TRUE(samePixels(image.copy(x, y, w, h), plain.copy(x, y, w, h)))
            << x << ' ' << y << ' ' << w << ' ' << h;
    }
}

TEST_P(Copy, NullRectangleCopiesEverything)
{
    const Vellum image = makeNoise(13, 11, m_format, m_storage);

    EXPECT_TRUE(samePixels(image.copyEx(), image));
    EXPECT_TRUE(samePixels(image.copy(), image));
    EXPECT_TRUE(samePixels(image.copyEx(0, 0, 0, 0), image));
    EXPECT_TRUE(samePixels(image.copyEx(QRect(4, 5, 0, 0)), image));
}

TEST_P(Copy, SharesNoPixels)
{
    Vellum image = makeNoise(13, 11, m_format, m_storage);
    const Vellum before = image.copyEx(0, 0, 13, 11);
    const Vellum copied = image.copyEx();

    for (int y = 0; y < 11; ++y)
        image.scanLineEx(y)[0] ^= 0xff;

    EXPECT_TRUE(samePixels(copied, before));
    EXPECT_FALSE(samePixels(copied, image));
}

TEST_P(Copy, EmptySideGivesNull)
{
    const Vellum image = makeNoise(13, 11, m_format, m_storage);

    EXPECT_TRUE(image.copyEx(0, 0, 0, 5).isNull());
    EXPECT_TRUE(image.copyEx(0, 0, 5, 0).isNull());
    EXPECT_TRUE(image.copyEx(QRect(2, 2, -3, 5)).isNull());
}

TEST_P(Copy, DescriptionGoesAlong)
{
    Vellum image = makeNoise(10, 10, m_format, m_storage);
    image.setIccProfile("profile");
    image.setOrgFileCmyk(true);
    image.setDotsPerMeterX(1234);
    image.setDotsPerMeterY(4321);
    image.setDevicePixelRatio(2.5);
    image.setText(QStringLiteral("Author"), QStringLiteral("somebody"));
    image.setColorSpace(QColorSpace::AdobeRgb);
    image.setOffset(QPoint(7, -8));

    for (const QRect &rect : {QRect(), QRect(1, 1, 5, 5), QRect(-3, -3, 5, 5)}) {
        const Vellum result = image.copyEx(rect);
        EXPECT_EQ(result.getIccProfile(), QByteArray("profile"));
        EXPECT_TRUE(result.isOrgFileCmyk());
        EXPECT_EQ(result.dotsPerMeterX(), 1234);
        EXPECT_EQ(result.dotsPerMeterY(), 4321);
        EXPECT_EQ(result.devicePixelRatio(), 2.5);
        EXPECT_EQ(result.text(QStringLiteral("Author")), QStringLiteral("somebody"));
        EXPECT_EQ(result.colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
        EXPECT_EQ(result.QImage::offset(), QPoint(7, -8));
        EXPECT_EQ(result.colorTable(), image.colorTable());
        EXPECT_EQ(result.hasAlphaChannel(), image.hasAlphaChannel());
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, Copy,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(CopyArea, LeavesAndTopIsFilled)
{
    const Vellum image = makeNoise(10, 10, QImage::Format_RGB888, Storage::Plain);

    const Vellum result = image.copyEx(-5, -5, 10, 10);

    ASSERT_EQ(result.size(), QSize(10, 10));
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 10; ++x) {
            const bool covered = x >= 5 && y >= 5;
            ASSERT_EQ(rawPixel(result, x, y), covered ? rawPixel(image, x - 5, y - 5) : 0xffffffU);
        }
    }
}

TEST(CopyArea, WhollyOutsideIsFillOnly)
{
    const Vellum image = makeNoise(10, 10, QImage::Format_ARGB32, Storage::Big);

    const Vellum result = image.copyEx(20, 20, 5, 5);

    ASSERT_EQ(result.size(), QSize(5, 5));
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 5; ++x)
            ASSERT_EQ(rawPixel(result, x, y), 0U);
}

TEST(CopyArea, NullImageGivesNull)
{
    EXPECT_TRUE(Vellum().copyEx().isNull());
    EXPECT_TRUE(Vellum().copyEx(0, 0, 5, 5).isNull());
}

TEST(CopyArea, CornersThatNoIntHoldsAreOutside)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();
    const Vellum image = makeNoise(4, 4, QImage::Format_Grayscale8, Storage::Plain);

    for (const int corner : {kMost, kMost - 1, kLeast}) {
        const Vellum result = image.copyEx(corner, corner, 3, 3);
        ASSERT_EQ(result.size(), QSize(3, 3));
        EXPECT_EQ(rawPixel(result, 1, 1), 0xffU);
    }
    EXPECT_TRUE(image.copyEx(kLeast, 0, kMost, kMost).isNull());
    EXPECT_TRUE(image.copyEx(QRect(QPoint(kLeast, kLeast), QPoint(kMost, kMost))).isNull());
}

TEST(CopyArea, MonoIsCopiedBitByBitAtAnyOffset)
{
    for (const auto format : {QImage::Format_Mono, QImage::Format_MonoLSB}) {
        const Vellum image = makeNoise(75, 2, format, Storage::Plain);
        for (int x = -9; x < 40; ++x) {
            for (int w = 1; w < 36; ++w) {
                ASSERT_TRUE(samePixels(image.copyEx(x, 0, w, 1), naiveCopy(image, x, 0, w, 1)))
                    << x << ' ' << w;
            }
        }
    }
}

TEST(CopyArea, StoreNarrowerAndShorterThanTheImageIsNotOverrun)
{
    for (const auto format : {QImage::Format_ARGB32, QImage::Format_Mono, QImage::Format_RGB888}) {
        Vellum image = makeUntouchable(64, 20, format);
        ASSERT_TRUE(image.alloc_buffer(image.bytesPerLine() / 2, 10));
        image.fill(0x5aU);
        bool transparent = false;
        const uint fill = getFillColorForRotate(image, transparent);

        const Vellum part = image.copyEx(1, 1, 62, 18);

        ASSERT_EQ(part.size(), QSize(62, 18));
        EXPECT_EQ(rawPixel(part, 61, 0), filledPixel(fill, image.depth()));
        EXPECT_EQ(rawPixel(part, 0, 17), filledPixel(fill, image.depth()));
        EXPECT_EQ(rawPixel(part, 0, 0), rawPixel(image, 1, 1));
        EXPECT_EQ(image.copyEx().size(), QSize(64, 20));
    }
}

TEST(CopyArea, ReportsNoProgress)
{
    Vellum image = makeNoise(10, 10, QImage::Format_RGB32, Storage::Big);
    const ProgressLog log(image, 1);

    EXPECT_FALSE(image.copyEx().isNull());
    EXPECT_FALSE(image.copyEx(2, 2, 5, 5).isNull());
    EXPECT_TRUE(log.percentages.empty());
}

} // namespace
