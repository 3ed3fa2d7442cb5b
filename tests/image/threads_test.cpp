// What the class promises about threads. ThreadSanitizer runs this suite too.

#include <atomic>
#include <cstring>
#include <functional>
#include <optional>
#include <support/images.h>
#include <support/process.h>
#include <thread>
#include <vector>

using namespace vellum::test;

namespace {

/// Whether a plain image may part from its data here: QImage does that, and as Qt is not built for
/// ThreadSanitizer, it does not see that the count of holders orders reading and freeing.
#ifdef __SANITIZE_THREAD__
constexpr bool kSeesQtCount = false;
#else
constexpr bool kSeesQtCount = true;
#endif

constexpr int kThreads = 8;
constexpr int kRounds = kSanitized ? 300 : 2000;
constexpr int kHeight = 37;
constexpr auto kFormat = QImage::Format_RGB32;

void inThreads(const std::function<void(int)> &work)
{
    std::vector<std::thread> threads;
    std::atomic<bool> go {false};
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&work, &go, i] {
            while (!go)
                std::this_thread::yield();
            work(i);
        });
    }
    go = true;
    for (std::thread &thread : threads)
        thread.join();
}

quint32 sumOfRow(const Vellum &image, int y)
{
    quint32 sum = 0;
    const uchar *const row = image.scanLineEx(y);
    for (int i = 0; row && i < image.bytesPerLine(); ++i)
        sum = sum * 31 + row[i];
    return sum;
}

class Threads : public testing::TestWithParam<Storage>
{
protected:
    Vellum noise() const { return makeNoise(53, kHeight, kFormat, GetParam()); }

    static std::vector<quint32> sums(const Vellum &image)
    {
        std::vector<quint32> sums;
        for (int y = 0; y < kHeight; ++y)
            sums.push_back(sumOfRow(image, y));
        return sums;
    }
};

TEST_P(Threads, ReadOneImage)
{
    const Vellum image = noise();
    const std::vector<quint32> expected = sums(image);
    std::atomic<int> wrong {0};

    inThreads([&](int thread) {
        for (int i = 0; i < kRounds; ++i) {
            const int y = (i + thread) % kHeight;
            wrong += sumOfRow(image, y) != expected[size_t(y)];
            wrong += image_constScanLine(&image, nullptr, y) != image.scanLineEx(y);
        }
    });

    EXPECT_EQ(wrong, 0);
}

TEST_P(Threads, WriteDifferentRowsOfOneImage)
{
    Vellum image = noise();
    inThreads([&image](int thread) {
        for (int y = thread; y < kHeight; y += kThreads)
            std::memset(image.scanLineEx(y), y, size_t(image.bytesPerLine()));
    });
    for (int y = 0; y < kHeight; ++y)
        EXPECT_EQ(image.scanLineEx(y)[211], y);
}

TEST_P(Threads, CopyAssignAndDestroyCopiesOfOneImage)
{
    const Vellum image = noise();
    const std::vector<quint32> expected = sums(image);
    std::atomic<int> wrong {0};

    inThreads([&](int thread) {
        Vellum own;
        for (int i = 0; i < kRounds; ++i) {
            const int y = (i + thread) % kHeight;
            const Vellum copy(image);
            wrong += sumOfRow(copy, y) != expected[size_t(y)];
            own = copy;
            wrong += sumOfRow(own, y) != expected[size_t(y)];
            if (i % 3 == 0)
                own = QImage();
            if (i % 5 == 0)
                own = Vellum();
        }
    });

    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(image.isDetached());
    EXPECT_EQ(sums(image), expected);
}

TEST_P(Threads, SetMetadataOfTheirOwnCopies)
{
    const Vellum image = noise();
    const std::vector<quint32> expected = sums(image);
    std::atomic<int> wrong {0};

    inThreads([&](int thread) {
        Vellum own = image;
        for (int i = 0; i < kRounds; ++i) {
            own.setText("key", QString::number(thread));
            own.setDotsPerMeterX(1000 + i);
            const Vellum copy(own);
            own.setDevicePixelRatio(1 + i % 2);
            wrong += copy.text("key") != QString::number(thread);
            wrong += copy.dotsPerMeterX() != 1000 + i;
            wrong += sumOfRow(own, i % kHeight) != expected[size_t(i % kHeight)];
            if (i % 7 == 0)
                own = image;
        }
    });

    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(image.text("key").isEmpty());
}

// The image that the threads copy is gone before they are done: any of them may be the last.
TEST_P(Threads, AnyOfThemMayHoldTheRowsLast)
{
    for (int round = 0; round < kRounds / 20; ++round) {
        std::vector<std::optional<Vellum>> images(kThreads);
        std::vector<quint32> expected;
        {
            const Vellum image = noise();
            expected = sums(image);
            for (std::optional<Vellum> &each : images)
                each.emplace(image);
        }
        const bool byAssignment = round % 2 != 0;
        std::atomic<int> wrong {0};
        inThreads([&](int thread) {
            std::optional<Vellum> &own = images[size_t(thread)];
            if (round % 3 == 0 && thread % 2 == 0 && (own->isBigImage() || kSeesQtCount))
                own->setText("key", "value");
            wrong += sumOfRow(*own, thread) != expected[size_t(thread)];
            if (own->isBigImage())
                own->scanLineEx(thread + 10)[0] ^= 0xff;
            if (byAssignment)
                *own = Vellum();
            else
                own.reset();
        });
        EXPECT_EQ(wrong, 0);
    }
}

TEST_P(Threads, ReallocateTheirOwnCopies)
{
    const Vellum image = noise();
    const std::vector<quint32> expected = sums(image);
    std::atomic<int> wrong {0};

    inThreads([&](int thread) {
        for (int i = 0; i < kRounds / 10; ++i) {
            Vellum own = image;
            wrong += !own.alloc_buffer(own.bytesPerLine(), kHeight);
            std::memset(own.scanLineEx(thread), thread, 4);
            wrong += sumOfRow(image, thread) != expected[size_t(thread)];
        }
    });

    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(sums(image), expected);
}

TEST(Threads, MakeBigImages)
{
    std::atomic<int> wrong {0};
    inThreads([&wrong](int thread) {
        for (int i = 0; i < kRounds / 10; ++i) {
            Vellum image;
            wrong += !Vellum::createBig(image, 20 + thread, 20, kFormat);
            image.fill(0x01020304U + uint(thread));
            wrong += image.scanLineEx(19)[0] != 4 + thread;
        }
    });
    EXPECT_EQ(wrong, 0);
}

INSTANTIATE_TEST_SUITE_P(Storages, Threads, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

} // namespace
