// The smooth scaler against the oracle, on every kind of axis, crop, stride and thread count.

#include <QThreadPool>

#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <random>
#include <scale/smoothoracle.h>
#include <support/images.h>
#include <support/messages.h>

using namespace vellum::test;

namespace {

// Sanitizers make the sweeps many times slower; the corners are in the coarse sweeps as well.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSlow = true;
#else
constexpr bool kSlow = false;
#endif

Vellum smooth(const Vellum &source, const QSize &size)
{
    return qSmoothScaleCropVellum(source, size, QRect(QPoint(0, 0), size));
}

/// Restores the size of the global pool.
class PoolSize
{
    Q_DISABLE_COPY(PoolSize)

public:
    explicit PoolSize(int threads) : m_before(QThreadPool::globalInstance()->maxThreadCount())
    {
        QThreadPool::globalInstance()->setMaxThreadCount(threads);
    }
    ~PoolSize() { QThreadPool::globalInstance()->setMaxThreadCount(m_before); }

private:
    int m_before;
};

// One of each family of kernels, and formats that share them.
const QImage::Format kFormats[] = {
    QImage::Format_RGB32,      QImage::Format_ARGB32,   QImage::Format_ARGB32_Premultiplied,
    QImage::Format_RGBA8888,   QImage::Format_RGBX64,   QImage::Format_RGBA64,
    QImage::Format_Grayscale8, QImage::Format_RGBX8888,
};
const QImage::Format kFamilies[] = {
    QImage::Format_RGB32,
    QImage::Format_ARGB32,
    QImage::Format_RGBA64,
    QImage::Format_Grayscale8,
};

using Param = std::tuple<QImage::Format, Storage>;

class Smooth : public testing::TestWithParam<Param>
{
};

class SmoothFamily : public testing::TestWithParam<Param>
{
};

// Every pair along one axis, with the other axis shrinking, staying and growing.
TEST_P(SmoothFamily, EverySmallPairOfSizesEqualsTheOracle)
{
    const auto [format, storage] = GetParam();
    const std::pair<int, int> across[] = {{1, 1}, {1, 3}, {7, 3}, {4, 2}, {5, 5}, {3, 8}};
    const int step = kSlow ? 3 : 1;
    for (const auto &[s2, d2] : across) {
        for (int s = 1; s <= 9; ++s) {
            const Vellum wide = makeNoise(s, s2, format, storage, unsigned(s));
            const Vellum high = makeNoise(s2, s, format, storage, unsigned(s));
            for (int d = 1; d <= 40; d += d < 10 ? 1 : step) {
                ASSERT_TRUE(samePixels(smooth(wide, {d, d2}), oracleScale(wide, {d, d2})))
                    << s << " x " << s2 << " to " << d << " x " << d2;
                ASSERT_TRUE(samePixels(smooth(high, {d2, d}), oracleScale(high, {d2, d})))
                    << s2 << " x " << s << " to " << d2 << " x " << d;
            }
        }
    }
}

// Few and many source pixels to a result pixel, in all remainders of four.
TEST_P(SmoothFamily, EveryWidthShrunkToAFewPixelsEqualsTheOracle)
{
    const auto [format, storage] = GetParam();
    for (int s = 10; s <= 150; s += kSlow ? 7 : 1) {
        const Vellum image = makeNoise(s, 5, format, storage, unsigned(s));
        for (const int d : {1, 2, 3, 5, 9}) {
            ASSERT_TRUE(samePixels(smooth(image, {d, 2}), oracleScale(image, {d, 2})))
                << s << " to " << d;
            ASSERT_TRUE(samePixels(smooth(image, {d, 11}), oracleScale(image, {d, 11})))
                << s << " to " << d << ", growing down";
        }
    }
}

TEST_P(SmoothFamily, EveryHeightShrunkToAFewPixelsEqualsTheOracle)
{
    const auto [format, storage] = GetParam();
    for (int s = 10; s <= 150; s += kSlow ? 7 : 1) {
        const Vellum image = makeNoise(7, s, format, storage, unsigned(s));
        for (const int d : {1, 2, 3, 5, 9}) {
            ASSERT_TRUE(samePixels(smooth(image, {3, d}), oracleScale(image, {3, d})))
                << s << " to " << d;
            ASSERT_TRUE(samePixels(smooth(image, {13, d}), oracleScale(image, {13, d})))
                << s << " to " << d << ", growing along";
        }
    }
}

TEST_P(Smooth, RandomSizesAndCropsEqualTheOracle)
{
    const auto [format, storage] = GetParam();
    std::mt19937 random(unsigned(format) * 2 + unsigned(storage == Storage::Big));
    const auto upTo = [&](int most) { return 1 + int(random() % unsigned(most)); };
    for (int i = 0; i < (kSlow ? 4 : 40); ++i) {
        // Long and thin more often than not, so that sums get long and the oracle stays fast.
        const int most = i % 4 == 0 ? 3000 : 300;
        const QSize from = i % 2 ? QSize(upTo(most), upTo(90)) : QSize(upTo(90), upTo(most));
        const QSize to(upTo(i % 3 ? 200 : 2500), upTo(i % 3 ? 200 : 60));
        const Vellum image = makeNoise(from.width(), from.height(), format, storage, random(),
                                       storage == Storage::Big ? int(random() % 3) * 4 : 0);
        const int x = int(random() % unsigned(to.width()));
        const int y = int(random() % unsigned(to.height()));
        const QRect crop(x, y, upTo(qMin(to.width() - x, 400)), upTo(qMin(to.height() - y, 60)));

        const Vellum result = qSmoothScaleCropVellum(image, to, crop);

        ASSERT_TRUE(samePixels(result, oracleScale(image, to, crop)))
            << from.width() << " x " << from.height() << " to " << to.width() << " x "
            << to.height() << " from " << crop.x() << ", " << crop.y() << " on";
    }
}

// Crops that start and end anywhere must not see other columns or rows than the whole does.
TEST_P(SmoothFamily, EveryCropEqualsThatPartOfTheWhole)
{
    const auto [format, storage] = GetParam();
    const Vellum image = makeNoise(23, 11, format, storage);
    for (const QSize &size :
         {QSize(9, 5), QSize(9, 17), QSize(31, 5), QSize(31, 17), QSize(2, 1)}) {
        const Vellum whole = smooth(image, size);
        for (int first = 0; first < size.width(); ++first) {
            for (int last = first; last < size.width(); last += kSlow ? 5 : 1) {
                const int y = first % size.height();
                const QRect crop(first, y, last - first + 1, 1 + last % (size.height() - y));
                ASSERT_TRUE(samePixels(qSmoothScaleCropVellum(image, size, crop), whole.copy(crop)))
                    << size.width() << " x " << size.height() << ", columns " << first << " to "
                    << last << ", row " << y;
            }
        }
    }
}

TEST_P(SmoothFamily, AnyNumberOfThreadsGivesTheSameBytes)
{
    const auto [format, storage] = GetParam();
    const Vellum image = makeNoise(1500, 420, format, storage);
    for (const QSize &size : {QSize(300, 401), QSize(1, 350), QSize(310, 419), QSize(1501, 411),
                              QSize(50, 500), QSize(1600, 430), QSize(750, 210)}) {
        Vellum onWorker; // as a worker of the pool, that is on one thread and in one piece
        struct Job : QRunnable
        {
            const Vellum &in;
            Vellum &out;
            QSize size;
            Job(const Vellum &from, Vellum &to, const QSize &s) : in(from), out(to), size(s) { }
            void run() override { out = smooth(in, size); }
        };
        QThreadPool::globalInstance()->start(new Job(image, onWorker, size));
        QThreadPool::globalInstance()->waitForDone();
        if (!kSlow) {
            ASSERT_TRUE(samePixels(onWorker, oracleScale(image, size)));
        }
        for (const int threads : {1, 2, 3, 8}) {
            const PoolSize pool(threads);
            ASSERT_TRUE(samePixels(smooth(image, size), onWorker))
                << threads << " threads, " << size.width() << " x " << size.height();
        }
    }
}

TEST_P(Smooth, OneColourStaysThatColour)
{
    const auto [format, storage] = GetParam();
    Vellum image = makeImage(61, 47, format, storage);
    image.fill(0xff8140feU);
    for (const QSize &size :
         {QSize(1, 1), QSize(7, 5), QSize(60, 46), QSize(61, 3), QSize(90, 99)}) {
        const Vellum result = smooth(image, size);
        Vellum expected(size.width(), size.height(), format);
        expected.fill(0xff8140feU);
        EXPECT_TRUE(samePixels(result, expected)) << size.width() << " x " << size.height();
    }
}

TEST_P(Smooth, KeepsTheFormatAndHasTheSizeOfTheCrop)
{
    const auto [format, storage] = GetParam();
    const Vellum image = makeNoise(30, 20, format, storage);
    const Vellum result = qSmoothScaleCropVellum(image, {10, 40}, {3, 5, 7, 11});
    EXPECT_EQ(result.format(), format);
    EXPECT_EQ(result.size(), QSize(7, 11));
    EXPECT_FALSE(result.isBigImage());
}

TEST_P(SmoothFamily, SizesAndRectanglesOutOfRangeGiveANullImage)
{
    const auto [format, storage] = GetParam();
    const Vellum image = makeNoise(8, 8, format, storage);
    const MessageLog log;
    constexpr int kMost = std::numeric_limits<int>::max();
    for (const QSize &size : {QSize(0, 4), QSize(4, 0), QSize(-4, 4), QSize(4, -4), QSize()})
        EXPECT_TRUE(qSmoothScaleCropVellum(image, size, {0, 0, 1, 1}).isNull());
    for (const QRect &rect :
         {QRect(), QRect(-1, 0, 2, 2), QRect(0, -1, 2, 2), QRect(3, 0, 2, 1), QRect(0, 3, 1, 2),
          QRect(4, 0, 1, 1), QRect(0, 0, 0, 3), QRect(0, 0, 5, 4), QRect(2, 2, -1, -1),
          QRect(QPoint(0, 0), QPoint(kMost, kMost)), QRect(QPoint(-kMost, 0), QPoint(kMost, 3))})
        EXPECT_TRUE(qSmoothScaleCropVellum(image, {4, 4}, rect).isNull());
    EXPECT_THAT(log.messages(), testing::IsEmpty());
}

const auto names = caseName;
INSTANTIATE_TEST_SUITE_P(Formats, Smooth,
                         testing::Combine(testing::ValuesIn(kFormats),
                                          testing::ValuesIn(kStorages)),
                         names);
INSTANTIATE_TEST_SUITE_P(Families, SmoothFamily,
                         testing::Combine(testing::ValuesIn(kFamilies),
                                          testing::ValuesIn(kStorages)),
                         names);

TEST(SmoothScale, NullSourceGivesANullImage)
{
    EXPECT_TRUE(qSmoothScaleCropVellum(Vellum(), {4, 4}, {0, 0, 4, 4}).isNull());
}

TEST(SmoothScale, ExactHalvesAreTruncatedMeansOfFour)
{
    const Vellum image = makeNoise(46, 30, QImage::Format_ARGB32, Storage::Plain);
    const Vellum result = smooth(image, {23, 15});
    for (int y = 0; y < 15; ++y) {
        for (int i = 0; i < 23 * 4; ++i) {
            const int at = i / 4 * 8 + i % 4;
            const uchar *const a = image.scanLineEx(2 * y) + at;
            const uchar *const b = image.scanLineEx(2 * y + 1) + at;
            ASSERT_EQ(result.scanLineEx(y)[i], (a[0] + a[4] + b[0] + b[4]) / 4)
                << "row " << y << ", byte " << i;
        }
    }
}

TEST(SmoothScale, OpaqueFormatsComeOutWithFullAlpha)
{
    for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_RGBX8888}) {
        const Vellum image = makeNoise(40, 30, format, Storage::Plain); // noise in the top byte
        for (const QSize &size : {QSize(7, 5), QSize(20, 15), QSize(7, 50), QSize(70, 5),
                                  QSize(41, 31), QSize(40, 30)}) {
            const Vellum result = smooth(image, size);
            for (int y = 0; y < size.height(); ++y) {
                for (int x = 0; x < size.width(); ++x)
                    ASSERT_EQ(result.scanLineEx(y)[4 * x + 3], 255) << x << ", " << y;
            }
        }
    }
}

