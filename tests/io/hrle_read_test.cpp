#include <QBuffer>
#include <QDataStream>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <malloc.h>
#include <support/devices.h>
#include <support/hrle.h>
#include <support/images.h>
#include <support/messages.h>
#include <support/polls.h>

using namespace vellum::test;

namespace {

/// The reader may not rely on fresh memory being zero.
class HrleRead : public testing::Test
{
protected:
    HrleRead() { mallopt(M_PERTURB, 0xa5); }
    ~HrleRead() override { mallopt(M_PERTURB, 0); }
};

bool read(QIODevice &device, Vellum &image)
{
    QDataStream stream(&device);
    return HrleHandler().readStream(stream, image);
}

bool read(QByteArray bytes, Vellum &image)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return read(buffer, image);
}

/// The rows of what is read from \a bytes; none when reading fails.
Rows rowsIn(const QByteArray &bytes)
{
    Vellum image;
    return read(bytes, image) ? rowsOf(image) : Rows();
}

Rows noiseRows(int w, int h)
{
    return rowsOf(makeNoise(w, h, QImage::Format_Grayscale8, Storage::Plain));
}

QByteArray rawData(const Rows &rows)
{
    QByteArray data;
    for (auto row = rows.rbegin(); row != rows.rend(); ++row)
        data += *row;
    return data;
}

QByteArray rawFile(int w, const Rows &rows)
{
    return HrleFields(w, int(rows.size()), 0).bytes() + rawData(rows);
}

Rows zeroRows(int height, int bytes) { return Rows(size_t(height), QByteArray(bytes, '\0')); }

TEST_F(HrleRead, RawRowsComeFromTheLastOneUp)
{
    const Rows rows = noiseRows(13, 7);
    Vellum image;

    ASSERT_TRUE(read(rawFile(13, rows), image));

    EXPECT_EQ(image.size(), QSize(13, 7));
    EXPECT_EQ(image.format(), QImage::Format_Grayscale8);
    EXPECT_FALSE(image.isBigImage());
    EXPECT_EQ(rowsOf(image), rows);
}

TEST_F(HrleRead, RunsAndRepeatsComeFromTheFirstRowDown)
{
    const QByteArray data =
        run(3, 1) + run(5, 2) + endRow(2) + run(8, 0) + endRow(1) + run(8, 255) + endRow(3);

    const Rows rows = rowsIn(runLengthFile(6, 6, data));

    const QByteArray first("\1\1\1\2\2\2\2\2");
    const QByteArray last(8, '\xff');
    EXPECT_EQ(rows, Rows({first, first, QByteArray(8, '\0'), last, last, last}));
}

TEST_F(HrleRead, OnePixelIsRead)
{
    EXPECT_EQ(rowsIn(rawFile(1, {"abcd"})), Rows({"abcd"}));
    EXPECT_EQ(rowsIn(runLengthFile(1, 1, run(4, 'z') + endRow(1))), Rows({"zzzz"}));
}

TEST_F(HrleRead, HeadersThatCannotBeAreRefused)
{
    const std::pair<const char *, std::function<void(HrleFields &)>> cases[] = {
        {"first letter", [](HrleFields &f) { f.magic = "bM"; }},
        {"second letter", [](HrleFields &f) { f.magic = "BN"; }},
        {"planes 0", [](HrleFields &f) { f.planes = 0; }},
        {"planes 2", [](HrleFields &f) { f.planes = 2; }},
        {"depth 0", [](HrleFields &f) { f.depth = 0; }},
        {"depth 1", [](HrleFields &f) { f.depth = 1; }},
        {"depth 4", [](HrleFields &f) { f.depth = 4; }},
        {"depth 7", [](HrleFields &f) { f.depth = 7; }},
        {"depth 16", [](HrleFields &f) { f.depth = 16; }},
        {"depth 24", [](HrleFields &f) { f.depth = 24; }},
        {"depth 32", [](HrleFields &f) { f.depth = 32; }},
        {"depth 64", [](HrleFields &f) { f.depth = 64; }},
        {"depth 264, 8 in its low byte", [](HrleFields &f) { f.depth = 264; }},
        {"width 0", [](HrleFields &f) { f.width = 0; }},
        {"width -8", [](HrleFields &f) { f.width = -8; }},
        {"height 0", [](HrleFields &f) { f.height = 0; }},
        {"smallest height", [](HrleFields &f) { f.height = std::numeric_limits<int>::min(); }},
        {"2^30 + 1 pixels",
         [](HrleFields &f) {
             f.width = 1;
             f.height = 0x40000001;
         }},
        {"2^30 + 1 pixels, upside down",
         [](HrleFields &f) {
             f.width = 1;
             f.height = -0x40000001;
         }},
        {"2^32 + 4 pixels",
         [](HrleFields &f) {
             f.width = 0x40000001;
             f.height = 4;
         }},
        {"most pixels",
         [](HrleFields &f) {
             f.width = std::numeric_limits<int>::max();
             f.height = -std::numeric_limits<int>::max();
         }},
    };
    for (const auto &[name, spoil] : cases) {
        HrleFields fields(8, 2, 0);
        spoil(fields);
        Vellum image = makeNoise(3, 2, QImage::Format_RGB32, Storage::Big);
        const Vellum before(image);
        EXPECT_FALSE(read(fields.bytes() + QByteArray(16, 'x'), image)) << name;
        EXPECT_TRUE(samePixels(image, before)) << name;
    }
}

