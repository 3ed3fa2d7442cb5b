#include <QBuffer>
#include <QDataStream>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <limits>
#include <ostream>
#include <support/devices.h>
#include <support/hrle.h>
#include <support/images.h>
#include <support/messages.h>

using namespace vellum::test;
using vellum::checkHrle;
using vellum::HrleCheck;

namespace vellum {

void PrintTo(const HrleCheck &check, std::ostream *out)
{
    *out << "status " << check.status << ", " << check.width << " x " << check.height << ", "
         << (check.compressed ? "run-length" : "raw") << ", " << check.reason.toStdString();
}

} // namespace vellum

namespace {

HrleCheck check(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return checkHrle(buffer);
}

testing::AssertionResult has(const HrleCheck &check, HrleCheck::Status status)
{
    if (check.status == status && check.reason.isEmpty() == (status == HrleCheck::Complete))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << testing::PrintToString(check);
}

QByteArray rawFile() { return HrleFields(9, 4, 0).bytes() + QByteArray(48, 'x'); }

QByteArray encodedFile()
{
    return runLengthFile(9, 6, run(4, 1) + run(8, 2) + endRow(2) + run(12, 3) + endRow(4));
}

QByteArray write(const Vellum &image)
{
    const MessageLog log;
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    EXPECT_TRUE(HrleHandler().writeStream(stream, image));
    return buffer.data();
}

TEST(HrleChecking, CompleteRawFileIsDescribed)
{
    const HrleCheck result = check(rawFile());
    EXPECT_TRUE(has(result, HrleCheck::Complete));
    EXPECT_EQ(result.width, 9);
    EXPECT_EQ(result.height, 4);
    EXPECT_FALSE(result.compressed);
}

TEST(HrleChecking, CompleteRunLengthFileIsDescribed)
{
    const HrleCheck result = check(encodedFile());
    EXPECT_TRUE(has(result, HrleCheck::Complete));
    EXPECT_EQ(result.width, 9);
    EXPECT_EQ(result.height, 6);
    EXPECT_TRUE(result.compressed);
}

TEST(HrleChecking, WhatTheWriterMakesIsComplete)
{
    for (const Storage storage : kStorages) {
        for (const int width : {1, 3, 63, 64, 65, 1001}) {
            Vellum image = makeNoise(width, 11, QImage::Format_Grayscale8, storage);
            EXPECT_TRUE(has(check(write(image)), HrleCheck::Complete)) << width;
            image.fill(5U);
            EXPECT_TRUE(has(check(write(image)), HrleCheck::Complete)) << width;
        }
        const Vellum other = makeNoise(5, 5, QImage::Format_RGB32, storage);
        EXPECT_TRUE(has(check(write(other)), HrleCheck::NotHrle));
    }
}

TEST(HrleChecking, EveryShorterFileIsNotComplete)
{
    for (const QByteArray &file : {rawFile(), encodedFile()}) {
        for (int size = 0; size < file.size(); ++size) {
            EXPECT_TRUE(
                has(check(file.left(size)), size < 54 ? HrleCheck::NotHrle : HrleCheck::Damaged))
                << size;
        }
    }
}

TEST(HrleChecking, AnyLongerFileIsDamaged)
{
    for (const QByteArray &file : {rawFile(), encodedFile()}) {
        for (int more = 1; more <= 12; ++more)
            EXPECT_TRUE(has(check(file + QByteArray(more, '\0')), HrleCheck::Damaged)) << more;
    }
}

TEST(HrleChecking, HeaderThatTheReaderRefusesIsNotHrle)
{
    const auto checkWith = [](auto spoil) {
        HrleFields fields(8, 2, 0);
        spoil(fields);
        const HrleCheck result = check(fields.bytes() + QByteArray(16, 'x'));
        EXPECT_EQ(result.width, 0);
        EXPECT_EQ(result.height, 0);
        return result.status;
    };
    EXPECT_EQ(checkWith([](HrleFields &f) { f.magic = "bM"; }), HrleCheck::NotHrle);
    EXPECT_EQ(checkWith([](HrleFields &f) { f.magic = "BA"; }), HrleCheck::NotHrle);
    EXPECT_EQ(checkWith([](HrleFields &f) { f.planes = 0; }), HrleCheck::NotHrle);
    EXPECT_EQ(checkWith([](HrleFields &f) { f.depth = 7; }), HrleCheck::NotHrle);
    EXPECT_EQ(checkWith([](HrleFields &f) { f.depth = 24; }), HrleCheck::NotHrle);
    EXPECT_EQ(checkWith([](HrleFields &f) { f.width = 0; }), HrleCheck::NotHrle);
    EXPECT_EQ(checkWith([](HrleFields &f) { f.width = -1; }), HrleCheck::NotHrle);
    EXPECT_EQ(checkWith([](HrleFields &f) { f.height = 0; }), HrleCheck::NotHrle);
    EXPECT_EQ(checkWith([](HrleFields &f) { f.height = std::numeric_limits<int>::min(); }),
              HrleCheck::NotHrle);
    EXPECT_EQ(checkWith([](HrleFields &f) { f.width = 0x40000001; }), HrleCheck::NotHrle);
}

TEST(HrleChecking, HeightBelowZeroIsItsSize)
{
    HrleFields fields(9, -4, 0);
    const HrleCheck result = check(fields.bytes() + QByteArray(48, 'x'));
    EXPECT_TRUE(has(result, HrleCheck::Complete));
    EXPECT_EQ(result.height, 4);
}

TEST(HrleChecking, OtherCompressionIsDamaged)
{
    for (const quint32 compression : {2U, 256U, 0xffffffffU})
        EXPECT_TRUE(has(check(HrleFields(9, 4, compression).bytes() + QByteArray(48, 'x')),
                        HrleCheck::Damaged));
}

TEST(HrleChecking, LongerInformationHeaderMovesTheData)
{
    for (const quint32 compression : {0U, 1U}) {
        HrleFields fields(4, 1, compression);
        fields.infoSize = 43;
        const QByteArray data =
            compression == 0 ? QByteArray("abcd") : le32(12) + run(4, 1) + endRow(1);
        EXPECT_TRUE(has(check(fields.bytes() + "xyz" + data), HrleCheck::Complete));
        EXPECT_TRUE(has(check(fields.bytes() + data), HrleCheck::Damaged));
        fields.infoSize = 0xffffffff;
        EXPECT_TRUE(has(check(fields.bytes() + data), HrleCheck::Damaged));
    }
}

// 14 + 0 + 10 rows of 4 bytes are the 54 bytes of the headers, but no pixels.
TEST(HrleChecking, DataInsideTheHeaderIsDamaged)
{
    HrleFields fields(4, 10, 0);
    fields.infoSize = 0;
    EXPECT_TRUE(has(check(fields.bytes()), HrleCheck::Damaged));
}

TEST(HrleChecking, RunsMustAddUpToEveryRow)
{
    const auto checkData = [](const QByteArray &data) { return check(runLengthFile(6, 3, data)); };
    const QByteArray rest = run(8, 2) + endRow(2);

    EXPECT_TRUE(has(checkData(run(8, 1) + endRow(1) + rest), HrleCheck::Complete));
    EXPECT_TRUE(has(checkData(run(6, 1) + endRow(1) + rest), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkData(run(9, 1) + endRow(1) + rest), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkData(run(7, 1) + run(2, 3) + endRow(1) + rest), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkData(run(8, 1) + run(1, 3) + endRow(1) + rest), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkData(endRow(1) + rest), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkData(run(0, 4) + run(8, 1) + endRow(1) + rest), HrleCheck::Damaged));
    // What a reader skips or mends is damage all the same.
    EXPECT_TRUE(has(checkData(run(9, 1) + run(8, 1) + endRow(1) + rest), HrleCheck::Damaged));
    EXPECT_TRUE(
        has(checkData(run(8, 1) + endRow(0) + run(8, 1) + endRow(1) + rest), HrleCheck::Damaged));
}

TEST(HrleChecking, RepeatsMustAddUpToTheHeight)
{
    const auto checkRepeats = [](quint32 first, quint32 second) {
        return check(runLengthFile(6, 5, run(8, 1) + endRow(first) + run(8, 2) + endRow(second)));
    };
    EXPECT_TRUE(has(checkRepeats(2, 3), HrleCheck::Complete));
    EXPECT_TRUE(has(checkRepeats(4, 1), HrleCheck::Complete));
    EXPECT_TRUE(has(checkRepeats(2, 2), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkRepeats(2, 4), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkRepeats(5, 0), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkRepeats(0, 5), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkRepeats(5, 1), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkRepeats(6, 0xffffffff), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkRepeats(2, 0xffffffff), HrleCheck::Damaged));
}

TEST(HrleChecking, DataThatEndsInsideARowIsDamaged)
{
    const QByteArray data = run(8, 1) + endRow(2) + run(8, 2) + endRow(3);
    for (int size = 0; size < data.size(); ++size)
        EXPECT_TRUE(has(check(runLengthFile(6, 5, data.left(size))), HrleCheck::Damaged)) << size;
    EXPECT_TRUE(has(check(runLengthFile(6, 5, data)), HrleCheck::Complete));
}

TEST(HrleChecking, DataBehindTheLastRowIsDamaged)
{
    const QByteArray data = run(8, 1) + endRow(5);
    for (const QByteArray &more :
         {QByteArray("a"), QByteArray("abc"), run(8, 1), run(3, 0), le32(0), endRow(0), endRow(1),
          run(8, 1) + endRow(1), run(8, 1) + le32(0)})
        EXPECT_TRUE(has(check(runLengthFile(6, 5, data + more)), HrleCheck::Damaged));
}

// A seek behind the end of a writable buffer would enlarge it.
TEST(HrleChecking, NothingIsWritten)
{
    HrleFields fields(6, 5, 1);
    fields.infoSize = 1000;
    QByteArray file = fields.bytes() + "abcd";
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadWrite);

