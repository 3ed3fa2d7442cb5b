// Rows on their way into a file: in order, some ahead, the same on any number of threads.

#include <vellum/vellum.h>

#include <QRunnable>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <shared/pixelrows.h>
#include <shared/source.h>
#include <support/images.h>
#include <support/polls.h>
#include <support/profiles.h>
#include <vector>

using namespace vellum::test;
using vellum::plugin::Encoding;
using vellum::plugin::WriteSource;

namespace {

constexpr int kAhead = WriteSource::kMostRowsAhead;
constexpr Encoding kEncodings[] = {Encoding::Gray8, Encoding::Gray16, Encoding::Rgb8,
                                   Encoding::Rgba8, Encoding::Rgb16,  Encoding::Rgba16,
                                   Encoding::Cmyk8};

int bitsOf(Encoding encoding)
{
    switch (encoding) {
    case Encoding::Gray8:
        return 8;
    case Encoding::Gray16:
        return 16;
    case Encoding::Rgb8:
        return 24;
    case Encoding::Rgb16:
        return 48;
    case Encoding::Rgba16:
        return 64;
    default:
        return 32;
    }
}

using Rows = std::vector<std::vector<uchar>>;

/// All rows from the top, or from the bottom; those before the first that is null.
Rows rowsOf(const Vellum &image, Encoding encoding, bool fromBelow = false)
{
    WriteSource source(image);
    Rows rows;
    if (!source.prepare(encoding, true))
        return rows;
    const auto bytes = vellum::plugin::rowBytes(image.width(), bitsOf(encoding));
    for (int i = 0; i < image.height(); ++i) {
        const uchar *const row =
            fromBelow ? source.rowFromBelow(image.height() - 1 - i) : source.row(i);
        if (!row)
            break;
        rows.emplace_back(row, row + bytes);
    }
    return rows;
}

/// Row \a y of an image that has no other.
std::vector<uchar> rowAlone(const Vellum &image, int y, Encoding encoding)
{
    Vellum single;
    if (!Vellum::create(single, image.width(), 1, image.format()))
        return {};
    std::copy_n(image.scanLineEx(y), image.storedBytesPerLine(), single.scanLineEx(0));
    single.setIccProfile(image.getIccProfile());
    if (encoding == Encoding::Cmyk8)
        single.rePrepareSaveCmyk(single.format());
    const Rows rows = rowsOf(single, encoding);
    return rows.empty() ? std::vector<uchar>() : rows.front();
}

Vellum makeSource(int width, int height, QImage::Format format, Storage storage, Encoding encoding)
{
    Vellum image = makeNoise(width, height, format, storage);
    image.setIccProfile(matrixProfile());
    if (encoding == Encoding::Cmyk8)
        image.rePrepareSaveCmyk(format);
    return image;
}

/// The global pool with another number of threads, for the time being.
class PoolSize
{
    Q_DISABLE_COPY(PoolSize)

public:
    explicit PoolSize(int threads) : m_before(pool().maxThreadCount())
    {
        pool().setMaxThreadCount(threads);
    }
    ~PoolSize() { pool().setMaxThreadCount(m_before); }

private:
    static QThreadPool &pool() { return *QThreadPool::globalInstance(); }
    int m_before;
};

/// Something to do on a thread of the global pool.
class Job : public QRunnable
{
public:
    static void start(const std::function<void()> &work)
    {
        const std::lock_guard lock(making);
        QThreadPool::globalInstance()->start(new Job(work));
    }

    void run() override
    {
        {
            // That Qt orders the making before the running is nothing that a ThreadSanitizer sees.
            const std::lock_guard made(making);
        }
        m_work();
    }

private:
    explicit Job(std::function<void()> work) : m_work(std::move(work)) { }

    static std::mutex making;
    std::function<void()> m_work;
};

std::mutex Job::making;

/// Overwrites rows as soon as they are as far behind the one asked for as rows are kept.
struct Forgetful
{
    Vellum *image;
    bool fromBelow;

    static bool onProgress(void *self, int, void *)
    {
        auto &forgetful = *static_cast<Forgetful *>(self);
        const int gone = forgetful.asked++ - kAhead;
        if (gone >= 0) {
            const int y = forgetful.fromBelow ? forgetful.image->height() - 1 - gone : gone;
            std::fill_n(forgetful.image->scanLineEx(y), forgetful.image->storedBytesPerLine(),
                        uchar(0));
        }
        return true;
    }
    int asked = 0;
};

} // namespace

