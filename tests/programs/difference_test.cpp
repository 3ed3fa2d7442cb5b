// How much two pictures differ, by numbers and by colour, and the map of it.

#include "difference.h"
#include "differencemap.h"
#include <vellum/vellum.h>

#include <QColorSpace>

#include <cmath>
#include <support/colordifference.h>
#include <support/images.h>
#include <vector>

using namespace vellum;
using vellum::test::kStorages;
using vellum::test::makeImage;
using vellum::test::makeNoise;
using vellum::test::toPlain;
using vellum::tool::Difference;
using vellum::tool::differenceOf;
using vellum::tool::Measure;

namespace {

constexpr int kWidth = 67;
constexpr int kHeight = 41;

bool goOn(int) { return true; }

Measure byNumbers(double tolerance = 0) { return {false, tolerance}; }
Measure byColor(double tolerance = 0) { return {true, tolerance}; }

/// What QImage says of every pixel, one at a time.
struct Expected
{
    Expected(const Vellum &a, const Vellum &b, double tolerance)
    {
        const QImage first = toPlain(a);
        const QImage second = toPlain(b);
        for (int y = 0; y < a.height(); ++y) {
            for (int x = 0; x < a.width(); ++x)
                add(colorOf(first, x, y), colorOf(second, x, y), QPoint(x, y), tolerance);
        }
        const double pixels = double(a.width()) * a.height();
        for (double &mean : means)
            mean /= pixels;
        meanColor /= pixels;
    }

    static QRgba64 colorOf(const QImage &image, int x, int y)
    {
        QRgba64 color = image.pixelColor(x, y).rgba64();
        if (!image.hasAlphaChannel()) // QImage tells unused bits, too
            color.setAlpha(65535);
        return color;
    }

    void add(QRgba64 a, QRgba64 b, QPoint at, double tolerance)
    {
        const int differences[] = {a.red() - b.red(), a.green() - b.green(), a.blue() - b.blue(),
                                   a.alpha() - b.alpha()};
        int most = 0;
        for (size_t c = 0; c < 4; ++c) {
            const int difference = std::abs(differences[c]);
            largest[c] = std::max(largest[c], difference);
            means[c] += difference;
            most = std::max(most, difference);
        }
        const double color = test::difference(test::labOf(QColor(a)), test::labOf(QColor(b)));
        largestColor = std::max(largestColor, color);
        meanColor += color;
        amounts.push_back(most / 257.0 > tolerance ? most : 0);
        if (most / 257.0 > tolerance && count++ == 0)
            firstAt = at;
    }

    int largest[4] = {};
    double means[4] = {};
    double largestColor = 0;
    double meanColor = 0;
    qint64 count = 0;
    QPoint firstAt;
    std::vector<int> amounts;
};

void expectNumbers(const Difference &difference, const Expected &expected)
{
    for (size_t c = 0; c < 4; ++c) {
        EXPECT_EQ(difference.channels[c].largest, expected.largest[c]) << c;
        EXPECT_NEAR(difference.channels[c].mean, expected.means[c], 1e-6) << c;
    }
    EXPECT_EQ(difference.differentPixels, expected.count);
    EXPECT_EQ(difference.first, expected.firstAt);
}

/// A picture of few differences: \a picture, some of whose pixels get other bytes.
Vellum withSpots(const Vellum &picture)
{
    Vellum spotted = picture.copyEx();
    for (const QPoint spot : {QPoint(5, 7), QPoint(6, 7), QPoint(2, 40)}) {
        const int bytes = picture.depth() / 8;
        spotted.scanLineEx(spot.y())[spot.x() * bytes] ^= 0x21;
    }
    return spotted;
}

/// \a picture on \a storage.
Vellum on(test::Storage storage, const Vellum &picture)
{
    return converted(picture, picture.format(), Qt::AutoColor,
                     storage == test::Storage::Big ? Storage::Big : Storage::Plain);
}

const QImage::Format kFormats[] = {
    QImage::Format_Mono,        QImage::Format_Indexed8, QImage::Format_Grayscale8,
    QImage::Format_RGB16,       QImage::Format_RGB32,    QImage::Format_ARGB32,
    QImage::Format_RGB888,      QImage::Format_BGR888,   QImage::Format_RGBA8888,
    QImage::Format_Grayscale16, QImage::Format_RGBX64,   QImage::Format_RGBA64,
};

} // namespace

TEST(DifferenceByNumbers, IsThatOfThePixelsInEveryFormat)
{
    for (const QImage::Format first : kFormats) {
        for (const QImage::Format second : {first, QImage::Format_ARGB32, QImage::Format_RGBX64}) {
            SCOPED_TRACE(testing::Message() << first << " and " << second);
            const Vellum a = makeNoise(kWidth, kHeight, first, test::Storage::Plain, 1);
            const Vellum b =
                on(test::Storage::Big, makeNoise(kWidth, kHeight, second, test::Storage::Plain, 2));
            const auto difference = differenceOf({a, {}}, {b, {}}, byNumbers(), nullptr, goOn);
            ASSERT_TRUE(difference);
            expectNumbers(*difference, Expected(a, b, 0));
            EXPECT_FALSE(difference->color);
        }
    }
}