    EXPECT_TRUE(has(checkHrle(buffer), HrleCheck::Damaged));

    EXPECT_EQ(file, fields.bytes() + "abcd");
}

TEST(HrleChecking, CountMustBeThatOfTheBytes)
{
    const QByteArray data = run(8, 1) + endRow(5);
    for (const quint32 count : {0U, 8U, 11U, 13U, 16U, 0x8000000cU, 0xffffffffU})
        EXPECT_TRUE(
            has(check(HrleFields(6, 5, 1).bytes() + le32(count) + data), HrleCheck::Damaged))
            << count;
}

// 2^30 pixels, in 70 bytes: nothing of that size may be allocated or walked.
TEST(HrleChecking, LargestImageIsCheckedAtOnce)
{
    EXPECT_TRUE(has(check(runLengthFile(32768, 32768, run(32768, 1) + endRow(32768))),
                    HrleCheck::Complete));
    EXPECT_TRUE(
        has(check(runLengthFile(1 << 24, 64, run((1 << 24) - 1, 1) + run(1, 1) + endRow(64))),
            HrleCheck::Complete));
    EXPECT_TRUE(has(check(HrleFields(32768, 32768, 0).bytes() + "x"), HrleCheck::Damaged));
    EXPECT_TRUE(has(check(HrleFields(1, 1 << 30, 0).bytes()), HrleCheck::Damaged)); // 2^32 bytes
}