TEST_F(HrleRead, FieldsThatSayNothingNewAreIgnored)
{
    const Rows rows = noiseRows(8, 2);
    HrleFields fields(8, 2, 0);
    fields.fileSize = 0xffffffff;
    fields.reserved1 = 0xffff;
    fields.reserved2 = 0xffff;
    fields.dataOffset = 0x7fffffff;
    fields.imageSize = 3;
    fields.colorsUsed = 256;
    fields.colorsImportant = 0xffffffff;

    EXPECT_EQ(rowsIn(fields.bytes() + rawData(rows)), rows);
}

TEST_F(HrleRead, SignOfTheHeightChangesNothing)
{
    const Rows rows = noiseRows(9, 5);
    HrleFields fields(9, -5, 0);
    EXPECT_EQ(rowsIn(fields.bytes() + rawData(rows)), rows);

    fields.compression = 1;
    const QByteArray data = naiveEncode(rows);
    EXPECT_EQ(rowsIn(fields.bytes() + le32(quint32(data.size())) + data), rows);
}

TEST_F(HrleRead, DataBeginsWhereTheInformationHeaderEnds)
{
    const Rows rows = noiseRows(9, 5);
    HrleFields fields(9, 5, 0);
    fields.infoSize = 52;
    EXPECT_EQ(rowsIn(fields.bytes() + "twelve bytes" + rawData(rows)), rows);

    // Inside the header: its last 14 bytes are the first that are read.
    fields.infoSize = 26;
    const QByteArray file = fields.bytes() + rawData(rows);
    EXPECT_EQ(rowsIn(file),
              Rows({file.mid(88, 12), file.mid(76, 12), file.mid(64, 12), file.mid(52, 12),
                    file.mid(40, 12)}));
}

TEST_F(HrleRead, DataThatWouldBeginBehindTheFileIsZero)
{
    for (const quint32 compression : {0U, 1U}) {
        for (const quint32 infoSize : {1000U, 0x80000000U, 0xffffffffU}) {
            HrleFields fields(9, 5, compression);
            fields.infoSize = infoSize;
            QByteArray file = fields.bytes() + QByteArray(60, 'x');
            QBuffer buffer(&file); // writable: a seek behind its end would enlarge it
            buffer.open(QIODevice::ReadWrite);
            Vellum image;
            EXPECT_TRUE(read(buffer, image));
            EXPECT_EQ(rowsOf(image), zeroRows(5, 12));
            EXPECT_EQ(file.size(), 114);
        }
    }
}

TEST_F(HrleRead, SequentialDeviceIsReadInOnePass)
{
    const Rows rows = noiseRows(9, 5);
    for (const qint64 atOnce : {1, 3, 5, 1000}) {
        SequentialDevice raw(rawFile(9, rows), atOnce);
        Vellum image;
        ASSERT_TRUE(read(raw, image)) << atOnce;
        EXPECT_EQ(rowsOf(image), rows) << atOnce;

        HrleFields fields(9, 5, 1);
        fields.infoSize = 99; // cannot be sought: the data follows what was read
        const QByteArray data = naiveEncode(rows);
        SequentialDevice encoded(fields.bytes() + le32(quint32(data.size())) + data, atOnce);
        ASSERT_TRUE(read(encoded, image)) << atOnce;
        EXPECT_EQ(rowsOf(image), rows) << atOnce;
    }
}

