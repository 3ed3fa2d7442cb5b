// TIFF files that are cut off, broken or make false claims.

#include <QBuffer>

#include <cstring>
#include <random>
#include <support/devices.h>
#include <support/imageplugin.h>
#include <support/images.h>
#include <support/polls.h>
#include <support/process.h>
#include <support/tifffile.h>

using namespace vellum::test;

namespace {

TiffFile smallStrips()
{
    TiffFile file;
    file.size = {20, 95};
    file.rowsPerStrip = 5;
    return file;
}

/// The directory stands behind the pixels: it must come first for a file to be cut off in its
/// pixels. \return a file whose last strips are missing
QByteArray cutOff(const TiffFile &file, int bytes)
{
    // Written anew, as a copy whose pixels are at the end.
    const QByteArray whole = makeTiff(file).bytes;
    quint32 directory = 0;
    std::memcpy(&directory, whole.constData() + 4, 4);
    const QByteArray tail = whole.mid(int(directory));
    QByteArray moved =
        whole.left(8) + QByteArray(tail.size(), '\0') + whole.mid(8, int(directory) - 8);
    const auto shift = quint32(tail.size());
    // All offsets of a little-endian classic file lie behind the header: those of values in the
    // directory move to the front, those of strips to the back.
    QByteArray table = tail;
    quint16 count = 0;
    std::memcpy(&count, table.constData(), 2);
    const auto at32 = [&table](int at) {
        quint32 value = 0;
        std::memcpy(&value, table.constData() + at, 4);
        return value;
    };
    const auto set32 = [&table](int at, quint32 value) {
        std::memcpy(table.data() + at, &value, 4);
    };
    for (int i = 0; i < count; ++i) {
        const int entry = 2 + 12 * i;
        quint16 tag = 0;
        quint16 type = 0;
        std::memcpy(&tag, table.constData() + entry, 2);
        std::memcpy(&type, table.constData() + entry + 2, 2);
        const quint32 values = at32(entry + 4);
        const quint32 size = values * (type == 3 ? 2 : type == 4 ? 4 : 1);
        const bool isInside = size > 4;
        quint32 first = at32(entry + 8);
        if (isInside) {
            first = first >= directory ? first - directory + 8 : first + shift;
            set32(entry + 8, first);
        }
        if (tag != TIFFTAG_STRIPOFFSETS)
            continue;
        EXPECT_EQ(type, 4) << "offsets of 32 bits";
        for (quint32 v = 0; v < values; ++v) {
            const int place = isInside ? int(first - 8 + 4 * v) : entry + 8;
            set32(place, at32(place) + shift);
        }
    }
    moved.replace(8, table.size(), table);
    const quint32 eight = 8;
    std::memcpy(moved.data() + 4, &eight, 4);
    return moved.left(moved.size() - bytes);
}

} // namespace

TEST(TiffDamage, RowsThatArrivedAreKept)
{
    const TiffFile file = smallStrips();
    QImage whole;
    ASSERT_TRUE(readTiff(makeTiff(file).bytes, whole));
    QImage moved;
    ASSERT_TRUE(readTiff(cutOff(file, 0), moved));
    ASSERT_EQ(moved, whole);
    const int stripBytes = 20 * 3 * 5;
    const QByteArray bytes = cutOff(file, stripBytes * 4 + 7); // five strips are not complete
    for (const Storage storage : kStorages) {
        Vellum image = makeImage(20, 95, QImage::Format_RGB32, storage);
        EXPECT_FALSE(readTiff(bytes, image));
        for (int y = 0; y < 70; ++y)
            ASSERT_EQ(0, std::memcmp(image.scanLineEx(y), whole.constScanLine(y), 20 * 4)) << y;
    }
}

TEST(TiffDamage, WhoAsksToGoOnGetsTheRestAsZeros)
{
    const TiffFile file = smallStrips();
    QImage whole;
    ASSERT_TRUE(readTiff(makeTiff(file).bytes, whole));
    const QByteArray bytes = cutOff(file, 20 * 3 * 5 * 4 + 7);
    for (const Storage storage : kStorages) {
        Vellum image = makeImage(20, 95, QImage::Format_RGB32, storage);
        image.setReadOptions(vellum::KeepDamaged);
        ASSERT_TRUE(readTiff(bytes, image));
        for (int y = 0; y < 70; ++y)
            ASSERT_EQ(0, std::memcmp(image.scanLineEx(y), whole.constScanLine(y), 20 * 4)) << y;
        for (int y = 70; y < 95; ++y)
            ASSERT_EQ(*reinterpret_cast<const quint32 *>(image.scanLineEx(y)), 0U) << y;
    }
}

TEST(TiffDamage, FilesCutOffAnywhereEndQuietly)
{
    for (const int tile : {0, 16}) {
        for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_PACKBITS}) {
            TiffFile file;
            file.tile = tile;
            file.compression = quint16(compression);
            const QByteArray bytes = makeTiff(file).bytes;
            for (int size = 0; size < bytes.size(); size += 13) {
                QImage image;
                EXPECT_FALSE(readTiff(bytes.left(size), image)) << size;
            }
        }
    }
}