TEST(DifferenceByNumbers, IsNoneInAnotherFormatThatHoldsTheSameColours)
{
    const auto pair = [](QImage::Format from, QImage::Format to) {
        const Vellum picture = makeNoise(kWidth, kHeight, from, test::Storage::Plain);
        return std::pair(picture, converted(picture, to));
    };
    const std::pair<Vellum, Vellum> pairs[] = {
        pair(QImage::Format_Mono, QImage::Format_ARGB32),
        pair(QImage::Format_Indexed8, QImage::Format_ARGB32),
        pair(QImage::Format_Grayscale8, QImage::Format_Grayscale16),
        pair(QImage::Format_Grayscale8, QImage::Format_RGB888),
        pair(QImage::Format_RGB32, QImage::Format_RGBX64),
        pair(QImage::Format_RGB32, QImage::Format_RGBA8888),
        pair(QImage::Format_RGB16, QImage::Format_RGB32),
    };
    for (const auto &[a, b] : pairs) {
        for (const test::Storage storage : kStorages) {
            const Vellum other = on(storage, b);
            const auto difference = differenceOf({a, {}}, {other, {}}, byNumbers(), nullptr, goOn);
            ASSERT_TRUE(difference);
            EXPECT_EQ(difference->differentPixels, 0) << a.format() << " and " << b.format();
        }
    }
}

TEST(DifferenceByNumbers, ToleranceIsInStepsOfEightBits)
{
    Vellum a = makeImage(3, 1, QImage::Format_Grayscale16, test::Storage::Plain);
    Vellum b = makeImage(3, 1, QImage::Format_Grayscale16, test::Storage::Big);
    auto *const rowA = reinterpret_cast<quint16 *>(a.scanLineEx(0));
    auto *const rowB = reinterpret_cast<quint16 *>(b.scanLineEx(0));
    const int steps[] = {0, 128, 257 * 2};
    for (int x = 0; x < 3; ++x) {
        rowA[x] = 1000;
        rowB[x] = quint16(1000 + steps[x]);
    }
    const std::pair<double, int> cases[] = {{0, 2}, {0.49, 2}, {0.5, 1}, {1.99, 1}, {2, 0}};
    for (const auto &[tolerance, count] : cases) {
        const auto difference = differenceOf({a, {}}, {b, {}}, byNumbers(tolerance), nullptr, goOn);
        ASSERT_TRUE(difference);
        EXPECT_EQ(difference->differentPixels, count) << tolerance;
        EXPECT_EQ(difference->channels[0].largest, 514) << "whatever is tolerated";
    }
}

TEST(DifferenceByColor, IsThatOfTheColours)
{
    for (const QImage::Format format :
         {QImage::Format_RGB32, QImage::Format_Grayscale8, QImage::Format_RGBX64}) {
        for (const test::Storage storage : kStorages) {
            const Vellum a = makeNoise(kWidth, kHeight, format, storage, 1);
            const Vellum b = makeNoise(kWidth, kHeight, format, storage, 2);
            const Expected expected(a, b, 0);
            const auto difference = differenceOf({a, {}}, {b, {}}, byColor(), nullptr, goOn);
            ASSERT_TRUE(difference && difference->color);
            EXPECT_NEAR(difference->color->largest, expected.largestColor, 0.05) << format;
            EXPECT_NEAR(difference->color->mean, expected.meanColor, 0.01) << format;
            expectNumbers(*difference, expected);
        }
    }
}

TEST(DifferenceByColor, SeesThroughProfiles)
{
    const QByteArray wide = test::matrixProfile();
    const Vellum inWide = makeNoise(kWidth, kHeight, QImage::Format_RGBX64, test::Storage::Plain);
    const QByteArray other = QColorSpace(QColorSpace::ProPhotoRgb).iccProfile();
    ColorConversion conversion;
    conversion.intent = RenderingIntent::RelativeColorimetric;
    const Vellum inOther = convertColors(inWide, wide, other, conversion);
    ASSERT_FALSE(inOther.isNull());

    const auto color = differenceOf({inWide, wide}, {inOther, other}, byColor(1), nullptr, goOn);
    const auto numbers =
        differenceOf({inWide, wide}, {inOther, other}, byNumbers(1), nullptr, goOn);
    const auto misread = differenceOf({inWide, {}}, {inOther, other}, byColor(1), nullptr, goOn);

    ASSERT_TRUE(color && numbers && misread);
    EXPECT_LT(color->color->mean, 0.1);
    EXPECT_GT(numbers->differentPixels, kWidth * kHeight / 2);
    EXPECT_GT(misread->color->mean, 1);
}