TEST(SmoothScale, TheLastColumnAndRowAreNotBlendedWhenGrowing)
{
    for (const QImage::Format format :
         {QImage::Format_ARGB32, QImage::Format_RGBA64, QImage::Format_Grayscale8}) {
        const Vellum image = makeNoise(9, 6, format, Storage::Plain);
        const int bytes = image.depth() / 8;
        const Vellum result = smooth(image, {37, 25});
        EXPECT_EQ(0,
                  std::memcmp(result.scanLineEx(24) + 36 * bytes, image.scanLineEx(5) + 8 * bytes,
                              size_t(bytes)));
    }
}

TEST(SmoothScale, BigSourcesWithWiderRowsEqualPlainOnes)
{
    for (const QImage::Format format : kFamilies) {
        const Vellum big = makeNoise(301, 203, format, Storage::Big, 5, 36);
        const Vellum plain(toPlain(big));
        for (const QSize &size :
             {QSize(40, 30), QSize(150, 101), QSize(400, 20), QSize(20, 400), QSize(333, 222)})
            EXPECT_TRUE(samePixels(smooth(big, size), smooth(plain, size)));
    }
}

TEST(SmoothScale, StridesThatAreNoMultipleOfAPixelAreFollowed)
{
    for (const QImage::Format format : kFamilies) {
        for (const int extra : {1, 2, 3, 5}) {
            const Vellum noise = makeNoise(53, 37, format, Storage::Plain, unsigned(extra));
            const int rowBytes = noise.width() * noise.depth() / 8;
            std::vector<uchar> buffer(size_t((rowBytes + extra) * noise.height()));
            for (int y = 0; y < noise.height(); ++y) {
                std::memcpy(buffer.data() + y * (rowBytes + extra), noise.scanLineEx(y),
                            size_t(rowBytes));
            }
            const Vellum wrapped(QImage(buffer.data(), 53, 37, rowBytes + extra, format));
            for (const QSize &size : {QSize(10, 8), QSize(20, 60), QSize(70, 8), QSize(70, 60)})
                EXPECT_TRUE(samePixels(smooth(wrapped, size), oracleScale(noise, size)));
        }
    }
}

