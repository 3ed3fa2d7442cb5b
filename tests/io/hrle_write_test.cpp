#include <QBuffer>
#include <QDataStream>
#include <QDir>
#include <QTemporaryDir>
#include <private/qimage_p.h>

#include <gtest/gtest.h>

#include <cstring>
#include <support/devices.h>
#include <support/hrle.h>
#include <support/images.h>
#include <support/messages.h>
#include <support/polls.h>
#include <sys/resource.h>

using namespace vellum::test;

namespace {

class HrleWrite : public testing::TestWithParam<Storage>
{
protected:
    const MessageLog m_log; // the writer logs every encoding
};

INSTANTIATE_TEST_SUITE_P(Storages, HrleWrite, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

constexpr auto kGrey = QImage::Format_Grayscale8;

Vellum makeFlat(int w, int h, uchar value, Storage storage)
{
    Vellum image = makeImage(w, h, kGrey, storage);
    image.fill(value);
    image.setDotsPerMeterX(2834);
    image.setDotsPerMeterY(2834);
    return image;
}

/// Long runs and equal neighbouring rows: an image that fits a tenth of its pixels.
Vellum makeRuns(Storage storage, int extraStride = 0)
{
    Vellum image = makeImage(2003, 9, kGrey, storage, extraStride);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.bytesPerLine(); ++x)
            image.scanLineEx(y)[x] = uchar((x / 151) * 37 + y / 3);
    }
    return image;
}

struct Written
{
    bool result;
    QByteArray bytes;
};

Written write(const Vellum &image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    const bool result = HrleHandler().writeStream(stream, image);
    return {result, buffer.data()};
}

TEST_P(HrleWrite, FlatImageIsOneRunAndOneRepeatCount)
{
    const Vellum image = makeFlat(100, 10, 0x5a, GetParam());

    const Written file = write(image);

    EXPECT_TRUE(file.result);
    ASSERT_EQ(file.bytes.size(), 70);
    // By hand: sizes 1054 = 0x41e and 1000 = 0x3e8, resolution 2834 = 0xb12.
    EXPECT_EQ(file.bytes.toHex(' '),
              "42 4d 1e 04 00 00 00 00 00 00 36 00 00 00 "
              "28 00 00 00 64 00 00 00 0a 00 00 00 01 00 08 00 01 00 00 00 e8 03 00 00 "
              "12 0b 00 00 12 0b 00 00 00 00 00 00 00 00 00 00 "
              "0c 00 00 00 64 00 00 5a 00 00 00 00 0a 00 00 00");
}

TEST_P(HrleWrite, TinyImageIsRawRowsFromTheLastOne)
{
    Vellum image = makeFlat(2, 2, 0, GetParam());
    std::memcpy(image.scanLineEx(0), "abcd", 4);
    std::memcpy(image.scanLineEx(1), "efgh", 4);

    const Written file = write(image);

    EXPECT_TRUE(file.result);
    EXPECT_EQ(file.bytes, HrleFields(2, 2, 0).bytes() + "efghabcd");
}

TEST_P(HrleWrite, NoiseIsRawRowsWithTheirPadding)
{
    const Vellum image = makeNoise(67, 31, kGrey, GetParam());

    const Written file = write(image);

    EXPECT_TRUE(file.result);
    EXPECT_EQ(file.bytes, expectedFile(image));
    EXPECT_EQ(file.bytes.size(), 54 + 68 * 31);
}

TEST_P(HrleWrite, RunsAndEqualRowsAreEncoded)
{
    const Vellum image = makeRuns(GetParam());

    const Written file = write(image);

    EXPECT_TRUE(file.result);
    EXPECT_EQ(file.bytes, expectedFile(image));
    EXPECT_LT(file.bytes.size(), 2003 * 9 / 10);
}

