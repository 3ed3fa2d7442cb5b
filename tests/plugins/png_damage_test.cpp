// PNG files that are cut off, lie about their size or come through a pipe.

#include <QtEndian>

#include <cstring>
#include <plugins/png.h>
#include <shared/imagehandler.h>
#include <support/devices.h>
#include <support/images.h>
#include <support/process.h>
#include <zlib.h>

using namespace vellum::test;

namespace {

constexpr int kSignature = 8;

struct Chunk
{
    int at = 0; ///< of its data
    int length = 0;
};

std::vector<Chunk> chunksOf(const QByteArray &png, const char *type)
{
    std::vector<Chunk> chunks;
    for (int at = kSignature; at + 8 <= png.size();) {
        const int length = int(qFromBigEndian<quint32>(png.constData() + at));
        if (png.mid(at + 4, 4) == type)
            chunks.push_back({at + 8, length});
        at += length + 12;
    }
    return chunks;
}

/// Decompressed bytes of pixels in the first \a length bytes of \a png, by zlib.
qint64 inflatedBytes(const QByteArray &png, int length)
{
    QByteArray data;
    for (const Chunk &chunk : chunksOf(png, "IDAT"))
        data += png.mid(chunk.at, qBound(0, length - chunk.at, chunk.length));
    z_stream stream {};
    inflateInit(&stream);
    std::vector<Bytef> out(1 << 16);
    stream.next_in = reinterpret_cast<Bytef *>(data.data());
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    inflate(&stream, Z_SYNC_FLUSH);
    const auto bytes = qint64(stream.total_out);
    inflateEnd(&stream);
    return bytes;
}

struct Arrived
{
    QImage image; ///< the pixels that arrived, on zeros
    int rows = 0; ///< whole ones from the top, when there is one pass
    bool all = true;
};

/// Copies from \a whole what \a bytes decompressed bytes hold, by the definition of the format.
Arrived arrivedIn(const QImage &whole, int storedBits, bool interlaced, qint64 bytes)
{
    Arrived arrived {QImage(whole.size(), whole.format())};
    std::memset(arrived.image.bits(), 0, size_t(arrived.image.sizeInBytes()));
    const int pixel = whole.depth() / 8;
    for (int pass = 0; pass < (interlaced ? PNG_INTERLACE_ADAM7_PASSES : 1); ++pass) {
        const int x = interlaced ? PNG_PASS_START_COL(pass) : 0;
        const int y = interlaced ? PNG_PASS_START_ROW(pass) : 0;
        const int stepX = interlaced ? 1 << PNG_PASS_COL_SHIFT(pass) : 1;
        const int stepY = interlaced ? 1 << PNG_PASS_ROW_SHIFT(pass) : 1;
        const int columns = (whole.width() - x + stepX - 1) / stepX;
        for (int v = y; v < whole.height() && columns > 0; v += stepY) {
            bytes -= 1 + (qint64(columns) * storedBits + 7) / 8;
            arrived.all = bytes >= 0;
            if (!arrived.all)
                return arrived;
            for (int u = x; u < whole.width(); u += stepX) {
                std::memcpy(arrived.image.scanLine(v) + u * pixel,
                            whole.constScanLine(v) + u * pixel, size_t(pixel));
            }
            arrived.rows = v + 1;
        }
    }
    return arrived;
}

struct CutCase
{
    const char *name;
    int type;
    int storedBits;
    bool interlaced;
    bool manyChunks;
    bool sequential;
};

void PrintTo(const CutCase &cut, std::ostream *out) { *out << cut.name; }

class PngCut : public testing::TestWithParam<CutCase>
{
protected:
    static QByteArray makeFile()
    {
        PngFile file;
        file.size = {19, 11};
        file.type = GetParam().type;
        file.interlaced = GetParam().interlaced;
        if (GetParam().manyChunks) {
            file.addChunks = [](png_structp png, png_infop) {
                png_set_compression_buffer_size(png, 50);
            };
        }
        return makePng(file);
    }

