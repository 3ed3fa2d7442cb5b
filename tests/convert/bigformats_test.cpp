// Vellum::convertToFormat() on big images, cell by cell of its table, and on plain ones.

#include <convert/pictures.h>
#include <map>
#include <set>

using namespace vellum::test;

namespace {

constexpr auto kMono = QImage::Format_Mono;
constexpr auto kMonoLSB = QImage::Format_MonoLSB;
constexpr auto kIndexed8 = QImage::Format_Indexed8;
constexpr auto kRGB32 = QImage::Format_RGB32;
constexpr auto kARGB32 = QImage::Format_ARGB32;
constexpr auto kARGB32PM = QImage::Format_ARGB32_Premultiplied;
constexpr auto kGrayscale8 = QImage::Format_Grayscale8;
constexpr auto kAlpha8 = QImage::Format_Alpha8;

const std::map<QImage::Format, std::set<QImage::Format>> kCells = {
    {kMono, {kMonoLSB, kIndexed8, kRGB32, kARGB32, kARGB32PM}},
    {kMonoLSB, {kMono, kIndexed8, kRGB32, kARGB32, kARGB32PM}},
    {kIndexed8, {kMono, kMonoLSB, kGrayscale8, kAlpha8, kRGB32, kARGB32, kARGB32PM}},
    {kGrayscale8, {kIndexed8}},
    {kAlpha8, {kIndexed8}},
    {kRGB32, {kMono, kMonoLSB, kIndexed8, kGrayscale8, kARGB32, kARGB32PM}},
    {kARGB32, {kMono, kMonoLSB, kIndexed8, kGrayscale8, kRGB32}},
    {QImage::Format_RGBA64, {kARGB32}},
};

bool hasCell(QImage::Format from, QImage::Format to)
{
    const auto cells = kCells.find(from);
    return cells != kCells.end() && cells->second.count(to) > 0;
}

bool isGreyByGreen(QImage::Format from, QImage::Format to)
{
    return (from == kRGB32 || from == kARGB32) && to == kGrayscale8;
}

class BigFormats : public testing::TestWithParam<QImage::Format>
{
};

TEST_P(BigFormats, EqualQImageAtEveryWidthWhereTheTableHasARoutine)
{
    const QImage::Format from = GetParam();
    std::vector<int> widths = {255, 1000, 3001};
    for (int w = 1; w <= 70; ++w)
        widths.push_back(w);
    for (const int w : widths) {
        const Vellum image = makeNoise(w, 11, from, Storage::Big, unsigned(w), w % 7);
        const QImage plain = toPlain(image);
        for (const QImage::Format to : allFormats()) {
            if (!hasCell(from, to) || isGreyByGreen(from, to))
                continue;
            const Vellum result = image.convertToFormat(to);
            ASSERT_FALSE(result.isBigImage());
            ASSERT_TRUE(samePixels(result, plain.convertToFormat(to)))
                << w << " columns to format " << to;
        }
    }
}

TEST_P(BigFormats, GiveNullWhereTheTableHasNone)
{
    const QImage::Format from = GetParam();
    const Vellum image = makeNoise(5, 3, from, Storage::Big);
    for (const QImage::Format to : allFormats())
        EXPECT_EQ(image.convertToFormat(to).isNull(), !hasCell(from, to)) << "to format " << to;
}

TEST_P(BigFormats, ConvertToEveryFormatWhenPlain)
{
    const Vellum image = makeNoise(5, 3, GetParam(), Storage::Plain);
    for (const QImage::Format to : allFormats()) {
        const Vellum result = image.convertToFormat(to, Qt::ThresholdDither);
        const QImage expected = image.toImage().convertToFormat(to, Qt::ThresholdDither);
        EXPECT_TRUE(samePixels(result, expected)) << "to format " << to;
    }
}

TEST_P(BigFormats, ConvertPartsOfLargerPicturesWhenPlain)
{
    const Vellum image = makeNoise(7, 11, GetParam(), Storage::Plain, 1, 200);
    const QImage alone = toPlain(image);
    for (const QImage::Format to : allFormats()) {
        const Vellum result = image.convertToFormat(to, Qt::ThresholdDither);
        EXPECT_TRUE(samePixels(result, alone.convertToFormat(to, Qt::ThresholdDither)))
            << "to format " << to;
    }
}

TEST_P(BigFormats, GiveNullForWhatIsNoFormat)
{
    for (const Storage storage : kStorages) {
        const Vellum image = makeNoise(5, 3, GetParam(), storage);
        for (const int format : {-1, 0, 30, 31, 1000000})
            EXPECT_TRUE(image.convertToFormat(QImage::Format(format)).isNull()) << format;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, BigFormats, testing::ValuesIn(allFormats()));

TEST(PlainFormats, ShareThePixelsInTheirOwnFormat)
{
    const Vellum image = makeNoise(5, 3, kARGB32, Storage::Plain);
    EXPECT_EQ(image.convertToFormat(kARGB32).constBits(), image.constBits());
}

/// Every pair of red and green once; blue is noise.
Vellum makeAllRedGreen(QImage::Format format)
{
    Vellum image = makeNoise(256, 256, format, Storage::Big);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            image.scanLineEx(y)[x * 4 + 1] = uchar(x);
            image.scanLineEx(y)[x * 4 + 2] = uchar(y);
        }
    }
    return image;
}

