// JPEG files that break off, are damaged, or claim more than they hold.

#include <QBuffer>
#include <QLoggingCategory>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <support/devices.h>
#include <support/jpegfile.h>
#include <support/messages.h>
#include <support/process.h>

using namespace vellum::test;

namespace {

constexpr int kWidth = 120;
constexpr int kHeight = 150;

class JpegDamage : public testing::TestWithParam<JpegKind>
{
protected:
    void SetUp() override { useOwnPlugins(); }

    bool isGrey() const { return GetParam().perPixel() == 1; }
    Vellum fitting(Storage storage) const
    {
        return makeNoise(kWidth, kHeight,
                         isGrey() ? QImage::Format_Grayscale8 : QImage::Format_RGB32, storage);
    }
    QByteArray makeFile() const
    {
        return makeJpeg(photoSamples(kWidth, kHeight, GetParam().perPixel()), GetParam());
    }

    MessageLog m_log;
};

/// Rows at the top of \a image that are those of \a whole.
int sameRows(const Vellum &image, const Vellum &whole)
{
    const auto bytes = size_t(image.width()) * size_t(image.depth()) / 8;
    for (int y = 0; y < image.height(); ++y) {
        if (std::memcmp(image.scanLineEx(y), whole.scanLineEx(y), bytes) != 0)
            return y;
    }
    return image.height();
}

bool isBlank(const Vellum &image, int y)
{
    const QByteArray zeros(image.width() * image.depth() / 8, '\0');
    return std::memcmp(image.scanLineEx(y), zeros.constData(), size_t(zeros.size())) == 0;
}

TEST_P(JpegDamage, RowsThatArrivedAreKeptAndTheReadFails)
{
    const QByteArray file = makeFile();
    const Vellum whole = readFresh(file, Storage::Plain);
    const bool comesInOrder = !GetParam().progressive && !GetParam().oneScanEach;
    int mostRows = 0;
    for (int percent = 20; percent < 100; percent += 5) {
        const QByteArray part = file.left(file.size() * percent / 100);
        for (const Storage storage : kStorages) {
            Vellum image = fitting(storage);
            EXPECT_FALSE(readInto(image, part)) << percent;

            Vellum kept = fitting(storage);
            kept.setReadOptions(vellum::KeepDamaged);
            EXPECT_TRUE(readInto(kept, part)) << percent;
            if (!comesInOrder)
                continue;
            int rows = kHeight; // that came
            while (rows > 0 && isBlank(kept, rows - 1))
                --rows;
            EXPECT_LT(rows, kHeight);
            EXPECT_GE(rows, mostRows);
            EXPECT_GE(sameRows(kept, whole), rows) << percent;
            EXPECT_GE(sameRows(image, whole), rows) << percent;
            mostRows = rows;
        }
    }
    if (comesInOrder) {
        EXPECT_GT(mostRows, kHeight * 3 / 4); // most of the file, most of its rows
    }
}

TEST_P(JpegDamage, MissingEndMarkerIsForgiven)
{
    const QByteArray file = makeFile();
    const bool missesNothing = !GetParam().arithmetic;
    Vellum image = fitting(Storage::Big);
    EXPECT_EQ(readInto(image, file.chopped(2)), missesNothing);
    if (missesNothing) {
        EXPECT_TRUE(samePixels(image, readFresh(file, Storage::Plain)));
    }
}

TEST_P(JpegDamage, EveryLengthComesToAnEnd)
{
    const QByteArray file = makeFile();
    const bool isSlow = GetParam().perPixel() == 4; // a transform for every read
    for (int size = 0; size < file.size() - 2; size += isSlow ? 499 : size < 700 ? 1 : 97) {
        Vellum image;
        image.setReadOptions(vellum::KeepDamaged);
        readInto(image, file.left(size));
        Vellum strict;
        EXPECT_FALSE(readInto(strict, file.left(size))) << size;
    }
}

TEST_P(JpegDamage, WrongBytesAnywhereComeToAnEnd)
{
    const QByteArray file = makeFile();
    std::mt19937 random(5);
    for (int i = 0; i < (GetParam().perPixel() == 4 ? 50 : 300); ++i) {
        QByteArray wrong = file;
        for (int n = 0; n < 3; ++n)
            wrong[int(random() % unsigned(wrong.size()))] = char(random());
        Vellum image;
        image.setReadOptions(random() % 2 ? vellum::KeepDamaged : 0U);
        readInto(image, wrong);
    }
}

TEST_P(JpegDamage, FailingDeviceIsLikeAFileThatBreaksOff)
{
    const QByteArray file = makeFile();
    FailingDevice device(file, file.size() / 2);
    Vellum image;
    EXPECT_FALSE(QImageReader(&device, "jpg").read(&image));
}

INSTANTIATE_TEST_SUITE_P(Kinds, JpegDamage, testing::ValuesIn(allKinds()), kindName);

class JpegLimits : public testing::Test
{
protected:
    void SetUp() override
    {
        useOwnPlugins();
        QLoggingCategory::setFilterRules("vellum.plugin.jpeg=true");
    }