    static bool read(QByteArray bytes, QImage &image)
    {
        if (!GetParam().sequential)
            return readPng(bytes, image);
        SequentialDevice pipe(bytes, 37);
        return readPng(pipe, image);
    }
};

INSTANTIATE_TEST_SUITE_P(
    Files, PngCut,
    testing::Values(CutCase {"Rows", PNG_COLOR_TYPE_RGB, 24, false, false, false},
                    CutCase {"RowsInManyChunks", PNG_COLOR_TYPE_RGB, 24, false, true, false},
                    CutCase {"RowsThroughAPipe", PNG_COLOR_TYPE_RGB, 24, false, true, true},
                    CutCase {"Grey", PNG_COLOR_TYPE_GRAY, 8, false, false, false},
                    CutCase {"Interlaced", PNG_COLOR_TYPE_RGB_ALPHA, 32, true, false, false},
                    CutCase {"InterlacedInManyChunks", PNG_COLOR_TYPE_GRAY, 8, true, true, false}),
    [](const auto &cut) { return cut.param.name; });

} // namespace

TEST_P(PngCut, RowsThatArrivedAreKeptAtEveryLength)
{
    const QByteArray file = makeFile();
    QImage whole;
    ASSERT_TRUE(readPng(file, whole));
    const int pixelsAt = chunksOf(file, "IDAT").front().at;
    for (int length = 0; length < file.size(); ++length) {
        const Arrived arrived = arrivedIn(whole, GetParam().storedBits, GetParam().interlaced,
                                          inflatedBytes(file, length));
        for (const Storage storage : kStorages) {
            for (const bool keep : {false, true}) {
                Vellum image = makeNoise(19, 11, whole.format(), storage);
                const Vellum before = makeNoise(19, 11, whole.format(), Storage::Plain);
                image.setReadOptions(keep ? int(vellum::KeepDamaged) : 0);

                const bool isRead = read(file.left(length), image);

                SCOPED_TRACE(length);
                if (length < pixelsAt) {
                    ASSERT_FALSE(isRead);
                    ASSERT_TRUE(samePixels(image, before));
                    continue;
                }
                ASSERT_EQ(isRead, keep || arrived.all);
                if (isRead) {
                    ASSERT_TRUE(samePixels(image, arrived.image));
                }
                for (int y = 0; y < arrived.rows && !GetParam().interlaced; ++y) {
                    ASSERT_EQ(0,
                              std::memcmp(image.scanLineEx(y), whole.constScanLine(y),
                                          size_t(19 * whole.depth() / 8)));
                }
            }
        }
    }
}

TEST_P(PngCut, TheNumberOfRowsIsTold)
{
    if (GetParam().interlaced)
        GTEST_SKIP() << "rows are complete only at the end";
    const QByteArray file = makeFile();
    QImage whole;
    ASSERT_TRUE(readPng(file, whole));
    for (int length = chunksOf(file, "IDAT").front().at; length < file.size(); length += 7) {
        QByteArray bytes = file.left(length);
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        const auto handler = makeHandler(QStringLiteral("png"), &buffer);
        QImage image;

        static_cast<void>(handler->read(&image));

        EXPECT_EQ(handler->option(vellum::plugin::kRowsRead).toInt(),
                  arrivedIn(whole, GetParam().storedBits, false, inflatedBytes(file, length)).rows);
    }
}

TEST_P(PngCut, AScaledReadKeepsWhatArrived)
{
    const QByteArray file = makeFile();
    QImage whole;
    ASSERT_TRUE(readPng(file, whole));
    for (int length = chunksOf(file, "IDAT").front().at; length < file.size(); length += 5) {
        const Arrived arrived = arrivedIn(whole, GetParam().storedBits, GetParam().interlaced,
                                          inflatedBytes(file, length));
        for (const bool keep : {false, true}) {
            QByteArray bytes = file.left(length);
            QBuffer buffer(&bytes);
            buffer.open(QIODevice::ReadOnly);
            const auto handler = makeHandler(QStringLiteral("png"), &buffer);
            handler->setOption(QImageIOHandler::ScaledSize, QSize(5, 4));
            Vellum image = makeNoise(5, 4, whole.format(), Storage::Big);
            image.setReadOptions(keep ? int(vellum::KeepDamaged) : 0);

            EXPECT_EQ(handler->read(&image), keep || arrived.all);

            if (keep && arrived.rows == 0) {
                Vellum zeros(5, 4, whole.format());
                zeros.fill(0);
                EXPECT_TRUE(samePixels(image, zeros)) << length;
            }
        }
    }
}