TEST(SmoothScale, TheByteBehindTheLastRowIsNotRead)
{
    // A heap block that ends with the last pixel: AddressSanitizer sees the first byte too many.
    for (const QImage::Format format : kFamilies) {
        for (int width = 1; width <= 20; ++width) {
            const Vellum noise = makeNoise(width, 3, format, Storage::Plain, unsigned(width));
            const int rowBytes = noise.width() * noise.depth() / 8;
            std::vector<uchar> buffer(size_t(rowBytes * 3));
            for (int y = 0; y < 3; ++y)
                std::memcpy(buffer.data() + y * rowBytes, noise.scanLineEx(y), size_t(rowBytes));
            const Vellum wrapped(QImage(buffer.data(), width, 3, rowBytes, format));
            for (int d = 1; d <= 24; ++d) {
                for (const int dh : {1, 3, 5}) {
                    ASSERT_TRUE(samePixels(smooth(wrapped, {d, dh}), oracleScale(noise, {d, dh})));
                }
            }
        }
    }
}

TEST(SmoothScale, AStoreWithoutTheNeededRowsGivesANullImage)
{
    Vellum shorter = makeUntouchable(40, 30, QImage::Format_ARGB32);
    ASSERT_TRUE(shorter.alloc_buffer(shorter.bytesPerLine(), 29));
    shorter.fill(0U);
    EXPECT_TRUE(smooth(shorter, {10, 7}).isNull());
    EXPECT_TRUE(smooth(shorter, {80, 60}).isNull());

    Vellum narrower = makeUntouchable(40, 30, QImage::Format_ARGB32);
    ASSERT_TRUE(narrower.alloc_buffer(narrower.bytesPerLine() - 4, 30));
    narrower.fill(0U);
    EXPECT_TRUE(smooth(narrower, {10, 7}).isNull());
}

