// What holds for all the small bitmap formats: devices, parts of pictures, damage, cancel.

#include <QBuffer>

#include <cstring>
#include <support/bitmapfile.h>
#include <support/devices.h>
#include <support/imageplugin.h>
#include <support/images.h>
#include <support/polls.h>

using namespace vellum::test;

namespace {

constexpr auto kRowsRead = QImageIOHandler::ImageOption(31);

struct Sample
{
    const char *name;
    QByteArray key;
    QByteArray bytes;
    bool bottomUp = false;
};

void PrintTo(const Sample &sample, std::ostream *out) { *out << sample.name; }

QByteArray runLength(const QSize &size)
{
    QByteArray bytes;
    for (int y = 0; y < size.height(); ++y) {
        bytes += char(size.width() - 4);
        bytes += char(y * 7);
        bytes += QByteArray("\0\x03\x01\x02\x03\0\x01\x09\0\0", 10);
    }
    return bytes + QByteArray("\0\x01", 2);
}

QByteArray plainGreys(const QSize &size)
{
    QByteArray bytes = "P2 " + QByteArray::number(size.width()) + ' ' +
        QByteArray::number(size.height()) + " 200\n";
    for (int i = 1; i < size.width() * size.height(); ++i)
        bytes += QByteArray::number(i * 37 % 201) + (i % 9 == 8 ? '\n' : ' ');
    return bytes + "7\n"; // of more than one digit it could break off in the middle
}

const std::vector<Sample> &samples()
{
    static const std::vector<Sample> all = [] {
        const auto noise = [](QImage::Format format) {
            return toPlain(makeValidNoise(37, 23, format, Storage::Plain));
        };
        const auto bmp = [](int bits, bool topDown) {
            BmpFile file;
            file.size = {37, 23};
            file.bits = bits;
            file.topDown = topDown;
            return makeBmp(file);
        };
        BmpFile runs;
        runs.size = {37, 23};
        runs.bits = 8;
        runs.compression = 1;
        runs.pixels = runLength(runs.size);
        return std::vector<Sample> {
            {"Bmp1", "bmp", bmp(1, false), true},
            {"Bmp8", "bmp", bmp(8, false), true},
            {"Bmp24", "bmp", bmp(24, false), true},
            {"Bmp32TopDown", "bmp", bmp(32, true)},
            {"BmpRuns", "bmp", makeBmp(runs), true},
            {"Pbm", "pbm", bitmapWritten(noise(QImage::Format_Mono), "pbm")},
            {"Pgm", "pgm", bitmapWritten(noise(QImage::Format_Grayscale8), "pgm")},
            {"PgmPlain", "pgm", plainGreys({37, 23})},
            {"Ppm", "ppm", bitmapWritten(noise(QImage::Format_RGB32), "ppm")},
            {"PpmWide", "ppm", bitmapWritten(noise(QImage::Format_RGBX64), "ppm")},
            {"Xbm", "xbm", bitmapWritten(noise(QImage::Format_MonoLSB), "xbm")},
            {"XpmIndexed", "xpm", bitmapWritten(noise(QImage::Format_Grayscale8), "xpm")},
            {"XpmColors", "xpm", bitmapWritten(noise(QImage::Format_RGB32), "xpm")},
        };
    }();
    return all;
}

class Bitmaps : public testing::TestWithParam<Sample>
{
protected:
    QByteArray bytes = GetParam().bytes;
    const QByteArray key = GetParam().key;
    const QImage whole = bitmapRead(bytes, key);

    std::unique_ptr<QImageIOHandler> handler(QIODevice &device) const
    {
        return makeHandler(QStringLiteral("bitmap"), &device, key);
    }

    /// In the image, of the \a i th row of the file.
    int rowOf(int i) const { return GetParam().bottomUp ? whole.height() - 1 - i : i; }

    bool sameRow(const Vellum &image, int y) const
    {
        const QRect row(0, y, whole.width(), 1);
        return samePixels(Vellum(toPlain(image).copy(row)), Vellum(whole.copy(row)));
    }
};

std::string nameOf(const testing::TestParamInfo<Sample> &info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(All, Bitmaps, testing::ValuesIn(samples()), nameOf);

} // namespace

TEST_P(Bitmaps, LookingAtAFileMovesNothing)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    for (const Sample &other : samples()) {
        const auto asked = makeHandler(QStringLiteral("bitmap"), &buffer, other.key);
        const bool alike = other.key == key || (other.key.startsWith('p') && key.startsWith('p'));
        EXPECT_EQ(asked->canRead(), alike) << other.name;
        EXPECT_EQ(buffer.pos(), 0);
    }
}