// Every length around the vectors and words that run detection compares, at every offset.
TEST_P(HrleWrite, RunsOfEveryLengthEndWhereTheyEnd)
{
    for (int length = 1; length <= 300; ++length) {
        Vellum image = makeFlat(length + 3000, 2, 0xfe, GetParam());
        std::memset(image.scanLineEx(1) + length % 61, 0xff, size_t(length));
        EXPECT_EQ(write(image).bytes, expectedFile(image)) << length;
    }
}

// The buffer is a tenth of the pixels, and its last 16 bytes stay unused.
TEST_P(HrleWrite, ChoiceBetweenRawAndEncodedIsExact)
{
    int encoded = 0;
    int raw = 0;
    for (int width = 230; width <= 330; ++width) {
        Vellum image = makeFlat(width, 1, 7, GetParam());
        const Written file = write(image);
        EXPECT_TRUE(file.result);
        EXPECT_EQ(file.bytes, expectedFile(image)) << width;
        ++(file.bytes[30] == 1 ? encoded : raw);
    }
    EXPECT_GT(encoded, 0);
    EXPECT_GT(raw, 0);
}

TEST_P(HrleWrite, EncodedSizeIsLogged)
{
    const MessageLog log;

    write(makeFlat(100, 10, 1, GetParam()));
    write(makeFlat(2, 2, 1, GetParam()));

    EXPECT_EQ(log.messages(), QStringList({"Rle_Encode size= 12", "Rle_Encode size= -1"}));
}

TEST_P(HrleWrite, ResolutionIsKept)
{
    Vellum image = makeNoise(5, 3, kGrey, GetParam());
    image.setDotsPerMeterX(11811);
    image.setDotsPerMeterY(-3);

    EXPECT_EQ(write(image).bytes, naiveFile(5, rowsOf(image), 11811, -3));
}

TEST_P(HrleWrite, ResolutionOfZeroIsWrittenAs2834)
{
    Vellum image = makeNoise(5, 3, kGrey, GetParam());
    image.data_ptr()->dpmx = 0; // the setters ignore 0
    image.data_ptr()->dpmy = 0.4;
    ASSERT_EQ(image.dotsPerMeterY(), 0);

    EXPECT_EQ(write(image).bytes, naiveFile(5, rowsOf(image), 2834, 2834));
}

TEST_P(HrleWrite, EveryFormatOfEightBitsIsWritten)
{
    for (const auto format :
         {QImage::Format_Indexed8, QImage::Format_Alpha8, QImage::Format_Grayscale8}) {
        const Vellum image = makeNoise(9, 4, format, GetParam());
        EXPECT_EQ(write(image).bytes, expectedFile(image)) << format;
    }
}

TEST_P(HrleWrite, OtherDepthsAreTheFileHeaderOnly)
{
    for (const QImage::Format format : allFormats()) {
        const Vellum image = makeNoise(10, 7, format, GetParam());
        if (image.depth() == 8)
            continue;
        HrleFields fields;
        fields.fileSize = quint32(image.bytesPerLine() * 7 + 54);
        const Written file = write(image);
        EXPECT_TRUE(file.result) << format;
        EXPECT_EQ(file.bytes, fields.bytes().left(14)) << format;
    }
}

TEST(HrleWriteOnce, NullImageIsTheFileHeaderOnly)
{
    HrleFields fields;
    fields.fileSize = 54;

    const Written file = write(Vellum());

    EXPECT_TRUE(file.result);
    EXPECT_EQ(file.bytes, fields.bytes().left(14));
}

TEST(HrleWriteOnce, WiderStoreIsWrittenWithTheImagesStride)
{
    const MessageLog log;
    const Vellum runs = makeRuns(Storage::Big, 52);
    const Vellum noise = makeNoise(21, 5, kGrey, Storage::Big, 1, 7);

    EXPECT_EQ(write(runs).bytes, expectedFile(runs));
    EXPECT_EQ(write(noise).bytes, expectedFile(noise));
}

