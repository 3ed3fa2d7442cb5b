#include <cmath>
#include <cstring>
#include <support/images.h>
#include <support/pixels.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool isTurned(int depth) { return depth == 1 || depth == 8 || depth == 24 || depth == 32; }

/// Pixel \a x of a row, most significant bit first whatever the format.
quint64 pixelMsbFirst(const Vellum &image, int x, int y)
{
    if (image.depth() == 1)
        return image.scanLineEx(y)[x / 8] >> (7 - x % 8) & 1;
    return rawPixel(image, x, y);
}

/// A quarter turn pixel by pixel, as the member does it; zeros for 16 and 64 bits.
Vellum naiveQuarter(const Vellum &image, bool clockwise)
{
    const int w = image.width();
    const int h = image.height();
    Vellum result(h, w, image.format());
    result.fill(0U);
    if (image.colorCount() > 0)
        result.setColorTable(image.colorTable());
    for (int row = 0; isTurned(image.depth()) && row < w; ++row) {
        for (int j = 0; j < h; ++j) {
            const quint64 pixel = clockwise ? pixelMsbFirst(image, row, h - 1 - j)
                                            : pixelMsbFirst(image, w - 1 - row, j);
            if (image.depth() > 1)
                setRawPixel(result, j, row, pixel);
            else if (pixel)
                result.scanLineEx(row)[j / 8] |= uchar(0x80 >> (j % 8));
        }
    }
    return result;
}

/// Success when all bytes of all rows are equal, padding included.
testing::AssertionResult sameBytes(const Vellum &a, const Vellum &b)
{
    if (a.size() != b.size() || a.format() != b.format())
        return testing::AssertionFailure() << "other size or format";
    for (int y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.scanLineEx(y), b.scanLineEx(y), size_t(a.bytesPerLine())) != 0)
            return testing::AssertionFailure() << "row " << y;
    }
    return testing::AssertionSuccess();
}

class RotateRightAngle : public testing::TestWithParam<Param>
{
protected:
    const QImage::Format m_format = std::get<0>(GetParam());
    const Storage m_storage = std::get<1>(GetParam());
};

TEST_P(RotateRightAngle, ClockwiseAtAnySize)
{
    for (int w = 1; w <= 70; ++w) {
        const int h = 1 + w * 37 % 71;
        const Vellum image = makeNoise(w, h, m_format, m_storage, unsigned(w), 3);
        const Vellum result = image.rotated(90, 0xffffffffU);
        ASSERT_TRUE(samePixels(result, naiveQuarter(image, true))) << w << " x " << h;
        ASSERT_FALSE(result.isBigImage());
    }
}

TEST_P(RotateRightAngle, CounterClockwiseAtAnySize)
{
    for (int w = 1; w <= 70; ++w) {
        const int h = 1 + w * 31 % 71;
        const Vellum image = makeNoise(w, h, m_format, m_storage, unsigned(w), 5);
        ASSERT_TRUE(samePixels(image.rotated(270, 0xffffffffU), naiveQuarter(image, false)))
            << w << " x " << h;
    }
}

TEST_P(RotateRightAngle, SizesOfSeveralTiles)
{
    for (const QSize size : {QSize(600, 130), QSize(130, 600), QSize(1024, 33), QSize(33, 1024)}) {
        const Vellum image = makeNoise(size.width(), size.height(), m_format, m_storage);
        ASSERT_TRUE(samePixels(image.rotated(90, 0U), naiveQuarter(image, true)));
        ASSERT_TRUE(samePixels(image.rotated(270, 0U), naiveQuarter(image, false)));
    }
}

TEST_P(RotateRightAngle, HalfTurnMirrorsBothWays)
{
    const Vellum image = makeNoise(67, 13, m_format, m_storage);
    EXPECT_TRUE(samePixels(image.rotated(180, 0U), image.mirrored(true, true)));
}

TEST_P(RotateRightAngle, WholeTurnsShareThePixels)
{
    const Vellum image = makeNoise(7, 5, m_format, m_storage);
    for (const double angle : {0.0, 360.0, -360.0, 720.0, 3600.0, 359.5, 360.5, -0.5, 0.001}) {
        const Vellum copy = image.rotated(angle, 0U);
        EXPECT_EQ(copy.scanLineEx(3), image.scanLineEx(3)) << angle;
        EXPECT_EQ(copy.isBigImage(), image.isBigImage()) << angle;
    }
}

TEST_P(RotateRightAngle, AnglesJustBelowAreTaken)
{
    const Vellum image = makeNoise(37, 15, m_format, m_storage);

    EXPECT_TRUE(samePixels(image.rotated(89.5, 0U), image.rotated(90, 0U)));
    EXPECT_TRUE(samePixels(image.rotated(89.01, 0U), image.rotated(90, 0U)));
    EXPECT_TRUE(samePixels(image.rotated(179.5, 0U), image.rotated(180, 0U)));
    EXPECT_TRUE(samePixels(image.rotated(269.5, 0U), image.rotated(270, 0U)));
    EXPECT_TRUE(samePixels(image.rotated(90.0005, 0U), image.rotated(90, 0U))); // the bias
}

