// BMP files as they are read: what Qt itself reads is the measure where it can be.

#include <cstring>
#include <random>
#include <support/bitmapfile.h>
#include <support/images.h>

using namespace vellum::test;

namespace {

std::vector<BmpFile> uncompressedFiles()
{
    std::vector<BmpFile> files;
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        for (const quint32 headerBytes : {12U, 40U, 64U, 108U, 124U}) {
            for (const bool topDown : {false, true}) {
                if (headerBytes == 12 && (topDown || bits == 16 || bits == 32))
                    continue;
                BmpFile file;
                file.bits = bits;
                file.headerBytes = headerBytes;
                file.topDown = topDown;
                files.push_back(file);
            }
        }
    }
    return files;
}

std::string nameOf(const testing::TestParamInfo<BmpFile> &info)
{
    const BmpFile &file = info.param;
    return "Bits" + std::to_string(file.bits) + "Header" + std::to_string(file.headerBytes) +
        (file.topDown ? "TopDown" : "");
}

class BmpKinds : public testing::TestWithParam<BmpFile>
{
};

INSTANTIATE_TEST_SUITE_P(All, BmpKinds, testing::ValuesIn(uncompressedFiles()), nameOf);

QImage readBmp(const QByteArray &bytes) { return bitmapRead(bytes, "bmp"); }

/// Qt 5.15 does not fill levels of less than 8 bits up: its brightest of 5 bits is 248.
QImage withCoarseLevels(QImage image, const BmpFile &file)
{
    if (file.bits != 16)
        return image;
    const std::array<quint32, 4> masks =
        file.compression == 0 ? std::array<quint32, 4> {0x7c00, 0x03e0, 0x001f, 0} : file.masks;
    const auto kept = [](quint32 mask) { return 255 << (8 - int(qPopulationCount(mask))) & 255; };
    const QRgb bits =
        qRgba(kept(masks[0]), kept(masks[1]), kept(masks[2]), masks[3] != 0 ? kept(masks[3]) : 255);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, image.pixel(x, y) & bits);
    }
    return image;
}

} // namespace

TEST_P(BmpKinds, APlainImageGetsWhatQtReads)
{
    const QByteArray bytes = makeBmp(GetParam());
    const QImage expected = qtRead(bytes, "bmp");

    const QImage image = readBmp(bytes);

    EXPECT_EQ(image.format(), expected.format());
    EXPECT_EQ(withCoarseLevels(image, GetParam()), expected);
    if (image.format() == QImage::Format_Indexed8) { // Qt may exchange the colours of one bit
        EXPECT_EQ(image.colorTable(), expected.colorTable());
    }
    EXPECT_EQ(image.dotsPerMeterX(), expected.dotsPerMeterX());
    EXPECT_EQ(image.dotsPerMeterY(), expected.dotsPerMeterY());
}

TEST_P(BmpKinds, EveryStorageIsFilledWithTheSamePixels)
{
    const QByteArray bytes = makeBmp(GetParam());
    const QImage expected = readBmp(bytes);
    for (const Storage storage : kStorages) {
        Vellum image =
            makeImage(expected.width(), expected.height(), expected.format(), storage, 8);
        ASSERT_TRUE(readBitmap(bytes, image, "bmp"));

        EXPECT_EQ(image.isBigImage(), storage == Storage::Big);
        EXPECT_TRUE(samePixels(image, expected));
    }
}

TEST_P(BmpKinds, PixelsMayStartBehindAGap)
{
    BmpFile file = GetParam();
    const QImage expected = readBmp(makeBmp(file));
    file.gap = 1000;

    EXPECT_EQ(readBmp(makeBmp(file)), expected);
}

TEST_P(BmpKinds, AFileMayEndWithoutThePaddingOfTheLastRow)
{
    BmpFile file = GetParam();
    file.size = {file.bits == 1 ? 17 : 5, 3};
    const QByteArray bytes = makeBmp(file);
    const int rowBytes = (file.size.width() * file.bits + 7) / 8;
    const int padding = (4 - rowBytes % 4) % 4;

    EXPECT_EQ(readBmp(bytes.chopped(padding)), readBmp(bytes));
    QImage image;
    EXPECT_FALSE(readBitmap(bytes.chopped(padding + 1), image, "bmp"));
}