TEST(BigGrey, WeighsRedAndTwiceGreenForAllPairs)
{
    for (const QImage::Format from : {kRGB32, kARGB32}) {
        const Vellum result = makeAllRedGreen(from).convertToFormat(kGrayscale8);
        for (int red = 0; red < 256; ++red) {
            for (int green = 0; green < 256; ++green) {
                // In three steps, so that no compiler adds up the green weights.
                const volatile double redPart = 0.299 * red;
                const volatile double withGreen = redPart + 0.587 * green;
                const volatile double sum = withGreen + 0.114 * green;
                ASSERT_EQ(result.scanLineEx(red)[green], int(sum)) << red << ", " << green;
            }
        }
    }
}

TEST(BigGrey, OfBlueIsBlackAndOfGreenIs178)
{
    Vellum image = makeImage(2, 1, kRGB32, Storage::Big);
    const quint32 pixels[] = {0xff0000ff, 0xff00ff00};
    std::memcpy(image.scanLineEx(0), pixels, sizeof pixels);

    const Vellum result = image.convertToFormat(kGrayscale8);

    EXPECT_EQ(result.scanLineEx(0)[0], 0);
    EXPECT_EQ(result.scanLineEx(0)[1], 178);
}

TEST(BigGrey, HasTheGreyRampAsColorTable)
{
    QVector<QRgb> ramp(256);
    for (int i = 0; i < 256; ++i)
        ramp[i] = qRgb(i, i, i);
    EXPECT_EQ(makeNoise(3, 3, kRGB32, Storage::Big).convertToFormat(kGrayscale8).colorTable(),
              ramp);
}

TEST(BigAlpha, IsForcedOpaqueWithoutCompositing)
{
    Vellum image = makeImage(1, 1, kARGB32, Storage::Big);
    const quint32 pixel = 0x00123456;
    std::memcpy(image.scanLineEx(0), &pixel, 4);

    const Vellum result = image.convertToFormat(kRGB32);

    EXPECT_EQ(*reinterpret_cast<const quint32 *>(result.scanLineEx(0)), 0xff123456);
}

TEST(BigOneBit, ReversalIncludesThePadding)
{
    for (const QImage::Format from : {kMono, kMonoLSB}) {
        for (const int w : {1, 7, 8, 9, 31, 130, 600}) {
            const Vellum image = makeNoise(w, 3, from, Storage::Big);
            const Vellum result = image.convertToFormat(from == kMono ? kMonoLSB : kMono);
            for (int i = 0; i < image.bytesPerLine(); ++i) {
                int expected = 0;
                for (int bit = 0; bit < 8; ++bit)
                    expected |= (image.scanLineEx(2)[i] >> bit & 1) << (7 - bit);
                ASSERT_EQ(result.scanLineEx(2)[i], expected) << "byte " << i << " of " << w;
            }
        }
    }
}

TEST(BigOneBit, BitsBehindTheLastPixelAreClearAfterDithering)
{
    for (const int mode : {0x00, 0x10, 0x20}) {
        Vellum image = makeImage(13, 9, kRGB32, Storage::Big);
        image.fill(0U); // black: every bit of a pixel is set
        EXPECT_EQ(image.convertToFormat(kMono, QFlag(mode)).scanLineEx(8)[1], 0xf8);
        EXPECT_EQ(image.convertToFormat(kMonoLSB, QFlag(mode)).scanLineEx(8)[1], 0x1f);
    }
}

TEST(BigOneBit, ColorTablesAreCompletedToTwo)
{
    for (const QImage::Format from : {kMono, kMonoLSB}) {
        Vellum image = makeImage(2, 1, from, Storage::Big);
        image.scanLineEx(0)[0] = from == kMono ? 0x40 : 0x02; // 0, then 1
        image.setColorTable({});
        const Vellum fromNone = image.convertToFormat(kARGB32);
        image.setColorTable({0x80ffffff});
        const Vellum fromOne = image.convertToFormat(kARGB32PM);
        const Vellum indexed = image.convertToFormat(kIndexed8);

        const auto pixel = [](const Vellum &result, int x) {
            return reinterpret_cast<const quint32 *>(result.scanLineEx(0))[x];
        };
        EXPECT_EQ(pixel(fromNone, 0), 0xff000000);
        EXPECT_EQ(pixel(fromNone, 1), 0xffffffff);
        EXPECT_EQ(pixel(fromOne, 0), 0x80808080);
        EXPECT_EQ(pixel(fromOne, 1), 0xffffffff);
        EXPECT_EQ(indexed.colorTable(), QVector<QRgb>({0x80ffffff, 0xffffffff}));
    }
}

