// Two threads that hand rows over: each waits for the other, and either can end both.

#include <vellum/io/rowhandover_p.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using vellum::io::RowHandover;
using Side = RowHandover::Side;

namespace {

constexpr int kRows = 5000;
constexpr int kWindow = 100;

const auto goOn = [](int) { return true; };

/// Rows as numbers in a window of them.
struct Rows
{
    std::vector<int> window = std::vector<int>(kWindow, -1);
    int &operator[](int row) { return window[size_t(row % kWindow)]; }
};

} // namespace

TEST(RowHandover, EveryRowArrivesAndStaysUntilItIsReleased)
{
    constexpr int kBehind = 64;
    RowHandover handover(kWindow);
    Rows rows;
    std::thread maker([&] {
        for (int row = 0; row < kRows; ++row) {
            ASSERT_TRUE(handover.waitForRoom(row));
            rows[row] = row;
        }
        handover.finish(kRows);
    });

    bool arrived = true;
    for (int row = 0; row < kRows; ++row) {
        handover.release(row - kBehind);
        arrived = arrived && handover.waitForRows(row + 1, goOn) && rows[row] == row &&
            (row < kBehind || rows[row - kBehind] == row - kBehind);
    }
    maker.join();
    EXPECT_TRUE(arrived);
    EXPECT_FALSE(handover.isStopped());
}

TEST(RowHandover, WaitForNoRowsEndsWhenTheFirstIsBegun)
{
    RowHandover handover(kWindow);
    int described = 0;
    std::thread maker([&] {
        described = 7;
        EXPECT_TRUE(handover.waitForRoom(0));
    });
    EXPECT_TRUE(handover.waitForRows(0, goOn));
    EXPECT_EQ(described, 7);
    maker.join();
}

TEST(RowHandover, MakerThatStopsEndsTheWaitForRows)
{
    RowHandover handover(kWindow);
    std::thread maker([&] {
        EXPECT_TRUE(handover.waitForRoom(3));
        handover.stop(Side::Maker);
    });
    EXPECT_FALSE(handover.waitForRows(10, goOn));
    maker.join();
    EXPECT_TRUE(handover.isStoppedBy(Side::Maker));
    EXPECT_FALSE(handover.isStoppedBy(Side::User));
}

TEST(RowHandover, UserThatStopsEndsTheWaitForRoom)
{
    RowHandover handover(kWindow);
    std::thread maker([&] { EXPECT_FALSE(handover.waitForRoom(kWindow)); });
    handover.stop(Side::User);
    maker.join();
    handover.stop(Side::Maker);
    EXPECT_TRUE(handover.isStoppedBy(Side::User)) << "the first counts";
}

TEST(RowHandover, WhoeverIsIdleMaySayStop)
{
    RowHandover handover(kWindow);
    int asked = 0;
    std::vector<int> made;
    EXPECT_TRUE(handover.waitForRoom(2));
    EXPECT_FALSE(handover.waitForRows(3, [&](int rows) {
        made.push_back(rows);
        return ++asked < 3;
    }));
    EXPECT_EQ(made, std::vector<int>(3, 2));
    EXPECT_TRUE(handover.isStoppedBy(Side::User));
}

TEST(RowHandover, ReleasedRowsAreRoomAsSoonAsTheUserWaits)
{
    RowHandover handover(kWindow);
    std::thread maker([&] {
        EXPECT_TRUE(handover.waitForRoom(kWindow)); // one row is free
        handover.finish(kWindow + 1);
    });
    handover.release(1); // too few to be told at once
    EXPECT_TRUE(handover.waitForRows(kWindow + 1, goOn));
    maker.join();
}