TEST(HrleWriteOnce, BytesThatTheStoreLacksAreZero)
{
    const MessageLog log;
    for (const bool compressible : {false, true}) {
        Vellum image = makeUntouchable(2000, 30, kGrey);
        ASSERT_TRUE(image.alloc_buffer(1900, 30));
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 1900; ++x)
                image.scanLineEx(y)[x] = uchar(compressible ? 1 + x / 400 + y / 4 : x * y + 1);
        }

        const Written file = write(image);

        EXPECT_EQ(rowsOf(image)[3].right(101).count('\0'), 100);
        EXPECT_TRUE(file.result);
        EXPECT_EQ(file.bytes[30], compressible ? 1 : 0);
        EXPECT_EQ(file.bytes, expectedFile(image));
    }
}

TEST(HrleWriteOnce, MissingRowFailsWithoutRawRows)
{
    const MessageLog log;
    Vellum image = makeUntouchable(100, 30, kGrey);
    ASSERT_TRUE(image.alloc_buffer(100, 20));
    image.fill(1U);

    const Written file = write(image);

    EXPECT_FALSE(file.result);
    EXPECT_EQ(file.bytes.size(), 14);
    EXPECT_TRUE(log.messages().isEmpty());
}

// 65536 x 32768 is 2^31: the 32-bit product is negative. The rows are never reached.
TEST(HrleWriteOnce, PixelCountBeyondAnIntFailsAfterTheFileHeader)
{
    const MessageLog log;
    const Vellum image = makeUntouchable(65536, 32768, kGrey);
    ASSERT_FALSE(image.isNull());

    const Written file = write(image);

    EXPECT_FALSE(file.result);
    EXPECT_EQ(file.bytes.size(), 14);
    EXPECT_TRUE(log.messages().isEmpty());
}

TEST_P(HrleWrite, EncodingPollsEveryRowOnceDownwards)
{
    Vellum image = makeRuns(GetParam());
    Polls polls;
    polls.attach(image);

    EXPECT_TRUE(write(image).result);

    EXPECT_EQ(polls.percents, std::vector<int>({11, 22, 33, 44, 55, 66, 77, 88, 100}));
}

// 400 x 4 bytes: the second row of noise no longer fits, and writing starts again at the bottom.
TEST_P(HrleWrite, RawRowsArePolledAfterTheRowsTried)
{
    Vellum image = makeNoise(400, 4, kGrey, GetParam());
    std::memset(image.scanLineEx(0), 1, 400);
    Polls polls;
    polls.attach(image);

    EXPECT_TRUE(write(image).result);

    EXPECT_EQ(polls.percents, std::vector<int>({25, 50, 25, 50, 75, 100}));
}

TEST_P(HrleWrite, CancelWhileEncodingLeavesTheFileHeader)
{
    for (size_t stopAt = 0; stopAt < 9; ++stopAt) {
        const MessageLog log;
        Vellum image = makeRuns(GetParam());
        Polls polls;
        polls.stopAt = stopAt;
        polls.attach(image);

        const Written file = write(image);

        EXPECT_FALSE(file.result) << stopAt;
        EXPECT_EQ(polls.percents.size(), stopAt + 1);
        EXPECT_EQ(file.bytes.size(), 14) << stopAt;
        EXPECT_TRUE(log.messages().isEmpty());
    }
}

TEST_P(HrleWrite, CancelWhileWritingRawRowsFails)
{
    for (int row = 0; row < 5; ++row) {
        Vellum image = makeNoise(100, 5, kGrey, GetParam());
        Polls polls;
        polls.stopAt = size_t(1 + row); // the first poll is the encoder's
        polls.attach(image);

        const Written file = write(image);

        EXPECT_FALSE(file.result) << row;
        EXPECT_EQ(polls.percents.size(), size_t(2 + row));
        EXPECT_EQ(file.bytes.size(), 54 + 100 * row);
    }
}

