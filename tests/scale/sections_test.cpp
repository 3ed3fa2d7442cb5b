// How the rows of a scaling are spread over the pool.

#include <vellum/scale/sections_p.h>

#include <QMutex>
#include <QRunnable>
#include <QThread>
#include <QThreadPool>

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <vector>

using namespace vellum::scale;

namespace {

struct Call
{
    int yStart;
    int yEnd;
    QThread *thread;
};

/// The calls that runScaleSections makes, from the top down.
std::vector<Call> callsOf(int sw, int ry, int rh)
{
    std::vector<Call> calls;
    QMutex mutex;
    runScaleSections(sw, ry, rh, [&](int yStart, int yEnd) {
        const QMutexLocker lock(&mutex);
        calls.push_back({yStart, yEnd, QThread::currentThread()});
    });
    std::sort(calls.begin(), calls.end(),
              [](const Call &a, const Call &b) { return a.yStart < b.yStart; });
    return calls;
}

std::vector<int> rowsOf(const std::vector<Call> &calls)
{
    std::vector<int> rows;
    for (const Call &call : calls)
        rows.push_back(call.yEnd - call.yStart);
    return rows;
}

int budget() { return std::max(QThread::idealThreadCount(), 8); }

TEST(ScaleSections, SmallScalingsStayOnTheCallingThread)
{
    for (const auto &[sw, rh] : {std::pair(100, 50), std::pair(65535, 2), std::pair(1, 131071)}) {
        const auto calls = callsOf(sw, 7, rh);
        ASSERT_EQ(calls.size(), 1U) << sw << ", " << rh;
        EXPECT_EQ(calls[0].yStart, 7);
        EXPECT_EQ(calls[0].yEnd, 7 + rh);
        EXPECT_EQ(calls[0].thread, QThread::currentThread());
    }
}

TEST(ScaleSections, LaterPartsTakeTheRemainder)
{
    if (budget() != 8)
        GTEST_SKIP() << "written for the budget of machines with up to 8 processors";
    EXPECT_THAT(rowsOf(callsOf(4000, 0, 300)),
                testing::ElementsAre(37, 37, 37, 37, 38, 38, 38, 38));
}

TEST(ScaleSections, PartsFollowEachOtherOnOtherThreads)
{
    const auto calls = callsOf(3000, 1000, 95); // 4 times 65,536 and some
    ASSERT_EQ(calls.size(), 4U);
    int y = 1000;
    for (const Call &call : calls) {
        EXPECT_EQ(call.yStart, y);
        EXPECT_NE(call.thread, QThread::currentThread());
        y = call.yEnd;
    }
    EXPECT_EQ(y, 1095);
}

TEST(ScaleSections, NoMorePartsThanRows)
{
    EXPECT_THAT(rowsOf(callsOf(std::numeric_limits<int>::max(), 0, 3)),
                testing::ElementsAre(1, 1, 1));
}

TEST(ScaleSections, NoMorePartsThanTheBudget)
{
    EXPECT_EQ(callsOf(std::numeric_limits<int>::max(), 0, 100'000).size(), size_t(budget()));
}

TEST(ScaleSections, AWorkerOfThePoolDoesAllItself)
{
    struct Job : QRunnable
    {
        std::vector<Call> &calls;
        QThread *&thread;
        Job(std::vector<Call> &c, QThread *&t) : calls(c), thread(t) { }
        void run() override
        {
            thread = QThread::currentThread();
            calls = callsOf(4000, 0, 300);
        }
    };
    std::vector<Call> calls;
    QThread *worker = nullptr;
    QThreadPool::globalInstance()->start(new Job(calls, worker));
    QThreadPool::globalInstance()->waitForDone();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].yEnd, 300);
    EXPECT_EQ(calls[0].thread, worker);
}

} // namespace