// More words than the reader holds at a time, and reads that end inside a word.
TEST_F(HrleRead, DataOfManyBuffersIsRead)
{
    const Rows rows = noiseRows(1234, 37);
    const QByteArray file = runLengthFile(1234, 37, naiveEncode(rows));
    EXPECT_EQ(rowsIn(file), rows);
    SequentialDevice device(file, 4099);
    Vellum image;
    EXPECT_TRUE(read(device, image));
    EXPECT_EQ(rowsOf(image), rows);
}

TEST_F(HrleRead, HeaderOnlyFails)
{
    Vellum image(2, 2, QImage::Format_RGB32);
    for (int size = 0; size <= 54; ++size)
        EXPECT_FALSE(read(rawFile(8, noiseRows(8, 2)).left(size), image)) << size;
    EXPECT_EQ(image.size(), QSize(2, 2));
}

TEST_F(HrleRead, ShortRawFileHasTheBytesThatAreThere)
{
    const QByteArray file = rawFile(9, noiseRows(9, 4));
    for (int size = 55; size <= file.size(); ++size) {
        const QByteArray there = file.left(size).leftJustified(file.size(), '\0');
        const Rows rows = rowsIn(file.left(size));
        ASSERT_EQ(rows.size(), 4U) << size;
        EXPECT_EQ(rawData(rows), there.mid(54)) << size;
    }
}

TEST_F(HrleRead, ShortRunLengthFileHasTheWordsThatAreThere)
{
    const QByteArray data = run(4, 1) + run(8, 2) + endRow(2) + run(11, 3) + run(1, 4) + endRow(3) +
        run(12, 0) + endRow(1);
    const QByteArray file = runLengthFile(9, 6, data);
    for (int size = 55; size <= file.size(); ++size)
        EXPECT_EQ(rowsIn(file.left(size)), naiveDecode(data.left(size - 58), 6, 12)) << size;
}

TEST_F(HrleRead, CountLimitsTheWords)
{
    const QByteArray data = run(4, 1) + endRow(1) + run(4, 2) + endRow(1);
    for (quint32 count = 0; count <= quint32(data.size()); ++count) {
        EXPECT_EQ(rowsIn(HrleFields(4, 2, 1).bytes() + le32(count) + data),
                  naiveDecode(data.left(int(count)), 2, 4))
            << count;
    }
}

/// Peak of the process's address space, in bytes; counts what was allocated and never touched.
qint64 peakAddressSpace()
{
    QFile status("/proc/self/status");
    EXPECT_TRUE(status.open(QIODevice::ReadOnly));
    for (QByteArray line = status.readLine(); !line.isEmpty(); line = status.readLine()) {
        if (line.startsWith("VmPeak:"))
            return line.mid(7).simplified().split(' ')[0].toLongLong() * 1024;
    }
    return 0;
}

TEST_F(HrleRead, CountThatTheFileDoesNotHoldCostsNothing)
{
    const QByteArray data = run(4, 1) + endRow(1);
    const qint64 before = peakAddressSpace();
    ASSERT_GT(before, 0);

    for (const quint32 count : {0x7fffffffU, 0x80000000U, 0xc0000000U, 0xffffffffU}) {
        EXPECT_EQ(rowsIn(HrleFields(4, 2, 1).bytes() + le32(count) + data),
                  Rows({"\1\1\1\1", QByteArray(4, '\0')}));
    }

    EXPECT_LT(peakAddressSpace() - before, 64 << 20);
}

TEST_F(HrleRead, RunThatPassesTheEndOfTheRowIsSkipped)
{
    const QByteArray data = run(3, 1) + run(6, 2) + run(5, 3) + run(1, 4) + endRow(1) + run(9, 5) +
        run(16777215, 6) + run(8, 7) + endRow(1);
    EXPECT_EQ(rowsIn(runLengthFile(8, 2, data)), Rows({"\1\1\1\3\3\3\3\3", QByteArray(8, '\7')}));
}

TEST_F(HrleRead, RunOfNoBytesIsNothing)
{
    EXPECT_EQ(rowsIn(runLengthFile(4, 1, run(2, 1) + run(0, 9) + run(2, 2) + endRow(1))),
              Rows({"\1\1\2\2"}));
}

