// XBM files: Qt's own reader and writer are the measure.

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>

#include <support/bitmapfile.h>
#include <support/imageplugin.h>
#include <support/images.h>

using namespace vellum::test;

namespace {

QImage readXbm(const QByteArray &bytes) { return bitmapRead(bytes, "xbm"); }

constexpr char kSmall[] = "#define a_width 10\n#define a_height 2\n"
                          "static char a_bits[] = {\n0x01, 0x02, 0xff, 0x00 };\n";

} // namespace

TEST(XbmReading, GivesWhatQtReads)
{
    for (int width = 1; width <= 40; ++width) {
        const QByteArray bytes =
            qtWritten(toPlain(makeNoise(width, 7, QImage::Format_MonoLSB, Storage::Plain)), "xbm");
        const QImage expected = qtRead(bytes, "xbm");

        const QImage image = readXbm(bytes);

        EXPECT_EQ(image.format(), expected.format());
        EXPECT_EQ(image.colorTable(), expected.colorTable());
        ASSERT_EQ(image, expected) << width;
        for (const Storage storage : kStorages) {
            Vellum filled = makeImage(width, 7, QImage::Format_MonoLSB, storage, 3);
            ASSERT_TRUE(readBitmap(bytes, filled, "xbm"));
            EXPECT_EQ(filled.isBigImage(), storage == Storage::Big);
            EXPECT_TRUE(samePixels(filled, expected));
        }
    }
}

TEST(XbmReading, TheTextMayBeWrittenInManyWays)
{
    const QImage expected = readXbm(kSmall);
    for (const char *const text : {
             "/* made by hand */ #define a_width 10\n#define a_height 2\n#define a_x_hot 1\n"
             "#define a_y_hot 1\nstatic unsigned char a_bits[4] = {0x1,0X2,255,0}",
             "#define width 10\n#define height 2\nstatic const char bits [ ] = { 01, 02, /* x */ "
             "0377, 0 };",
             "#define a_height 2\r\n#define a_width 10\r\nstatic char a_bits[]={0x01,0x02\r\n"
             ",0xff,0x00,};",
             "#define a_width 10\n#define a_height 2\nstatic short a_bits[] = { 0x0201, 0x00ff };",
         })
        EXPECT_EQ(readXbm(text), expected) << text;
}

TEST(XbmReading, WhatIsNoPictureIsRefused)
{
    for (const QByteArray bytes :
         {"", "#", "#define", "#define a_width", "#define a_width 8", "#define FOO 8\nint i;",
          "#define a_width 0\n#define a_height 2\nchar b[] = {0, 0};",
          "#define a_width 8\n#define a_height -2\nchar b[] = {0, 0};",
          "#define a_width 99999999999\n#define a_height 2\nchar b[] = {0, 0};",
          "#define a_width 8\nchar b[] = {0, 0};",
          "#define a_width 8\n#define a_height 1\n/* char b[] = {0};",
          "int main() { return 0; }"}) {
        QImage image;
        EXPECT_FALSE(readBitmap(bytes, image, "xbm")) << bytes.constData();
    }
}

TEST(XbmReading, ASizeThatTheTextCannotHoldTakesNoMemory)
{
    QByteArray bytes("#define a_width 2000000\n#define a_height 2000000\nchar b[] = { 1, 2 };");
    QImage image;
    EXPECT_FALSE(readBitmap(bytes, image, "xbm"));
    EXPECT_TRUE(image.isNull());
}

namespace {

class XbmWriting : public testing::TestWithParam<std::tuple<QImage::Format, Storage>>
{
};

INSTANTIATE_TEST_SUITE_P(All, XbmWriting,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

} // namespace

TEST_P(XbmWriting, GivesThePixelsThatQtWrites)
{
    const auto [format, storage] = GetParam();
    const Vellum image = makeValidNoise(43, 13, format, storage);
    const QImage plain = toPlain(image);

    const QByteArray written = bitmapWritten(image, "xbm");

    EXPECT_EQ(qtRead(written, "xbm"), qtRead(qtWritten(withPlainColors(plain), "xbm"), "xbm"));
    EXPECT_EQ(readXbm(written), qtRead(written, "xbm"));
    EXPECT_EQ(bitmapWritten(plain, "xbm"), written);
}

TEST(XbmWriting, ThePictureIsCalledAfterItsFile)
{
    const QTemporaryDir folder;
    QImage image(9, 2, QImage::Format_Mono);
    image.fill(1);
    for (const auto &[fileName, name] :
         {std::pair("sign.xbm", "sign"), std::pair("7 up.xbm", "_7_up")}) {
        QFile file(folder.filePath(fileName));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_TRUE(makeHandler(QStringLiteral("bitmap"), &file, "xbm")->write(image));
        file.close();

        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_TRUE(file.readAll().startsWith(QByteArray("#define ") + name + "_width 9\n"));
    }
}
