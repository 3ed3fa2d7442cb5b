// The row-block store as seen from outside: addresses of rows, and allocations that fail.

#include <rapidcheck.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <support/images.h>
#include <support/messages.h>
#include <support/process.h>
#include <vector>

using namespace vellum::test;

namespace {

constexpr qint64 kBlock = 4 << 20;
constexpr auto kGrey = QImage::Format_Grayscale8;

/// A big image with a store of any geometry; it costs nothing until rows are written.
Vellum bigImage(int bytesPerLine, int height, int imageHeight = -1)
{
    Vellum image =
        makeUntouchable(qMin(bytesPerLine, 64), imageHeight < 0 ? height : imageHeight, kGrey);
    EXPECT_TRUE(image.alloc_buffer(bytesPerLine, height));
    return image;
}

/// Rows after which the next row does not follow in memory.
std::vector<int> lastRowsOfBlocks(const Vellum &image, int bytesPerLine)
{
    std::vector<int> rows;
    for (int y = 0; y + 1 < image.height(); ++y) {
        if (image.scanLineEx(y + 1) != image.scanLineEx(y) + bytesPerLine)
            rows.push_back(y);
    }
    return rows;
}

/// The rule, worked out afresh.
int expectedRowsPerBlock(qint64 bytesPerLine, qint64 height)
{
    const qint64 blocks = std::max<qint64>(bytesPerLine * height / kBlock, 8);
    return int(height / blocks + (height % blocks != 0));
}

std::vector<int> expectedLastRows(int rowsPerBlock, int height)
{
    std::vector<int> rows;
    for (int y = rowsPerBlock; y < height; y += rowsPerBlock)
        rows.push_back(y - 1);
    return rows;
}

TEST(RowBlocks, SmallImageHasEightBlocks)
{
    const Vellum image = bigImage(4000, 1000);
    EXPECT_EQ(lastRowsOfBlocks(image, 4000), expectedLastRows(125, 1000));
}

TEST(RowBlocks, LargeImageHasABlockForEveryWholeFourMebibytes)
{
    if (kSanitized)
        GTEST_SKIP() << "400 MB";
    const Vellum image = bigImage(40000, 10000);

    const std::vector<int> rows = lastRowsOfBlocks(image, 40000);

    EXPECT_EQ(rows, expectedLastRows(106, 10000));
    EXPECT_EQ(rows.size(), 94U);
    EXPECT_EQ(rows.back(), 9963);
}

TEST(RowBlocks, FewerRowsThanBlocksLieInABlockEach)
{
    const Vellum image = bigImage(100, 5);

    std::vector<const uchar *> rows;
    for (int y = 0; y < 5; ++y) {
        ASSERT_NE(image.scanLineEx(y), nullptr);
        rows.push_back(image.scanLineEx(y));
    }
    std::sort(rows.begin(), rows.end());

    for (size_t i = 1; i < rows.size(); ++i)
        EXPECT_GT(rows[i] - rows[i - 1], 100); // a header of the allocator lies between
}

TEST(RowBlocks, MoreThanEightBlocksBeginAtNineTimesFourMebibytes)
{
    constexpr int kStride = 4096; // 1024 rows are 4 MiB
    EXPECT_EQ(lastRowsOfBlocks(bigImage(kStride, 9 * 1024 - 1), kStride).size(), 7U);
    EXPECT_EQ(lastRowsOfBlocks(bigImage(kStride, 9 * 1024), kStride).size(), 8U);
}

TEST(RowBlocks, RowsFollowTheRule)
{
    const bool followed = rc::check("rows follow the rule", [] {
        const int stride = *rc::gen::inRange(1, kSanitized ? 5000 : 60000);
        const int height = *rc::gen::inRange(1, 1500);
        const Vellum image = bigImage(stride, height);
        const int rowsPerBlock = expectedRowsPerBlock(stride, height);
        for (int y = 0; y < height; ++y) {
            const uchar *const block = image.scanLineEx(y / rowsPerBlock * rowsPerBlock);
            RC_ASSERT(image.scanLineEx(y) == block + qptrdiff(y % rowsPerBlock) * stride);
        }
    });
    EXPECT_TRUE(followed);
}

TEST(RowBlocks, NoTwoRowsOverlap)
{
    for (const int height : {1, 7, 8, 9, 16, 17, 101}) {
        Vellum image = bigImage(13, height);
        for (int y = 0; y < height; ++y)
            std::memset(image.scanLineEx(y), y, 13);
        for (int y = 0; y < height; ++y) {
            const uchar *const row = image.scanLineEx(y);
            EXPECT_EQ(std::count(row, row + 13, uchar(y)), 13) << y << " of " << height;
        }
    }
}

TEST(RowBlocks, BothConstnessFormsGiveTheSameRow)
{
    Vellum image = bigImage(13, 30);
    const Vellum &same = image;
    for (int y = 0; y < 30; ++y) {
        EXPECT_EQ(image.scanLineEx(y), same.scanLineEx(y));
        EXPECT_EQ(image.scanLine(y), same.scanLineEx(y));
        EXPECT_EQ(same.scanLine(y), same.scanLineEx(y));
    }
}

TEST(RowBlocks, RowsThatTheStoreLacksAreNull)
{
    Vellum image = bigImage(13, 10, 25);

    EXPECT_NE(image.scanLineEx(9), nullptr);
    for (int y = 10; y < 25; ++y) // the blocks would have room for 16 rows
        EXPECT_EQ(image.scanLineEx(y), nullptr) << y;
}

TEST(RowBlocks, RowsThatTheImageLacksAreNull)
{
    Vellum image = bigImage(13, 25, 10);

    EXPECT_NE(image.scanLineEx(9), nullptr);
    EXPECT_EQ(image.scanLineEx(10), nullptr);
}

TEST(RowBlocks, NarrowerStoreIsReported)
{
    Vellum image = makeUntouchable(64, 10, kGrey);
    EXPECT_EQ(image.storedBytesPerLine(), 64);
    ASSERT_TRUE(image.alloc_buffer(13, 10));
    EXPECT_EQ(image.storedBytesPerLine(), 13);
    ASSERT_TRUE(image.alloc_buffer(100, 10));
    EXPECT_EQ(image.storedBytesPerLine(), 64);
}

TEST(RowBlocks, SizeAndFormatOfTheImageStay)
{
    Vellum image(5, 7, QImage::Format_RGB888);
    const uchar *const base = image.constBits();

    ASSERT_TRUE(image.alloc_buffer(1000, 70));

    EXPECT_TRUE(image.isBigImage());
    EXPECT_EQ(image.size(), QSize(5, 7));
    EXPECT_EQ(image.format(), QImage::Format_RGB888);
    EXPECT_EQ(image.bytesPerLine(), 16);
    EXPECT_EQ(image.constBits(), base);
}

class ZeroSized : public testing::TestWithParam<std::pair<int, int>>
{
};

TEST_P(ZeroSized, StoreSucceedsAndEveryRowIsNull)
{
    const auto [stride, height] = GetParam();
    const MessageLog log;
    Vellum image = makeUntouchable(8, 10, QImage::Format_RGB32);

    ASSERT_TRUE(image.alloc_buffer(stride, height));

    EXPECT_TRUE(image.isBigImage());
    EXPECT_TRUE(log.messages().isEmpty());
    for (int y = -1; y <= 10; ++y)
        EXPECT_EQ(image.scanLineEx(y), nullptr);
    image.fill(0x01020304U);
    image.fill(0U);
    const Vellum copy = image;
    ASSERT_TRUE(image.alloc_buffer(32, 10));
    EXPECT_NE(image.scanLineEx(9), nullptr);
    EXPECT_EQ(copy.scanLineEx(9), nullptr);
}

INSTANTIATE_TEST_SUITE_P(RowBlocks, ZeroSized,
                         testing::Values(std::pair(0, 10), std::pair(32, 0), std::pair(0, 0)));

class Impossible : public testing::TestWithParam<std::pair<qint64, int>>
{
};

constexpr qint64 kMost = std::numeric_limits<qint64>::max();

TEST_P(Impossible, StoreFailsWithTheMessageAndANullImage)
{
    const auto [stride, height] = GetParam();
    const MessageLog log;
    Vellum image = makeImage(8, 10, QImage::Format_RGB32, Storage::Big);

    EXPECT_FALSE(image.alloc_buffer(stride, height));

    EXPECT_EQ(log.messages(), QStringList("alloc_buffer fail, index=  0"));
    EXPECT_FALSE(image.isBigImage());
    EXPECT_TRUE(image.isNull());
    EXPECT_EQ(image.scanLineEx(0), nullptr);
}

TEST_P(Impossible, StoreOfANullImageFails)
{
    const auto [stride, height] = GetParam();
    const MessageLog log;
    Vellum image;

    EXPECT_FALSE(image.alloc_buffer(stride, height));

    EXPECT_TRUE(image.isNull());
    EXPECT_FALSE(image.isBigImage());
}

TEST_P(Impossible, StoreLeavesTheOtherHolderUnharmed)
{
    const auto [stride, height] = GetParam();
    const MessageLog log;
    const Vellum other = makeNoise(8, 10, QImage::Format_RGB32, Storage::Big);
    {
        Vellum image = other;
        EXPECT_FALSE(image.alloc_buffer(stride, height));
        EXPECT_FALSE(image.isBigImage());
        image = makeNoise(3, 3, QImage::Format_RGB32, Storage::Big);
        EXPECT_NE(image.scanLineEx(2), nullptr);
    }
    EXPECT_TRUE(other.isDetached());
    EXPECT_TRUE(samePixels(other, makeNoise(8, 10, QImage::Format_RGB32, Storage::Plain)));
}

INSTANTIATE_TEST_SUITE_P(RowBlocks, Impossible,
                         testing::Values(std::pair(qint64(-1), 10), std::pair(qint64(32), -1),
                                         std::pair(qint64(-32), -10), std::pair(-kMost - 1, 10),
                                         std::pair(qint64(0), -1), std::pair(qint64(-1), 0),
                                         std::pair(kMost, std::numeric_limits<int>::max()),
                                         std::pair(kMost, 1)));

TEST(RowBlocks, StoreOfANullImageSucceedsWithoutRows)
{
    Vellum image;

    EXPECT_TRUE(image.alloc_buffer(100, 10));

    EXPECT_TRUE(image.isBigImage());
    EXPECT_TRUE(image.isNull());
    EXPECT_EQ(image.scanLineEx(0), nullptr);
    Vellum copy = image;
    image = Vellum();
    EXPECT_TRUE(copy.isBigImage());
}

class MemoryLimit : public testing::Test
{
protected:
    void SetUp() override
    {
        if (kSanitized)
            GTEST_SKIP() << "sanitizers reserve more address space than any limit";
    }