/// Index 7 on a table of two.
Vellum makeBeyondTable(const QVector<QRgb> &colors)
{
    Vellum image = makeImage(9, 2, kIndexed8, Storage::Big);
    image.fill(0x07070707U);
    image.setColorTable(colors);
    return image;
}

quint32 firstPixel(const Vellum &image)
{
    return *reinterpret_cast<const quint32 *>(image.scanLineEx(0));
}

TEST(BigIndexed, IndicesBeyondTheTableAreBlackAndTransparentWhereThereIsAlpha)
{
    const Vellum image = makeBeyondTable({0xffffffff, 0xffffffff});
    EXPECT_EQ(firstPixel(image.convertToFormat(kRGB32)), 0xff000000);
    EXPECT_EQ(firstPixel(image.convertToFormat(kARGB32)), 0U);
    EXPECT_EQ(firstPixel(image.convertToFormat(kARGB32PM)), 0U);
    EXPECT_EQ(image.convertToFormat(kGrayscale8).scanLineEx(0)[0], 0);
    EXPECT_EQ(image.convertToFormat(kAlpha8).scanLineEx(0)[0], 0);
    EXPECT_EQ(image.convertToFormat(kMono).scanLineEx(0)[0], 0xff);
}

TEST(BigIndexed, ColorsOfAnImageWithoutAlphaAreTakenAsTheyAre)
{
    Vellum image = makeBeyondTable({0xffffffff});
    image.setColorCount(20); // adds zeros, which do not make it translucent
    ASSERT_FALSE(image.hasAlphaChannel());
    for (const QImage::Format to : {kRGB32, kARGB32, kARGB32PM})
        EXPECT_EQ(firstPixel(image.convertToFormat(to)), 0U);
}

TEST(BigIndexed, AnEmptyTableIsTheGreyRampIn32Bits)
{
    const Vellum image = makeBeyondTable({});
    EXPECT_EQ(firstPixel(image.convertToFormat(kRGB32)), 0xff070707);
    EXPECT_EQ(firstPixel(image.convertToFormat(kARGB32)), 0xff070707);
}

TEST(BigIndexed, TablesOfMoreThan256ColorsAreCutOff)
{
    QVector<QRgb> colors(300, 0xff102030);
    colors[7] = 0x80ff8040;
    const Vellum image = makeBeyondTable(colors);
    EXPECT_EQ(firstPixel(image.convertToFormat(kARGB32)), 0x80ff8040);
    EXPECT_EQ(firstPixel(image.convertToFormat(kRGB32)), 0xffff8040);
    EXPECT_EQ(firstPixel(image.convertToFormat(kARGB32PM)), qPremultiply(0x80ff8040));
    EXPECT_EQ(image.convertToFormat(kAlpha8).scanLineEx(0)[0], 0x80);
    EXPECT_EQ(image.convertToFormat(kGrayscale8).scanLineEx(0)[0],
              (11 * 0xff + 16 * 0x80 + 5 * 0x40) / 32);
}

/// Pixels of the first \a count of the colours 0xff000000, 0xff000001 and so on, alpha garbage.
Vellum makeColors(int count)
{
    Vellum image = makeImage(40, 7, kRGB32, Storage::Big);
    for (int i = 0; i < 280; ++i) {
        const quint32 pixel = (quint32(i) << 24) | quint32(i % count);
        std::memcpy(image.scanLineEx(i / 40) + i % 40 * 4, &pixel, 4);
    }
    return image;
}

TEST(BigPalette, Holds256ColorsInOrderOfAppearance)
{
    const Vellum result = makeColors(256).convertToFormat(kIndexed8);
    ASSERT_EQ(result.colorCount(), 256);
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(result.color(i), 0xff000000 + quint32(i));
        EXPECT_EQ(result.scanLineEx(i / 40)[i % 40], i);
    }
}

TEST(BigPalette, GivesWayToTheCubeAtTheColor257)
{
    const Vellum result = makeColors(257).convertToFormat(kIndexed8);
    for (int i = 0; i < 216; ++i)
        EXPECT_EQ(result.color(i), qRgb(i / 36 * 51, i / 6 % 6 * 51, i % 6 * 51));
}

TEST(BigPalette, IsNotLookedForWithPreferDitherOrAlpha)
{
    Vellum image = makeColors(2);
    EXPECT_EQ(image.convertToFormat(kIndexed8, Qt::PreferDither).color(215), 0xffffffff);
    image.setFormat(kARGB32);
    EXPECT_EQ(image.convertToFormat(kIndexed8).color(215), 0xffffffff);
}

