// Total ink against lcms2 itself.

#include "inkreport.h"

#include <QColorSpace>
#include <QJsonObject>

#include <algorithm>
#include <support/images.h>
#include <support/profiles.h>

using namespace vellum;
using namespace vellum::test;
using vellum::tool::InkReport;
using vellum::tool::inkReport;

namespace {

bool goOn(int) { return true; }

/// The inks of all pixels, row by row, as lcms2 makes them of 8-bit sRGB in B, G, R, any.
std::vector<uchar> inksOf(const Vellum &picture, const QByteArray &source, const QByteArray &press,
                          const ColorConversion &conversion)
{
    const OwnedProfile from = source.isEmpty() ? openBytes(srgbProfile()) : openBytes(source);
    const OwnedProfile to = openBytes(press);
    const OwnedTransform transform(cmsCreateTransform(
        from.get(), TYPE_BGRA_8, to.get(), TYPE_CMYK_8, cmsUInt32Number(conversion.intent),
        conversion.blackPointCompensation ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0));
    std::vector<uchar> inks;
    for (int y = 0; y < picture.height(); ++y) {
        std::vector<uchar> row(size_t(picture.width()) * 4);
        cmsDoTransform(transform.get(), picture.scanLineEx(y), row.data(),
                       cmsUInt32Number(picture.width()));
        inks.insert(inks.end(), row.begin(), row.end());
    }
    return inks;
}

InkReport expectedReport(const std::vector<uchar> &inks, int width)
{
    InkReport expected;
    const double pixels = double(inks.size()) / 4;
    for (size_t i = 0; i < inks.size(); i += 4) {
        double total = 0;
        for (size_t ink = 0; ink < 4; ++ink) {
            total += inks[i + ink] / 2.55;
            expected.inkMeans[ink] += inks[i + ink] / 2.55 / pixels;
        }
        expected.mean += total / pixels;
        if (total > expected.largest + 1e-6) {
            expected.largest = total;
            expected.largestAt = QPoint(int(i / 4) % width, int(i / 4) / width);
        }
    }
    return expected;
}

void expectReport(const InkReport &report, const InkReport &expected)
{
    EXPECT_NEAR(report.largest, expected.largest, 1e-6);
    EXPECT_EQ(report.largestAt, expected.largestAt);
    EXPECT_NEAR(report.mean, expected.mean, 1e-6);
    for (size_t ink = 0; ink < 4; ++ink)
        EXPECT_NEAR(report.inkMeans[ink], expected.inkMeans[ink], 1e-6) << ink;
}

} // namespace

TEST(InkReport, IsThatOfTheConvertedPixels)
{
    ColorConversion relative;
    relative.intent = RenderingIntent::RelativeColorimetric;
    relative.blackPointCompensation = true;
    const QByteArray shipped = readFile(profileFile(QStringLiteral("cmyk.icm")));
    for (const test::Storage storage : kStorages) {
        for (const QByteArray &press : {cmykProfile(), shipped}) {
            for (const QByteArray &source : {QByteArray(), matrixProfile()}) {
                for (const ColorConversion &conversion : {ColorConversion(), relative}) {
                    const Vellum picture = makeNoise(67, 41, QImage::Format_ARGB32, storage);
                    const auto report = inkReport(picture, source, press, conversion, goOn);
                    ASSERT_TRUE(report);
                    expectReport(*report,
                                 expectedReport(inksOf(picture, source, press, conversion),
                                                picture.width()));
                }
            }
        }
    }
}

TEST(InkReport, StaysBelowTheLimitOfThePress)
{
    const QByteArray shipped = readFile(profileFile(QStringLiteral("cmyk.icm")));
    Vellum black = makeImage(9, 5, QImage::Format_RGB32, test::Storage::Plain);
    black.fill(qRgb(0, 0, 0));
    const auto report = inkReport(black, {}, shipped, {}, goOn);
    ASSERT_TRUE(report);
    EXPECT_GT(report->largest, 250);
    EXPECT_LE(report->largest, *describeProfile(shipped).inkLimit + 2);
    EXPECT_EQ(report->largestAt, QPoint(0, 0));
    EXPECT_NEAR(report->mean, report->largest, 1e-9);
}

// Larger than the strips, with one pixel that has most in the last row.
TEST(InkReport, FindsTheDarkestPixelOfABigPicture)
{
    Vellum picture;
    ASSERT_TRUE(Vellum::createBig(picture, 3000, 3001, QImage::Format_Grayscale8));
    picture.fill(0xc0U);
    picture.scanLineEx(3000)[2999] = 0;
    const auto report = inkReport(picture, {}, cmykProfile(), {}, goOn);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->largestAt, QPoint(2999, 3000));
    EXPECT_LT(report->mean, report->largest);
}

TEST(InkReport, TakesEveryFormat)
{
    for (const QImage::Format format : allFormats()) {
        const Vellum picture = makeNoise(7, 5, format, test::Storage::Big);
        EXPECT_TRUE(inkReport(picture, {}, cmykProfile(), {}, goOn)) << format;
    }
}

TEST(InkReport, NeedsProfilesThatFit)
{
    const Vellum picture = makeNoise(7, 5, QImage::Format_RGB32, test::Storage::Plain);
    for (const QByteArray &press : {QByteArray(), QByteArray("none"), matrixProfile()})
        EXPECT_FALSE(inkReport(picture, {}, press, {}, goOn));
    for (const QByteArray &source : {QByteArray("none"), greyProfile(), cmykProfile()})
        EXPECT_FALSE(inkReport(picture, source, cmykProfile(), {}, goOn));
    EXPECT_FALSE(inkReport(Vellum(), {}, cmykProfile(), {}, goOn));
    const Vellum grey = makeNoise(7, 5, QImage::Format_Grayscale16, test::Storage::Plain);
    EXPECT_TRUE(inkReport(grey, greyProfile(), cmykProfile(), {}, goOn));
}

TEST(InkReport, ProgressNeverFallsAndEndsWithHundred)
{
    const Vellum picture = makeNoise(3000, 3001, QImage::Format_Grayscale8, test::Storage::Big);
    std::vector<int> percents;
    const auto report = [&](int percent) {
        percents.push_back(percent);
        return true;
    };
    ASSERT_TRUE(inkReport(picture, {}, cmykProfile(), {}, report));
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
    EXPECT_EQ(percents.back(), 100);

    // How often it is asked depends on the threads that help.
    for (const int last : {0, 50, 100}) {
        EXPECT_FALSE(inkReport(picture, {}, cmykProfile(), {}, [last](int percent) {
            return percent < last;
        })) << last;
    }
}

TEST(InkReport, IsToldInTextAndJson)
{
    InkReport report;
    report.largest = 301.25;
    report.largestAt = QPoint(12, 7);
    report.mean = 99.5;
    report.inkMeans = {30, 40, 20, 9.5};
    const QString text = toText(report);
    for (const char *part : {"301.3 %", "12, 7", "99.5 %", "cyan", "magenta", "yellow", "black"})
        EXPECT_TRUE(text.contains(part)) << part << " in " << qPrintable(text);
    const QJsonObject json = toJson(report);
    EXPECT_EQ(json["largest"].toDouble(), 301.25);
    EXPECT_EQ(json["largestAt"].toObject()["x"].toInt(), 12);
    EXPECT_EQ(json["mean"].toDouble(), 99.5);
    EXPECT_EQ(json["means"].toObject()["black"].toDouble(), 9.5);
}