TEST_P(RotateRightAngle, NegativeAnglesBelowMinusAWholeTurnAreTaken)
{
    const Vellum image = makeNoise(37, 15, m_format, m_storage);

    EXPECT_TRUE(samePixels(image.rotated(-90, 0U), image.rotated(270, 0U)));
    EXPECT_TRUE(samePixels(image.rotated(-270, 0U), image.rotated(90, 0U)));
    EXPECT_TRUE(samePixels(image.rotated(-450, 0U), image.rotated(270, 0U)));
}

TEST_P(RotateRightAngle, OutOfRangeAnglesGiveNull)
{
    const Vellum image = makeNoise(7, 5, m_format, m_storage);
    for (const double angle : {kInfinity, -kInfinity, std::nan(""), 1e10, -1e10, 1e300, 2.2e7}) {
        EXPECT_TRUE(image.rotated(angle, 0U).isNull()) << angle;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, RotateRightAngle,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(RotateQuarter, TopRowIsTheFirstColumnReadUpwards)
{
    const Vellum image = makeNoise(3, 4, QImage::Format_RGB888, Storage::Plain);
    const Vellum clockwise = image.rotated(90, 0U);
    const Vellum counter = image.rotated(270, 0U);
    ASSERT_EQ(clockwise.size(), QSize(4, 3));
    for (int j = 0; j < 4; ++j) {
        EXPECT_EQ(rawPixel(clockwise, j, 0), rawPixel(image, 0, 3 - j));
        EXPECT_EQ(rawPixel(counter, j, 2), rawPixel(image, 0, j));
    }
}

TEST(RotateQuarter, EqualsQImageWhereItTurns)
{
    for (const auto format : {QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_RGB888,
                              QImage::Format_ARGB32}) {
        const Vellum image = makeNoise(67, 41, format, Storage::Plain);
        EXPECT_TRUE(
            samePixels(image.rotated(90, 0U), toPlain(image).transformed(QTransform().rotate(90))));
    }
}

TEST(RotateQuarter, SixteenAndSixtyFourBitsAreZero)
{
    for (const auto format : {QImage::Format_RGB16, QImage::Format_RGBA64}) {
        const Vellum image = makeNoise(5, 3, format, Storage::Plain);
        const Vellum result = image.rotated(90, 0xffffffffU);
        ASSERT_EQ(result.size(), QSize(3, 5));
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 3; ++x)
                EXPECT_EQ(rawPixel(result, x, y), 0U);
    }
}

TEST(RotateQuarter, OneBitPaddingIsClear)
{
    const Vellum image = makeNoise(10, 11, QImage::Format_Mono, Storage::Plain);
    EXPECT_TRUE(sameBytes(image.rotated(90, 0U), naiveQuarter(image, true)));
    EXPECT_TRUE(sameBytes(image.rotated(270, 0U), naiveQuarter(image, false)));
}

TEST(RotateQuarter, OtherMetadataStaysBehind)
{
    Vellum image = makeNoise(10, 11, QImage::Format_Indexed8, Storage::Plain);
    image.setIccProfile("profile");
    image.setOrgFileCmyk(true);
    const Vellum result = image.rotated(90, 0U);
    EXPECT_TRUE(result.getIccProfile().isEmpty());
    EXPECT_FALSE(result.isOrgFileCmyk());
    EXPECT_EQ(result.colorTable(), image.colorTable());
}

TEST(RotateQuarter, NullImageGivesNull)
{
    for (const double angle : {0.0, 90.0, 180.0, 270.0, 30.0})
        EXPECT_TRUE(Vellum().rotated(angle, 0U).isNull());
}

TEST(RotateQuarter, StoreNarrowerAndShorterThanTheImageIsNotOverrun)
{
    for (const auto format : {QImage::Format_ARGB32, QImage::Format_Mono, QImage::Format_RGB888}) {
        for (const double angle : {90.0, 270.0, 30.0}) {
            Vellum image = makeUntouchable(64, 20, format);
            ASSERT_TRUE(image.alloc_buffer(image.bytesPerLine() / 2 + 1, 10));
            image.fill(0x5aU);
            EXPECT_FALSE(image.rotated(angle, 0U).isNull());
            EXPECT_FALSE(vellum::freeRotated(image, angle, 0U).isNull());
        }
    }
}

TEST(RotateQuarter, EveryResultRowIsReported)
{
    for (const auto format : {QImage::Format_Mono, QImage::Format_Grayscale8, QImage::Format_RGB888,
                              QImage::Format_RGB32}) {
        for (const Storage storage : kStorages) {
            Vellum image = makeNoise(77, 13, format, storage);
            for (const double angle : {90.0, 270.0}) {
                ProgressLog log(image, 1); // the answer is ignored
                EXPECT_FALSE(image.rotated(angle, 0U).isNull());
                std::vector<int> expected;
                for (int x = 0; x < 77; ++x)
                    expected.push_back(reported(100 * (x + 1) / 77, 13));
                EXPECT_EQ(log.percentages, expected);
            }
        }
    }
}

TEST(RotateQuarter, CopiesAndHalfTurnsReportNothing)
{
    Vellum image = makeNoise(7, 5, QImage::Format_RGB32, Storage::Plain);
    const ProgressLog log(image);
    for (const double angle : {0.0, 180.0, 359.5})
        (void)image.rotated(angle, 0U);
    EXPECT_TRUE(log.percentages.empty());
}

} // namespace