TEST(SmoothScale, AResultThatCannotBeHadWarnsAndIsNull)
{
    const Vellum image = makeNoise(2, 2, QImage::Format_RGBA64, Storage::Plain);
    const MessageLog log;
    const QRect row(0, 0, 34'000'000, 1); // more bits than QImage can count
    const Vellum result = qSmoothScaleCropVellum(image, row.size(), row);
    EXPECT_TRUE(result.isNull());
    EXPECT_EQ(log.messages(), QStringList("QImage: out of memory, returning null"));
}

// From 65,536 pixels on the positions, and from 131,072 on the weights, need more than 32 bits.
TEST(SmoothScale, VeryWideAndVeryHighAxesEqualTheOracle)
{
    for (const QImage::Format format : {QImage::Format_Grayscale8, QImage::Format_RGB32}) {
        for (const int s : {65535, 65536, 70001, 140000, 300000}) {
            const Vellum wide = makeNoise(s, 2, format, Storage::Plain);
            const Vellum high = makeNoise(2, s, format, Storage::Big);
            for (const int d : {1, 17, s / 2, s - 1, s, s + 1, 2 * s + 3}) {
                const QRect atEnd(qMax(0, d - 50), 0, qMin(d, 50), 1);
                ASSERT_TRUE(samePixels(qSmoothScaleCropVellum(wide, {d, 1}, atEnd),
                                       oracleScale(wide, {d, 1}, atEnd)))
                    << s << " wide to " << d;
                const QRect atFoot(0, qMax(0, d - 50), 3, qMin(d, 50));
                ASSERT_TRUE(samePixels(qSmoothScaleCropVellum(high, {3, d}, atFoot),
                                       oracleScale(high, {3, d}, atFoot)))
                    << s << " high to " << d;
            }
        }
    }
}

} // namespace