TEST(BmpMasks, PartsOfColorsLieWhereTheMasksSay)
{
    struct Masks
    {
        int bits;
        std::array<quint32, 4> masks;
    };
    const Masks kinds[] = {
        {16, {0xf800, 0x07e0, 0x001f, 0}},
        {16, {0x7c00, 0x03e0, 0x001f, 0}},
        {16, {0x0f00, 0x00f0, 0x000f, 0}},
        {16, {0x0f00, 0x00f0, 0x000f, 0xf000}},
        {16, {0x7c00, 0x03e0, 0x001f, 0x8000}},
        {32, {0x000000ff, 0x0000ff00, 0x00ff0000, 0}},
        {32, {0x000000ff, 0x0000ff00, 0x00ff0000, 0xff000000}},
        {32, {0xff000000, 0x00ff0000, 0x0000ff00, 0x000000ff}},
    };
    for (const Masks &kind : kinds) {
        BmpFile file;
        file.bits = kind.bits;
        file.masks = kind.masks;
        file.compression = 3;
        file.headerBytes = 108;
        const QImage expected = readBmp(makeBmp(file));
        EXPECT_EQ(withCoarseLevels(expected, file), qtRead(makeBmp(file), "bmp"))
            << std::hex << kind.masks[0];

        file.headerBytes = 124;
        EXPECT_EQ(readBmp(makeBmp(file)), expected) << std::hex << kind.masks[0];
        file.headerBytes = 56;
        EXPECT_EQ(readBmp(makeBmp(file)), expected) << std::hex << kind.masks[0];
        file.headerBytes = 40;
        file.compression = 6;
        EXPECT_EQ(readBmp(makeBmp(file)), expected) << std::hex << kind.masks[0];
        if (kind.masks[3] != 0)
            continue;
        for (const quint32 headerBytes : {40U, 52U}) {
            file.headerBytes = headerBytes;
            file.compression = 3;
            EXPECT_EQ(readBmp(makeBmp(file)), expected) << std::hex << kind.masks[0];
        }
    }
}

TEST(BmpMasks, LevelsOfFewBitsFillTheWholeRange)
{
    struct Kind
    {
        QImage::Format format;
        std::array<quint32, 4> masks;
    };
    for (const Kind &kind : {Kind {QImage::Format_RGB16, {0xf800, 0x07e0, 0x001f, 0}},
                             Kind {QImage::Format_RGB555, {0x7c00, 0x03e0, 0x001f, 0}},
                             Kind {QImage::Format_RGB444, {0x0f00, 0x00f0, 0x000f, 0}}}) {
        const QImage image = toPlain(makeNoise(38, 1, kind.format, Storage::Plain));
        BmpFile file;
        file.size = image.size();
        file.bits = 16;
        file.compression = 3;
        file.masks = kind.masks;
        file.pixels = QByteArray(reinterpret_cast<const char *>(image.constBits()), 76);

        EXPECT_EQ(readBmp(makeBmp(file)), image.convertToFormat(QImage::Format_RGB32));
    }
}

TEST(BmpMasks, OfMoreThanEightBitsTheHighestCount)
{
    BmpFile file;
    file.size = {1, 1};
    file.bits = 32;
    file.compression = 3;
    file.masks = {0x3ff00000, 0x000ffc00, 0x000003ff, 0};
    file.pixels = QByteArray("\xff\x07\xf0\x3f", 4); // 0x3ff007ff

    EXPECT_EQ(readBmp(makeBmp(file)).pixel(0, 0), qRgb(255, 0, 255));
}

TEST(BmpColors, AnIndexBehindTheTableGetsItsLastColor)
{
    BmpFile file;
    file.bits = 8;
    file.size = {4, 1};
    file.colors = 3;
    file.pixels = QByteArray("\x00\x02\x03\xff", 4);

    const QImage image = readBmp(makeBmp(file));

    EXPECT_EQ(image.colorTable(), bmpColors(3));
    const QVector<uchar> indices {0, 2, 2, 2};
    for (int x = 0; x < 4; ++x)
        EXPECT_EQ(image.pixelIndex(x, 0), indices[x]);
}

