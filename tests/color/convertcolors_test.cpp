// Whole-image conversion against direct calls of lcms2.

#include <vellum/vellum.h>

#include <QRunnable>
#include <QThread>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <support/images.h>
#include <support/profiles.h>
#include <vector>

using namespace vellum::test;
using vellum::BlackPreservation;
using vellum::ColorConversion;
using vellum::convertColors;
using vellum::RenderingIntent;

namespace {

QByteArray pressBytes() { return readFile(profileFile(QStringLiteral("cmyk.icm"))); }

/// \a image through one transform of lcms2, row by row, into an image of \a format whose bytes
/// were 0xff, or a copy of the source where only colour changes.
QImage direct(const Vellum &image, const QByteArray &from, unsigned inCode, const QByteArray &to,
              unsigned outCode, QImage::Format format, cmsUInt32Number intent = 0,
              cmsUInt32Number flags = 0)
{
    const QImage plain = toPlain(image);
    QImage result(plain.width(), plain.height(), format);
    std::memset(result.bits(), 0xff, size_t(result.sizeInBytes()));
    if (format == plain.format() && inCode == outCode)
        result = plain;
    const OwnedProfile source = openBytes(from);
    const OwnedProfile destination = openBytes(to);
    const OwnedTransform transform(
        cmsCreateTransform(source.get(), inCode, destination.get(), outCode, intent, flags));
    EXPECT_TRUE(transform);
    for (int y = 0; transform && y < plain.height(); ++y) {
        cmsDoTransform(transform.get(), plain.constScanLine(y), result.scanLine(y),
                       unsigned(plain.width()));
    }
    return result;
}

class ConvertFormats : public testing::TestWithParam<std::tuple<QImage::Format, Storage>>
{
protected:
    QImage::Format format() const { return std::get<0>(GetParam()); }
    Storage storage() const { return std::get<1>(GetParam()); }
    unsigned code() const { return CVlLcmsManager::toLcmsFormat(format()); }
    bool isRgb() const { return code() != 0 && T_COLORSPACE(code()) == PT_RGB; }
    bool isGrey() const { return code() != 0 && T_COLORSPACE(code()) == PT_GRAY; }
    bool isWide() const { return T_BYTES(code()) == 2; }
    Vellum image() const { return makeNoise(67, 35, format(), storage(), 9); }
};

} // namespace

TEST_P(ConvertFormats, RgbToRgbKeepsTheFormat)
{
    const Vellum original = image();
    const Vellum result = convertColors(original, matrixProfile(), lutProfile());
    EXPECT_TRUE(result.isNull()); // a profile of one direction only

    const Vellum forward = convertColors(original, lutProfile(), matrixProfile());
    ASSERT_EQ(forward.isNull(), !isRgb());
    if (!isRgb())
        return;
    EXPECT_TRUE(samePixels(
        forward, direct(original, lutProfile(), code(), matrixProfile(), code(), format())));
    EXPECT_FALSE(samePixels(forward, original));
    EXPECT_EQ(forward.isBigImage(), storage() == Storage::Big);
    EXPECT_TRUE(samePixels(original, image()));
}

TEST_P(ConvertFormats, RgbToGreyHasTheSourcesDepth)
{
    const Vellum original = image();
    const Vellum result = convertColors(original, matrixProfile(), greyProfile());
    ASSERT_EQ(result.isNull(), !isRgb());
    if (!isRgb())
        return;
    const auto to = isWide() ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
    const unsigned toCode = isWide() ? TYPE_GRAY_16 : TYPE_GRAY_8;
    EXPECT_TRUE(
        samePixels(result, direct(original, matrixProfile(), code(), greyProfile(), toCode, to)));
}

TEST_P(ConvertFormats, GreyToRgbIsOpaque)
{
    const Vellum original = image();
    const Vellum result = convertColors(original, greyProfile(), QByteArray());
    ASSERT_EQ(result.isNull(), !isGrey());
    if (!isGrey())
        return;
    const auto to = isWide() ? QImage::Format_RGBX64 : QImage::Format_RGB32;
    const unsigned toCode = isWide() ? TYPE_RGBA_16 : TYPE_BGRA_8;
    EXPECT_TRUE(
        samePixels(result, direct(original, greyProfile(), code(), srgbProfile(), toCode, to)));
}