TEST(PngDamage, ADamagedChecksumOfPixelsIsADamagedFile)
{
    PngFile file;
    file.size = {19, 40};
    file.addChunks = [](png_structp png, png_infop) { png_set_compression_buffer_size(png, 300); };
    const QByteArray bytes = makePng(file);
    QImage whole;
    ASSERT_TRUE(readPng(bytes, whole));
    const std::vector<Chunk> chunks = chunksOf(bytes, "IDAT");
    ASSERT_GT(chunks.size(), 3U);
    QByteArray damaged = bytes;
    const int checksumAt = chunks[1].at + chunks[1].length;
    damaged[checksumAt] = char(~damaged[checksumAt]);

    Vellum image = makeNoise(19, 40, whole.format(), Storage::Big);
    EXPECT_FALSE(readPng(damaged, image));

    const int rows = arrivedIn(whole, 24, false, inflatedBytes(bytes, checksumAt)).rows;
    ASSERT_GT(rows, 0);
    for (int y = 0; y < rows; ++y)
        EXPECT_EQ(0, std::memcmp(image.scanLineEx(y), whole.constScanLine(y), 19 * 4)) << y;
}

namespace {

/// A file of 60 bytes.
QByteArray claiming(quint32 width, quint32 height, bool interlaced)
{
    QByteArray header("IHDR\0\0\0\0\0\0\0\0\x08\x06\0\0\0", 17);
    qToBigEndian(width, header.data() + 4);
    qToBigEndian(height, header.data() + 8);
    header[16] = char(interlaced);
    return QByteArray("\x89PNG\r\n\x1a\n") + pngChunk(header) + pngChunk("IDAT\x78\x01\x01") +
        pngChunk("IEND");
}

constexpr qint64 kLittle = 96 << 20;

} // namespace

TEST(PngLimits, TheSizeOfAFileJustifiesTheMemoryForIt)
{
    for (const bool interlaced : {false, true}) {
        const QByteArray bytes = claiming(1000000, 1000000, interlaced);
        ASSERT_EQ(bytes.size(), 60);
        for (const QSize &scaled : {QSize(), QSize(10, 10)}) {
            const auto read = [&] {
                QByteArray copy = bytes;
                QBuffer buffer(&copy);
                buffer.open(QIODevice::ReadOnly);
                const auto handler = makeHandler(QStringLiteral("png"), &buffer);
                EXPECT_EQ(handler->option(QImageIOHandler::Size).toSize(), QSize(1000000, 1000000));
                handler->setOption(QImageIOHandler::ScaledSize, scaled);
                Vellum image;
                image.setReadOptions(vellum::KeepDamaged);
                EXPECT_FALSE(handler->read(&image));
                EXPECT_TRUE(image.isNull());
            };
            if (kSanitized)
                read();
            else
                EXPECT_TRUE(passesWithinAddressSpace(kLittle, read));
        }
    }
}

TEST(PngLimits, HeaderWithARowTooWideForAnyImageIsRefused)
{
    for (const quint32 width : {0x7fffffffU, 0x10000000U, 0x20000000U}) {
        const QByteArray bytes = claiming(width, 1, false);
        for (const bool sequential : {false, true}) {
            for (const QSize &scaled : {QSize(), QSize(10, 10)}) {
                const auto read = [&] {
                    QByteArray copy = bytes;
                    QBuffer buffer(&copy);
                    buffer.open(QIODevice::ReadOnly);
                    SequentialDevice pipe(bytes, 4096);
                    const auto handler =
                        makeHandler(QStringLiteral("png"),
                                    sequential ? static_cast<QIODevice *>(&pipe) : &buffer);
                    EXPECT_FALSE(handler->option(QImageIOHandler::Size).toSize().isValid());
                    handler->setOption(QImageIOHandler::ScaledSize, scaled);
                    Vellum image;
                    EXPECT_FALSE(handler->read(&image));
                };
                if (kSanitized)
                    read();
                else
                    EXPECT_TRUE(passesWithinAddressSpace(kLittle, read));
            }
        }
    }
}

