// What colours the pixels of an image are.

#include <vellum/vellum.h>

#include <QColorSpace>

#include <gtest/gtest.h>

#include <support/images.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

QColorSpace gammaOf(float gamma) { return {QColorSpace::Primaries::SRgb, gamma}; }

} // namespace

TEST(SrgbSpace, IsAlsoTheGammaThatStandsForIt)
{
    EXPECT_TRUE(vellum::isSrgb(QColorSpace(QColorSpace::SRgb)));
    EXPECT_TRUE(vellum::isSrgb(gammaOf(2.2F)));
    EXPECT_FALSE(vellum::isSrgb(gammaOf(1.8F)));
    EXPECT_FALSE(vellum::isSrgb(QColorSpace(QColorSpace::AdobeRgb)));
    EXPECT_FALSE(vellum::isSrgb(QColorSpace()));
}

TEST(PixelProfile, IsTheImagesOwnBeforeThatOfItsColorSpace)
{
    Vellum image = makeNoise(3, 2, QImage::Format_RGB32, Storage::Plain);
    EXPECT_TRUE(vellum::pixelProfile(image).isEmpty());

    image.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    EXPECT_EQ(vellum::pixelProfile(image), QColorSpace(QColorSpace::AdobeRgb).iccProfile());

    image.setIccProfile(matrixProfile());
    EXPECT_EQ(vellum::pixelProfile(image), matrixProfile());
}

TEST(PixelProfile, IsEmptyForSrgbAndForPicturesOfCmykFiles)
{
    for (const Storage storage : kStorages) {
        Vellum image = makeNoise(3, 2, QImage::Format_RGB32, storage);
        image.setIccProfile(QColorSpace(QColorSpace::SRgb).iccProfile());
        EXPECT_TRUE(vellum::pixelProfile(image).isEmpty());

        image.setIccProfile(cmykProfile());
        EXPECT_EQ(vellum::pixelProfile(image), cmykProfile());
        image.setOrgFileCmyk(true);
        EXPECT_TRUE(vellum::pixelProfile(image).isEmpty());
    }
}

TEST(ColorFormats, KeepDepthAndAlpha)
{
    for (const QImage::Format format : allFormats()) {
        const Vellum image = makeNoise(3, 2, format, Storage::Plain);
        const int bits = vellum::hasWideChannels(format) ? 64 : 32;
        const Vellum colors(1, 1, vellum::rgbFormatFor(image));
        EXPECT_EQ(colors.depth(), bits) << format;
        EXPECT_EQ(colors.hasAlphaChannel(), image.hasAlphaChannel()) << format;

        const Vellum ready = vellum::converted(image, vellum::convertibleFormat(image, false));
        EXPECT_FALSE(vellum::convertColors(ready, {}, matrixProfile()).isNull()) << format;
        const Vellum grey = vellum::converted(image, vellum::convertibleFormat(image, true));
        EXPECT_TRUE(vellum::isGrayFormat(grey.format())) << format;
        EXPECT_FALSE(vellum::convertColors(grey, greyProfile(), matrixProfile()).isNull());
    }
}