TEST_P(ConvertFormats, GreyToGreyKeepsTheFormat)
{
    const Vellum original = image();
    const OwnedProfile gamma = openBytes(greyProfile());
    cmsToneCurve *const curve = cmsBuildGamma(nullptr, 2.6);
    const QByteArray other = bytesOf(OwnedProfile(cmsCreateGrayProfile(cmsD50_xyY(), curve)));
    cmsFreeToneCurve(curve);
    const Vellum result = convertColors(original, greyProfile(), other);
    ASSERT_EQ(result.isNull(), !isGrey());
    if (isGrey()) {
        EXPECT_TRUE(
            samePixels(result, direct(original, greyProfile(), code(), other, code(), format())));
    }
}

TEST_P(ConvertFormats, RgbToCmykTravelsInArgb32)
{
    const Vellum original = image();
    const Vellum result = convertColors(original, srgbProfile(), pressBytes());
    ASSERT_EQ(result.isNull(), !isRgb());
    if (!isRgb())
        return;
    EXPECT_TRUE(samePixels(
        result,
        direct(original, srgbProfile(), code(), pressBytes(), TYPE_CMYK_8, QImage::Format_ARGB32)));
    EXPECT_EQ(result.getIccProfile(), pressBytes());
}

TEST_P(ConvertFormats, CmykComesFrom32BitImages)
{
    const Vellum original = image();
    const Vellum result = convertColors(original, pressBytes(), QByteArray());
    const bool carries = isRgb() && original.depth() == 32;
    ASSERT_EQ(result.isNull(), !carries);
    if (carries) {
        EXPECT_TRUE(samePixels(result,
                               direct(original, pressBytes(), TYPE_CMYK_8, srgbProfile(),
                                      TYPE_BGRA_8, QImage::Format_RGB32)));
    }
}

