// CMYK and Lab rows on their way into an image, against Little CMS itself.

#include <vellum/vellum.h>

#include <QRgba64>

#include <gtest/gtest.h>

#include <random>
#include <shared/colorinput.h>
#include <shared/pixelrows.h>
#include <support/childprocess.h>
#include <support/profiles.h>
#include <vector>

using namespace vellum::test;
using vellum::plugin::ColorInput;
using vellum::plugin::inputPixelBytes;

namespace {

constexpr int kPixels = 67;
constexpr QImage::Format kFormats[] = {QImage::Format_RGB32, QImage::Format_RGBX64};
constexpr unsigned int kCmyk[] = {TYPE_CMYK_8, TYPE_CMYK_8_REV, TYPE_CMYK_16, TYPE_CMYK_16_REV};

std::vector<uchar> noise(unsigned int colors)
{
    std::vector<uchar> row(size_t(kPixels) * size_t(inputPixelBytes(colors)));
    std::mt19937 random(1);
    for (uchar &byte : row)
        byte = uchar(random() >> 24);
    return row;
}

using Row = std::vector<uchar>;

Row rowOf(QImage::Format format)
{
    return Row(size_t(vellum::plugin::rowBytes(kPixels, vellum::plugin::bitsPerPixel(format))));
}

Row converted(unsigned int colors, QImage::Format format, const QByteArray &icc)
{
    Row out = rowOf(format);
    ColorInput(colors, format, icc).convert(out.data(), noise(colors).data(), kPixels);
    return out;
}

/// By Little CMS, from \a profile to sRGB; opaque.
Row expected(unsigned int colors, QImage::Format format, OwnedProfile profile)
{
    const OwnedTransform transform = chainTransform({profile.release(), cmsCreate_sRGBProfile()},
                                                    colors, CVlLcmsManager::toLcmsFormat(format));
    Row out = rowOf(format);
    std::fill(out.begin(), out.end(), uchar(0xff));
    cmsDoTransform(transform.get(), noise(colors).data(), out.data(), kPixels);
    return out;
}

QByteArray pressProfile()
{
    QByteArray icc;
    EXPECT_TRUE(CVlLcmsManager::getDefaultCmykIccProfile(icc));
    return icc;
}

} // namespace

TEST(ColorInput, CmykGoesThroughTheProfileOfTheFile)
{
    const QByteArray icc = cmykProfile();
    for (const unsigned int colors : kCmyk) {
        for (const QImage::Format format : kFormats)
            EXPECT_EQ(converted(colors, format, icc), expected(colors, format, openBytes(icc)));
    }
}

TEST(ColorInput, CmykWithoutAProfileOfItsOwnGoesThroughThatOfTheLibrary)
{
    const QByteArray press = pressProfile();
    for (const QByteArray &icc :
         {QByteArray(), matrixProfile(), greyProfile(), cmykProfile().left(200)}) {
        for (const unsigned int colors : kCmyk) {
            EXPECT_EQ(converted(colors, QImage::Format_RGB32, icc),
                      expected(colors, QImage::Format_RGB32, openBytes(press)));
        }
    }
}

TEST(ColorInput, CmykWithoutAnyProfileIsGuessed)
{
    inFreshProcess([] {
        setIccProfilePath(QStringLiteral("/nowhere/"));
        const QByteArray inks("\0\0\0\0\xff\0\0\0\0\xff\0\0\0\0\xff\0\0\0\0\xff\x80\0\0\0", 24);
        const QRgb colors[] = {0xffffffff, 0xff00ffff, 0xffff00ff,
                               0xffffff00, 0xff000000, 0xff7fffff};
        for (const bool isInverted : {false, true}) {
            QByteArray in = inks;
            for (char &ink : in)
                ink = isInverted ? char(~ink) : ink;
            QRgb out[6] = {};
            ColorInput(isInverted ? TYPE_CMYK_8_REV : TYPE_CMYK_8, QImage::Format_RGB32, {})
                .convert(reinterpret_cast<uchar *>(out),
                         reinterpret_cast<const uchar *>(in.constData()), 6);
            for (int i = 0; i < 6; ++i)
                EXPECT_EQ(out[i], colors[i]) << i;
        }
    });
}

TEST(ColorInput, LabNeedsNoProfile)
{
    for (const QByteArray &icc :
         {QByteArray(), labProfile(), matrixProfile(), QByteArray("junk")}) {
        for (const unsigned int colors : {unsigned(TYPE_Lab_8), unsigned(TYPE_Lab_16)}) {
            for (const QImage::Format format : kFormats) {
                EXPECT_EQ(converted(colors, format, icc),
                          expected(colors, format, OwnedProfile(cmsCreateLab4Profile(nullptr))));
            }
        }
    }
}

TEST(ColorInput, NeutralLabIsGrey)
{
    const quint16 lab[] = {0, 0x8080, 0x8080, 0xffff, 0x8080, 0x8080};
    QRgb out[2] = {};
    ColorInput(TYPE_Lab_16, QImage::Format_RGB32, {})
        .convert(reinterpret_cast<uchar *>(out), reinterpret_cast<const uchar *>(lab), 2);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(qAlpha(out[i]), 255);
        for (const int level : {qRed(out[i]), qGreen(out[i]), qBlue(out[i])})
            EXPECT_NEAR(level, i * 255, 1);
    }
}

TEST(ColorInput, KnowsThePixelsOfEveryCode)
{
    EXPECT_EQ(inputPixelBytes(TYPE_CMYK_8), 4);
    EXPECT_EQ(inputPixelBytes(TYPE_CMYK_16_REV), 8);
    EXPECT_EQ(inputPixelBytes(TYPE_Lab_8), 3);
    EXPECT_EQ(inputPixelBytes(TYPE_Lab_16), 6);
    EXPECT_TRUE(vellum::plugin::isCmykInput(TYPE_CMYK_8_REV));
    EXPECT_FALSE(vellum::plugin::isCmykInput(TYPE_Lab_16));
    EXPECT_FALSE(vellum::plugin::isCmykInput(0));
}