namespace {

struct RunLength
{
    QByteArray bytes;
    QByteArray indices; ///< of the file's rows, first to last, one byte per pixel
};

/// Runs and literals that end at random places, rows that end early, jumps.
RunLength makeRunLength(int bits, const QSize &size, unsigned seed)
{
    std::mt19937 random(seed);
    const auto below = [&](int n) { return int(random() >> 4) % n; };
    const int width = size.width();
    RunLength made {{}, QByteArray(width * size.height(), '\0')};
    const auto byte = [&](int value) { made.bytes.append(char(value)); };
    int x = 0;
    for (int y = 0; y < size.height();) {
        const int room = width - x;
        const auto put = [&](int index) { made.indices[y * width + x++] = char(index); };
        const int kind = below(8);
        if (room == 0 || kind == 0) {
            byte(0);
            byte(0);
            x = 0;
            ++y;
        } else if (kind == 1) {
            const int right = below(qMin(room, 255) + 1);
            const int down = below(qMin(3, size.height() - y));
            byte(0);
            byte(2);
            byte(right);
            byte(down);
            x += right;
            y += down;
        } else if (kind < 5) {
            const int count = 1 + below(qMin(room, 255));
            const int value = below(256);
            byte(count);
            byte(value);
            for (int i = 0; i < count; ++i)
                put(bits == 8 ? value : i % 2 ? value & 15 : value >> 4);
        } else if (room >= 3) {
            const int count = 3 + below(qMin(room, 255) - 2);
            byte(0);
            byte(count);
            int value = 0;
            int stored = 0;
            for (int i = 0; i < count; ++i) {
                if (bits == 8 || i % 2 == 0) {
                    value = below(256);
                    byte(value);
                    ++stored;
                }
                put(bits == 8 ? value : i % 2 ? value & 15 : value >> 4);
            }
            if (stored % 2)
                byte(0);
        }
    }
    byte(0);
    byte(1);
    return made;
}

} // namespace

TEST(BmpRunLength, RunsLiteralsAndJumpsGiveTheirPixels)
{
    for (const int bits : {4, 8}) {
        for (unsigned seed = 1; seed <= 50; ++seed) {
            BmpFile file;
            file.size = {3 + int(seed) * 11, 9};
            file.bits = bits;
            file.compression = bits == 4 ? 2 : 1;
            const RunLength made = makeRunLength(bits, file.size, seed);
            file.pixels = made.bytes;

            const QImage image = readBmp(makeBmp(file));

            ASSERT_EQ(image.size(), file.size);
            for (int y = 0; y < 9; ++y) {
                const char *const expected = made.indices.constData() + (8 - y) * file.size.width();
                ASSERT_EQ(0,
                          std::memcmp(image.constScanLine(y), expected, size_t(file.size.width())))
                    << bits << " bits, seed " << seed << ", row " << y;
            }
        }
    }
}

TEST(BmpRunLength, RowsBehindTheEndOfThePictureAreEmpty)
{
    BmpFile file;
    file.size = {4, 3};
    file.bits = 8;
    file.compression = 1;
    file.pixels = QByteArray("\x04\x05\0\x01", 4);

    const QImage image = readBmp(makeBmp(file));

    EXPECT_EQ(image.pixelIndex(3, 2), 5);
    EXPECT_EQ(image.pixelIndex(3, 1), 0);
    EXPECT_EQ(image.pixelIndex(0, 0), 0);
}

TEST(BmpRunLength, ARunThatPassesTheEndOfARowIsCutOff)
{
    BmpFile file;
    file.size = {4, 2};
    file.bits = 8;
    file.compression = 1;
    file.pixels = QByteArray("\xff\x05\0\0\x04\x06\0\x01", 8);

    const QImage image = readBmp(makeBmp(file));

    EXPECT_EQ(image.pixelIndex(3, 1), 5);
    EXPECT_EQ(image.pixelIndex(0, 0), 6);
}