INSTANTIATE_TEST_SUITE_P(All, ConvertFormats,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(ConvertColors, IntentAndBlackPointReachLcms)
{
    const Vellum original = makeNoise(67, 35, QImage::Format_RGB32, Storage::Plain);
    std::vector<QImage> results;
    for (int intent = 0; intent < 4; ++intent) {
        for (const bool blackPoint : {false, true}) {
            ColorConversion conversion;
            conversion.intent = RenderingIntent(intent);
            conversion.blackPointCompensation = blackPoint;
            results.push_back(
                direct(original, srgbProfile(), TYPE_BGRA_8, pressBytes(), TYPE_CMYK_8,
                       QImage::Format_ARGB32, cmsUInt32Number(intent),
                       blackPoint ? cmsUInt32Number(cmsFLAGS_BLACKPOINTCOMPENSATION) : 0U));
            EXPECT_TRUE(samePixels(convertColors(original, QByteArray(), pressBytes(), conversion),
                                   results.back()))
                << intent << blackPoint;
        }
    }
    EXPECT_NE(results[0], results[2]); // perceptual and relative
    EXPECT_NE(results[2], results[3]); // relative without and with compensation
    EXPECT_NE(results[2], results[6]); // relative and absolute
}

TEST(ConvertColors, BlackIsPreservedBetweenPresses)
{
    const Vellum original = makeNoise(67, 35, QImage::Format_ARGB32, Storage::Plain);
    Vellum black(1, 1, QImage::Format_ARGB32);
    const uchar pureBlack[] = {0, 0, 0, 200};
    std::memcpy(black.scanLineEx(0), pureBlack, 4);
    for (const auto &[preservation, number] :
         {std::pair(BlackPreservation::PureBlack, INTENT_PRESERVE_K_ONLY_PERCEPTUAL),
          std::pair(BlackPreservation::BlackPlane, INTENT_PRESERVE_K_PLANE_PERCEPTUAL)}) {
        for (const auto intent :
             {RenderingIntent::Perceptual, RenderingIntent::RelativeColorimetric,
              RenderingIntent::Saturation}) {
            ColorConversion conversion;
            conversion.intent = intent;
            conversion.blackPreservation = preservation;
            EXPECT_TRUE(
                samePixels(convertColors(original, cmykProfile(), pressBytes(), conversion),
                           direct(original, cmykProfile(), TYPE_CMYK_8, pressBytes(), TYPE_CMYK_8,
                                  QImage::Format_ARGB32, cmsUInt32Number(number + int(intent)))));
        }
        ColorConversion conversion;
        conversion.blackPreservation = preservation;
        const Vellum kept = convertColors(black, cmykProfile(), pressBytes(), conversion);
        const uchar *const inks = kept.scanLineEx(0);
        if (preservation == BlackPreservation::PureBlack) {
            EXPECT_EQ(inks[0] | inks[1] | inks[2], 0);
        }
        EXPECT_GT(inks[3], 0);
        conversion.intent = RenderingIntent::AbsoluteColorimetric;
        EXPECT_TRUE(convertColors(black, cmykProfile(), pressBytes(), conversion).isNull());
    }
}

TEST(ConvertColors, TheSameProfileSharesThePixels)
{
    const QByteArray icc = matrixProfile();
    QByteArray later = icc;
    later[29] = char(later[29] + 1); // the date's minutes
    for (const QByteArray &to : {icc, later}) {
        const Vellum image = makeNoise(9, 3, QImage::Format_ARGB32, Storage::Plain);
        const Vellum result = convertColors(image, icc, to);
        EXPECT_EQ(result.constBits(), image.constBits());
        EXPECT_EQ(result.getIccProfile(), to);
    }
    Vellum big = makeNoise(9, 3, QImage::Format_ARGB32, Storage::Big);
    EXPECT_EQ(convertColors(big, QByteArray(), QByteArray()).scanLineEx(1), big.scanLineEx(1));
}

TEST(ConvertColors, GreyWithoutAProfileHasTheToneCurveOfSrgb)
{
    Vellum ramp(256, 1, QImage::Format_Grayscale8);
    for (int x = 0; x < 256; ++x)
        ramp.scanLineEx(0)[x] = uchar(x);
    const Vellum result = convertColors(ramp, QByteArray(), QByteArray());
    ASSERT_EQ(result.format(), QImage::Format_RGB32);
    for (int x = 0; x < 256; ++x) {
        const QRgb pixel = result.pixel(x, 0);
        EXPECT_NEAR(qRed(pixel), x, 1);
        EXPECT_NEAR(qGreen(pixel), x, 1);
        EXPECT_NEAR(qBlue(pixel), x, 1);
    }
}

TEST(ConvertColors, CarriesTheDescription)
{
    Vellum image = makeNoise(9, 3, QImage::Format_RGB32, Storage::Big);
    image.setText(QStringLiteral("key"), QStringLiteral("value"));
    image.setDotsPerMeterX(1234);
    image.setOrgFileCmyk(true);
    image.setIccProfile("old");
    const Vellum result = convertColors(image, QByteArray(), matrixProfile());
    EXPECT_EQ(result.text(QStringLiteral("key")), QStringLiteral("value"));
    EXPECT_EQ(result.dotsPerMeterX(), 1234);
    EXPECT_TRUE(result.isOrgFileCmyk());
    EXPECT_EQ(result.getIccProfile(), matrixProfile());
}

TEST(ConvertColors, WhatDoesNotFitIsNull)
{
    const Vellum image = makeNoise(9, 3, QImage::Format_RGB32, Storage::Plain);
    const QByteArray matrix = matrixProfile();
    for (const QByteArray &bad : {QByteArray("junk"), matrix.left(matrix.size() - 1), labProfile(),
                                  greyProfile(), matrix.left(100)}) {
        EXPECT_TRUE(convertColors(image, bad, QByteArray()).isNull());
        EXPECT_TRUE(convertColors(image, bad, bad).isNull());
    }
    EXPECT_TRUE(convertColors(image, QByteArray(), QByteArray("junk")).isNull());
    EXPECT_TRUE(convertColors(image, QByteArray(), labProfile()).isNull());
    EXPECT_TRUE(convertColors(Vellum(), QByteArray(), matrix).isNull());
    Vellum narrow = makeUntouchable(9, 4, QImage::Format_RGB32);
    ASSERT_TRUE(narrow.alloc_buffer(20, 4));
    EXPECT_TRUE(convertColors(narrow, QByteArray(), matrix).isNull());
}

TEST(ConvertColors, ReportsProgressOnTheCallingThread)
{
    for (const Storage storage : kStorages) {
        Vellum image = makeNoise(40000, 40, QImage::Format_RGB32, storage);
        std::vector<int> percents;
        const QThread *const caller = QThread::currentThread();
        bool elsewhere = false;
        const vellum::ProgressGuard guard(image, [&](int percent) {
            elsewhere = elsewhere || QThread::currentThread() != caller;
            percents.push_back(percent);
            return true;
        });
        EXPECT_FALSE(convertColors(image, QByteArray(), matrixProfile()).isNull());
        EXPECT_FALSE(elsewhere);
        ASSERT_GE(percents.size(), 3U);
        EXPECT_EQ(percents.front(), 0);
        EXPECT_EQ(percents.back(), 100);
        EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
    }
}

TEST(ConvertColors, CancellingGivesNull)
{
    Vellum image = makeNoise(40000, 40, QImage::Format_RGB32, Storage::Big);
    for (const int answerFalseAt : {1, 2, 5}) {
        int calls = 0;
        const vellum::ProgressGuard guard(image, [&](int) { return ++calls < answerFalseAt; });
        EXPECT_TRUE(convertColors(image, QByteArray(), matrixProfile()).isNull());
        EXPECT_EQ(calls, answerFalseAt);
    }
}

TEST(ConvertColors, FromEveryWorkerOfThePoolAtOnce)
{
    const Vellum image = makeNoise(4000, 40, QImage::Format_RGB32, Storage::Big);
    const Vellum expected = convertColors(image, QByteArray(), matrixProfile());
    QThreadPool *const pool = QThreadPool::globalInstance();
    const int jobs = pool->maxThreadCount() * 3;
    static std::mutex mutex;
    std::condition_variable changed;
    int finished = 0;
    int right = 0;
    struct Job : QRunnable
    {
        std::function<void()> body;
        void run() override
        {
            { // until all have been made and started
                const std::lock_guard started(mutex);
            }
            body();
        }
    };
    std::unique_lock lock(mutex);
    for (int i = 0; i < jobs; ++i) {
        auto *const job = new Job;
        job->body = [&] {
            const Vellum result = convertColors(image, QByteArray(), matrixProfile());
            const std::lock_guard done(mutex);
            right += bool(samePixels(result, expected));
            ++finished;
            changed.notify_one();
        };
        pool->start(job);
    }
    EXPECT_TRUE(changed.wait_for(lock, std::chrono::minutes(1), [&] { return finished == jobs; }));
    lock.unlock();
    pool->waitForDone();
    EXPECT_EQ(right, jobs);
}

TEST(ConvertColors, TheNumberOfThreadsDoesNotMatter)
{
    const Vellum image = makeNoise(4000, 40, QImage::Format_RGBA64, Storage::Plain);
    QThreadPool *const pool = QThreadPool::globalInstance();
    const int before = pool->maxThreadCount();
    std::vector<Vellum> results;
    for (const int threads : {1, 2, 8}) {
        pool->setMaxThreadCount(threads);
        results.push_back(convertColors(image, matrixProfile(), QByteArray()));
    }
    pool->setMaxThreadCount(before);
    EXPECT_TRUE(samePixels(results[0], results[1]));
    EXPECT_TRUE(samePixels(results[0], results[2]));
}
