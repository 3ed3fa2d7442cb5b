#include <cstring>
#include <limits>
#include <random>
#include <support/images.h>
#include <support/sampling.h>
#include <sys/mman.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

constexpr int kMost = std::numeric_limits<int>::max();
constexpr int kLeast = std::numeric_limits<int>::min();

QRect whole(const QSize &size) { return {QPoint(0, 0), size}; }

Vellum sampled(const Vellum &src, const QSize &size, const QRect &rect,
               const QSize &refSize = QSize())
{
    Vellum dst;
    EXPECT_TRUE(fast_scale_image(dst, src, size, rect, false, refSize));
    return dst;
}

/// Grayscale8 of one row that holds the number of each column.
Vellum columnNumbers(int width)
{
    Vellum image(width, 1, QImage::Format_Grayscale8);
    for (int x = 0; x < width; ++x)
        image.scanLineEx(0)[x] = uchar(x);
    return image;
}

std::vector<int> firstRow(const Vellum &image)
{
    const uchar *const row = image.scanLineEx(0);
    return {row, row + image.width()};
}

/// Memory with pages behind its last byte that crash whoever reads them.
class GuardedBytes
{
    Q_DISABLE_COPY(GuardedBytes)

public:
    explicit GuardedBytes(size_t size)
        : m_size(size), m_memory(static_cast<uchar *>(mmap(nullptr, 2 * kHalf, PROT_NONE,
                                                           MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        mprotect(m_memory, kHalf, PROT_READ | PROT_WRITE);
    }
    ~GuardedBytes() { munmap(m_memory, 2 * kHalf); }

    uchar *data() const { return m_memory + kHalf - m_size; }

private:
    static constexpr size_t kHalf = 1 << 20;
    size_t m_size;
    uchar *m_memory;
};

class Random
{
public:
    explicit Random(unsigned seed) : m_engine(seed) { }

    int between(int low, int high) { return low + int(m_engine() % unsigned(high - low + 1)); }
    unsigned number() { return unsigned(m_engine()); }
    QSize size(int most) { return {between(1, most), between(1, most)}; }
    QRect inside(const QSize &size)
    {
        const int x = between(0, size.width() - 1);
        const int y = between(0, size.height() - 1);
        return {x, y, between(1, size.width() - x), between(1, size.height() - y)};
    }

private:
    std::mt19937 m_engine;
};

class Sampling : public testing::TestWithParam<Param>
{
protected:
    const QImage::Format m_format = std::get<0>(GetParam());
    const Storage m_storage = std::get<1>(GetParam());
};

TEST_P(Sampling, EveryPairOfSmallSizesEqualsTheNaiveSampler)
{
    for (int from = 1; from <= 9; ++from) {
        const Vellum src = makeNoise(from, 10 - from, m_format, m_storage, unsigned(from), 3);
        for (int to = 1; to <= 40; ++to) {
            const QSize size(to, 41 - to);
            ASSERT_TRUE(sameRowBytes(sampled(src, size, whole(size)),
                                     sampledNaively(src, size, whole(size))))
                << from << " to " << to;
        }
    }
}

TEST_P(Sampling, CropsAnywhereEqualTheNaiveSampler)
{
    Random random(3);
    for (int round = 0; round < 100; ++round) {
        const QSize from = random.size(90);
        const Vellum src =
            makeNoise(from.width(), from.height(), m_format, m_storage, random.number(), 7);
        const QSize size = random.size(200);
        const QRect part = random.inside(size);
        ASSERT_TRUE(sameRowBytes(sampled(src, size, part), sampledNaively(src, size, part)));
    }
}

TEST_P(Sampling, PositionsSnapToTheGridOfTheReference)
{
    Random random(4);
    for (int round = 0; round < 100; ++round) {
        const QSize from = random.size(60);
        const Vellum src =
            makeNoise(from.width(), from.height(), m_format, m_storage, random.number(), 7);
        const QSize size = random.size(90);
        const QSize reference = random.size(250);
        const QRect part = random.inside(size);
        if (size == from && part == whole(size))
            continue; // shared, not sampled
        ASSERT_TRUE(sameRowBytes(sampled(src, size, part, reference),
                                 sampledNaively(src, size, part, reference)));
    }
}

// Rows far apart, so that they lie in many blocks of the source.
TEST_P(Sampling, TallImagesAreReadAcrossBlocks)
{
    const Vellum src = makeNoise(3, 5000, m_format, m_storage);
    const QSize size(5, 1237);
    EXPECT_TRUE(
        sameRowBytes(sampled(src, size, whole(size)), sampledNaively(src, size, whole(size))));
}

TEST_P(Sampling, AReusedResultKeepsItsStorageAndIsWrittenOver)
{
    const Vellum src = makeNoise(31, 23, m_format, Storage::Plain);
    const QSize size(57, 68);
    const QRect part(5, 11, 43, 29);
    Vellum dst = makeNoise(43, 29, m_format, m_storage, 99, 12);
    const uchar *const row = std::as_const(dst).scanLineEx(0);

    ASSERT_TRUE(fast_scale_image(dst, src, size, part, false, QSize()));

    EXPECT_EQ(std::as_const(dst).scanLineEx(0), row);
    EXPECT_EQ(dst.isBigImage(), m_storage == Storage::Big);
    EXPECT_TRUE(sameRowBytes(dst, sampledNaively(src, size, part)));
}

TEST_P(Sampling, ASourceScaledIntoItselfGivesTheSameAsIntoAnother)
{
    Vellum image = makeNoise(31, 23, m_format, m_storage, 5, 3);
    const Vellum before = image.copyEx();
    const QSize size(62, 46);
    for (const QRect part : {QRect(3, 4, 31, 23), whole(size)}) { // of its own size, and larger
        Vellum self = image;
        ASSERT_TRUE(fast_scale_image(self, self, size, part, false, QSize()));
        EXPECT_TRUE(sameRowBytes(self, sampledNaively(before, size, part)));
        EXPECT_TRUE(sameRowBytes(image, before));
    }
}

TEST_P(Sampling, AResultThatSharesThePixelsOfTheSourceLeavesTheSourceAlone)
{
    const Vellum src = makeNoise(31, 23, m_format, m_storage, 6);
    const Vellum before = src.copyEx();
    Vellum dst = src;
    const QRect part(3, 4, 31, 23);

    ASSERT_TRUE(fast_scale_image(dst, src, QSize(62, 46), part, false, QSize()));

    EXPECT_TRUE(sameRowBytes(dst, sampledNaively(before, QSize(62, 46), part)));
    EXPECT_TRUE(sameRowBytes(src, before));
}

TEST_P(Sampling, NothingToDoSharesThePixels)
{
    const Vellum src = makeNoise(31, 23, m_format, m_storage);
    const Vellum dst = sampled(src, src.size(), whole(src.size()));
    EXPECT_EQ(dst.scanLineEx(22), src.scanLineEx(22));
    EXPECT_EQ(dst.isBigImage(), src.isBigImage());
}

TEST_P(Sampling, NothingToDoCopiesThePixelsOnRequest)
{
    const Vellum src = makeNoise(31, 23, m_format, m_storage);
    Vellum dst;
    ASSERT_TRUE(fast_scale_image(dst, src, src.size(), whole(src.size()), true, QSize()));
    EXPECT_TRUE(samePixels(dst, src));
    EXPECT_NE(std::as_const(dst).scanLineEx(22), src.scanLineEx(22));
}

TEST_P(Sampling, ProgressGoesToTheSourceAfterEveryRowAndReachesAHundred)
{
    for (const QSize reference : {QSize(), QSize(90, 210)}) {
        Vellum src = makeNoise(31, 100, m_format, m_storage);
        ProgressLog log(src);
        for (const int height : {7, 250}) {
            log.percentages.clear();
            sampled(src, QSize(17, 300), QRect(2, 3, 9, height), reference);
            std::vector<int> expected;
            for (int y = 1; y <= height; ++y)
                expected.push_back(reported(y * 100 / height, 100));
            EXPECT_EQ(log.percentages, expected);
            EXPECT_EQ(log.percentages.back(), 100);
        }
    }
}

TEST_P(Sampling, CannotBeCancelled)
{
    Vellum src = makeNoise(31, 23, m_format, m_storage);
    const ProgressLog log(src, 1);
    const Vellum dst = sampled(src, QSize(40, 50), QRect(0, 0, 40, 50));
    EXPECT_EQ(log.percentages.size(), 50U);
    EXPECT_TRUE(sameRowBytes(dst, sampledNaively(src, QSize(40, 50), QRect(0, 0, 40, 50))));
}

TEST_P(Sampling, ProgressOfASourceScaledIntoItselfIsThatOfTheSource)
{
    Vellum image = makeNoise(31, 50, m_format, m_storage);
    const ProgressLog log(image);
    ASSERT_TRUE(fast_scale_image(image, image, QSize(5, 2), QRect(0, 0, 5, 2), false, QSize()));
    EXPECT_EQ(log.percentages, (std::vector<int> {reported(50, 50), reported(100, 50)}));
}

INSTANTIATE_TEST_SUITE_P(Formats, Sampling,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(SamplingColumns, DownByTwoTakesEverySecond)
{
    const Vellum src = columnNumbers(200);
    const std::vector<int> row = firstRow(sampled(src, QSize(100, 1), QRect(0, 0, 100, 1)));
    for (int x = 0; x < 100; ++x)
        EXPECT_EQ(row[size_t(x)], 2 * x);
}

TEST(SamplingColumns, UpByThreeRepeatsEach)
{
    const std::vector<int> row =
        firstRow(sampled(columnNumbers(10), QSize(30, 1), QRect(0, 0, 30, 1)));
    for (int x = 0; x < 30; ++x)
        EXPECT_EQ(row[size_t(x)], x / 3);
}

TEST(SamplingColumns, ACropStartsInTheTarget)
{
    const std::vector<int> row =
        firstRow(sampled(columnNumbers(200), QSize(100, 1), QRect(25, 0, 50, 1)));
    ASSERT_EQ(row.size(), 50U);
    for (int x = 0; x < 50; ++x)
        EXPECT_EQ(row[size_t(x)], 50 + 2 * x);
}

TEST(SamplingColumns, AReferenceOfTheSizeOfTheSourceIsNone)
{
    const Vellum src = columnNumbers(123);
    const QSize size(77, 1);
    EXPECT_EQ(firstRow(sampled(src, size, whole(size), src.size())),
              firstRow(sampled(src, size, whole(size))));
}

TEST(SamplingColumns, AReferenceTruncatesTwice)
{
    const QSize size(200, 1);
    const Vellum src = columnNumbers(100);
    const std::vector<int> row = firstRow(sampled(src, size, whole(size), QSize(300, 1)));
    EXPECT_EQ(row[1], 0);
    EXPECT_EQ(row[2], 1);
    EXPECT_EQ(row[3], 1); // int(3 * 1.5) / 3
    const QSize odd(7, 1); // in one stage, column 1 would come from 14, not 11
    const std::vector<int> twice = firstRow(sampled(src, odd, whole(odd), QSize(9, 1)));
    for (int x = 0; x < 7; ++x)
        EXPECT_EQ(twice[size_t(x)], int(int(x * (9.0 / 7)) * (100.0 / 9)));
}

TEST(SamplingColumns, TheLastColumnOfAHugeTargetIsInsideTheSource)
{
    for (const int width : {1, 3, 7, 199, 255}) {
        for (const int target : {kMost, kMost - 1, 1 << 30, 999999937}) {
            const QRect last(target - 5, 0, 5, 1);
            const std::vector<int> row =
                firstRow(sampled(columnNumbers(width), QSize(target, 1), last));
            EXPECT_EQ(row, std::vector<int>(5, width - 1));
            const std::vector<int> snapped = firstRow(
                sampled(columnNumbers(width), QSize(target, 1), last, QSize(kMost - 7, 3)));
            EXPECT_EQ(snapped, std::vector<int>(5, width - 1));
        }
    }
}

TEST(SamplingArguments, RejectedOnesLeaveTheResultUntouched)
{
    const Vellum src = makeNoise(10, 10, QImage::Format_RGB32, Storage::Plain);
    const Vellum before = makeNoise(4, 3, QImage::Format_RGB888, Storage::Plain, 2);
    const auto rejected = [&](const Vellum &from, const QSize &size, const QRect &rect) {
        Vellum dst = before;
        return !fast_scale_image(dst, from, size, rect, false, QSize()) && samePixels(dst, before);
    };
    EXPECT_TRUE(rejected(Vellum(), QSize(5, 5), QRect(0, 0, 5, 5)));
    EXPECT_TRUE(rejected(src, QSize(0, 5), QRect(0, 0, 5, 5)));
    EXPECT_TRUE(rejected(src, QSize(5, 0), QRect(0, 0, 5, 5)));
    EXPECT_TRUE(rejected(src, QSize(-5, -5), QRect(0, 0, 5, 5)));
    EXPECT_TRUE(rejected(src, QSize(5, 5), QRect(0, 0, 0, 5)));
    EXPECT_TRUE(rejected(src, QSize(5, 5), QRect(0, 0, 5, -1)));
    EXPECT_TRUE(rejected(src, QSize(5, 5), QRect(5, 0, 5, 5)));
    EXPECT_TRUE(rejected(src, QSize(5, 5), QRect(0, 5, 5, 5)));
    EXPECT_TRUE(rejected(src, QSize(5, 5), QRect(-5, 0, 5, 5)));
    EXPECT_TRUE(rejected(src, QSize(5, 5), QRect(0, -5, 5, 5)));
}

TEST(SamplingArguments, RectanglesAreClippedToTheTarget)
{
    const Vellum src = makeNoise(40, 30, QImage::Format_RGB32, Storage::Big);
    const QSize size(100, 100);
    EXPECT_TRUE(sameRowBytes(sampled(src, size, QRect(50, 50, 100, 100)),
                             sampledNaively(src, size, QRect(50, 50, 50, 50))));
    EXPECT_TRUE(sameRowBytes(sampled(src, size, QRect(-20, -30, 50, 50)),
                             sampledNaively(src, size, QRect(0, 0, 30, 20))));
    const QRect everywhere(QPoint(kLeast, kLeast), QPoint(kMost, kMost));
    EXPECT_TRUE(
        sameRowBytes(sampled(src, size, everywhere), sampledNaively(src, size, whole(size))));
}

TEST(SamplingArguments, AResultThatCannotBeMadeIsNull)
{
    const Vellum src = makeNoise(4, 3, QImage::Format_RGB32, Storage::Plain);
    Vellum dst = src;
    const QSize size(kMost, kMost);
    EXPECT_FALSE(fast_scale_image(dst, src, size, whole(size), false, QSize()));
    EXPECT_TRUE(dst.isNull());
}

TEST(SamplingResult, KeepsAnotherFormatOfAReusedImage)
{
    const Vellum src = makeNoise(20, 10, QImage::Format_RGB16, Storage::Plain);
    const QSize size(9, 8);
    for (const QImage::Format format :
         {QImage::Format_RGB555, QImage::Format_ARGB32, QImage::Format_RGBA64}) {
        Vellum dst = makeNoise(9, 8, format, Storage::Plain, 3);
        Vellum expected = dst.copyEx();
        ASSERT_TRUE(fast_scale_image(dst, src, size, whole(size), false, QSize()));
        sampleNaively(expected, src, size, whole(size));
        EXPECT_TRUE(sameRowBytes(dst, expected));
    }
}

TEST(SamplingResult, IsMadeAnewWhereARowWouldNotFit)
{
    const Vellum src = makeNoise(20, 10, QImage::Format_ARGB32, Storage::Plain);
    const QSize size(9, 8);
    Vellum shallow(9, 8, QImage::Format_RGB16);
    Vellum narrow = makeImage(9, 8, QImage::Format_ARGB32, Storage::Plain);
    ASSERT_TRUE(narrow.alloc_buffer(35, 8));
    Vellum lowStore = makeImage(9, 8, QImage::Format_ARGB32, Storage::Plain);
    ASSERT_TRUE(lowStore.alloc_buffer(36, 7));
    for (Vellum *dst : {&shallow, &narrow, &lowStore}) {
        ASSERT_TRUE(fast_scale_image(*dst, src, size, whole(size), false, QSize()));
        EXPECT_FALSE(dst->isBigImage());
        EXPECT_TRUE(sameRowBytes(*dst, sampledNaively(src, size, whole(size))));
    }
}

// 3 pixels of 8 bits fill the 4 bytes of a row of one-bit pixels as well.
TEST(SamplingResult, StaysWhereADeeperRowJustFits)
{
    const Vellum src = makeNoise(20, 10, QImage::Format_Grayscale8, Storage::Plain);
    Vellum dst(3, 5, QImage::Format_Mono);
    ASSERT_TRUE(fast_scale_image(dst, src, QSize(3, 5), QRect(0, 0, 3, 5), false, QSize()));
    EXPECT_EQ(dst.format(), QImage::Format_Mono);
    for (int x = 0; x < 3; ++x)
        EXPECT_EQ(dst.scanLineEx(4)[x], src.scanLineEx(8)[sampledFrom(x, 20, 3, {})]);
}

TEST(SamplingResult, KeepsTheProfileOfTheResultNotThatOfTheSource)
{
    Vellum src = makeNoise(20, 10, QImage::Format_RGB32, Storage::Plain);
    src.setIccProfile("source");
    Vellum dst;
    dst.setIccProfile("result");
    ASSERT_TRUE(fast_scale_image(dst, src, QSize(3, 5), QRect(0, 0, 3, 5), false, QSize()));
    EXPECT_EQ(dst.getIccProfile(), "result");
}

TEST(SamplingSource, NothingBehindItsLastPixelIsRead)
{
    constexpr int kHeight = 20;
    for (const QImage::Format format :
         {QImage::Format_Grayscale8, QImage::Format_RGB16, QImage::Format_RGB888,
          QImage::Format_RGB32, QImage::Format_RGBA64}) {
        for (int width = 1; width <= 70; ++width) {
            const Vellum noise = makeNoise(width, kHeight, format, Storage::Plain);
            const int bytes = width * noise.depth() / 8;
            const GuardedBytes guarded(size_t(bytes) * kHeight);
            for (int y = 0; y < kHeight; ++y)
                std::memcpy(guarded.data() + y * bytes, noise.scanLineEx(y), size_t(bytes));
            const Vellum src(QImage(guarded.data(), width, kHeight, bytes, format));
            for (const int target : {(width + 1) / 2, width, 2 * width, 3 * width + 1}) {
                const QSize size(target, 2 * kHeight + 1);
                ASSERT_TRUE(sameRowBytes(sampled(src, size, whole(size)),
                                         sampledNaively(noise, size, whole(size))))
                    << width << " to " << target;
            }
        }
    }
}

class SamplingIncomplete : public testing::TestWithParam<QSize>
{
};

// 6 of 10 rows, and of each row 5 of 8 pixels and half of the next.
TEST_P(SamplingIncomplete, StoresAreReadAsFarAsTheyGo)
{
    Vellum src = makeUntouchable(8, 10, QImage::Format_RGB32);
    ASSERT_TRUE(src.alloc_buffer(22, 6));
    for (int y = 0; y < 6; ++y)
        std::memset(src.scanLineEx(y), 10 + y, 22);
    const ProgressLog log(src);

    const Vellum dst = sampled(src, QSize(16, 20), QRect(1, 2, 15, 18), GetParam());

    for (int y = 0; y < 18; ++y) {
        const int sy = (y + 2) / 2;
        for (int x = 0; x < 15; ++x) {
            const int sx = (x + 1) / 2;
            const quint32 expected = sy < 6 && sx < 5 ? uint(10 + sy) * 0x01010101U : 0;
            EXPECT_EQ(rawPixel(dst, x, y), expected) << x << ' ' << y;
        }
    }
    EXPECT_EQ(log.percentages.size(), 10U); // rows that are left out are not reported
}

INSTANTIATE_TEST_SUITE_P(References, SamplingIncomplete, testing::Values(QSize(), QSize(16, 20)));

} // namespace