TEST(HrleChecking, CheckBeginsAtThePositionOfTheDevice)
{
    for (const QByteArray &file : {rawFile(), encodedFile()}) {
        QByteArray bytes = "junk" + file;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        buffer.seek(4);
        EXPECT_TRUE(has(checkHrle(buffer), HrleCheck::Complete));
    }
}

TEST(HrleChecking, DeviceThatFailsIsNotComplete)
{
    const QByteArray file = encodedFile();
    for (int failAt = 0; failAt < file.size(); ++failAt) {
        FailingDevice device(file, failAt);
        EXPECT_NE(checkHrle(device).status, HrleCheck::Complete) << failAt;
    }
    FailingDevice device(file, file.size());
    EXPECT_TRUE(has(checkHrle(device), HrleCheck::Complete));
}

TEST(HrleChecking, DeviceThatIsNotReadableIsUnreadable)
{
    QBuffer closed;
    EXPECT_TRUE(has(checkHrle(closed), HrleCheck::Unreadable));
    QBuffer writeOnly;
    writeOnly.open(QIODevice::WriteOnly);
    EXPECT_TRUE(has(checkHrle(writeOnly), HrleCheck::Unreadable));
    SequentialDevice sequential(rawFile(), 1000);
    EXPECT_TRUE(has(checkHrle(sequential), HrleCheck::Unreadable));
}

