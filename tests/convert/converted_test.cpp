// Conversion between all formats on both storages, against QImage on an equal plain image.

#include <QColorSpace>

#include <rapidcheck.h>

#include <convert/pictures.h>

using namespace vellum::test;

namespace {

/// Rows enough for several strips where the image is wide.
Vellum makeSource(QImage::Format format, Storage storage, int w, int h, int extraStride = 0)
{
    const Vellum picture = makePicture(w, h, QImage::Format_ARGB32, Storage::Plain, Content::Photo);
    const QImage plain = picture.toImage().convertToFormat(format);
    Vellum image = makeImage(w, h, format, storage, extraStride);
    image.setColorTable(plain.colorTable());
    for (int y = 0; y < h; ++y)
        std::memcpy(image.scanLineEx(y), plain.constScanLine(y), size_t(plain.bytesPerLine()));
    return image;
}

constexpr int kModes[] = {0x00, 0x10, 0x20, 0x30, 0x40, 0x48, 0x54, 0x64, 0x88, 0xc0, 0xe8};

class Converted : public testing::TestWithParam<std::tuple<QImage::Format, Storage>>
{
};

TEST_P(Converted, EqualsQImageForEveryDestinationAndMode)
{
    const auto [from, storage] = GetParam();
    const Vellum image = makeSource(from, storage, 67, 41, 12);
    const QImage plain = toPlain(image);
    for (const QImage::Format to : allFormats()) {
        for (const int mode : kModes) {
            const Qt::ImageConversionFlags flags = QFlag(mode);
            const QImage expected = plain.convertToFormat(to, flags);
            for (const vellum::Storage kind : {vellum::Storage::Plain, vellum::Storage::Big}) {
                const Vellum result = vellum::converted(image, to, flags, kind);
                ASSERT_EQ(result.isBigImage(), kind == vellum::Storage::Big);
                ASSERT_TRUE(samePixels(result, expected))
                    << "to format " << to << ", flags 0x" << std::hex << mode;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, Converted,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

// Rows wide enough for a strip to be some dozens of them.
TEST_P(Converted, EqualsQImageAcrossManyStrips)
{
    const auto [from, storage] = GetParam();
    const Vellum image = makeSource(from, storage, 2501, 100);
    const QImage plain = toPlain(image);
    for (const QImage::Format to : allFormats()) {
        for (const int mode : {0x00, 0x54, 0xc0}) {
            const QImage expected = plain.convertToFormat(to, QFlag(mode));
            ASSERT_TRUE(samePixels(vellum::converted(image, to, QFlag(mode)), expected))
                << "to format " << to << ", flags 0x" << std::hex << mode;
        }
    }
}

// A few pixels behind the last whole step of a vector form.
TEST_P(Converted, EqualsQImageAtEveryWidthUpTo40)
{
    const auto [from, storage] = GetParam();
    for (int w = 1; w <= 40; ++w) {
        const Vellum image = makeNoise(w, 3, from, storage, unsigned(w), w % 3);
        const QImage plain = toPlain(image);
        for (const QImage::Format to : allFormats()) {
            ASSERT_TRUE(samePixels(vellum::converted(image, to), plain.convertToFormat(to)))
                << w << " columns to format " << to;
        }
    }
}

constexpr QImage::Format kTabled[] = {QImage::Format_Mono, QImage::Format_MonoLSB,
                                      QImage::Format_Indexed8};

class ConvertedTables : public testing::TestWithParam<std::tuple<QImage::Format, Storage>>
{
};

/// Formats that QImage gives a byte or bit made from an entry of the colour table.
bool isByteOfColor(QImage::Format to)
{
    return to == QImage::Format_Mono || to == QImage::Format_MonoLSB ||
        to == QImage::Format_Grayscale8 || to == QImage::Format_Alpha8;
}

TEST_P(ConvertedTables, EqualQImageWhetherOpaqueTranslucentOrShort)
{
    const auto [from, storage] = GetParam();
    const QVector<QRgb> tables[] = {
        {}, {0xff123456}, {0x00000000}, {0xff204060, 0xffa0b0c0}, {0x80204060, 0xffa0b0c0},
    };
    for (const QVector<QRgb> &colors : tables) {
        Vellum image = makeNoise(53, 9, from, storage);
        if (from == QImage::Format_Indexed8) { // QImage reads beyond its table for other indices
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x)
                    image.scanLineEx(y)[x] %= uchar(qMax(colors.size(), 1));
            }
        }
        image.setColorTable(colors);
        const QImage plain = toPlain(image);
        for (const QImage::Format to : allFormats()) {
            if (from == QImage::Format_Indexed8 && colors.isEmpty() && isByteOfColor(to))
                continue; // QImage's answer is chance
            ASSERT_TRUE(samePixels(vellum::converted(image, to), plain.convertToFormat(to)))
                << "to format " << to << ", " << colors.size() << " colours";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, ConvertedTables,
                         testing::Combine(testing::ValuesIn(kTabled), testing::ValuesIn(kStorages)),
                         caseName);

QRgb paletteColor(int i) { return 0xff000000 | (QRgb(i) * 0x010307 & 0xffffff); }

TEST(ConvertedShortTable, IndicesBeyondTheTableAreBlack)
{
    for (const Storage storage : kStorages) {
        for (const QVector<QRgb> &colors : {QVector<QRgb>(), QVector<QRgb>(2, 0xffffffff)}) {
            Vellum image = makeImage(30, 3, QImage::Format_Indexed8, storage);
            image.fill(0x07070707U);
            image.setColorTable(colors);
            const auto firstByte = [&](QImage::Format to) {
                return int(vellum::converted(image, to).scanLineEx(2)[0]);
            };
            EXPECT_EQ(firstByte(QImage::Format_Grayscale8), 0);
            EXPECT_EQ(firstByte(QImage::Format_Alpha8), 0);
            EXPECT_EQ(firstByte(QImage::Format_Mono), 0xff);
        }
    }
}

/// 256 colours in the first row, whatever is in \a last in the last pixel.
Vellum makeFullPalette(QRgb last)
{
    Vellum image = makeImage(4096, 200, QImage::Format_RGB32, Storage::Big);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = paletteColor(x % 256);
            std::memcpy(image.scanLineEx(y) + x * 4, &pixel, 4);
        }
    }
    std::memcpy(image.scanLineEx(199) + 4095 * 4, &last, 4);
    return image;
}

TEST(ConvertedPalette, HoldsExactly256ColorsOfTheWholeImage)
{
    const Vellum image = makeFullPalette(0xff000000);

    const Vellum result = vellum::converted(image, QImage::Format_Indexed8);

    EXPECT_EQ(result.colorCount(), 256);
    EXPECT_EQ(result.color(255), paletteColor(255));
    EXPECT_TRUE(samePixels(result, toPlain(image).convertToFormat(QImage::Format_Indexed8)));
}

TEST(ConvertedPalette, GivesWayToTheCubeForAColorInTheLastStrip)
{
    const Vellum image = makeFullPalette(0xffffffff);

    const Vellum result = vellum::converted(image, QImage::Format_Indexed8);

    EXPECT_EQ(result.color(215), 0xffffffff);
    EXPECT_TRUE(samePixels(result, toPlain(image).convertToFormat(QImage::Format_Indexed8)));
}

class ConvertedOn : public testing::TestWithParam<Storage>
{
protected:
    const vellum::Storage m_same =
        GetParam() == Storage::Big ? vellum::Storage::Big : vellum::Storage::Plain;
};

TEST_P(ConvertedOn, CarriesProfileFlagAndMetadata)
{
    Vellum image = makeNoise(5, 4, QImage::Format_RGB888, GetParam());
    image.setIccProfile("profile");
    image.setOrgFileCmyk(true);
    image.setOffset(3, -4);
    image.setOffset(QPoint(5, 6));
    image.setDotsPerMeterX(1234);
    image.setDotsPerMeterY(4321);
    image.setDevicePixelRatio(1.5);
    image.setColorSpace(QColorSpace::AdobeRgb);
    image.setText("Author", "A. Nonymous");

    for (const QImage::Format to : {QImage::Format_RGB888, QImage::Format_ARGB32,
                                    QImage::Format_Mono, QImage::Format_Indexed8}) {
        for (const auto storage : {vellum::Storage::Plain, vellum::Storage::Big}) {
            const Vellum result = vellum::converted(image, to, Qt::AutoColor, storage);
            EXPECT_EQ(result.getIccProfile(), "profile");
            EXPECT_TRUE(result.isOrgFileCmyk());
            EXPECT_EQ(QPoint(result.getOffsetX(), result.getOffsetY()), QPoint(3, -4));
            EXPECT_EQ(result.offset(), QPoint(5, 6));
            EXPECT_EQ(result.dotsPerMeterX(), 1234);
            EXPECT_EQ(result.dotsPerMeterY(), 4321);
            EXPECT_EQ(result.devicePixelRatio(), 1.5);
            EXPECT_EQ(result.colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
            EXPECT_EQ(result.text("Author"), "A. Nonymous");
        }
    }
}

// QImage's grey follows the colour space of the source.
TEST_P(ConvertedOn, HeedsTheColorSpace)
{
    Vellum image = makePicture(40, 30, QImage::Format_RGB32, GetParam(), Content::Photo);
    image.setColorSpace(QColorSpace::AdobeRgb);
    QImage plain = toPlain(image);
    plain.setColorSpace(QColorSpace::AdobeRgb);

    for (const QImage::Format to : {QImage::Format_Grayscale8, QImage::Format_Grayscale16})
        EXPECT_TRUE(samePixels(vellum::converted(image, to), plain.convertToFormat(to)));
}

TEST_P(ConvertedOn, LiesAsTheSourceDoesUnlessAsked)
{
    const Vellum image = makeNoise(5, 4, QImage::Format_RGB888, GetParam());
    EXPECT_EQ(vellum::converted(image, QImage::Format_RGB32).isBigImage(),
              GetParam() == Storage::Big);
}

TEST_P(ConvertedOn, PollsOncePerRow)
{
    // The colours do not fit a palette, so the rows are gone through twice.
    Vellum image = makePicture(2000, 100, QImage::Format_RGB32, GetParam(), Content::Photo);
    std::vector<int> percents;
    image.setCallback(
        [](void *list, int percent, void *) {
            static_cast<std::vector<int> *>(list)->push_back(percent);
            return true;
        },
        &percents, 0, 1.0);

    ASSERT_FALSE(vellum::converted(image, QImage::Format_Indexed8).isNull());

    std::vector<int> expected(100);
    for (int i = 0; i < 100; ++i)
        expected[size_t(i)] = i + 1;
    EXPECT_EQ(percents, expected);
}

TEST_P(ConvertedOn, CancelGivesNull)
{
    Vellum image = makePicture(2000, 100, QImage::Format_RGB32, GetParam(), Content::Photo);
    static int polls;
    image.setCallback([](void *, int, void *) { return ++polls < 70; }, &polls, 0, 1.0);
    for (const QImage::Format to :
         {QImage::Format_RGB888, QImage::Format_Mono, QImage::Format_Indexed8}) {
        polls = 0;
        EXPECT_TRUE(vellum::converted(image, to).isNull());
        EXPECT_EQ(polls, 70);
    }
}

TEST_P(ConvertedOn, InvalidFormatsGiveNull)
{
    const Vellum image = makeNoise(5, 4, QImage::Format_RGB888, GetParam());
    EXPECT_TRUE(vellum::converted(image, QImage::Format_Invalid).isNull());
    EXPECT_TRUE(vellum::converted(image, QImage::NImageFormats).isNull());
    EXPECT_TRUE(vellum::converted(image, QImage::Format(-1)).isNull());
    EXPECT_TRUE(vellum::converted(Vellum(), QImage::Format_RGB32).isNull());
}

TEST_P(ConvertedOn, ToItsOwnFormatKeepsThePixels)
{
    for (const QImage::Format format : allFormats()) {
        const Vellum image = makeNoise(67, 5, format, GetParam());
        EXPECT_TRUE(samePixels(vellum::converted(image, format, Qt::AutoColor, m_same), image));
    }
}

INSTANTIATE_TEST_SUITE_P(Storages, ConvertedOn, testing::ValuesIn(kStorages));

TEST(ConvertedPremultiplied, EqualsQImageForEveryChannelAndAlpha)
{
    Vellum image = makeNoise(256, 256, QImage::Format_ARGB32, Storage::Big);
    for (int alpha = 0; alpha < 256; ++alpha) {
        for (int c = 0; c < 256; ++c) {
            const QRgb pixel = qRgba(c, 255 - c, c ^ 0x55, alpha);
            std::memcpy(image.scanLineEx(alpha) + c * 4, &pixel, 4);
        }
    }
    const Vellum result = vellum::converted(image, QImage::Format_ARGB32_Premultiplied);
    EXPECT_TRUE(
        samePixels(result, toPlain(image).convertToFormat(QImage::Format_ARGB32_Premultiplied)));
}

TEST(ConvertedProperty, IsTheSameOnBothStorages)
{
    EXPECT_TRUE(rc::check([] {
        const auto from = *rc::gen::elementOf(allFormats());
        const auto to = *rc::gen::elementOf(allFormats());
        const int w = *rc::gen::inRange(1, 3000);
        const int h = *rc::gen::inRange(1, 60);
        const Qt::ImageConversionFlags flags = QFlag(*rc::gen::inRange(0, 0x100));
        const int extraStride = *rc::gen::inRange(0, 20);
        const Vellum big = makeNoise(w, h, from, Storage::Big, 1, extraStride);
        const Vellum plain = toPlain(big);
        RC_ASSERT(samePixels(vellum::converted(big, to, flags, vellum::Storage::Plain),
                             vellum::converted(plain, to, flags, vellum::Storage::Big)));
    }));
}

TEST(ConvertedBig, ToItsOwnFormatHasRowsOfItsOwn)
{
    const Vellum image = makeNoise(8, 5, QImage::Format_RGB32, Storage::Big);
    Vellum result = vellum::converted(image, QImage::Format_RGB32);
    const uchar before = image.scanLineEx(2)[3];

    result.fill(~uint(before) * 0x01010101U);

    EXPECT_EQ(image.scanLineEx(2)[3], before);
}

TEST(ConvertedBig, MissingRowsGiveNull)
{
    Vellum image = makeUntouchable(9, 20, QImage::Format_RGB32);
    ASSERT_TRUE(image.alloc_buffer(36, 19));
    image.fill(0U);
    EXPECT_TRUE(vellum::converted(image, QImage::Format_RGB888).isNull());
}

// The stride of the store is all that may be read of a row.
TEST(ConvertedBig, MissingEndsOfRowsAreZero)
{
    Vellum image = makeUntouchable(9, 20, QImage::Format_RGB32);
    ASSERT_TRUE(image.alloc_buffer(20, 20));
    image.fill(0xff112233U);

    const Vellum result = vellum::converted(image, QImage::Format_RGBX8888);

    const auto *const row = reinterpret_cast<const quint32 *>(result.scanLineEx(19));
    EXPECT_EQ(row[4], 0xff332211);
    EXPECT_EQ(row[5], 0xff000000);
}

// QImage reads the padding of rows, which this store does not have.
TEST(ConvertedBig, DoesNotReadPaddingThatTheStoreLacks)
{
    Vellum image = makeUntouchable(9, 1, QImage::Format_Mono);
    ASSERT_TRUE(image.alloc_buffer(2, 1));
    image.scanLineEx(0)[0] = 0x96;
    image.scanLineEx(0)[1] = 0x80;

    const Vellum result = vellum::converted(image, QImage::Format_MonoLSB);

    EXPECT_EQ(result.scanLineEx(0)[0], 0x69);
    EXPECT_EQ(result.scanLineEx(0)[1] & 1, 1);
}

} // namespace
