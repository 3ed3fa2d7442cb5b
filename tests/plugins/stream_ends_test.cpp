// How pictures that flow from file to file come to an end: damage, cancelling, full disks.

#include <QBuffer>
#include <QFile>

#include <atomic>
#include <stdexcept>
#include <support/devices.h>
#include <support/streaming.h>
#include <thread>

using namespace vellum;
using namespace vellum::test;

namespace {

constexpr int kWidth = 45;
constexpr int kHeight = 301;

class StreamEnds : public StreamTest
{
protected:
    QString source(const char *suffix = "png") const
    {
        return save(QStringLiteral("source.") + QLatin1String(suffix),
                    makePicture(kWidth, kHeight, QImage::Format_RGB32));
    }

    static Wishes wishes(const char *format = "png")
    {
        Wishes wishes;
        wishes.save.format = format;
        return inSmallWindow(wishes, kWidth);
    }

    static StreamResult streamedInto(QIODevice &device, const QString &file, const Wishes &wishes)
    {
        PictureFile picture(file);
        return streamPicture(picture, wishes.open, device, wishes.save, wishes.conversion);
    }
};

/// Kinds of file, and kinds into which they flow.
class DamagedFiles : public StreamEnds,
                     public testing::WithParamInterface<std::pair<const char *, const char *>>
{
protected:
    QByteArray whole() const
    {
        SaveOptions options;
        if (isTiff())
            options.subType = "lzw";
        QFile file(save(QStringLiteral("source.") + QLatin1String(GetParam().first),
                        makePicture(kWidth, kHeight, QImage::Format_RGB32), options));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    /// A file that goes wrong after \a percent of \a whole.
    QString damaged(QByteArray whole, int percent) const
    {
        const int at = int(qint64(whole.size()) * percent / 100);
        if (isTiff()) // what says where the pixels are stands behind them
            whole.replace(at, qMin(300, whole.size() - 2000 - at), QByteArray(300, '\xff'));
        else
            whole.truncate(at);
        return store(QStringLiteral("damaged.") + QLatin1String(GetParam().first), whole);
    }

private:
    static bool isTiff() { return GetParam().first == std::string("tif"); }
};

INSTANTIATE_TEST_SUITE_P(Kinds, DamagedFiles,
                         testing::Values(std::pair("png", "tif"), std::pair("jpg", "png"),
                                         std::pair("tif", "png"), std::pair("bmp", "bmp"),
                                         std::pair("ppm", "jpg")),
                         [](const auto &kind) { return std::string(kind.param.first); });

} // namespace

TEST_P(DamagedFiles, WhatCameIsWrittenWhenItIsToBeKept)
{
    const QByteArray bytes = whole();
    for (const int percent : {10, 30, 50, 75, 90}) {
        const QString file = damaged(bytes, percent);
        Wishes asked;
        asked.save.format = GetParam().second;
        asked.open.keepDamaged = true;
        EXPECT_TRUE(streamsAlike(file, asked)) << percent;
        asked.open.size = {20, 140};
        EXPECT_TRUE(streamsAlike(file, asked)) << percent;
        asked.open.size = {};
        asked.open.region = {3, 5, 38, 290};
        EXPECT_TRUE(streamsAlike(file, asked)) << percent;
        asked.conversion = [](const Vellum &strip) {
            return converted(strip, QImage::Format_Grayscale8);
        };
        EXPECT_TRUE(streamsAlike(file, asked)) << percent;
    }
}

TEST_P(DamagedFiles, OthersFailAsTheyDoTheOtherWay)
{
    const QByteArray bytes = whole();
    for (const int percent : {10, 50, 90}) {
        const QString file = damaged(bytes, percent);
        const Wishes asked = wishes(GetParam().second);
        const OpenResult expected = copiedWhole(file, asked).opened;
        ASSERT_EQ(expected.status, FileStatus::Damaged);

        const StreamResult result = streamed(file, asked).result;

        EXPECT_EQ(result.outcome, StreamResult::ReadingFailed);
        EXPECT_EQ(result.opened.status, expected.status);
        EXPECT_EQ(result.opened.message, expected.message);
        EXPECT_EQ(result.opened.rowsRead, expected.rowsRead);
        EXPECT_FALSE(result.saved);
    }
}

TEST_F(StreamEnds, FullDisksEndBothSides)
{
    const QString file = source();
    for (const char *const format : {"png", "tif", "jpg", "ppm"}) {
        const int bytes = copiedWhole(file, wishes(format)).file.size();
        for (const int room : {0, 1, 100, bytes / 2, bytes - 1}) {
            LimitedDevice device(room);
            const StreamResult result = streamedInto(device, file, wishes(format));
            EXPECT_EQ(result.outcome, StreamResult::WritingFailed) << format << ' ' << room;
            EXPECT_EQ(result.saved.status, FileStatus::NotWritten);
            EXPECT_FALSE(result.saved.message.isEmpty());
        }
    }
}

TEST_F(StreamEnds, DevicesThatAreNotOpenAreNoPlaceToStreamTo)
{
    QBuffer buffer;
    EXPECT_EQ(streamedInto(buffer, source(), wishes()).outcome, StreamResult::NotPossible);
}

TEST_F(StreamEnds, ReadingCanBeCancelledAtAnyMoment)
{
    const QString file = source();
    for (const int last : {0, 1, 10, 50, 99, 100}) {
        Wishes asked = wishes();
        int calls = 0;
        asked.open.progress = [&](int percent) {
            ++calls;
            return percent < last;
        };
        const StreamResult result = streamed(file, asked).result;
        EXPECT_EQ(result.outcome, StreamResult::ReadingFailed) << last;
        EXPECT_EQ(result.opened.status, FileStatus::Cancelled) << last;
        EXPECT_GT(calls, 0);
    }
}

TEST_F(StreamEnds, WritingCanBeCancelledAtAnyMoment)
{
    const QString file = source();
    for (const int last : {0, 1, 10, 50, 99, 100}) {
        Wishes asked = wishes();
        asked.save.progress = [last](int percent) { return percent < last; };
        const StreamResult result = streamed(file, asked).result;
        EXPECT_EQ(result.outcome, StreamResult::WritingFailed) << last;
        EXPECT_EQ(result.saved.status, FileStatus::Cancelled) << last;
    }
}

TEST_F(StreamEnds, FlagsThatAreSetBeforehandCancel)
{
    const QString file = source();
    const std::atomic<bool> cancel {true};
    Wishes asked = wishes();
    asked.open.cancel = &cancel;
    EXPECT_EQ(streamed(file, asked).result.outcome, StreamResult::ReadingFailed);
    asked = wishes();
    asked.save.cancel = &cancel;
    EXPECT_EQ(streamed(file, asked).result.saved.status, FileStatus::Cancelled);
}

TEST_F(StreamEnds, FlagsThatAnotherThreadSetsCancel)
{
    const QString file =
        save(QStringLiteral("source.png"), makePicture(300, 2000, QImage::Format_RGB32));
    for (const bool reading : {true, false}) {
        std::atomic<bool> cancel {false};
        std::atomic<bool> begun {false};
        Wishes asked = inSmallWindow(wishes(), 300);
        (reading ? asked.open.cancel : asked.save.cancel) = &cancel;
        asked.save.progress = [&](int) {
            if (!begun.exchange(true))
                std::thread([&] { cancel = true; }).join();
            return true;
        };
        const StreamResult result = streamed(file, asked).result;
        EXPECT_EQ(result.outcome,
                  reading ? StreamResult::ReadingFailed : StreamResult::WritingFailed);
        EXPECT_EQ(reading ? result.opened.status : result.saved.status, FileStatus::Cancelled);
    }
}

TEST_F(StreamEnds, ProgressOfBothSidesNeverFallsAndEndsAtAllOnTheCallingThread)
{
    Wishes asked = wishes();
    std::vector<int> read;
    std::vector<int> written;
    const auto here = std::this_thread::get_id();
    bool elsewhere = false;
    asked.open.progress = [&](int percent) {
        elsewhere = elsewhere || std::this_thread::get_id() != here;
        read.push_back(percent);
        return true;
    };
    asked.save.progress = [&](int percent) {
        elsewhere = elsewhere || std::this_thread::get_id() != here;
        written.push_back(percent);
        return true;
    };
    ASSERT_TRUE(streamed(source(), asked).result);
    EXPECT_FALSE(elsewhere);
    for (const auto &percents : {read, written}) {
        EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
        ASSERT_FALSE(percents.empty());
        EXPECT_EQ(percents.back(), 100);
    }
}

TEST_F(StreamEnds, WhatCallbacksThrowPassesThrough)
{
    const QString file = source();
    const auto fail = [](int percent) {
        if (percent >= 40)
            throw std::runtime_error("enough");
        return true;
    };
    Wishes asked = wishes("ppm");
    asked.open.progress = fail;
    EXPECT_THROW(static_cast<void>(streamed(file, asked)), std::runtime_error);
    asked = wishes("ppm");
    asked.save.progress = fail;
    EXPECT_THROW(static_cast<void>(streamed(file, asked)), std::runtime_error);
    asked = wishes("ppm");
    asked.conversion = [](const Vellum &) -> Vellum { throw std::runtime_error("enough"); };
    EXPECT_THROW(static_cast<void>(streamed(file, asked)), std::runtime_error);
}

TEST_F(StreamEnds, ConversionsThatGiveNothingThatFitsFail)
{
    const QString file = source();
    const auto outcome = [&](RowConversion conversion) {
        Wishes asked = wishes();
        asked.conversion = std::move(conversion);
        const StreamResult result = streamed(file, asked).result;
        EXPECT_EQ(result.saved.status, FileStatus::NotWritten);
        return result.outcome;
    };
    EXPECT_EQ(outcome([](const Vellum &) { return Vellum(); }), StreamResult::WritingFailed);
    EXPECT_EQ(outcome([](const Vellum &strip) { return strip.copyEx(0, 0, 5, strip.height()); }),
              StreamResult::WritingFailed);
    int strips = 0;
    EXPECT_EQ(outcome([&](const Vellum &strip) {
                  return ++strips < 3 ? strip : converted(strip, QImage::Format_Grayscale8);
              }),
              StreamResult::WritingFailed);
    EXPECT_EQ(strips, 3);
    strips = 0;
    EXPECT_EQ(outcome([&](const Vellum &strip) { return ++strips < 3 ? strip : Vellum(); }),
              StreamResult::WritingFailed);
}

TEST_F(StreamEnds, ColoursThatCannotBeConvertedFail)
{
    Wishes asked = wishes("tif");
    asked.save.profile = "no profile";
    const StreamResult result = streamed(source(), asked).result;
    EXPECT_EQ(result.outcome, StreamResult::WritingFailed);
    EXPECT_EQ(result.saved.message, copiedWhole(source(), asked).saved.message);
}
