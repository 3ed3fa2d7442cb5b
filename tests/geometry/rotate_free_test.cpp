#include <support/freeturn.h>
#include <support/images.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

/// What the member gives for an angle on the free path.
Vellum naiveRotated(const Vellum &image, double angle, uint fill)
{
    const NaiveTurn turn(image.width(), image.height(), 360.0 - angle);
    Vellum result(turn.size().width(), turn.size().height(), image.format());
    if (result.isNull())
        return result;
    const int depth = image.depth();
    if (image.colorCount() > 0)
        result.setColorTable(image.colorTable());
    result.fill(depth == 1 ? 0U : fill);
    if (depth == 1) {
        Vellum covered = result.copyEx();
        forEachNearest(turn, [&](int column, int row, int ix, int iy) {
            const auto mask = uchar(0x80 >> (column % 8));
            covered.scanLineEx(row)[column / 8] |= mask;
            if (image.scanLineEx(iy)[ix / 8] & 0x80 >> (ix % 8))
                result.scanLineEx(row)[column / 8] |= mask;
        });
        for (int y = 0; fill && y < result.height(); ++y)
            for (int x = 0; x < result.width(); ++x)
                if (!(covered.scanLineEx(y)[x / 8] & 0x80 >> (x % 8)))
                    result.scanLineEx(y)[x / 8] |= uchar(0x80 >> (x % 8));
    } else if (depth == 8) {
        forEachNearest(turn, [&](int column, int row, int ix, int iy) {
            setRawPixel(result, column, row, rawPixel(image, ix, iy));
        });
    } else if (depth == 24 || depth == 32) {
        drawNaively(result, image, turn, std::vector<int>(size_t(depth / 8), 8));
    }
    return result;
}

class RotateFree : public testing::TestWithParam<Param>
{
protected:
    const QImage::Format m_format = std::get<0>(GetParam());
    const Storage m_storage = std::get<1>(GetParam());
};

TEST_P(RotateFree, AnyAngleEqualsTheNaiveTurn)
{
    const Vellum image = makeNoise(61, 37, m_format, m_storage, 1, 3);
    for (const double angle :
         {1.0,   12.5,  30.0,  45.0,  60.25, 88.0,  91.0,   123.0,  178.9,   200.0,
          260.0, 300.0, 345.6, 358.5, 450.0, 540.0, -440.5, -100.0, 10000.0, 0.5}) {
        const Vellum result = image.rotated(angle, 0x80a0b0c0U);
        ASSERT_TRUE(samePixels(result, naiveRotated(image, angle, 0x80a0b0c0U))) << angle;
        ASSERT_FALSE(result.isBigImage());
    }
}

TEST_P(RotateFree, AnySizeEqualsTheNaiveTurn)
{
    for (int w = 1; w <= 40; ++w) {
        const int h = 1 + w * 17 % 23;
        const Vellum image = makeNoise(w, h, m_format, m_storage, unsigned(w));
        const double angle = 7.0 * w + 0.3;
        ASSERT_TRUE(samePixels(image.rotated(angle, 0U), naiveRotated(image, angle, 0U)))
            << w << " x " << h << " by " << angle;
    }
}

TEST_P(RotateFree, SizesOfSeveralPiecesEqualTheNaiveTurn)
{
    const Vellum image = makeNoise(400, 150, m_format, m_storage);
    EXPECT_TRUE(samePixels(image.rotated(33, ~0U), naiveRotated(image, 33, ~0U)));
    EXPECT_TRUE(samePixels(image.rotated(-75, ~0U), naiveRotated(image, -75, ~0U)));
}

INSTANTIATE_TEST_SUITE_P(Formats, RotateFree,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(RotateFreely, CanvasHoldsTheTurnedImageAndCornersAreFill)
{
    const Vellum image = makeNoise(100, 100, QImage::Format_ARGB32, Storage::Plain);
    const Vellum result = image.rotated(45, 0x12345678U);
    ASSERT_EQ(result.size(), QSize(141, 141));
    for (const int x : {0, 140})
        for (const int y : {0, 140})
            EXPECT_EQ(rawPixel(result, x, y), 0x12345678U);
}

TEST(RotateFreely, SixteenAndSixtyFourBitsAreFillOnly)
{
    for (const auto format : {QImage::Format_RGB16, QImage::Format_RGBA64}) {
        const Vellum image = makeNoise(20, 10, format, Storage::Plain);
        const Vellum result = image.rotated(30, 0x12345678U);
        ASSERT_GT(result.width(), 20);
        for (int y = 0; y < result.height(); ++y)
            for (int x = 0; x < result.width(); ++x)
                ASSERT_EQ(rawPixel(result, x, y), filledPixel(0x12345678U, image.depth()));
    }
}

TEST(RotateFreely, EveryResultRowIsReported)
{
    for (const auto format : {QImage::Format_Mono, QImage::Format_Grayscale8, QImage::Format_RGB888,
                              QImage::Format_RGB32}) {
        Vellum image = makeNoise(150, 80, format, Storage::Big);
        ProgressLog log(image, 1); // the answer is ignored
        const Vellum result = image.rotated(20, 0U);
        std::vector<int> expected;
        for (int rows = 1; rows <= result.height(); ++rows)
            expected.push_back(reported(100 * rows / result.height(), 80));
        EXPECT_EQ(log.percentages, expected);
    }
}

TEST(RotateFreely, TooLargeAResultIsNull)
{
    // One bit a pixel, so that the source itself costs little.
    const Vellum image = makeUntouchable(2'000'000'000, 1, QImage::Format_Mono);
    ASSERT_FALSE(image.isNull());
    EXPECT_TRUE(image.rotated(45, 0U).isNull());
    EXPECT_TRUE(vellum::freeRotated(image, 45, 0U).isNull());
}

TEST(RotateFreely, ExtremeValuesSurviveTheBlend)
{
    for (const auto format : {QImage::Format_RGB888, QImage::Format_ARGB32}) {
        Vellum image(50, 40, format);
        image.fill(0xffffffffU);
        for (int y = 0; y < 40; ++y)
            for (int x = y % 2; x < 50; x += 2)
                setRawPixel(image, x, y, 0U);
        for (const double angle : {3.0, 44.0, 95.0, 271.0})
            ASSERT_TRUE(samePixels(image.rotated(angle, 0U), naiveRotated(image, angle, 0U)));
    }
}

} // namespace
