#include <QColorSpace>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <support/images.h>
#include <support/pixels.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

Vellum naiveTurn(const Vellum &image, bool clockwise)
{
    const int w = image.width();
    const int h = image.height();
    Vellum result(h, w, image.format());
    result.fill(0U);
    result.setColorTable(image.colorTable());
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            setRawPixel(result, clockwise ? h - 1 - y : y, clockwise ? x : w - 1 - x,
                        rawPixel(image, x, y));
        }
    }
    return result;
}

class QuarterTurn : public testing::TestWithParam<Param>
{
protected:
    const QImage::Format m_format = std::get<0>(GetParam());
    const Storage m_storage = std::get<1>(GetParam());
};

TEST_P(QuarterTurn, OneTurnIsClockwiseAtAnySize)
{
    for (int w = 1; w <= 70; ++w) {
        const int h = 1 + w * 37 % 71;
        const Vellum image = makeNoise(w, h, m_format, m_storage, unsigned(w), 3);
        const Vellum result = vellum::quarterTurned(image, 1);
        ASSERT_TRUE(samePixels(result, naiveTurn(image, true))) << w << " x " << h;
        ASSERT_EQ(result.isBigImage(), image.isBigImage());
    }
}

TEST_P(QuarterTurn, ThreeTurnsAreCounterClockwiseAtAnySize)
{
    for (int w = 1; w <= 70; ++w) {
        const int h = 1 + w * 31 % 71;
        const Vellum image = makeNoise(w, h, m_format, m_storage, unsigned(w), 1);
        ASSERT_TRUE(samePixels(vellum::quarterTurned(image, 3), naiveTurn(image, false)));
    }
}

TEST_P(QuarterTurn, TurnsOfManyTiles)
{
    for (const QSize size : {QSize(1100, 150), QSize(150, 1100)}) {
        const Vellum image = makeNoise(size.width(), size.height(), m_format, m_storage);
        EXPECT_TRUE(samePixels(vellum::quarterTurned(image, 1), naiveTurn(image, true)));
        EXPECT_TRUE(samePixels(vellum::quarterTurned(image, -1), naiveTurn(image, false)));
    }
}

TEST_P(QuarterTurn, EqualsQImage)
{
    Vellum image = makeNoise(67, 41, m_format, m_storage);
    if (image.depth() == 1) // QImage turns one-bit images by their colours
        image.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
    const QImage turned = toPlain(image).transformed(QTransform().rotate(90));

    EXPECT_TRUE(samePixels(vellum::quarterTurned(image, 1), turned));
}

TEST_P(QuarterTurn, TurnsAreCountedModuloFour)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();
    const Vellum image = makeNoise(19, 31, m_format, m_storage);
    const Vellum once = vellum::quarterTurned(image, 1);
    const Vellum twice = vellum::quarterTurned(image, 2);

    EXPECT_TRUE(samePixels(twice, image.mirrored(true, true)));
    EXPECT_TRUE(samePixels(vellum::quarterTurned(image, 5), once));
    EXPECT_TRUE(samePixels(vellum::quarterTurned(image, -3), once));
    EXPECT_TRUE(samePixels(vellum::quarterTurned(image, -2), twice));
    EXPECT_TRUE(samePixels(vellum::quarterTurned(image, kMost), vellum::quarterTurned(image, 3)));
    EXPECT_TRUE(samePixels(vellum::quarterTurned(image, kLeast), image));
    EXPECT_TRUE(samePixels(vellum::quarterTurned(once, -1), image));
}

INSTANTIATE_TEST_SUITE_P(Formats, QuarterTurn,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(QuarterTurned, DescriptionGoesAlongAndResolutionsChangePlaces)
{
    for (const Storage storage : kStorages) {
        Vellum image = makeNoise(9, 4, QImage::Format_Indexed8, storage);
        image.setIccProfile("profile");
        image.setOrgFileCmyk(true);
        image.setDotsPerMeterX(1234);
        image.setDotsPerMeterY(4321);
        image.setDevicePixelRatio(2.0);
        image.setText(QStringLiteral("Author"), QStringLiteral("somebody"));
        image.setColorSpace(QColorSpace::AdobeRgb);
        for (int turns = 0; turns < 4; ++turns) {
            const Vellum result = vellum::quarterTurned(image, turns);
            EXPECT_EQ(result.getIccProfile(), QByteArray("profile"));
            EXPECT_TRUE(result.isOrgFileCmyk());
            EXPECT_EQ(result.dotsPerMeterX(), turns % 2 ? 4321 : 1234);
            EXPECT_EQ(result.dotsPerMeterY(), turns % 2 ? 1234 : 4321);
            EXPECT_EQ(result.devicePixelRatio(), 2.0);
            EXPECT_EQ(result.text(QStringLiteral("Author")), QStringLiteral("somebody"));
            EXPECT_EQ(result.colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
            EXPECT_EQ(result.colorTable(), image.colorTable());
        }
    }
}

TEST(QuarterTurned, NullImageGivesNull)
{
    for (int turns = 0; turns < 4; ++turns)
        EXPECT_TRUE(vellum::quarterTurned(Vellum(), turns).isNull());
}

TEST(QuarterTurned, ReportsRisingPercentagesUpToHundred)
{
    for (const Storage storage : kStorages) {
        Vellum image = makeNoise(1000, 100, QImage::Format_RGB32, storage);
        for (const int turns : {1, 2, 3}) {
            const ProgressLog log(image); // of 100 rows: percentages arrive as they are
            EXPECT_FALSE(vellum::quarterTurned(image, turns).isNull());
            ASSERT_GT(log.percentages.size(), 10U);
            EXPECT_TRUE(std::is_sorted(log.percentages.begin(), log.percentages.end()));
            EXPECT_EQ(log.percentages.back(), 100);
        }
    }
}

TEST(QuarterTurned, CancellingGivesNull)
{
    for (const Storage storage : kStorages) {
        Vellum image = makeNoise(1000, 100, QImage::Format_RGB32, storage);
        for (const int turns : {1, 2, 3}) {
            const ProgressLog log(image, 2);
            EXPECT_TRUE(vellum::quarterTurned(image, turns).isNull());
            EXPECT_EQ(log.percentages.size(), 2U);
        }
    }
}

RC_GTEST_PROP(QuarterTurnProperties, FourAreTheIdentityAndTwoAMirror, ())
{
    const auto format = *rc::gen::elementOf(allFormats());
    const auto storage = *rc::gen::element(Storage::Plain, Storage::Big);
    const Vellum image =
        makeNoise(*rc::gen::inRange(1, 600), *rc::gen::inRange(1, 150), format, storage,
                  *rc::gen::arbitrary<unsigned>(), *rc::gen::inRange(0, 9));
    const Vellum two = vellum::quarterTurned(vellum::quarterTurned(image, 1), 1);
    const Vellum four = vellum::quarterTurned(vellum::quarterTurned(two, 1), 1);

    RC_ASSERT(bool(samePixels(two, image.mirrored(true, true))));
    RC_ASSERT(bool(samePixels(four, image)));
}

} // namespace
