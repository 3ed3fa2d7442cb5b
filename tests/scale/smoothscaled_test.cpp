// Smooth scaling of every format, in bands, with progress and cancel.

#include <QColorSpace>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <support/images.h>
#include <support/messages.h>
#include <support/process.h>
#include <vector>

using namespace vellum::test;
using vellum::smoothScaled;

namespace {

/// What a format is averaged as, and what comes back.
struct Formats
{
    QImage::Format work;
    QImage::Format result;
};

Formats formatsOf(const Vellum &image)
{
    switch (image.format()) {
    case QImage::Format_ARGB32:
        return {QImage::Format_ARGB32_Premultiplied, QImage::Format_ARGB32};
    case QImage::Format_RGBA8888:
        return {QImage::Format_RGBA8888_Premultiplied, QImage::Format_RGBA8888};
    case QImage::Format_RGBA64:
        return {QImage::Format_RGBA64_Premultiplied, QImage::Format_RGBA64};
    case QImage::Format_Grayscale16:
        return {QImage::Format_RGBX64, QImage::Format_Grayscale16};
    case QImage::Format_BGR30:
    case QImage::Format_RGB30:
        return {QImage::Format_RGBX64, QImage::Format_RGBX64};
    case QImage::Format_A2BGR30_Premultiplied:
    case QImage::Format_A2RGB30_Premultiplied:
        return {QImage::Format_RGBA64_Premultiplied, QImage::Format_RGBA64_Premultiplied};
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
    case QImage::Format_Indexed8: // makeNoise gives palettes with translucent colours
        if (image.hasAlphaChannel())
            return {QImage::Format_ARGB32_Premultiplied, QImage::Format_ARGB32};
        return {QImage::Format_RGB32, QImage::Format_RGB32};
    case QImage::Format_RGB16:
    case QImage::Format_RGB666:
    case QImage::Format_RGB555:
    case QImage::Format_RGB888:
    case QImage::Format_RGB444:
    case QImage::Format_BGR888:
        return {QImage::Format_RGB32, QImage::Format_RGB32};
    case QImage::Format_ARGB8565_Premultiplied:
    case QImage::Format_ARGB6666_Premultiplied:
    case QImage::Format_ARGB8555_Premultiplied:
    case QImage::Format_ARGB4444_Premultiplied:
        return {QImage::Format_ARGB32_Premultiplied, QImage::Format_ARGB32_Premultiplied};
    default:
        return {image.format(), image.format()};
    }
}

/// Noise whose colours are not above their alpha: others are no valid premultiplied pixels.
Vellum validNoise(int w, int h, QImage::Format format, Storage storage)
{
    const Vellum noise = makeNoise(w, h, format, storage);
    const QImage valid =
        toPlain(noise).convertToFormat(QImage::Format_RGBA64).convertToFormat(format);
    if (!noise.colorTable().isEmpty() || valid.isNull() || !noise.hasAlphaChannel())
        return noise;
    Vellum image = makeImage(w, h, format, storage, 8);
    for (int y = 0; y < h; ++y)
        std::memcpy(image.scanLineEx(y), valid.constScanLine(y), size_t(w * noise.depth() / 8));
    return image;
}

using Param = std::tuple<QImage::Format, Storage>;

class SmoothScaled : public testing::TestWithParam<Param>
{
};

// The whole image converted by Qt, scaled, and the whole result converted back.
TEST_P(SmoothScaled, EqualsConvertingTheWholeImageFirst)
{
    const auto [format, storage] = GetParam();
    const Vellum image = validNoise(57, 43, format, storage);
    const Formats formats = formatsOf(image);
    const QImage plain = toPlain(image);
    const Vellum work = format == formats.work ? plain : plain.convertToFormat(formats.work);
    for (const QSize &size : {QSize(13, 9), QSize(20, 60), QSize(81, 11), QSize(90, 70)}) {
        for (const QRect &crop : {QRect(), QRect(3, 2, 7, 5)}) {
            const QRect rect = crop.isNull() ? QRect(QPoint(0, 0), size) : crop;
            const Vellum expected(
                qSmoothScaleCropVellum(work, size, rect).toImage().convertToFormat(formats.result));

            const Vellum result = smoothScaled(image, size, crop);

            ASSERT_TRUE(samePixels(result, expected)) << size.width() << " x " << size.height();
        }
    }
}

TEST_P(SmoothScaled, BigResultsEqualPlainOnes)
{
    const auto [format, storage] = GetParam();
    const Vellum image = makeNoise(33, 27, format, storage);
    const Vellum plain = smoothScaled(image, {20, 40});
    const Vellum big = smoothScaled(image, {20, 40}, QRect(), vellum::Storage::Big);
    EXPECT_FALSE(plain.isBigImage());
    EXPECT_TRUE(big.isBigImage());
    EXPECT_TRUE(samePixels(big, plain));
}

TEST_P(SmoothScaled, ItsOwnSizeGivesTheSamePixels)
{
    const auto [format, storage] = GetParam();
    const Vellum image = validNoise(33, 27, format, storage);
    const Formats formats = formatsOf(image);
    Vellum expected(toPlain(image).convertToFormat(formats.result));
    if (image.depth() == 32 && !image.hasAlphaChannel()) {
        for (int y = 0; y < 27; ++y) {
            for (int x = 0; x < 33 && expected.depth() == 32; ++x)
                expected.scanLineEx(y)[4 * x + 3] = 255;
        }
    }
    EXPECT_TRUE(samePixels(smoothScaled(image, {33, 27}), expected));
}

INSTANTIATE_TEST_SUITE_P(Formats, SmoothScaled,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(SmoothScaledResult, DoesNotShowTheColourOfWhatIsTransparent)
{
    for (const QImage::Format format :
         {QImage::Format_ARGB32, QImage::Format_RGBA8888, QImage::Format_RGBA64}) {
        QImage image(30, 10, format);
        image.fill(QColor(255, 0, 0));
        for (int y = 0; y < 10; ++y) {
            for (int x = 13; x < 30; ++x)
                image.setPixelColor(x, y, QColor(0, 255, 0, 0));
        }
        const Vellum result = smoothScaled(image, {10, 5});
        for (int x = 0; x < 10; ++x)
            EXPECT_EQ(result.pixelColor(x, 2).green(), 0) << x;
        EXPECT_EQ(result.pixelColor(4, 2).red(), 255);
        EXPECT_NEAR(result.pixelColor(4, 2).alpha(), 85, 1);
    }
}

TEST(SmoothScaledResult, KeepsProfileFlagResolutionAndTexts)
{
    Vellum image = makeNoise(20, 10, QImage::Format_RGB888, Storage::Big);
    image.setIccProfile("profile");
    image.setOrgFileCmyk(true);
    image.setDotsPerMeterX(1234);
    image.setDotsPerMeterY(4321);
    image.setText("Author", "me");
    image.setColorSpace(QColorSpace::AdobeRgb);
    for (const vellum::Storage storage : {vellum::Storage::Plain, vellum::Storage::Big}) {
        const Vellum result = smoothScaled(image, {5, 5}, QRect(), storage);
        EXPECT_EQ(result.getIccProfile(), "profile");
        EXPECT_TRUE(result.isOrgFileCmyk());
        EXPECT_EQ(result.dotsPerMeterX(), 1234);
        EXPECT_EQ(result.dotsPerMeterY(), 4321);
        EXPECT_EQ(result.text("Author"), "me");
        EXPECT_EQ(result.colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
    }
}

// More than one band, in every pairing of growing and shrinking.
TEST(SmoothScaledBands, LeaveNoSeams)
{
    for (const QImage::Format format : {QImage::Format_Grayscale8, QImage::Format_RGB444}) {
        const Vellum image = makeNoise(4001, 5003, format, Storage::Big);
        Vellum work = image;
        if (format != QImage::Format_Grayscale8)
            work = Vellum(toPlain(image).convertToFormat(QImage::Format_RGB32));
        for (const QSize &size : {QSize(301, 203), QSize(4007, 61), QSize(41, 5009)}) {
            EXPECT_TRUE(samePixels(smoothScaled(image, size),
                                   qSmoothScaleCropVellum(work, size, QRect(QPoint(0, 0), size))));
        }
    }
}

TEST(SmoothScaledProgress, RisesToAHundred)
{
    Vellum image = makeImage(4000, 6000, QImage::Format_Grayscale8, Storage::Big);
    image.fill(0x80U);
    std::vector<int> percents;
    const vellum::ProgressGuard guard(image, [&](int percent) {
        percents.push_back(percent);
        return true;
    });
    EXPECT_FALSE(smoothScaled(image, {400, 600}).isNull());
    ASSERT_GE(percents.size(), 3U);
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
    EXPECT_LT(percents.front(), 50);
    EXPECT_EQ(percents.back(), 100);
}

TEST(SmoothScaledProgress, StopGivesANullImageAtOnce)
{
    Vellum image = makeImage(4000, 6000, QImage::Format_Grayscale8, Storage::Big);
    image.fill(0x80U);
    int polls = 0;
    const vellum::ProgressGuard guard(image, [&](int) {
        ++polls;
        return false;
    });
    EXPECT_TRUE(smoothScaled(image, {400, 600}).isNull());
    EXPECT_EQ(polls, 1);
}

TEST(SmoothScaledErrors, BadArgumentsGiveANullImage)
{
    const Vellum image = makeNoise(9, 9, QImage::Format_RGB888, Storage::Plain);
    const MessageLog log;
    EXPECT_TRUE(smoothScaled(Vellum(), {4, 4}).isNull());
    for (const QSize &size : {QSize(), QSize(0, 4), QSize(4, -1)})
        EXPECT_TRUE(smoothScaled(image, size).isNull());
    for (const QRect &crop : {QRect(-1, 0, 2, 2), QRect(3, 3, 2, 1), QRect(1, 1, 0, 2)})
        EXPECT_TRUE(smoothScaled(image, {4, 4}, crop).isNull());
    EXPECT_THAT(log.messages(), testing::IsEmpty());
}

TEST(SmoothScaledErrors, AResultThatCannotBeHadWarnsAndIsNull)
{
    const Vellum image = makeNoise(2, 2, QImage::Format_RGBA64_Premultiplied, Storage::Plain);
    const MessageLog log;
    const QSize row(34'000'000, 1); // more bits than QImage can count
    EXPECT_TRUE(smoothScaled(image, row).isNull());
    EXPECT_EQ(log.messages(), QStringList("QImage: out of memory, returning null"));
}

// Nor are there tables for it, which would take their time to fill.
TEST(SmoothScaledErrors, AResultThatCannotBeHadIsTheFirstThingAskedFor)
{
    if (kSanitized)
        GTEST_SKIP() << "sanitizers need address space of their own";
    const Vellum image = makeNoise(2, 2, QImage::Format_RGB32, Storage::Plain);
    EXPECT_TRUE(passesWithinAddressSpace(64 << 20, [&] {
        for (const vellum::Storage storage : {vellum::Storage::Plain, vellum::Storage::Big}) {
            const MessageLog log;
            EXPECT_TRUE(smoothScaled(image, {40'000'000, 30'000'000}, QRect(), storage).isNull());
            EXPECT_THAT(log.messages(),
                        testing::Contains(QString("QImage: out of memory, returning null")));
        }
    }));
}

} // namespace
