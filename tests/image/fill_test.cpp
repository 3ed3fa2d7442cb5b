#include <QColor>

#include <algorithm>
#include <cstring>
#include <support/images.h>
#include <tuple>
#include <vector>

using namespace vellum::test;

namespace {

constexpr uint kValues[] = {0,          0xffffffff, 0x7f7f7f7f, 0xff000000, 0x01020304,
                            0x00000001, 0x12121312, 0x80808000, 0x00808080};

/// Byte \a i of a row that was filled with \a pixel, from the definition.
uchar expectedByte(int depth, uint pixel, int i)
{
    if (depth <= 8)
        return uchar(pixel & 0xff);
    const int byteOfPixel = i % (depth / 8);
    return uchar(pixel >> (8 * (byteOfPixel % 4)));
}

int pixelBytes(const Vellum &image) { return int((qint64(image.width()) * image.depth() + 7) / 8); }

testing::AssertionResult isFilled(const Vellum &image, uint pixel)
{
    const int bytes = qMin(pixelBytes(image), image.storedBytesPerLine());
    std::vector<uchar> expected;
    for (int i = 0; i < bytes; ++i)
        expected.push_back(expectedByte(image.depth(), pixel, i));
    for (int y = 0; y < image.height(); ++y) {
        const uchar *const row = image.scanLineEx(y);
        if (!row || !std::equal(expected.begin(), expected.end(), row))
            return testing::AssertionFailure() << "row " << y << " of fill " << std::hex << pixel;
    }
    return testing::AssertionSuccess();
}

class Fill : public testing::TestWithParam<std::tuple<QImage::Format, Storage>>
{
};

TEST_P(Fill, WritesEveryPixel)
{
    const auto [format, storage] = GetParam();
    for (const int width : {1, 2, 3, 5, 8, 13, 17, 37}) {
        Vellum image = makeNoise(width, 19, format, storage);
        for (const uint value : kValues) {
            image.fill(value);
            ASSERT_TRUE(isFilled(image, value)) << width;
        }
    }
}

TEST_P(Fill, OfAColorStoresItsArgbValueWhateverTheFormat)
{
    const auto [format, storage] = GetParam();
    Vellum image = makeNoise(5, 5, format, storage);

    image.fill(QColor(1, 2, 3, 4));
    EXPECT_TRUE(isFilled(image, 0x04010203));
    image.fill(QColor::fromCmyk(10, 20, 30, 40));
    EXPECT_TRUE(isFilled(image, QColor::fromCmyk(10, 20, 30, 40).rgba()));
}

TEST_P(Fill, OfAGlobalColorIsThatOfItsColor)
{
    const auto [format, storage] = GetParam();
    Vellum image = makeNoise(5, 5, format, storage);

    image.fill(Qt::white);
    EXPECT_TRUE(isFilled(image, 0xffffffff));
    image.fill(Qt::red);
    EXPECT_TRUE(isFilled(image, 0xffff0000));
    image.fill(Qt::transparent);
    EXPECT_TRUE(isFilled(image, 0));
}

TEST_P(Fill, StaysInsideAStoreOfAnotherStride)
{
    const auto [format, storage] = GetParam();
    if (storage == Storage::Plain)
        return; // has the image's own stride
    for (const int extraStride : {-8, -1, 1, 12}) {
        Vellum image = makeImage(37, 19, format, storage, extraStride);
        if (image.bytesPerLine() + extraStride <= 0)
            continue;
        for (const uint value : kValues) {
            image.fill(value); // AddressSanitizer watches the blocks
            ASSERT_TRUE(isFilled(image, value)) << extraStride;
        }
    }
}

TEST_P(Fill, StaysInsideAStoreOfAnotherHeight)
{
    const auto [format, storage] = GetParam();
    if (storage == Storage::Plain)
        return; // has the image's own height
    for (const int height : {1, 9, 40}) {
        Vellum image = makeUntouchable(13, 19, format);
        ASSERT_TRUE(image.alloc_buffer(image.bytesPerLine(), height));
        for (const uint value : kValues) {
            image.fill(value);
            for (int y = 0; y < 19; ++y) {
                const uchar *const row = image.scanLineEx(y);
                ASSERT_EQ(row != nullptr, y < height);
                for (int i = 0; row && i < pixelBytes(image); ++i)
                    ASSERT_EQ(row[i], expectedByte(image.depth(), value, i));
            }
        }
    }
}

TEST_P(Fill, OfASharedImageDetachesPlainPixelsOnly)
{
    const auto [format, storage] = GetParam();
    for (const uint value : {0x7f7f7f7fU, 0x01020304U}) {
        Vellum image = makeNoise(13, 19, format, storage);
        const Vellum copy = image;

        image.fill(value);

        EXPECT_TRUE(isFilled(image, value));
        if (storage == Storage::Big) {
            EXPECT_TRUE(isFilled(copy, value));
        } else {
            EXPECT_TRUE(samePixels(copy, makeNoise(13, 19, format, storage)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, Fill,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(Fill, OfNullDoesNothing)
{
    Vellum image;
    image.fill(0U);
    image.fill(0x01020304U);
    image.fill(QColor(Qt::red));
    image.fill(Qt::red);
    EXPECT_TRUE(image.isNull());
}

TEST(Fill, ByBytesWritesTheWholePlainBuffer)
{
    Vellum image = makeNoise(5, 3, QImage::Format_RGB888, Storage::Plain);

    image.fill(0x2a2a2a2aU);

    for (qint64 i = 0; i < image.sizeInBytes(); ++i)
        ASSERT_EQ(image.constBits()[i], 0x2a) << i;
}

// Eight-bit pixels are bytes, whatever the rest of the value says.
TEST(Fill, ByBytesWritesTheWholeBlocks)
{
    constexpr int kStride = 100;
    Vellum image = makeUntouchable(60, 17, QImage::Format_Indexed8); // 3 rows a block
    ASSERT_TRUE(image.alloc_buffer(kStride, 17));

    image.fill(0x0102032aU);

    for (int y = 0; y < 17; ++y) {
        for (int i = 0; i < kStride; ++i)
            ASSERT_EQ(image.scanLineEx(y)[i], 0x2a) << y << ", " << i;
    }
    EXPECT_EQ(image.scanLineEx(15)[2 * kStride + kStride - 1], 0x2a); // the unused 18th row
}

TEST(Fill, ByPixelsLeavesTheStoreBehindTheImagesStride)
{
    Vellum image = makeUntouchable(5, 17, QImage::Format_RGB32);
    ASSERT_TRUE(image.alloc_buffer(40, 17));
    image.fill(0x2a2a2a2aU);

    image.fill(0x01020304U);

    for (int y = 0; y < 17; ++y) {
        for (int i = 20; i < 40; ++i)
            ASSERT_EQ(image.scanLineEx(y)[i], 0x2a) << y << ", " << i;
    }
}

TEST(Fill, AgreesWithQImageWhereThePixelValueMeansTheSame)
{
    for (const auto format :
         {QImage::Format_Grayscale8, QImage::Format_Alpha8, QImage::Format_RGB16,
          QImage::Format_RGB555, QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied}) {
        for (const Storage storage : kStorages) {
            Vellum image = makeNoise(13, 19, format, storage);
            QImage expected(13, 19, format);

            image.fill(0x12345678U);
            expected.fill(0x12345678U);

            EXPECT_TRUE(samePixels(image, expected)) << format;
        }
    }
}

TEST(Fill, OfAnExternalBufferWritesIt)
{
    alignas(4) uchar buffer[24];
    std::memset(buffer, 0, sizeof buffer);
    Vellum image(buffer, 2, 2, QImage::Format_RGB32); // 16 bytes

    image.fill(0x01020304U);
    EXPECT_EQ(buffer[15], 1);
    image.fill(0x05050505U);
    EXPECT_EQ(buffer[15], 5);

    for (int i = 16; i < 24; ++i)
        EXPECT_EQ(buffer[i], 0);
}

TEST(Fill, OfReadOnlyMemoryDetaches)
{
    const std::vector<uchar> memory(16, 9);
    for (const uint value : {0x01020304U, 0x05050505U}) {
        Vellum image(QImage(memory.data(), 2, 2, QImage::Format_RGB32));
        image.fill(value);
        EXPECT_TRUE(isFilled(image, value));
        EXPECT_EQ(memory, std::vector<uchar>(16, 9));
    }
}

TEST(Fill, OfALargeImageIsTheSameAsOfASmallOne)
{
    for (const Storage storage : kStorages) {
        for (const uint value : {0x01020304U, 0x05050505U}) {
            Vellum image = makeImage(3001, 3001, QImage::Format_RGB32, storage); // 36 MB
            image.fill(value);
            EXPECT_TRUE(isFilled(image, value));
        }
    }
}

} // namespace