    MessageLog m_log;
};

/// \a file with another size in its header.
QByteArray claiming(QByteArray file, int width, int height)
{
    for (const char code : {'\xc0', '\xc2', '\xc9'}) {
        const int at = file.indexOf(QByteArray("\xff") + code);
        if (at < 0)
            continue;
        file[at + 5] = char(height >> 8);
        file[at + 6] = char(height);
        file[at + 7] = char(width >> 8);
        file[at + 8] = char(width);
        break;
    }
    return file;
}

TEST_F(JpegLimits, FalseSizesTakeNoMemory)
{
    if (kSanitized)
        return; // address space says nothing
    for (const JpegKind &kind : allKinds()) {
        if (kind.arithmetic)
            continue; // flat pictures need next to no bytes
        const QByteArray file =
            claiming(makeJpeg(photoSamples(60, 60, kind.perPixel()), kind), 65000, 65000);
        EXPECT_TRUE(passesWithinAddressSpace(64 << 20, [&] {
            Vellum image;
            EXPECT_FALSE(readInto(image, file));
        })) << kind.name;
    }
}

TEST_F(JpegLimits, FilesWithThousandsOfScansAreRefused)
{
    JpegKind kind;
    kind.progressive = true;
    const QByteArray file = makeJpeg(photoSamples(200, 200, 3), kind);
    const int last = file.lastIndexOf("\xff\xda");
    QByteArray bomb = file.chopped(2);
    for (int i = 0; i < 20000; ++i)
        bomb += file.mid(last, 10); // the header of a scan, without its data
    bomb += "\xff\xd9";
    Vellum image;
    EXPECT_FALSE(readInto(image, bomb));
}

TEST_F(JpegLimits, PicturesOfUnknownComponentsAreRefused)
{
    QByteArray file = makeJpeg(photoSamples(30, 30, 3), JpegKind());
    const int at = file.indexOf("\xff\xc0");
    file[at + 9] = 2; // components
    Vellum image;
    EXPECT_FALSE(readInto(image, file));
    EXPECT_FALSE(m_log.messages().isEmpty());
}

TEST_F(JpegLimits, OtherFilesAreNotTaken)
{
    for (const QByteArray &file :
         {QByteArray(), QByteArray("\xff\xd8"), QByteArray("\xff\xd8\xfe"), QByteArray("GIF89a"),
          QByteArray(5000, '\xff'), QByteArray("\xff\xd8\xff"), QByteArray("\xff\xd8\xff\xd9")}) {
        Vellum image;
        EXPECT_FALSE(readInto(image, file));
        EXPECT_TRUE(image.isNull());
    }
}

TEST_F(JpegLimits, LookingAtADeviceDoesNotMoveIt)
{
    QByteArray file = makeJpeg(photoSamples(30, 30, 3), JpegKind());
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    EXPECT_TRUE(QImageReader(&buffer).canRead());
    EXPECT_EQ(buffer.pos(), 0);
}

TEST_F(JpegLimits, DeviceStandsBehindThePictureAfterwards)
{
    const QByteArray file = makeJpeg(photoSamples(30, 30, 3), JpegKind());
    QByteArray two = file + file + "rest";
    QBuffer buffer(&two);
    buffer.open(QIODevice::ReadOnly);
    for (int i = 1; i <= 2; ++i) {
        QImage image;
        ASSERT_TRUE(QImageReader(&buffer, "jpg").read(&image));
        EXPECT_EQ(buffer.pos(), i * file.size());
    }
}

TEST(JpegMessages, AreSilentUntilAskedFor)
{
    useOwnPlugins();
    const QByteArray file = makeJpeg(photoSamples(30, 30, 3), JpegKind()).chopped(60);
    Vellum image;
    for (const bool isAskedFor : {false, true}) {
        QLoggingCategory::setFilterRules(isAskedFor ? "vellum.plugin.jpeg=true" : "");
        testing::internal::CaptureStderr();
        EXPECT_FALSE(readInto(image, file));
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(said.empty(), !isAskedFor) << said;
        EXPECT_EQ(said.find("vellum.plugin.jpeg") != std::string::npos, isAskedFor);
    }
}

} // namespace