TEST_P(Bitmaps, SizeAndFormatAreToldBeforeThePixelsAreRead)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto reader = handler(buffer);
    ASSERT_TRUE(reader->supportsOption(QImageIOHandler::ImageFormat));
    EXPECT_EQ(reader->option(QImageIOHandler::Size).toSize(), whole.size());
    EXPECT_EQ(reader->option(QImageIOHandler::ImageFormat).value<QImage::Format>(), whole.format());

    QImage image;
    ASSERT_TRUE(reader->read(&image));

    EXPECT_EQ(image, whole);
}

TEST_P(Bitmaps, APipeGivesTheSamePixels)
{
    for (const qint64 atOnce : {qint64(32), qint64(1000), qint64(1) << 30}) {
        SequentialDevice pipe(bytes, atOnce);
        QImage image;
        ASSERT_TRUE(handler(pipe)->read(&image));
        EXPECT_EQ(image, whole);
    }
}

TEST_P(Bitmaps, AFileMayStartAnywhereOnItsDevice)
{
    QByteArray shifted = QByteArray(777, 'x') + bytes;
    QBuffer buffer(&shifted);
    buffer.open(QIODevice::ReadOnly);
    buffer.seek(777);
    QImage image;
    ASSERT_TRUE(handler(buffer)->read(&image));
    EXPECT_EQ(image, whole);
}

TEST_P(Bitmaps, AClippedReadIsAPartOfTheWhole)
{
    for (const QRect &clip : {QRect(0, 0, 5, 7), QRect(9, 11, 13, 5), QRect(30, 20, 20, 20)}) {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        const auto reader = handler(buffer);
        reader->setOption(QImageIOHandler::ClipRect, clip);
        QImage part;
        ASSERT_TRUE(reader->read(&part));

        EXPECT_EQ(part, whole.copy(clip.intersected(whole.rect())));
    }
}

TEST_P(Bitmaps, AScaledReadHasTheMeanOfThePicture)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto reader = handler(buffer);
    reader->setOption(QImageIOHandler::ScaledSize, QSize(1, 1));
    QImage scaled;
    ASSERT_TRUE(reader->read(&scaled));

    double red = 0;
    for (int y = 0; y < whole.height(); ++y) {
        for (int x = 0; x < whole.width(); ++x)
            red += qRed(whole.pixel(x, y));
    }
    EXPECT_NEAR(qRed(scaled.pixel(0, 0)), red / (37 * 23), 1.5);
}

TEST_P(Bitmaps, OfAFileThatBreaksOffTheRowsThatArrivedAreKept)
{
    int mostRows = 0;
    const int step = bytes.size() > 5000 ? 7 : 1; // the long ones are made of equal parts
    for (int length = 0; length < bytes.size(); length += step) {
        for (const Storage storage : kStorages) {
            Vellum image = makeImage(37, 23, whole.format(), storage, 8);
            QByteArray part = bytes.left(length);
            QBuffer buffer(&part);
            buffer.open(QIODevice::ReadOnly);
            const auto reader = handler(buffer);

            const bool isRead = reader->read(&image);

            const int rows = reader->option(kRowsRead).toInt();
            ASSERT_EQ(isRead, rows == 23) << length;
            ASSERT_GE(rows, storage == Storage::Plain ? mostRows : 0) << length;
            if (rows > mostRows) {
                mostRows = rows;
                for (int i = 0; i < rows; ++i)
                    ASSERT_TRUE(sameRow(image, rowOf(i))) << length << ", row " << i;
            }
        }
    }
    EXPECT_GE(mostRows, 22);
}

TEST_P(Bitmaps, WhoAsksToKeepGoingGetsWhatThereIs)
{
    for (const Storage storage : kStorages) {
        Vellum image = makeImage(37, 23, whole.format(), storage, 8);
        image.setReadOptions(vellum::KeepDamaged);
        QByteArray part = bytes.chopped(bytes.size() / 20 + 10);
        QBuffer buffer(&part);
        buffer.open(QIODevice::ReadOnly);
        const auto reader = handler(buffer);

        ASSERT_TRUE(reader->read(&image));

        const int rows = reader->option(kRowsRead).toInt();
        ASSERT_GT(rows, 0);
        ASSERT_LT(rows, 23);
        for (int i = 0; i < rows; ++i)
            ASSERT_TRUE(sameRow(image, rowOf(i)));
        const uchar *const lost = image.scanLineEx(rowOf(22));
        for (qint64 i = 0; i < qint64(37) * image.depth() / 8; ++i)
            ASSERT_EQ(lost[i], 0);
    }
}