TEST_F(HrleRead, RowThatIsNotDescribedToItsEndIsZeroThere)
{
    EXPECT_EQ(rowsIn(runLengthFile(4, 3, run(2, 1) + endRow(2) + endRow(1))),
              Rows({QByteArray("\1\1\0\0", 4), QByteArray("\1\1\0\0", 4), QByteArray(4, '\0')}));
}

TEST_F(HrleRead, RepeatCountOfZeroBeginsTheRowAgain)
{
    const QByteArray data = run(6, 1) + endRow(0) + run(2, 2) + endRow(2) + run(8, 3) + endRow(1);
    const QByteArray first("\2\2\1\1\1\1\0\0", 8);
    EXPECT_EQ(rowsIn(runLengthFile(8, 3, data)), Rows({first, first, QByteArray(8, '\3')}));
    // The same where the data ends in the row begun again.
    EXPECT_EQ(rowsIn(runLengthFile(8, 1, run(6, 1) + endRow(0) + run(2, 2))), Rows({first}));
}

TEST_F(HrleRead, RepeatsEndWithTheLastRow)
{
    for (const quint32 repeats : {3U, 4U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        const QByteArray data =
            run(4, 1) + endRow(1) + run(4, 2) + endRow(repeats) + run(4, 3) + endRow(1) + run(4, 4);
        EXPECT_EQ(rowsIn(runLengthFile(4, 3, data)), Rows({"\1\1\1\1", "\2\2\2\2", "\2\2\2\2"}));
    }
}

TEST_F(HrleRead, UnknownCompressionIsAllZeros)
{
    for (const quint32 compression : {2U, 3U, 256U, 0xffffffffU}) {
        EXPECT_EQ(rowsIn(HrleFields(5, 3, compression).bytes() + QByteArray(24, 'x')),
                  zeroRows(3, 8));
    }
}

TEST_F(HrleRead, ResolutionIsTheHeaders)
{
    HrleFields fields(4, 1, 0);
    fields.dotsX = 11811;
    fields.dotsY = -5;
    Vellum image;
    ASSERT_TRUE(read(fields.bytes() + "abcd", image));
    EXPECT_EQ(image.dotsPerMeterX(), 11811);
    EXPECT_EQ(image.dotsPerMeterY(), -5);
}

TEST_F(HrleRead, ProfileAndCallbackOfTheImageAreKept)
{
    Vellum image = makeNoise(3, 3, QImage::Format_ARGB32, Storage::Big);
    image.setIccProfile("profile");
    Polls polls;
    polls.attach(image);

    ASSERT_TRUE(read(rawFile(4, {"abcd", "efgh"}), image));

    EXPECT_EQ(image.getIccProfile(), "profile");
    EXPECT_EQ(polls.percents, std::vector<int>({50, 100}));
    EXPECT_FALSE(image.isBigImage());
    EXPECT_EQ(rowsOf(image), Rows({"abcd", "efgh"}));
}

TEST_F(HrleRead, ImageThatSharedThePixelsKeepsThem)
{
    Vellum image = makeNoise(4, 2, QImage::Format_Grayscale8, Storage::Plain);
    const Vellum other(image);
    const Rows before = rowsOf(other);

    ASSERT_TRUE(read(rawFile(4, {"abcd", "efgh"}), image));

    EXPECT_EQ(rowsOf(other), before);
}

TEST_F(HrleRead, EveryRowIsPolledOnce)
{
    const QByteArray data = run(4, 1) + endRow(0) + run(4, 1) + endRow(2) + run(4, 3) + endRow(3) +
        run(4, 1) + endRow(1);
    Vellum image;
    Polls polls;
    polls.attach(image);

    ASSERT_TRUE(read(runLengthFile(4, 5, data), image));

    EXPECT_EQ(polls.percents, std::vector<int>({20, 40, 60, 80, 100}));
}

TEST_F(HrleRead, CancelMakesTheImageNull)
{
    const QByteArray files[] = {
        rawFile(4, noiseRows(4, 5)),
        runLengthFile(4, 5, run(4, 1) + endRow(2) + run(4, 3) + endRow(1) + run(4, 9) + endRow(2))};
    for (const QByteArray &file : files) {
        for (size_t stopAt = 0; stopAt < 5; ++stopAt) {
            Vellum image;
            Polls polls;
            polls.stopAt = stopAt;
            polls.attach(image);
            EXPECT_FALSE(read(file, image)) << stopAt;
            EXPECT_TRUE(image.isNull()) << stopAt;
            EXPECT_EQ(polls.percents.size(), stopAt + 1);
        }
    }
}

// A preview that keeps the image of the latest poll parts it from each new row's buffer.
TEST_F(HrleRead, CallbackMayKeepACopyOfTheImage)
{
    Vellum image;
    Vellum preview;
    image.setCallback(
        [](void *kept, int, void *current) {
            *static_cast<Vellum *>(kept) = *static_cast<Vellum *>(current);
            return true;
        },
        &preview, 0, 1.0);
    const QByteArray data = run(4, 1) + run(8, 2) + endRow(5) + run(12, 3) + endRow(2);

    ASSERT_TRUE(read(runLengthFile(12, 7, data), image));

    EXPECT_EQ(rowsOf(image), naiveDecode(data, 7, 12));
}

TEST_F(HrleRead, ReadingBeginsAtThePositionOfTheStreamAndEndsBehindTheData)
{
    // Behind the last row are words that must be passed over, more than are read at a time.
    const QByteArray data = run(4, 7) + endRow(1) + QByteArray(70001, '\1');
    QByteArray bytes = "junk" + runLengthFile(4, 1, data) + rawFile(4, {"abcd"}) + "!";
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    buffer.seek(4);
    QDataStream stream(&buffer);
    HrleHandler handler;
    Vellum image;

    ASSERT_TRUE(handler.readStream(stream, image));
    EXPECT_EQ(rowsOf(image), Rows({"\7\7\7\7"}));
    stream.setByteOrder(QDataStream::BigEndian);
    ASSERT_TRUE(handler.readStream(stream, image));
    EXPECT_EQ(rowsOf(image), Rows({"abcd"}));
    EXPECT_EQ(buffer.readAll(), "!");
}

TEST_F(HrleRead, DeviceThatFailsIsAsShortAsItsBytes)
{
    const Rows rows = noiseRows(9, 4);
    const QByteArray data = naiveEncode(rows);
    const QByteArray file = runLengthFile(9, 4, data);
    for (int failAt = 58; failAt <= file.size(); failAt += 3) {
        FailingDevice device(file, failAt);
        Vellum image;
        ASSERT_TRUE(read(device, image)) << failAt;
        EXPECT_EQ(rowsOf(image), naiveDecode(data.left(failAt - 58), 4, 12)) << failAt;
    }
    FailingDevice header(file, 50);
    Vellum image;
    EXPECT_FALSE(read(header, image));
}

TEST_F(HrleRead, StreamWithoutReadableDeviceFails)
{
    const MessageLog log; // QIODevice warns
    Vellum image;
    QDataStream none;
    EXPECT_FALSE(HrleHandler().readStream(none, image));
    QBuffer closed;
    EXPECT_FALSE(read(closed, image));
    QBuffer writeOnly;
    writeOnly.open(QIODevice::WriteOnly);
    EXPECT_FALSE(read(writeOnly, image));
    EXPECT_TRUE(image.isNull());
}

TEST_F(HrleRead, StreamThatHasFailedBeforeFails)
{
    QByteArray bytes = rawFile(4, {"abcd"});
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QDataStream stream(&buffer);
    stream.setStatus(QDataStream::ReadCorruptData);
    Vellum image;
    EXPECT_FALSE(HrleHandler().readStream(stream, image));
}

TEST_F(HrleRead, FileIsReadAsAStreamIs)
{
    const QTemporaryDir dir;
    const Rows rows = noiseRows(123, 45);
    QFile file(dir.filePath("mask.hrle"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(rawFile(123, rows));
    file.close();
    Vellum image;

    EXPECT_TRUE(HrleHandler().readFile(image, file.fileName()));

    EXPECT_EQ(rowsOf(image), rows);
}

TEST_F(HrleRead, FileThatCannotBeOpenedFails)
{
    Vellum image = makeNoise(3, 3, QImage::Format_Grayscale8, Storage::Plain);
    EXPECT_FALSE(HrleHandler().readFile(image, "/nonexistent/mask.hrle"));
    EXPECT_FALSE(image.isNull());
}

} // namespace
