// "Stop" while a JPEG file is read: also before its first row.

#include <algorithm>
#include <support/jpegfile.h>
#include <support/polls.h>

using namespace vellum::test;

namespace {

QByteArray fileOf(int side, bool progressive, bool oneScanEach = false)
{
    JpegKind kind;
    kind.progressive = progressive;
    kind.oneScanEach = oneScanEach;
    return makeJpeg(photoSamples(side, side, 3), kind);
}

struct Reading
{
    bool succeeded;
    std::vector<int> percents;
};

Reading readPolled(const QByteArray &file, int side, Storage storage, size_t stopAt = size_t(-1))
{
    Vellum image = makeNoise(side, side, QImage::Format_RGB32, storage);
    Polls polls;
    polls.stopAt = stopAt;
    polls.attach(image);
    const bool succeeded = readInto(image, file);
    return {succeeded, polls.percents};
}

class JpegCancel : public testing::Test
{
protected:
    void SetUp() override { useOwnPlugins(); }
};

} // namespace

TEST_F(JpegCancel, RowsOfOneScanArePolledAndNothingElse)
{
    std::vector<int> expected;
    for (int y = 1; y <= 64; ++y)
        expected.push_back(y * 100 / 64);
    for (const Storage storage : kStorages) {
        const Reading reading = readPolled(fileOf(64, false), 64, storage);
        EXPECT_TRUE(reading.succeeded);
        EXPECT_EQ(reading.percents, expected);
    }
}

TEST_F(JpegCancel, ScansArePolledBeforeTheFirstRow)
{
    const int side = 640;
    for (const bool progressive : {false, true}) {
        const QByteArray file = fileOf(side, progressive, !progressive);
        for (const Storage storage : kStorages) {
            const Reading reading = readPolled(file, side, storage);
            EXPECT_TRUE(reading.succeeded);
            const size_t beforeRows = reading.percents.size() - size_t(side);
            // At least once in each row of blocks of each scan, of which there are several.
            EXPECT_GE(beforeRows, size_t(3 * side / 16));
            EXPECT_TRUE(std::is_sorted(reading.percents.begin(), reading.percents.end()));
            EXPECT_EQ(reading.percents[beforeRows - 1], 0);
            EXPECT_EQ(reading.percents.back(), 100);
        }
    }
}

TEST_F(JpegCancel, StopAmongScansEndsTheReadAtOnce)
{
    const int side = 640;
    const QByteArray file = fileOf(side, true);
    const size_t all = readPolled(file, side, Storage::Plain).percents.size();
    for (const Storage storage : kStorages) {
        for (const size_t stopAt :
             {size_t(0), size_t(1), size_t(100), all - side - 1, all - side, all - 1}) {
            const Reading reading = readPolled(file, side, storage, stopAt);
            EXPECT_FALSE(reading.succeeded) << stopAt;
            EXPECT_EQ(reading.percents.size(), stopAt + 1) << "asked again after it has said stop";
        }
    }
}

TEST_F(JpegCancel, OpeningSaysThatItWasCancelled)
{
    const QTemporaryDir folder;
    const QString path = store(folder, "large.jpg", fileOf(3000, true));
    for (const vellum::Storage storage : {vellum::Storage::Plain, vellum::Storage::Big}) {
        Vellum image;
        vellum::OpenOptions options;
        options.storage = storage;
        int polls = 0;
        options.progress = [&](int) { return ++polls < 5; };
        const vellum::OpenResult result = vellum::openImage(image, path, options);
        EXPECT_EQ(result.status, vellum::FileStatus::Cancelled);
        EXPECT_EQ(polls, 5);
        EXPECT_TRUE(image.isNull());
    }
}