TEST(WriteSource, RowsDoNotDependOnThoseAroundThem)
{
    for (const Storage storage : kStorages) {
        for (const auto format : {QImage::Format_RGB32, QImage::Format_ARGB32,
                                  QImage::Format_RGB888, QImage::Format_RGBA64}) {
            for (const Encoding encoding : kEncodings) {
                const Vellum image = makeSource(61, 130, format, storage, encoding);
                const Rows rows = rowsOf(image, encoding);
                ASSERT_EQ(rows.size(), 130U);
                for (const int y : {0, 1, kAhead - 1, kAhead, 129}) {
                    EXPECT_EQ(rows[size_t(y)], rowAlone(image, y, encoding))
                        << "format " << format << ", encoding " << int(encoding);
                }
            }
        }
    }
}

TEST(WriteSource, RowsAreTheSameOnAnyNumberOfThreads)
{
    for (const Encoding encoding : kEncodings) {
        const Vellum image = makeSource(20000, 70, QImage::Format_ARGB32, Storage::Big, encoding);
        const auto rowsOn = [&](int threads) {
            const PoolSize size(threads);
            return rowsOf(image, encoding);
        };
        const Rows rows = rowsOn(1);
        ASSERT_EQ(rows.size(), 70U);
        EXPECT_EQ(rowsOn(2), rows);
        EXPECT_EQ(rowsOn(7), rows);
    }
}

TEST(WriteSource, RowsFromBelowAreTheSameRows)
{
    for (const int width : {5, 3000}) {
        for (const Encoding encoding : kEncodings) {
            const Vellum image =
                makeSource(width, 203, QImage::Format_RGB32, Storage::Big, encoding);
            Rows rows = rowsOf(image, encoding, true);
            std::reverse(rows.begin(), rows.end());
            EXPECT_EQ(rows, rowsOf(image, encoding));
        }
    }
}

TEST(WriteSource, FetchesRowsOnceInOrderAndFewAhead)
{
    for (const Storage storage : kStorages) {
        for (const int width : {5, 9000, 300000}) {
            Vellum image = makeImage(width, 100, QImage::Format_RGB32, storage);
            image.fill(Qt::red);
            WriteSource source(image);
            ASSERT_TRUE(source.prepare(Encoding::Rgb8, true));
            Polls polls;
            polls.attach(image);
            for (int y = 0; y < 100; ++y) {
                ASSERT_NE(source.row(y), nullptr);
                EXPECT_GT(int(polls.percents.size()), y);
                EXPECT_LE(int(polls.percents.size()), y + kAhead);
            }
            std::vector<int> expected;
            for (int percent = 1; percent <= 100; ++percent)
                expected.push_back(percent);
            EXPECT_EQ(polls.percents, expected);
        }
    }
}

TEST(WriteSource, RowsMayBeForgottenThatFarBehindTheLastOneFetched)
{
    for (const bool fromBelow : {false, true}) {
        for (const int width : {5, 5000}) {
            Vellum image =
                makeSource(width, 300, QImage::Format_RGB32, Storage::Big, Encoding::Rgb8);
            const Rows whole = rowsOf(image, Encoding::Rgb8, fromBelow);
            Forgetful forgetful {&image, fromBelow};
            image.setCallback(Forgetful::onProgress, &forgetful, 0, 1.0);
            EXPECT_EQ(rowsOf(image, Encoding::Rgb8, fromBelow), whole);
        }
    }
}

TEST(WriteSource, StopsAtTheRowAtWhichItIsToldTo)
{
    Vellum image = makeSource(50, 200, QImage::Format_RGB32, Storage::Plain, Encoding::Rgb8);
    for (const size_t stop : {0U, 1U, 63U, 64U, 150U, 199U}) {
        Polls polls;
        polls.stopAt = stop;
        polls.attach(image);
        EXPECT_LE(rowsOf(image, Encoding::Rgb8).size(), stop);
        EXPECT_EQ(polls.percents.size(), stop + 1);
    }
}

TEST(WriteSource, WorksOnAThreadOfAPoolThatIsBusy)
{
    const PoolSize size(2);
    const Vellum image =
        makeSource(20000, 40, QImage::Format_ARGB32, Storage::Big, Encoding::Cmyk8);
    const Rows expected = rowsOf(image, Encoding::Cmyk8);
    std::atomic<int> same {0};
    for (int i = 0; i < 4; ++i) {
        Job::start([&] {
            if (rowsOf(image, Encoding::Cmyk8) == expected)
                ++same;
        });
    }
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_EQ(same, 4);
}