TEST(PngLimits, AReadCostsTheResultAndLittleElse)
{
    if (kSanitized)
        GTEST_SKIP() << "memory says nothing here";
    constexpr qint64 kWhole = 8000 * 4000 * 4;
    QImage flat(8000, 4000, QImage::Format_RGB32);
    flat.fill(qRgb(10, 20, 30));
    const QByteArray bytes = writePng(flat, {{QImageIOHandler::CompressionRatio, 12}});
    flat = QImage();
    const std::pair<QSize, qint64> cases[] = {{QSize(80, 40), 0}, {QSize(8000, 4000), kWhole}};
    for (const auto &[size, cost] : cases) {
        const auto read = [&bytes, size = size] {
            QByteArray copy = bytes;
            QBuffer buffer(&copy);
            buffer.open(QIODevice::ReadOnly);
            const auto handler = makeHandler(QStringLiteral("png"), &buffer);
            handler->setOption(QImageIOHandler::ScaledSize, size);
            Vellum image;
            EXPECT_TRUE(handler->read(&image));
            EXPECT_EQ(image.size(), size);
            EXPECT_EQ(reinterpret_cast<const QRgb *>(image.scanLineEx(7))[7], qRgb(10, 20, 30));
        };
        EXPECT_TRUE(passesWithinAddressSpace(cost + (24 << 20), read)) << size.width();
    }
}

TEST(PngLimits, TextsThatExpandDoNotFillTheMemory)
{
    const QByteArray zeros(7000000, ' ');
    const QByteArray bytes = pngWith([&](png_structp png, png_infop info) {
        setText(png, info, "Title", "first", PNG_TEXT_COMPRESSION_NONE);
        for (int i = 0; i < 50; ++i)
            setText(png, info, "Bomb", zeros.constData(), PNG_TEXT_COMPRESSION_zTXt);
    });
    ASSERT_LT(bytes.size(), 1000000);
    const auto read = [&] {
        Vellum image;
        EXPECT_TRUE(readPng(bytes, image));
        EXPECT_EQ(image.size(), QSize(37, 23));
        EXPECT_EQ(image.text("Title"), "first");
    };
    if (kSanitized)
        read();
    else
        EXPECT_TRUE(passesWithinAddressSpace(2 * kLittle, read));
}

TEST(PngDevices, APipeGivesTheSamePixels)
{
    for (const bool interlaced : {false, true}) {
        PngFile file;
        file.size = {61, 143}; // more than fits into a buffer of libpng
        file.interlaced = interlaced;
        const QByteArray bytes = makePng(file);
        QImage expected;
        ASSERT_TRUE(readPng(bytes, expected));
        for (const int atOnce : {8, 61, 100000}) {
            SequentialDevice pipe(bytes, atOnce);
            Vellum image = makeImage(61, 143, expected.format(), Storage::Big);

            ASSERT_TRUE(readPng(pipe, image));

            EXPECT_TRUE(samePixels(image, expected));
        }
    }
}

TEST(PngDevices, WhatFollowsThePictureIsNotTouched)
{
    PngFile file;
    const QByteArray first = makePng(file);
    file.seed = 2;
    file.interlaced = true;
    const QByteArray second = makePng(file);
    QImage expected;
    ASSERT_TRUE(readPng(second, expected));

    SequentialDevice pipe(first + second, 1000);
    QByteArray both = first + second;
    QBuffer buffer(&both);
    buffer.open(QIODevice::ReadOnly);
    for (QIODevice *const device :
         {static_cast<QIODevice *>(&pipe), static_cast<QIODevice *>(&buffer)}) {
        QImage image;
        ASSERT_TRUE(readPng(*device, image));
        ASSERT_TRUE(readPng(*device, image));

        EXPECT_EQ(image, expected);
    }
}

TEST(PngDevices, AskingWhetherAFileCanBeReadOnlyPeeks)
{
    QByteArray bytes = makePng(PngFile());
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    SequentialDevice pipe(bytes, 1000);
    for (QIODevice *const device :
         {static_cast<QIODevice *>(&pipe), static_cast<QIODevice *>(&buffer)}) {
        EXPECT_TRUE(makeHandler(QStringLiteral("png"), device)->canRead());
        EXPECT_TRUE(makeHandler(QStringLiteral("png"), device)->canRead());
        EXPECT_EQ(device->read(8), bytes.left(8));
        EXPECT_FALSE(makeHandler(QStringLiteral("png"), device)->canRead());
    }
}

TEST(PngDevices, AFullDiskFailsTheWriteAtEveryLength)
{
    const Vellum image = makeNoise(19, 11, QImage::Format_RGB32, Storage::Big);
    const int size = writePng(image).size();
    for (int room = 0; room < size; ++room) {
        LimitedDevice disk(room);
        ASSERT_FALSE(makeHandler(QStringLiteral("png"), &disk)->write(image)) << room;
    }
    LimitedDevice disk(size);
    EXPECT_TRUE(makeHandler(QStringLiteral("png"), &disk)->write(image));
}