TEST(BigCube, TransparentPixelsGetTheIndexBehindTheCube)
{
    Vellum image = makeImage(2, 1, kARGB32, Storage::Big);
    const quint32 pixels[] = {0x7fffffff, 0x80ffffff};
    std::memcpy(image.scanLineEx(0), pixels, sizeof pixels);

    const Vellum result = image.convertToFormat(kIndexed8);

    EXPECT_EQ(result.color(216), 0U);
    EXPECT_EQ(result.scanLineEx(0)[0], 216);
    EXPECT_EQ(result.scanLineEx(0)[1], 215);
}

TEST(BigRamps, AreTheColorTablesOfIndexedGreyAndAlpha)
{
    const Vellum grey = makeNoise(5, 2, kGrayscale8, Storage::Big).convertToFormat(kIndexed8);
    const Vellum alpha = makeNoise(5, 2, kAlpha8, Storage::Big).convertToFormat(kIndexed8);
    ASSERT_EQ(grey.colorCount(), 256);
    ASSERT_EQ(alpha.colorCount(), 256);
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(grey.color(i), qRgb(i, i, i));
        EXPECT_EQ(alpha.color(i), quint32(i) << 24);
    }
}

// Both ends of the channel's range and every step of the result.
TEST(Big64Bit, ChannelsAreRoundedTo8Bits)
{
    Vellum image = makeImage(65536, 1, QImage::Format_RGBA64, Storage::Big);
    for (int c = 0; c < 65536; ++c) {
        const quint16 channels[] = {quint16(c), quint16(65535 - c), quint16(c * 7),
                                    quint16(~c * 3)};
        std::memcpy(image.scanLineEx(0) + qptrdiff(c) * 8, channels, sizeof channels);
    }
    const Vellum result = image.convertToFormat(kARGB32);
    const auto narrowed = [](int c) { return (c + 128 - ((c + 128) >> 8)) >> 8; };
    for (int c = 0; c < 65536; ++c) {
        ASSERT_EQ(reinterpret_cast<const quint32 *>(result.scanLineEx(0))[c],
                  qRgba(narrowed(c), narrowed(65535 - c), narrowed(quint16(c * 7)),
                        narrowed(quint16(~c * 3))))
            << c;
    }
}

TEST(BigMetadata, IsCarriedButAttachmentsAreNot)
{
    Vellum image = makeNoise(5, 4, kRGB32, Storage::Big);
    image.setDotsPerMeterX(1234);
    image.setDotsPerMeterY(4321);
    image.setDevicePixelRatio(2.0);
    image.setText("Author", "A. Nonymous");
    image.setText("Title", "Noise");
    image.setIccProfile("profile");
    image.setOrgFileCmyk(true);
    image.setExifData(static_cast<char *>(std::malloc(4)), 4);
    image.setPsdLayerData(new PsdLayerData);

    Vellum result = image.convertToFormat(kARGB32);

    EXPECT_EQ(result.dotsPerMeterX(), 1234);
    EXPECT_EQ(result.dotsPerMeterY(), 4321);
    EXPECT_EQ(result.devicePixelRatio(), 2.0);
    EXPECT_EQ(result.text("Author"), "A. Nonymous");
    EXPECT_EQ(result.text("Title"), "Noise");
    EXPECT_TRUE(result.getIccProfile().isEmpty());
    EXPECT_FALSE(result.isOrgFileCmyk());
    EXPECT_EQ(result.getExifData(), nullptr);
    EXPECT_EQ(result.getPsdLayerData(), nullptr);
}

// A store may be smaller than the image: what it lacks must not be read, and is zero.
class TooSmallAStore : public testing::TestWithParam<QImage::Format>
{
};

TEST_P(TooSmallAStore, IsNotReadBeyondItsRows)
{
    const QImage::Format from = GetParam();
    for (const auto &[bytes, rows] : {std::pair(5, 12), std::pair(44, 3), std::pair(0, 12)}) {
        Vellum image = makeUntouchable(70, 12, from);
        ASSERT_TRUE(image.alloc_buffer(bytes, rows));
        image.fill(0xffffffffU);
        for (const QImage::Format to : allFormats()) {
            if (!hasCell(from, to))
                continue;
            for (const int mode : {0x00, 0x10, 0x48}) {
                const Vellum result = image.convertToFormat(to, QFlag(mode));
                ASSERT_EQ(result.size(), image.size());
                EXPECT_EQ(result.scanLineEx(11)[(70 * result.depth() + 7) / 8 - 1], 0);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, TooSmallAStore,
                         testing::Values(kMono, kMonoLSB, kIndexed8, kGrayscale8, kAlpha8, kRGB32,
                                         kARGB32, QImage::Format_RGBA64));

} // namespace
