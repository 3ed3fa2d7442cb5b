// XPM files: Qt's own reader and writer are the measure.

#include <QBuffer>

#include <support/bitmapfile.h>
#include <support/devices.h>
#include <support/imageplugin.h>
#include <support/images.h>

using namespace vellum::test;

namespace {

QImage readXpm(const QByteArray &bytes) { return bitmapRead(bytes, "xpm"); }

/// A picture of one pixel with the colour \a definition.
QByteArray onePixel(const QByteArray &definition)
{
    return "/* XPM */\nstatic char *a[] = {\n\"1 1 1 1\",\n\"x " + definition + "\",\n\"x\"};\n";
}

/// As the format can hold it: opaque, or not there.
QImage opaqueOrNone(const QImage &image)
{
    QImage result = image;
    if (!image.hasAlphaChannel()) // another rounding of more than 8 bits than with alpha
        result = result.convertToFormat(QImage::Format_RGB32);
    result = result.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < result.height(); ++y) {
        for (int x = 0; x < result.width(); ++x) {
            const QRgb pixel = result.pixel(x, y);
            result.setPixel(x, y, qAlpha(pixel) == 0 ? 0 : pixel | 0xff000000);
        }
    }
    return result;
}

class XpmKinds : public testing::TestWithParam<std::tuple<QImage::Format, Storage>>
{
};

INSTANTIATE_TEST_SUITE_P(All, XpmKinds,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

} // namespace

TEST_P(XpmKinds, FilesOfQtGiveWhatQtReads)
{
    const auto [format, storage] = GetParam();
    const QByteArray bytes = qtWritten(toPlain(makeNoise(43, 13, format, Storage::Plain)), "xpm");
    const QImage expected = qtRead(bytes, "xpm");

    Vellum image = makeImage(43, 13, expected.format(), storage, 8);
    ASSERT_TRUE(readBitmap(bytes, image, "xpm"));

    EXPECT_EQ(image.isBigImage(), storage == Storage::Big);
    EXPECT_EQ(deep(toPlain(image)), deep(expected));
}

TEST_P(XpmKinds, OthersReadThePixels)
{
    const auto [format, storage] = GetParam();
    const Vellum image = makeValidNoise(43, 13, format, storage);
    const QImage plain = toPlain(image);

    const QByteArray written = bitmapWritten(image, "xpm");

    EXPECT_EQ(readXpm(written).convertToFormat(QImage::Format_ARGB32), opaqueOrNone(plain));
    EXPECT_EQ(qtRead(written, "xpm").convertToFormat(QImage::Format_ARGB32), opaqueOrNone(plain));
    EXPECT_EQ(bitmapWritten(plain, "xpm"), written);
}

TEST(XpmReading, ColorsMayBeNamedInManyWays)
{
    const std::pair<const char *, QRgb> kColors[] = {
        {"c #f00", 0xffff0000},
        {"c #0080FF", 0xff0080ff},
        {"c #0000ffff8080", 0xff00ff80},
        {"c blue", 0xff0000ff},
        {"c light Blue", 0xffadd8e6},
        {"c None", 0},
        {"c nOnE", 0},
        {"c gray50", 0xff808080},
        {"c grey100", 0xffffffff},
        {"s sign m white g4 black g #777777 c red", 0xffff0000},
        {"m white g4 black g #777777", 0xff777777},
        {"m white s name", 0xffffffff},
        {"c no such color", 0xff000000},
    };
    for (const auto &[definition, color] : kColors)
        EXPECT_EQ(readXpm(onePixel(definition)).pixel(0, 0), color) << definition;
}

TEST(XpmReading, TheTextMayBeWrittenInManyWays)
{
    const QImage expected = readXpm(
        "/* XPM */\nstatic char *a[] = {\"2 2 2 1\",\"  c red\",\"b c blue\",\" b\",\"b \"};");
    EXPECT_EQ(expected.pixel(0, 0), 0xffff0000);
    EXPECT_EQ(expected.pixel(1, 0), 0xff0000ff);
    for (const char *const text : {
             "/* XPM */ static const char *const a[] = { /* \"values\" */\r\n\"2 2 2 1 0 0\" ,\r\n"
             "\"  \tc\tred\",\r\n\"b s x c blue\",/* pixels */\r\n\" b\",\r\n\"b \",\r\n};\r\n",
             "/* XPM */{\" 2  2 2 1 XPMEXT\"\"  c red\"\"b c blue\"\" b behind\"\"b \"",
         })
        EXPECT_EQ(readXpm(text), expected) << text;
}

TEST(XpmReading, ManyColorsMakeAPictureOf32Bits)
{
    QImage image(40, 40, QImage::Format_ARGB32);
    for (int y = 0; y < 40; ++y) {
        for (int x = 0; x < 40; ++x)
            image.setPixel(x, y, qRgb(x, y, x * y % 256));
    }
    EXPECT_EQ(readXpm(bitmapWritten(image, "xpm")).format(), QImage::Format_RGB32);
    image.setPixel(3, 3, 0);
    EXPECT_EQ(readXpm(bitmapWritten(image, "xpm")).format(), QImage::Format_ARGB32);
    EXPECT_EQ(readXpm(bitmapWritten(image, "xpm")), image);
}

TEST(XpmReading, WhatIsNoPictureIsRefused)
{
    for (const QByteArray text :
         {"", "/* XPM */", "/* XPM */ \"", "/* XPM */ \"1 1 1\"",
          "/* XPM */ \"0 1 1 1\" \"x c red\"", "/* XPM */ \"1 1 0 1\" \"x c red\" \"x\"",
          "/* XPM */ \"1 1 1 0\" \"x c red\" \"x\"",
          "/* XPM */ \"1 1 1 9\" \"123456789 c red\" \"123456789\"",
          "/* XPM */ \"1 1 1 1\" \"x red\" \"x\"", "/* XPM */ \"1 1 1 1\" \"x s red\" \"x\"",
          "/* XPM */ \"1 1 1 1\" \"\" \"x\"", "/* XPM */ \"1 1 1 1\" \"x c red\"",
          "/* XPM */ \"1 1 1 1\" \"x c red\" \"\"", "/* XPM */ \"1 1 1 1\" \"x c red\" \"y\"",
          "/* XPM */ \"1 1 1 1\" \"x c red\" \"x",
          "/* XPM */ \"1 1 2000000000 1\" \"x c red\" \"x\"",
          "/* XPM */ \"2000000000 2000000000 1 1\" \"x c red\" \"x\""}) {
        QImage image;
        EXPECT_FALSE(readBitmap(text, image, "xpm")) << text.constData();
    }
}

TEST(XpmWriting, AFullDeviceIsAFailure)
{
    const QImage image = toPlain(makeNoise(43, 13, QImage::Format_RGB32, Storage::Plain));
    const int bytes = bitmapWritten(image, "xpm").size();
    for (int room = 0; room < bytes; room += 97) {
        LimitedDevice full(room);
        EXPECT_FALSE(makeHandler(QStringLiteral("bitmap"), &full, "xpm")->write(image)) << room;
    }
}
