// How large pictures may be, and who says so.

#include <vellum/vellum.h>

#include <gtest/gtest.h>

#include <support/childprocess.h>
#include <support/messages.h>

using namespace vellum;

namespace {

const Limits kBase {11, 22};

void expectLimits(const char *text, qint64 pixels, qint64 memory)
{
    const auto limits = parsedLimits(QString::fromLatin1(text), kBase);
    ASSERT_TRUE(limits) << text;
    EXPECT_EQ(limits->pixels, pixels) << text;
    EXPECT_EQ(limits->memory, memory) << text;
}

} // namespace

TEST(Limits, TextChangesWhatItNames)
{
    expectLimits("", 11, 22);
    expectLimits("pixels=1", 1, 22);
    expectLimits("memory=3K", 11, 3 * 1024);
    expectLimits("pixels=400M,memory=2G", 400LL << 20, 2LL << 30);
    expectLimits(" memory = 1T , pixels=none", Limits::kNone, 1LL << 40);
    expectLimits("memory=9223372036854775807", 11, Limits::kNone);
}

TEST(Limits, TextOfAnotherFormIsNone)
{
    for (const char *text : {"pixels", "pixels=", "=3", "pixels=0", "pixels=-1", "pixels=1.5G",
                             "memory=2GB", "memory=G", "size=3", "pixels=1,", "memory=8388608T",
                             "memory=9223372036854775808", "pixels=1 memory=2"})
        EXPECT_FALSE(parsedLimits(QString::fromLatin1(text), kBase)) << text;
}

TEST(Limits, AffordableMemoryIsPartOfTheMachine)
{
    EXPECT_GT(affordableMemory(), 64 << 20);
    EXPECT_LT(affordableMemory(), qint64(1) << 50);
}

TEST(Limits, DefaultIsWhatTheMachineAffords)
{
    vellum::test::inFreshProcess([] {
        qunsetenv("VELLUM_LIMITS");
        EXPECT_EQ(defaultLimits().pixels, Limits::kNone);
        EXPECT_EQ(defaultLimits().memory, affordableMemory());
    });
}

TEST(Limits, EnvironmentChangesTheDefault)
{
    vellum::test::inFreshProcess([] {
        qputenv("VELLUM_LIMITS", "pixels=7");
        EXPECT_EQ(defaultLimits().pixels, 7);
        EXPECT_EQ(defaultLimits().memory, affordableMemory());
        qputenv("VELLUM_LIMITS", "pixels=8");
        EXPECT_EQ(defaultLimits().pixels, 7) << "read once";
    });
}

TEST(Limits, EnvironmentThatIsNotUnderstoodIsReportedAndCountsForNothing)
{
    vellum::test::inFreshProcess([] {
        qputenv("VELLUM_LIMITS", "pixel=7");
        const vellum::test::MessageLog log;
        EXPECT_EQ(defaultLimits().pixels, Limits::kNone);
        ASSERT_EQ(log.messages().size(), 1);
        EXPECT_TRUE(log.messages().first().contains("VELLUM_LIMITS"));
    });
}

TEST(Limits, ProgramChangesTheDefault)
{
    vellum::test::inFreshProcess([] {
        qputenv("VELLUM_LIMITS", "pixels=7");
        setDefaultLimits({1, 2});
        EXPECT_EQ(defaultLimits().pixels, 1);
        EXPECT_EQ(defaultLimits().memory, 2);
    });
}
