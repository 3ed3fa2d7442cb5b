// vellum::prepareSaveCmyk: saving as CMYK from any RGB profile to any press.

#include <vellum/vellum.h>

#include <gtest/gtest.h>

#include <support/images.h>
#include <support/profiles.h>
#include <vector>

using namespace vellum;
using namespace vellum::test;

namespace {

constexpr int kWidth = 501;

const QByteArray &smallPress()
{
    static const QByteArray profile = cmykProfile(); // holds the time at which it was made
    return profile;
}

/// What \a image makes of its first row.
std::vector<uchar> inksOf(Vellum &image)
{
    std::vector<uchar> inks(size_t(image.width()) * 4, 0x55);
    const auto bytes = unsigned(image.bytesPerLine());
    image.doCmykTransform(image.scanLineEx(0), inks.data(), unsigned(image.width()), 1, bytes,
                          unsigned(inks.size()));
    return inks;
}

std::vector<uchar> expectedInks(Vellum &image, const PressColors &colors)
{
    const QByteArray press =
        colors.press.isEmpty() ? readFile(profileFile(QStringLiteral("cmyk.icm"))) : colors.press;
    const cmsHPROFILE source =
        colors.source.isEmpty() ? cmsCreate_sRGBProfile() : openBytes(colors.source).release();
    const OwnedTransform transform = chainTransform(
        {source, openBytes(press).release()}, CVlLcmsManager::toLcmsFormat(image.format()),
        TYPE_CMYK_8, cmsUInt32Number(colors.conversion.intent),
        colors.conversion.blackPointCompensation ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0);
    std::vector<uchar> inks(size_t(image.width()) * 4);
    cmsDoTransform(transform.get(), image.scanLineEx(0), inks.data(), unsigned(image.width()));
    return inks;
}

QByteArray pressOf(Vellum &image)
{
    QByteArray icc;
    image.getCmykIccProfile(icc);
    return icc;
}

class Press : public testing::TestWithParam<test::Storage>
{
protected:
    Vellum noise(QImage::Format format) const { return makeNoise(kWidth, 3, format, GetParam()); }
};

} // namespace

TEST_P(Press, InksComeFromTheSourceByTheIntent)
{
    for (const QImage::Format format :
         {QImage::Format_RGB32, QImage::Format_RGB888, QImage::Format_RGBA64}) {
        for (const QByteArray &source : {QByteArray(), matrixProfile(), lutProfile()}) {
            for (const QByteArray &press : {QByteArray(), smallPress()}) {
                for (const RenderingIntent intent :
                     {RenderingIntent::Perceptual, RenderingIntent::RelativeColorimetric,
                      RenderingIntent::Saturation, RenderingIntent::AbsoluteColorimetric}) {
                    for (const bool blackPoint : {false, true}) {
                        const PressColors colors {press, source, {intent, blackPoint}};
                        Vellum image = noise(format);
                        ASSERT_TRUE(prepareSaveCmyk(image, colors));
                        EXPECT_EQ(inksOf(image), expectedInks(image, colors))
                            << int(format) << " " << int(intent) << " " << blackPoint;
                    }
                }
            }
        }
    }
}

TEST_P(Press, AWriterThatExpandsRowsKeepsThePress)
{
    const PressColors colors {
        smallPress(), matrixProfile(), {RenderingIntent::RelativeColorimetric, true}};
    Vellum grey = noise(QImage::Format_Grayscale8);
    ASSERT_TRUE(prepareSaveCmyk(grey, colors));
    EXPECT_TRUE(grey.isSaveCmykPrepared());
    EXPECT_FALSE(grey.hasSaveCmykTransform());

    grey.rePrepareSaveCmyk(QImage::Format_RGB32);
    ASSERT_TRUE(grey.hasSaveCmykTransform());
    EXPECT_EQ(pressOf(grey), colors.press);
    Vellum row = makeNoise(kWidth, 1, QImage::Format_RGB32, test::Storage::Plain);
    std::vector<uchar> inks(size_t(kWidth) * 4);
    grey.doCmykTransform(row.scanLineEx(0), inks.data(), kWidth, 1, kWidth * 4, kWidth * 4);
    EXPECT_EQ(inks, expectedInks(row, colors));
}

TEST_P(Press, ImagesAfterItInTheChainShareIt)
{
    const PressColors colors {smallPress(), {}, {}};
    Vellum head = noise(QImage::Format_RGB32);
    Vellum next = noise(QImage::Format_RGB32);
    head.setNextImage(&next);
    next.setPrevImage(&head);
    ASSERT_TRUE(prepareSaveCmyk(head, colors));
    EXPECT_EQ(inksOf(next), expectedInks(next, colors));
    EXPECT_EQ(pressOf(next), colors.press);
    head.setNextImage(nullptr);
    next.setPrevImage(nullptr);
}

TEST_P(Press, OfAnImageThatIsNotPreparedIsThatOfTheFolder)
{
    Vellum image = noise(QImage::Format_RGB32);
    const QByteArray standard = pressOf(image);
    EXPECT_NE(standard, smallPress());
    ASSERT_TRUE(prepareSaveCmyk(image, {smallPress(), {}, {}}));
    EXPECT_EQ(pressOf(image), smallPress());
    Vellum other = noise(QImage::Format_RGB32);
    EXPECT_EQ(pressOf(other), standard);
    other.rePrepareSaveCmyk(QImage::Format_RGB32);
    EXPECT_EQ(inksOf(other), expectedInks(other, {}));
}

TEST_P(Press, WrongProfilesAreRefused)
{
    const QByteArray cut = smallPress().left(200);
    for (const PressColors &colors :
         {PressColors {matrixProfile(), {}, {}}, PressColors {{}, smallPress(), {}},
          PressColors {{}, greyProfile(), {}}, PressColors {cut, {}, {}},
          PressColors {{}, QByteArray("no profile"), {}},
          PressColors {
              {},
              {},
              {RenderingIntent::AbsoluteColorimetric, false, BlackPreservation::PureBlack}}}) {
        Vellum image = noise(QImage::Format_RGB32);
        EXPECT_FALSE(prepareSaveCmyk(image, colors));
        EXPECT_FALSE(image.isSaveCmykPrepared());
        EXPECT_FALSE(image.getSaveAsCmyk());
    }
}

INSTANTIATE_TEST_SUITE_P(Storages, Press, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());
