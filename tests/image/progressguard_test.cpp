#include <atomic>
#include <support/images.h>
#include <thread>
#include <vector>

using vellum::ProgressGuard;

namespace {

Vellum ofHeight(int height) { return Vellum(1, height, QImage::Format_Mono); }

TEST(ProgressGuard, CallableGetsThePercentageAndDecides)
{
    Vellum image = ofHeight(4);
    std::vector<int> percents;
    const ProgressGuard guard(image, [&percents](int percent) {
        percents.push_back(percent);
        return percent < 75;
    });

    EXPECT_TRUE(image.set_progress(1));
    EXPECT_FALSE(guard.cancelled());
    EXPECT_FALSE(image.set_progress(3));
    EXPECT_TRUE(guard.cancelled());
    EXPECT_EQ(percents, (std::vector<int> {25, 75}));
}

TEST(ProgressGuard, CancelledStaysCancelledWithoutAskingAgain)
{
    Vellum image = ofHeight(4);
    int calls = 0;
    const ProgressGuard guard(image, [&calls](int) { return ++calls != 1; });

    for (int i = 0; i < 5; ++i)
        EXPECT_FALSE(image.set_progress(1));

    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(guard.cancelled());
}

TEST(ProgressGuard, FlagCancelsBeforeTheCallableIsAsked)
{
    Vellum image = ofHeight(4);
    std::atomic<bool> cancel {false};
    int calls = 0;
    const ProgressGuard guard(
        image, [&calls](int) { return ++calls > 0; }, &cancel);

    EXPECT_TRUE(image.set_progress(1));
    cancel = true;
    EXPECT_FALSE(image.set_progress(2));
    EXPECT_TRUE(guard.cancelled());
    EXPECT_EQ(calls, 1);

    cancel = false; // too late
    EXPECT_FALSE(image.set_progress(3));
}

TEST(ProgressGuard, FlagThatNoPollHasSeenHasCancelledNothing)
{
    Vellum image = ofHeight(4);
    std::atomic<bool> cancel {true};
    const ProgressGuard guard(image, nullptr, &cancel);
    EXPECT_FALSE(guard.cancelled());
}

TEST(ProgressGuard, EmptyCallableGoesOn)
{
    Vellum image = ofHeight(4);
    std::atomic<bool> cancel {false};
    const ProgressGuard guard(image, {}, &cancel);

    EXPECT_TRUE(image.set_progress(1));
    cancel = true;
    EXPECT_FALSE(image.set_progress(2));
}

TEST(ProgressGuard, FlagMayBeSetByAnotherThread)
{
    Vellum image = ofHeight(4);
    std::atomic<bool> cancel {false};
    const ProgressGuard guard(image, {}, &cancel);
    std::thread other([&cancel] { cancel = true; });

    while (image.set_progress(1))
        std::this_thread::yield();
    other.join();

    EXPECT_TRUE(guard.cancelled());
}

TEST(ProgressGuard, BaseAndScaleMapTheRange)
{
    Vellum image = ofHeight(4);
    int last = -1;
    const ProgressGuard guard(
        image,
        [&last](int percent) {
            last = percent;
            return true;
        },
        nullptr, 50, 0.5);

    image.set_progress(2);
    EXPECT_EQ(last, 75);
    image.set_progress(4);
    EXPECT_EQ(last, 100);
}

TEST(ProgressGuard, PutsThePreviousCallbackBack)
{
    Vellum image = ofHeight(4);
    int last = -1;
    image.setCallback(
        [](void *data, int percent, void *) {
            *static_cast<int *>(data) = percent;
            return percent < 60;
        },
        &last, 10, 0.5);
    {
        const ProgressGuard guard(image, [](int) { return false; });
        EXPECT_FALSE(image.set_progress(1));
        EXPECT_EQ(last, -1);
    }
    EXPECT_TRUE(image.set_progress(2));
    EXPECT_EQ(last, 35);
    EXPECT_FALSE(image.set_progress(4));
}

TEST(ProgressGuard, LeavesNoCallbackWhereNoneWas)
{
    Vellum image = ofHeight(4);
    {
        const ProgressGuard guard(image, [](int) { return false; });
    }
    EXPECT_TRUE(image.set_progress(1));
}

TEST(ProgressGuard, GuardsNest)
{
    Vellum image = ofHeight(4);
    std::vector<int> outerPercents;
    std::vector<int> innerPercents;
    const auto recordTo = [](std::vector<int> &percents) {
        return [&percents](int percent) {
            percents.push_back(percent);
            return true;
        };
    };
    const ProgressGuard outer(image, recordTo(outerPercents));
    {
        const ProgressGuard inner(image, recordTo(innerPercents), nullptr, 1000);
        image.set_progress(1);
    }
    image.set_progress(2);

    EXPECT_EQ(innerPercents, std::vector<int> {1025});
    EXPECT_EQ(outerPercents, std::vector<int> {50});
}

TEST(ProgressGuard, PolledRowsEndWhereItCancels)
{
    for (const auto storage : vellum::test::kStorages) {
        Vellum image = vellum::test::makeNoise(3, 10, QImage::Format_RGB32, storage);
        const ProgressGuard guard(image, [](int percent) { return percent <= 40; });
        int rows = 0;
        while (image_constScanLine(&image, nullptr, rows))
            ++rows;
        EXPECT_EQ(rows, 4);
        EXPECT_EQ(image_scanLine_reverse(&image, nullptr, 9), nullptr);
    }
}

TEST(ProgressGuard, SurvivesAnAssignmentToTheImage)
{
    Vellum image = ofHeight(4);
    int last = -1;
    const ProgressGuard guard(image, [&last](int percent) {
        last = percent;
        return true;
    });

    image = ofHeight(10);
    image.set_progress(1);

    EXPECT_EQ(last, 10);
}

} // namespace