TEST(HrleChecking, FileIsCheckedByName)
{
    const QTemporaryDir dir;
    QFile file(dir.filePath("mask.hrle"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(encodedFile());
    file.close();

    EXPECT_TRUE(has(checkHrle(file.fileName()), HrleCheck::Complete));
    ASSERT_TRUE(file.resize(file.size() - 1));
    EXPECT_TRUE(has(checkHrle(file.fileName()), HrleCheck::Damaged));
    EXPECT_TRUE(has(checkHrle(dir.filePath("none.hrle")), HrleCheck::Unreadable));
    EXPECT_TRUE(has(checkHrle(dir.path()), HrleCheck::Unreadable));
}

// Undoes the encoding with a grammar of its own: runs, 0, count, until nothing is left.
bool isExactly(QByteArray data, qint64 rows, qint64 bytes)
{
    const auto take = [&data] {
        quint32 word = 0;
        for (int i = 3; i >= 0; --i)
            word = word * 256 + uchar(data[i]);
        data.remove(0, 4);
        return word;
    };
    while (!data.isEmpty()) {
        qint64 inRow = 0;
        for (;;) {
            if (data.size() < 4)
                return false;
            const quint32 word = take();
            if (word == 0)
                break;
            if (word % 16777216 == 0)
                return false;
            inRow += word % 16777216;
        }
        if (inRow != bytes || data.size() < 4)
            return false;
        const quint32 repeats = take();
        if (repeats == 0)
            return false;
        rows -= repeats;
    }
    return rows == 0;
}

RC_GTEST_PROP(HrleChecking, AnyWordsAreJudgedAsTheGrammarJudgesThem, ())
{
    const int width = *rc::gen::inRange(1, 30);
    const int height = *rc::gen::inRange(1, 12);
    const int bytes = (width + 3) / 4 * 4;
    QByteArray data;
    for (int y = 0; y < height;) {
        for (int x = 0; x < bytes;) {
            const int length = *rc::gen::inRange(1, bytes - x + 1);
            data += run(quint32(length), *rc::gen::inRange(0, 256));
            x += length;
        }
        const int repeats = *rc::gen::inRange(1, height - y + 1);
        data += endRow(quint32(repeats));
        y += repeats;
    }
    for (int changes = *rc::gen::inRange(0, 3); changes > 0; --changes)
        data[*rc::gen::inRange(0, data.size())] = char(*rc::gen::inRange(0, 256));

    const bool complete = check(runLengthFile(width, height, data)).status == HrleCheck::Complete;

    RC_CLASSIFY(complete, "complete");
    RC_ASSERT(complete == isExactly(data, height, bytes));
}

} // namespace

TEST(HrleSize, FitsUpToTheLongestRowAndTheMostPixelsThatReadersTake)
{
    EXPECT_TRUE(vellum::hrleSizeFault({16777212, 1}).isEmpty());
    EXPECT_FALSE(vellum::hrleSizeFault({16777213, 1}).isEmpty());
    EXPECT_TRUE(vellum::hrleSizeFault({32768, 32768}).isEmpty());
    EXPECT_FALSE(vellum::hrleSizeFault({32768, 32769}).isEmpty());
}