TEST(DifferenceByColor, TakesGreyProfilesForGreyPixels)
{
    Vellum inGrey = makeNoise(kWidth, kHeight, QImage::Format_Grayscale8, test::Storage::Big);
    const Vellum inSrgb = convertColors(inGrey, test::greyProfile(), {});
    const auto difference =
        differenceOf({inGrey, test::greyProfile()}, {inSrgb, {}}, byColor(), nullptr, goOn);
    ASSERT_TRUE(difference && difference->color);
    EXPECT_LT(difference->color->mean, 0.3) << "roundings to 8 bits";
    EXPECT_GT(difference->channels[0].largest, 10 * 257);
}

TEST(DifferenceByColor, CountsAlphaInPercent)
{
    Vellum a = makeImage(2, 1, QImage::Format_ARGB32, test::Storage::Plain);
    Vellum b = makeImage(2, 1, QImage::Format_ARGB32, test::Storage::Big);
    a.fill(qRgba(10, 20, 30, 255));
    b.fill(qRgba(10, 20, 30, 255));
    reinterpret_cast<QRgb *>(b.scanLineEx(0))[1] = qRgba(10, 20, 30, 204); // 20 percent less
    for (const auto &[tolerance, count] : {std::pair(19.9, 1), std::pair(20.1, 0)}) {
        const auto difference = differenceOf({a, {}}, {b, {}}, byColor(tolerance), nullptr, goOn);
        ASSERT_TRUE(difference && difference->color);
        EXPECT_EQ(difference->differentPixels, count);
        EXPECT_EQ(difference->color->largest, 0);
    }
}

TEST(DifferenceByColor, NeedsProfilesThatCanBeUsed)
{
    const Vellum picture = makeNoise(3, 3, QImage::Format_RGB32, test::Storage::Plain);
    for (const QByteArray &icc : {QByteArray("no profile"), test::cmykProfile()}) {
        EXPECT_FALSE(differenceOf({picture, icc}, {picture, {}}, byColor(), nullptr, goOn));
        EXPECT_TRUE(differenceOf({picture, icc}, {picture, {}}, byNumbers(), nullptr, goOn));
    }
}

TEST(Difference, EndsWhenToldTo)
{
    const Vellum picture = makeNoise(70000, 3, QImage::Format_RGB32, test::Storage::Big);
    int asked = 0;
    const auto difference =
        differenceOf({picture, {}}, {picture, {}}, byNumbers(), nullptr, [&](int percent) {
            EXPECT_LT(percent, 100);
            return ++asked < 2;
        });
    EXPECT_FALSE(difference);
    EXPECT_EQ(asked, 2);
}

TEST(DifferenceMap, HasTheDifferencesWhereTheyAre)
{
    const Vellum a = makeNoise(kWidth, kHeight, QImage::Format_ARGB32, test::Storage::Plain);
    const Vellum b = withSpots(a);
    const Expected expected(a, b, 0);
    for (const test::Storage storage : kStorages) {
        Vellum amounts = makeNoise(kWidth, kHeight, QImage::Format_Grayscale16, storage);
        ASSERT_TRUE(differenceOf({a, {}}, {b, {}}, byNumbers(), &amounts, goOn));
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                ASSERT_EQ(reinterpret_cast<const quint16 *>(amounts.scanLineEx(y))[x],
                          expected.amounts[size_t(y * kWidth + x)])
                    << x << ", " << y;
            }
        }
    }
}

TEST(DifferenceMap, BecomesVisibleHoweverSmallTheDifferencesAre)
{
    for (const test::Storage storage : kStorages) {
        Vellum amounts = makeImage(4, 1, QImage::Format_Grayscale16, storage);
        auto *const row = reinterpret_cast<quint16 *>(amounts.scanLineEx(0));
        row[0] = 0;
        row[1] = 1;
        row[2] = 150;
        row[3] = 300;
        const Vellum map = tool::visibleMap(amounts, tool::Storage::Big, goOn);
        ASSERT_EQ(map.format(), QImage::Format_Grayscale8);
        EXPECT_TRUE(map.isBigImage());
        EXPECT_EQ(map.scanLineEx(0)[0], 0);
        EXPECT_EQ(map.scanLineEx(0)[1], 64);
        EXPECT_EQ(map.scanLineEx(0)[2], 159);
        EXPECT_EQ(map.scanLineEx(0)[3], 255);
        amounts.fill(0U);
        EXPECT_EQ(tool::visibleMap(amounts, tool::Storage::Plain, goOn).scanLineEx(0)[3], 0);
        EXPECT_TRUE(
            tool::visibleMap(amounts, tool::Storage::Plain, [](int) { return false; }).isNull());
    }
}
