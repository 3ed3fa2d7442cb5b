#include <cmath>
#include <cstdlib>
#include <limits>
#include <support/images.h>
#include <vector>

using namespace vellum::test;

namespace {

constexpr int kMost = std::numeric_limits<int>::max();
constexpr int kLeast = std::numeric_limits<int>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNan = std::nan("");

struct Calls
{
    std::vector<int> percents;
    void *image = nullptr;
    bool answer = true;

    static bool record(void *calls, int percent, void *image)
    {
        auto &self = *static_cast<Calls *>(calls);
        self.percents.push_back(percent);
        self.image = image;
        return self.answer;
    }
};

int percentAt(const Vellum &image, int position, int base, double scale)
{
    Calls calls;
    Vellum copy(image);
    copy.setCallback(Calls::record, &calls, base, scale);
    EXPECT_TRUE(copy.set_progress(position));
    EXPECT_EQ(calls.percents.size(), 1U);
    return calls.percents.at(0);
}

Vellum ofHeight(int height) { return Vellum(1, height, QImage::Format_Mono); }

TEST(Progress, WithoutACallbackGoesOn)
{
    Vellum image = ofHeight(3);
    for (const int position : {0, 1, -1, kMost, kLeast})
        EXPECT_TRUE(image.set_progress(position));
    int data = 0;
    image.setCallback(nullptr, &data, 0, 1);
    EXPECT_TRUE(image.set_progress(1));
}

TEST(Progress, WithoutUserDataNothingIsCalled)
{
    Vellum image = ofHeight(3);
    image.setCallback([](void *, int, void *) -> bool { std::abort(); }, nullptr, 0, 1);
    EXPECT_TRUE(image.set_progress(1));
}

TEST(Progress, CallbackGetsTheImageAndItsAnswerIsReturned)
{
    Vellum image = ofHeight(3);
    Calls calls;
    image.setCallback(Calls::record, &calls, 0, 1);

    EXPECT_TRUE(image.set_progress(1));
    EXPECT_EQ(calls.image, &image);
    calls.answer = false;
    EXPECT_FALSE(image.set_progress(2));
    calls.answer = true;
    EXPECT_TRUE(image.set_progress(3)); // the image remembers nothing
}

TEST(Progress, CallbackIsCalledAtEveryPoll)
{
    Vellum image = ofHeight(3);
    Calls calls;
    image.setCallback(Calls::record, &calls, 0, 1);

    for (int i = 0; i < 5; ++i)
        image.set_progress(1);

    EXPECT_EQ(calls.percents, std::vector<int>(5, 33));
}

TEST(Progress, FractionIsTruncatedToWholePercents)
{
    const Vellum image = ofHeight(200);
    EXPECT_EQ(percentAt(image, 0, 0, 1), 0);
    EXPECT_EQ(percentAt(image, 1, 0, 1), 0);
    EXPECT_EQ(percentAt(image, 2, 0, 1), 1);
    EXPECT_EQ(percentAt(image, 199, 0, 1), 99);
    EXPECT_EQ(percentAt(image, 200, 0, 1), 100);
}

TEST(Progress, BaseAndScaleMapTheRange)
{
    EXPECT_EQ(percentAt(ofHeight(3), 1, 50, 0.5), 66);
    EXPECT_EQ(percentAt(ofHeight(3), 3, 50, 0.5), 100);
    EXPECT_EQ(percentAt(ofHeight(10), 5, 10, -0.1), 5);
    EXPECT_EQ(percentAt(ofHeight(3), 3, -20, 0), -20);
    EXPECT_EQ(percentAt(ofHeight(3), 7, 0, 1), 233); // more than done is not cut
}

TEST(Progress, NegativeValuesAreTruncatedTowardsZero)
{
    EXPECT_EQ(percentAt(ofHeight(200), -1, 0, 1), 0); // -0.5
    EXPECT_EQ(percentAt(ofHeight(200), -3, 0, 1), -1); // -1.5
    EXPECT_EQ(percentAt(ofHeight(200), 1, -1, 1), 0); // -1 + 0.5
}

TEST(Progress, OrderOfTheOperationsIsKept)
{
    // Each differs from another order of the same factors by one unit in the last place.
    for (int height = 1; height < 300; ++height) {
        const Vellum image = ofHeight(height);
        for (const double scale : {0.29, 0.57, 1.1}) {
            volatile double value = height / 2;
            value = value * scale;
            value = value * 100.0;
            value = value / height;
            value = 3 + value;
            ASSERT_EQ(percentAt(image, height / 2, 3, scale), int(value));
        }
    }
}

TEST(Progress, ValuesAtTheEndsOfAnInt)
{
    const Vellum image = ofHeight(100);
    EXPECT_EQ(percentAt(image, kMost, 0, 1), kMost);
    EXPECT_EQ(percentAt(image, kLeast, 0, 1), kLeast);
    EXPECT_EQ(percentAt(image, 1, kMost, 0.5), kMost); // half a percent more truncates to it
}

TEST(Progress, WhatNoIntCanHoldIsTheSmallestInt)
{
    const Vellum image = ofHeight(100);
    EXPECT_EQ(percentAt(image, 1, kMost, 1), kLeast);
    EXPECT_EQ(percentAt(image, -1, kLeast, 1), kLeast);
    EXPECT_EQ(percentAt(image, kMost, 0, 2), kLeast);
    EXPECT_EQ(percentAt(image, kLeast, 0, 2), kLeast);
    EXPECT_EQ(percentAt(image, 1, 0, 1e300), kLeast);
    EXPECT_EQ(percentAt(image, kMost, 0, std::numeric_limits<double>::max()), kLeast);
}

TEST(Progress, ScaleThatIsNoNumberIsTheSmallestInt)
{
    const Vellum image = ofHeight(100);
    EXPECT_EQ(percentAt(image, 1, 0, kNan), kLeast);
    EXPECT_EQ(percentAt(image, 1, 0, kInfinity), kLeast);
    EXPECT_EQ(percentAt(image, 1, 0, -kInfinity), kLeast);
    EXPECT_EQ(percentAt(image, 0, 0, kInfinity), kLeast);
}

TEST(Progress, OfAnImageWithoutRowsIsTheSmallestInt)
{
    EXPECT_EQ(percentAt(Vellum(), 0, 0, 1), kLeast);
    EXPECT_EQ(percentAt(Vellum(), 1, 50, 1), kLeast);
    EXPECT_EQ(percentAt(Vellum(), -1, 50, 1), kLeast);
}

TEST(Progress, FreeFunctionAsksTheImage)
{
    Vellum image = ofHeight(4);
    Calls calls;
    image.setCallback(Calls::record, &calls, 0, 1);

    EXPECT_TRUE(image_progress(&image, 1));
    calls.answer = false;
    EXPECT_FALSE(image_progress(&image, 3));

    EXPECT_EQ(calls.percents, (std::vector<int> {25, 75}));
}

TEST(Progress, FreeFunctionGoesOnWithoutAnImage) { EXPECT_TRUE(image_progress(nullptr, 5)); }

TEST(Progress, CopyCallbackTakesAllFourOver)
{
    Calls calls;
    Vellum source = ofHeight(4);
    source.setCallback(Calls::record, &calls, 50, 0.5);
    Vellum target = ofHeight(8);

    target.copyCallback(source);
    EXPECT_TRUE(target.set_progress(4));
    EXPECT_EQ(calls.image, &target);
    EXPECT_EQ(calls.percents, std::vector<int> {75});

    target.copyCallback(Vellum());
    EXPECT_TRUE(target.set_progress(4));
    EXPECT_EQ(calls.percents.size(), 1U);
}

TEST(Progress, CopyCallbackChangesNothingElse)
{
    Vellum source = ofHeight(4);
    source.setOffset(7, 8);
    Vellum target = ofHeight(8);
    target.setIccProfile("profile");

    target.copyCallback(source);

    EXPECT_EQ(target.height(), 8);
    EXPECT_EQ(target.getOffsetX(), 0);
    EXPECT_EQ(target.getIccProfile(), "profile");
}

TEST(Progress, CopiesReportNothing)
{
    Calls calls;
    Vellum source = ofHeight(4);
    source.setCallback(Calls::record, &calls, 0, 1);
    const Vellum copy = source;
    Vellum assigned;
    assigned = source;

    EXPECT_TRUE(copy.set_progress(1));
    EXPECT_TRUE(assigned.set_progress(1));
    EXPECT_TRUE(calls.percents.empty());
}

TEST(Progress, NothingIsCalledWhileTheImageIsDestroyed)
{
    for (const Storage storage : kStorages) {
        Calls calls;
        calls.answer = false;
        {
            Vellum image = makeNoise(5, 5, QImage::Format_RGB32, storage);
            image.setExifData(nullptr, 0);
            image.setPsdLayerData(new PsdLayerData);
            image.setCallback(Calls::record, &calls, 0, 1);
        }
        EXPECT_TRUE(calls.percents.empty());
    }
}

} // namespace