TEST_P(HrleWrite, FailingDeviceFailsWhereverItFails)
{
    for (const bool compressible : {false, true}) {
        const Vellum image =
            compressible ? makeFlat(100, 10, 3, GetParam()) : makeNoise(11, 3, kGrey, GetParam());
        const QByteArray whole = write(image).bytes;
        for (int room = 0; room < whole.size(); ++room) {
            LimitedDevice device(room);
            QDataStream stream(&device);
            EXPECT_FALSE(HrleHandler().writeStream(stream, image)) << room;
            EXPECT_EQ(device.written(), whole.left(device.written().size())) << room;
        }
        LimitedDevice device(whole.size());
        QDataStream stream(&device);
        EXPECT_TRUE(HrleHandler().writeStream(stream, image));
        EXPECT_EQ(device.written(), whole);
    }
}

TEST(HrleWriteOnce, StreamWithoutWritableDeviceFails)
{
    const MessageLog log;
    QDataStream none;
    EXPECT_FALSE(HrleHandler().writeStream(none, Vellum(3, 3, kGrey)));

    QBuffer buffer;
    buffer.open(QIODevice::ReadOnly);
    QDataStream readOnly(&buffer);
    EXPECT_FALSE(HrleHandler().writeStream(readOnly, Vellum(3, 3, kGrey)));
    EXPECT_FALSE(HrleHandler().writeStream(readOnly, Vellum()));
    EXPECT_TRUE(buffer.data().isEmpty());
}

// A file keeps the last bytes in a buffer: they must reach the disk to count as written.
TEST(HrleWriteOnce, FullDiskFails)
{
    QFile full("/dev/full");
    if (!full.open(QIODevice::WriteOnly))
        GTEST_SKIP() << "no /dev/full";
    const MessageLog log;
    QDataStream stream(&full);
    EXPECT_FALSE(HrleHandler().writeStream(stream, makeFlat(100, 10, 1, Storage::Plain)));
}

TEST(HrleWriteOnce, BigEndianStreamIsSwitched)
{
    const MessageLog log;
    const Vellum image = makeFlat(100, 10, 0x5a, Storage::Plain);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    stream.setByteOrder(QDataStream::BigEndian);

    EXPECT_TRUE(HrleHandler().writeStream(stream, image));

    EXPECT_EQ(buffer.data(), expectedFile(image));
}

TEST(HrleWriteOnce, OneHandlerCanWriteTwice)
{
    const MessageLog log;
    const Vellum runs = makeRuns(Storage::Plain);
    const Vellum noise = makeNoise(7, 3, kGrey, Storage::Plain);
    HrleHandler handler;
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);

    EXPECT_TRUE(handler.writeStream(stream, runs));
    EXPECT_TRUE(handler.writeStream(stream, noise));

    EXPECT_EQ(buffer.data(), expectedFile(runs) + expectedFile(noise));
}

TEST_P(HrleWrite, FileHasTheSameBytesAsAStream)
{
    const QTemporaryDir dir;
    const QString name = dir.filePath("mask.hrle");
    const Vellum image = makeRuns(GetParam());
    QFile file(name);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(100000, 'x')); // to be replaced, not overwritten in part
    file.close();

    EXPECT_TRUE(HrleHandler().writeFile(name, image));

    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), write(image).bytes);
}

TEST(HrleWriteOnce, FileThatCannotBeOpenedFails)
{
    EXPECT_FALSE(HrleHandler().writeFile("/nonexistent/mask.hrle", Vellum(3, 3, kGrey)));
    EXPECT_FALSE(HrleHandler().writeFile(QDir::tempPath(), Vellum(3, 3, kGrey)));
}

// Callers rely on it: the result tells whether the file could be opened.
TEST_P(HrleWrite, FileSucceedsEvenWhenCancelled)
{
    const QTemporaryDir dir;
    Vellum image = makeRuns(GetParam());
    Polls polls;
    polls.stopAt = 2;
    polls.attach(image);

    EXPECT_TRUE(HrleHandler().writeFile(dir.filePath("mask.hrle"), image));

    EXPECT_EQ(QFileInfo(dir.filePath("mask.hrle")).size(), 14);
}

} // namespace
