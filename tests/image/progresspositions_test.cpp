// What ProgressGuard makes of operations that hand percentages to Vellum::set_progress.

#include <vellum/vellum.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using vellum::ProgressGuard;

/// The percentages that arrive for positions 0 to 100 handed over on an image of \a height rows.
std::vector<int> arriving(int height, int base, double scale)
{
    Vellum image(1, height, QImage::Format_Mono);
    std::vector<int> percentages;
    const ProgressGuard guard(
        image,
        [&](int percent) {
            percentages.push_back(percent);
            return true;
        },
        nullptr, base, scale, ProgressGuard::Positions::Percent);
    for (int percent = 0; percent <= 100; ++percent)
        image.set_progress(percent);
    return percentages;
}

TEST(ProgressPositions, PercentagesArriveUnchangedForAnyHeight)
{
    std::vector<int> expected;
    for (int percent = 0; percent <= 100; ++percent)
        expected.push_back(percent);

    for (int height = 1; height <= 3000; ++height)
        ASSERT_EQ(arriving(height, 0, 1.0), expected) << height;
    EXPECT_EQ(arriving(123457, 0, 1.0), expected);
}

TEST(ProgressPositions, BaseAndScaleApplyToPercentages)
{
    std::vector<int> expected;
    for (int percent = 0; percent <= 100; ++percent)
        expected.push_back(50 + percent / 2);

    for (const int height : {1, 3, 7, 100, 999})
        EXPECT_EQ(arriving(height, 50, 0.5), expected) << height;
}

TEST(ProgressPositions, MirroringArrivesAsZeroToHundred)
{
    Vellum image(5, 250, QImage::Format_RGB32);
    image.fill(1U);
    std::vector<int> percentages;
    const ProgressGuard guard(
        image,
        [&](int percent) {
            percentages.push_back(percent);
            return true;
        },
        nullptr, 0, 1.0, ProgressGuard::Positions::Percent);

    (void)image.mirrored(false, true);

    ASSERT_EQ(percentages.size(), 250U);
    for (int y = 0; y < 250; ++y)
        ASSERT_EQ(percentages[size_t(y)], 100 * (y + 1) / 250);
}

} // namespace