    static constexpr qint64 kLimit = 200 << 20;
    static constexpr int kStride = 1 << 20; // 4 rows a block
    static constexpr int kTooHigh = 1000; // 250 blocks
};

TEST_F(MemoryLimit, FailureNamesTheBlock)
{
    EXPECT_TRUE(passesWithinAddressSpace(kLimit, [] {
        const MessageLog log;
        Vellum image(8, 10, kGrey);
        EXPECT_FALSE(image.alloc_buffer(kStride, kTooHigh));
        ASSERT_EQ(log.messages().size(), 1);
        const QString message = log.messages().first();
        ASSERT_TRUE(message.startsWith("alloc_buffer fail, index= ")) << qPrintable(message);
        const int index = message.mid(26).toInt();
        EXPECT_GT(index, 30);
        EXPECT_LT(index, 100); // 50, and what earlier tests gave back to the heap
    }));
}

TEST_F(MemoryLimit, FailureGivesAllMemoryBackAndANullImage)
{
    EXPECT_TRUE(passesWithinAddressSpace(kLimit, [] {
        const MessageLog log;
        Vellum image(8, 10, kGrey);
        const qint64 before = reservedBytes();
        EXPECT_FALSE(image.alloc_buffer(kStride, kTooHigh));
        EXPECT_TRUE(image.isNull());
        EXPECT_FALSE(image.isBigImage());
        EXPECT_LT(reservedBytes() - before, kBlock);
        EXPECT_TRUE(image.alloc_buffer(kStride, 100)); // what was given back can be had
    }));
}

TEST_F(MemoryLimit, FailureLeavesOtherHoldersTheirRows)
{
    EXPECT_TRUE(passesWithinAddressSpace(kLimit, [] {
        const MessageLog log;
        Vellum image = makeNoise(80, 10, kGrey, Storage::Big);
        const Vellum other = image;
        EXPECT_FALSE(image.alloc_buffer(kStride, kTooHigh));
        EXPECT_FALSE(image.isBigImage());
        EXPECT_TRUE(other.isBigImage());
        EXPECT_TRUE(samePixels(other, makeNoise(80, 10, kGrey, Storage::Plain)));
        image = other;
        EXPECT_TRUE(samePixels(image, other));
    }));
}

TEST_F(MemoryLimit, AnEarlierStoreIsDroppedBeforeTheNewOne)
{
    EXPECT_TRUE(passesWithinAddressSpace(kLimit, [] {
        Vellum image(8, 10, kGrey);
        for (int i = 0; i < 20; ++i)
            ASSERT_TRUE(image.alloc_buffer(kStride, 150)) << i; // two do not fit
    }));
}

TEST_F(MemoryLimit, FailedCreateGivesNullAndFalse)
{
    EXPECT_TRUE(passesWithinAddressSpace(kLimit, [] {
        const MessageLog log;
        Vellum image = makeNoise(8, 10, kGrey, Storage::Big);
        image.setIccProfile("profile");
        EXPECT_FALSE(Vellum::create(image, 20000, 20000, kGrey));
        EXPECT_TRUE(image.isNull());
        EXPECT_FALSE(image.isBigImage());
        EXPECT_EQ(image.getIccProfile(), "profile");
    }));
}

TEST_F(MemoryLimit, FailedCreateBigGivesNullAndFalse)
{
    EXPECT_TRUE(passesWithinAddressSpace(kLimit, [] {
        const MessageLog log;
        const qint64 before = reservedBytes();
        Vellum image;
        image.setIccProfile("profile");
        EXPECT_FALSE(Vellum::createBig(image, 20000, 20000, kGrey)); // no room for the base
        EXPECT_FALSE(Vellum::createBig(image, 12000, 12000, kGrey)); // none for the rows
        EXPECT_TRUE(image.isNull());
        EXPECT_FALSE(image.isBigImage());
        EXPECT_EQ(image.getIccProfile(), "profile");
        EXPECT_LT(reservedBytes() - before, kBlock);
        EXPECT_TRUE(Vellum::createBig(image, 3000, 3000, kGrey));
    }));
}

TEST_F(MemoryLimit, FailedChannelBufferIsNull)
{
    EXPECT_TRUE(passesWithinAddressSpace(kLimit, [] {
        Vellum image(4000, 4000, QImage::Format_Mono);
        int stride = -1;
        EXPECT_EQ(image.allocChannelsData(16, 16, stride), nullptr);
        EXPECT_TRUE(image.getChannelsImage(false, true).isEmpty());
    }));
}

} // namespace
