// The free conversion functions.

#include <convert/pictures.h>

using namespace vellum::test;

namespace {

class ConvertOn : public testing::TestWithParam<Storage>
{
};

TEST_P(ConvertOn, Rgb32BecomesArgb32WithAlpha255)
{
    Vellum image = makeNoise(67, 5, QImage::Format_RGB32, GetParam(), 1, 3);

    convert32BitsImageToARGB32(image, false);

    Vellum expected = makeNoise(67, 5, QImage::Format_RGB32, Storage::Plain);
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 67; ++x)
            expected.scanLineEx(y)[x * 4 + 3] = 255;
    }
    expected.setFormat(QImage::Format_ARGB32);
    EXPECT_TRUE(samePixels(image, expected));
}

TEST_P(ConvertOn, PremultipliedIsRelabelledOnlyWhenAsked)
{
    Vellum image = makeNoise(67, 5, QImage::Format_ARGB32_Premultiplied, GetParam());
    Vellum expected = makeNoise(67, 5, QImage::Format_ARGB32_Premultiplied, Storage::Plain);

    convert32BitsImageToARGB32(image, false);
    EXPECT_TRUE(samePixels(image, expected));

    convert32BitsImageToARGB32(image, true);
    expected.setFormat(QImage::Format_ARGB32);
    EXPECT_TRUE(samePixels(image, expected));
}

TEST_P(ConvertOn, OtherFormatsAreLeftAlone)
{
    for (const QImage::Format format : allFormats()) {
        if (format == QImage::Format_RGB32 || format == QImage::Format_ARGB32_Premultiplied)
            continue;
        Vellum image = makeNoise(9, 3, format, GetParam());
        const QImage before = toPlain(image);
        convert32BitsImageToARGB32(image, true);
        EXPECT_TRUE(samePixels(image, before));
    }
}

INSTANTIATE_TEST_SUITE_P(Storages, ConvertOn, testing::ValuesIn(kStorages));

TEST(Convert32Bits, StaysInsideANarrowStore)
{
    Vellum image = makeUntouchable(70, 12, QImage::Format_RGB32);
    ASSERT_TRUE(image.alloc_buffer(7, 3));
    image.fill(0U);

    convert32BitsImageToARGB32(image, false);

    EXPECT_EQ(image.format(), QImage::Format_ARGB32);
    EXPECT_EQ(image.scanLineEx(2)[3], 255);
    EXPECT_EQ(image.scanLineEx(2)[6], 0);
}

TEST(Convert32Bits, CopiesASharedPlainImageFirst)
{
    Vellum image = makeNoise(5, 2, QImage::Format_RGB32, Storage::Plain);
    const Vellum other = image;
    convert32BitsImageToARGB32(image, false);
    EXPECT_TRUE(samePixels(other, makeNoise(5, 2, QImage::Format_RGB32, Storage::Plain)));
}

TEST(Convert32Bits, DoesNothingToANullImage)
{
    Vellum image;
    convert32BitsImageToARGB32(image, true);
    EXPECT_TRUE(image.isNull());
}

TEST(ConverImageFormat, ConvertsACopy)
{
    QImage image = makeNoise(31, 5, QImage::Format_RGB888, Storage::Plain).toImage();
    const QImage before = image.copy();
    for (const QImage::Format to : allFormats())
        EXPECT_TRUE(samePixels(converImageFormat(image, to), before.convertToFormat(to)));
    EXPECT_EQ(image, before);
}

TEST(ConverImageFormat, KnowsPlainImagesAndRealFormatsOnly)
{
    Vellum big = makeNoise(31, 5, QImage::Format_RGB888, Storage::Big);
    EXPECT_TRUE(converImageFormat(big, QImage::Format_RGB32).isNull());
    QImage null;
    EXPECT_TRUE(converImageFormat(null, QImage::Format_RGB32).isNull());
    EXPECT_TRUE(converImageFormat(big, QImage::NImageFormats).isNull());
}

TEST(OverBackground, BlendsEveryChannelAndTruncates)
{
    const QImage source = makeNoise(67, 31, QImage::Format_ARGB32, Storage::Plain).toImage();
    const uint background = 0x12c864a0;
    QImage result;

    ASSERT_TRUE(convertARGB32ToRGB32(result, source, background));

    ASSERT_EQ(result.format(), QImage::Format_RGB32);
    ASSERT_EQ(result.size(), source.size());
    for (int y = 0; y < 31; ++y) {
        for (int x = 0; x < 67; ++x) {
            const uchar *const in = source.constScanLine(y) + x * 4;
            const uchar *const out = result.constScanLine(y) + x * 4;
            for (int c = 0; c < 3; ++c) {
                const int back = int(background >> 8 * c & 255);
                ASSERT_EQ(out[c], (in[c] * in[3] + (255 - in[3]) * back) / 255);
            }
            ASSERT_EQ(out[3], 255);
        }
    }
}

TEST(OverBackground, IsTheBackgroundWhereTransparentAndTheSourceWhereOpaque)
{
    QImage source(2, 1, QImage::Format_ARGB32);
    source.setPixel(0, 0, 0x00ffffff);
    source.setPixel(1, 0, 0xff010203);
    QImage result;
    ASSERT_TRUE(convertARGB32ToRGB32(result, source, 0x00c864a0));
    EXPECT_EQ(result.pixel(0, 0), 0xffc864a0);
    EXPECT_EQ(result.pixel(1, 0), 0xff010203);
}

TEST(OverBackground, RefusesOtherFormatsAndBigImages)
{
    QImage untouched(3, 2, QImage::Format_Mono);
    untouched.fill(1);
    QImage result = untouched;
    for (const QImage::Format format : allFormats()) {
        const bool isArgb32 = format == QImage::Format_ARGB32;
        const Vellum image = makeNoise(4, 4, format, isArgb32 ? Storage::Big : Storage::Plain);
        EXPECT_FALSE(convertARGB32ToRGB32(result, image, 0));
        EXPECT_EQ(result, untouched);
    }
    EXPECT_FALSE(convertARGB32ToRGB32(result, QImage(), 0));
    EXPECT_EQ(result, untouched);

    Vellum big = makeNoise(4, 4, QImage::Format_ARGB32, Storage::Big);
    const QImage before = toPlain(big);
    EXPECT_FALSE(convertARGB32ToRGB32(big, QImage(4, 4, QImage::Format_ARGB32), 0));
    EXPECT_TRUE(samePixels(big, before));
}

TEST(OverBackground, MayReplaceItsSource)
{
    QImage image = makeNoise(9, 3, QImage::Format_ARGB32, Storage::Plain).toImage();
    QImage expected;
    ASSERT_TRUE(convertARGB32ToRGB32(expected, image.copy(), 0x808080));
    ASSERT_TRUE(convertARGB32ToRGB32(image, image, 0x808080));
    EXPECT_EQ(image, expected);
}

} // namespace