TEST_P(Bitmaps, EveryTenthRowCanStopTheRead)
{
    for (const Storage storage : kStorages) {
        for (size_t row = 0; row < 23; row += 10) {
            Vellum image = makeImage(37, 23, whole.format(), storage, 8);
            Polls polls;
            polls.stopAt = row;
            polls.attach(image);
            QBuffer buffer(&bytes);
            buffer.open(QIODevice::ReadOnly);

            EXPECT_FALSE(handler(buffer)->read(&image));

            EXPECT_EQ(polls.percents.size(), row + 1);
            for (size_t i = 0; i < row; ++i)
                ASSERT_TRUE(sameRow(image, rowOf(int(i))));
        }
    }
}

TEST_P(Bitmaps, EveryTenthRowCanStopTheWrite)
{
    for (const Storage storage : kStorages) {
        for (size_t row = 0; row < 23; row += 10) {
            Vellum image = makeValidNoise(37, 23, QImage::Format_RGB32, storage);
            Polls polls;
            polls.stopAt = row;
            polls.attach(image);
            QBuffer buffer;
            buffer.open(QIODevice::WriteOnly);

            EXPECT_FALSE(handler(buffer)->write(image));

            EXPECT_EQ(polls.percents.size(), row + 1);
        }
    }
}

TEST_P(Bitmaps, ADeviceThatFillsUpIsAFailure)
{
    const Vellum image = makeValidNoise(37, 23, QImage::Format_RGB32, Storage::Big);
    const int size = bitmapWritten(image, key).size();
    for (int room = 0; room < size; room += 1 + room / 8) {
        LimitedDevice full(room);
        EXPECT_FALSE(handler(full)->write(image)) << room;
    }
}

TEST_P(Bitmaps, AnImageOfOnePixelComesBack)
{
    for (const Storage storage : kStorages) {
        Vellum image = makeImage(1, 1, QImage::Format_RGB32, storage);
        const QRgb white = 0xffffffff;
        std::memcpy(image.scanLineEx(0), &white, sizeof white);

        const QImage again = bitmapRead(bitmapWritten(image, key), key);

        EXPECT_EQ(again.size(), QSize(1, 1));
        EXPECT_EQ(again.pixel(0, 0), white);
    }
}

TEST(BitmapLimits, ASizeThatTheFileCannotHoldTakesNoMemory)
{
    BmpFile file;
    file.size = {1, 1};
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        file.bits = bits;
        QByteArray bytes = makeBmp(file);
        const QByteArray huge("\x40\x42\x0f\0\x40\x42\x0f\0", 8); // 1,000,000 twice
        bytes.replace(18, 8, huge);
        QImage image;
        EXPECT_FALSE(readBitmap(bytes, image, "bmp"));
        EXPECT_TRUE(image.isNull()) << bits;
    }
    for (int kind = 1; kind <= 6; ++kind) {
        const QByteArray bytes =
            "P" + QByteArray::number(kind) + " 1000000 1000000 65535 0 0 0 0 0 0";
        QImage image;
        EXPECT_FALSE(readBitmap(bytes, image, "ppm"));
        EXPECT_TRUE(image.isNull()) << kind;
    }
}

// All extremes of the two sides, on both kinds of devices; none may overflow anything.
TEST(BitmapLimits, NoSizeIsTooStrange)
{
    BmpFile file;
    file.size = {1, 1};
    for (const int bits : {1, 4, 8, 24}) {
        file.bits = bits;
        for (const quint32 width : {0U, 1U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
            for (const quint32 height : {0U, 1U, 0x7fffffffU, 0x80000000U, 0x80000001U}) {
                QByteArray bytes = makeBmp(file);
                for (int i = 0; i < 4; ++i) {
                    bytes[18 + i] = char(width >> 8 * i);
                    bytes[22 + i] = char(height >> 8 * i);
                }
                QImage image;
                EXPECT_EQ(readBitmap(bytes, image, "bmp"), width == 1 && height == 1);
            }
        }
    }
}