TEST(TiffDamage, WrongBytesAnywhereEndQuietly)
{
    std::mt19937 random(7);
    for (const int compression :
         {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_ZSTD}) {
        TiffFile file;
        file.compression = quint16(compression);
        file.tile = compression == COMPRESSION_LZW ? 16 : 0;
        const QByteArray bytes = makeTiff(file).bytes;
        for (int i = 0; i < 400; ++i) {
            QByteArray wrong = bytes;
            for (int n = 0; n < 3; ++n) // mostly in the directory, which is short
                wrong[int(wrong.size() - 1 - random() % (n == 0 ? unsigned(wrong.size()) : 250))] =
                    char(random());
            Vellum image;
            readTiff(wrong, image);
            image.freeChannelsData();
        }
    }
}

TEST(TiffDamage, ADeviceThatFailsMakesTheReadFail)
{
    const QByteArray bytes = makeTiff(smallStrips()).bytes;
    for (const int failAt : {0, 4, 100, 3000}) {
        FailingDevice device(bytes, failAt);
        QImage image;
        EXPECT_FALSE(makeHandler(QStringLiteral("tiff"), &device)->read(&image));
    }
}

TEST(TiffLimits, ASizeThatTheFileCannotHoldTakesNoMemory)
{
    if (kSanitized)
        GTEST_SKIP() << "sanitizers reserve memory of their own";
    for (const int tag : {TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH}) {
        for (const int tile : {0, 16}) {
            TiffFile file;
            file.tile = tile;
            file.rowsPerStrip = 23;
            QByteArray bytes = makeTiff(file).bytes;
            // The entry of the tag: number, type 3, one value.
            const int at =
                bytes.indexOf(QByteArray(tag == TIFFTAG_IMAGEWIDTH ? "\x00\x01" : "\x01\x01", 2) +
                                  QByteArray("\x03\x00\x01\x00\x00\x00", 6),
                              bytes.size() / 2);
            ASSERT_GT(at, 0);
            bytes[at + 2] = 4; // a number of 32 bits
            bytes.replace(at + 8, 4, QByteArray("\x00\x00\x00\x10", 4)); // 2^28
            EXPECT_TRUE(passesWithinAddressSpace(200 << 20, [&] {
                QImage image;
                EXPECT_FALSE(readTiff(bytes, image));
            }));
        }
    }
}

TEST(TiffLimits, TilesLargerThanAnyPictureAreRefused)
{
    TiffFile file;
    file.tile = 16;
    QByteArray bytes = makeTiff(file).bytes;
    const int at = bytes.indexOf(QByteArray("\x42\x01\x03\x00\x01\x00\x00\x00\x10", 9));
    ASSERT_GT(at, 0);
    bytes[at + 9] = char(0xff); // 65296 pixels wide
    QImage image;
    EXPECT_FALSE(readTiff(bytes, image));
}

TEST(TiffLimits, ARowOfTilesThatTheFileCannotHoldTakesNoMemory)
{
    if (kSanitized)
        GTEST_SKIP() << "sanitizers reserve memory of their own";
    TiffFile file;
    file.size = {9000, 10};
    file.tile = 16;
    QByteArray bytes = makeTiff(file).bytes;
    const int at = bytes.indexOf(QByteArray("\x43\x01\x03\x00\x01\x00\x00\x00\x10", 9));
    ASSERT_GT(at, 0);
    bytes[at + 8] = 0;
    bytes[at + 9] = 0x10; // tiles 4096 rows high: 110 MB of which 10 rows are wanted
    EXPECT_TRUE(passesWithinAddressSpace(100 << 20, [&] {
        QImage image;
        EXPECT_FALSE(readTiff(bytes, image));
    }));
}

TEST(TiffCancel, EveryTenthRowStopsTheRead)
{
    for (const int tile : {0, 16}) {
        TiffFile file = smallStrips();
        file.tile = tile;
        const QByteArray bytes = makeTiff(file).bytes;
        QImage whole;
        ASSERT_TRUE(readTiff(bytes, whole));
        for (const Storage storage : kStorages) {
            for (size_t row = 0; row < 95; row += 10) {
                Vellum image = makeImage(20, 95, whole.format(), storage);
                Polls polls;
                polls.stopAt = row;
                polls.attach(image);
                EXPECT_FALSE(readTiff(bytes, image));
                EXPECT_EQ(polls.percents.size(), row + 1);
                for (int y = 0; y < int(row); ++y)
                    ASSERT_EQ(0, std::memcmp(image.scanLineEx(y), whole.constScanLine(y), 20 * 4));
            }
        }
    }
}

TEST(TiffRecognition, OnlyPeeks)
{
    QByteArray bytes = makeTiff({}).bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    EXPECT_TRUE(makeHandler(QStringLiteral("tiff"), &buffer)->canRead());
    EXPECT_EQ(buffer.pos(), 0);
    for (const QByteArray &other : {QByteArray(), QByteArray("II"), QByteArray("II*x"),
                                    QByteArray("\x89PNG\r\n\x1a\n"), QByteArray("MM\0", 3)}) {
        QBuffer others;
        others.setData(other);
        others.open(QIODevice::ReadOnly);
        EXPECT_FALSE(makeHandler(QStringLiteral("tiff"), &others)->canRead());
    }
}
