#include <QColor>
#include <QColorSpace>

#include <algorithm>
#include <support/freeturn.h>
#include <support/images.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

/// The bits of the channels of \a format from the lowest up; empty for formats whose pixels
/// cannot be blended.
std::vector<int> channelWidths(QImage::Format format)
{
    switch (format) {
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
    case QImage::Format_Indexed8:
        return {};
    case QImage::Format_RGB16:
        return {5, 6, 5};
    case QImage::Format_RGB555:
        return {5, 5, 5};
    case QImage::Format_RGB444:
        return {4, 4, 4};
    case QImage::Format_ARGB4444_Premultiplied:
        return {4, 4, 4, 4};
    case QImage::Format_RGB666:
        return {6, 6, 6};
    case QImage::Format_ARGB6666_Premultiplied:
        return {6, 6, 6, 6};
    case QImage::Format_ARGB8565_Premultiplied:
        return {8, 5, 6, 5};
    case QImage::Format_ARGB8555_Premultiplied:
        return {8, 5, 5, 5};
    case QImage::Format_BGR30:
    case QImage::Format_A2BGR30_Premultiplied:
    case QImage::Format_RGB30:
    case QImage::Format_A2RGB30_Premultiplied:
        return {10, 10, 10, 2};
    case QImage::Format_Grayscale16:
        return {16};
    default:
        break;
    }
    const int depth = QImage(1, 1, format).depth();
    return depth == 64 ? std::vector<int>(4, 16) : std::vector<int>(size_t(depth / 8), 8);
}

Vellum naiveFree(const Vellum &image, double angle, uint fill)
{
    const NaiveTurn turn(image.width(), image.height(), 360.0 - angle);
    Vellum result(turn.size().width(), turn.size().height(), image.format());
    if (result.isNull())
        return result;
    result.setColorTable(image.colorTable());
    result.fill(fill);
    const std::vector<int> widths = channelWidths(image.format());
    if (!widths.empty()) {
        drawNaively(result, image, turn, widths);
    } else {
        forEachNearest(turn, [&](int column, int row, int ix, int iy) {
            setRawPixel(result, column, row, rawPixel(image, ix, iy));
        });
    }
    return result;
}

constexpr vellum::Storage kResults[] = {vellum::Storage::Plain, vellum::Storage::Big};

class FreeRotate : public testing::TestWithParam<Param>
{
protected:
    const QImage::Format m_format = std::get<0>(GetParam());
    const Storage m_storage = std::get<1>(GetParam());
};

TEST_P(FreeRotate, AnyAngleEqualsTheNaiveTurnOnBothStorages)
{
    const Vellum image = makeNoise(61, 37, m_format, m_storage, 1, 3);
    const uint fill = image.depth() == 1 ? ~0U : 0x80a0b0c0U;
    for (const double angle : {1.0, 12.5, 45.0, 89.5, 91.0, 123.0, 200.0, 300.0, 345.6, 359.0}) {
        const Vellum expected = naiveFree(image, angle, fill);
        for (const auto storage : kResults) {
            const Vellum result = vellum::freeRotated(image, angle, fill, storage);
            ASSERT_TRUE(samePixels(result, expected)) << angle;
            ASSERT_EQ(result.isBigImage(), storage == vellum::Storage::Big);
        }
    }
}

TEST_P(FreeRotate, AnySizeEqualsTheNaiveTurn)
{
    for (int w = 1; w <= 40; ++w) {
        const int h = 1 + w * 17 % 23;
        const Vellum image = makeNoise(w, h, m_format, m_storage, unsigned(w));
        const double angle = 7.0 * w + 0.3;
        ASSERT_TRUE(samePixels(vellum::freeRotated(image, angle, 0U), naiveFree(image, angle, 0U)))
            << w << " x " << h << " by " << angle;
    }
}

// Long enough for several pieces of a row, in all directions; rows of a big image lie in blocks,
// and a row that is nearly level stays in one.
TEST_P(FreeRotate, LongSidesEqualTheNaiveTurn)
{
    for (const QSize size : {QSize(1201, 9), QSize(9, 1201)}) {
        const Vellum image = makeNoise(size.width(), size.height(), m_format, m_storage);
        for (const double angle : {0.1, 3.0, 89.9, 93.0, 180.1, 269.9}) {
            ASSERT_TRUE(
                samePixels(vellum::freeRotated(image, angle, 0U), naiveFree(image, angle, 0U)))
                << size.width() << " x " << size.height() << " by " << angle;
        }
    }
}

// The ends of what a channel holds are where sums of the wrong width overflow.
TEST_P(FreeRotate, BytesOfNoneAndAllBitsEqualTheNaiveTurn)
{
    Vellum image = makeNoise(61, 37, m_format, m_storage);
    for (int y = 0; y < image.height(); ++y) {
        uchar *const row = image.scanLineEx(y);
        std::transform(row, row + image.storedBytesPerLine(), row,
                       [](uchar byte) { return uchar(byte < 128 ? 0 : 255); });
    }
    if (m_format == QImage::Format_Indexed8)
        image.setColorTable(QVector<QRgb>(256));
    for (const double angle : {5.0, 77.7, 212.0})
        EXPECT_TRUE(samePixels(vellum::freeRotated(image, angle, 0U), naiveFree(image, angle, 0U)));
}

TEST_P(FreeRotate, AnglesAreCountedModuloAWholeTurn)
{
    const Vellum image = makeNoise(31, 17, m_format, m_storage);
    const Vellum expected = vellum::freeRotated(image, 30, 0U);

    EXPECT_TRUE(samePixels(vellum::freeRotated(image, 390, 0U), expected));
    EXPECT_TRUE(samePixels(vellum::freeRotated(image, -330, 0U), expected));
    EXPECT_TRUE(samePixels(vellum::freeRotated(image, 30 + 360e6, 0U), expected));
}

TEST_P(FreeRotate, RightAnglesAreExactOnBothStorages)
{
    const Vellum image = makeNoise(31, 17, m_format, m_storage);
    for (const int turns : {-5, -2, -1, 0, 1, 2, 3, 4, 6}) {
        const Vellum expected = vellum::quarterTurned(image, turns);
        for (const auto storage : kResults) {
            const Vellum result = vellum::freeRotated(image, 90.0 * turns, ~0U, storage);
            EXPECT_TRUE(samePixels(result, expected)) << turns;
            EXPECT_EQ(result.isBigImage(), storage == vellum::Storage::Big);
        }
    }
}

TEST_P(FreeRotate, ColourFillsAsQImageShowsIt)
{
    Vellum image = makeNoise(20, 20, m_format, m_storage);
    if (image.depth() == 1)
        image.setColorTable({qRgb(0, 0, 0), qRgb(200, 0, 0)});
    else if (m_format == QImage::Format_Indexed8)
        image.setColorTable({qRgb(0, 0, 0), qRgb(0, 0, 255), qRgb(201, 99, 52), qRgb(201, 99, 51)});
    const QColor color(200, 100, 50, 255);
    QImage expected(1, 1, m_format);
    if (image.colorCount() > 0) {
        expected.setColorTable(image.colorTable());
        expected.setPixel(0, 0, image.depth() == 1 ? 1 : 3);
    } else {
        expected.fill(color);
    }

    const Vellum result = vellum::freeRotated(image, 45, color);

    EXPECT_EQ(result.pixelColor(0, 0), expected.pixelColor(0, 0));
    EXPECT_EQ(result.pixelColor(result.width() - 1, 0), expected.pixelColor(0, 0));
}

INSTANTIATE_TEST_SUITE_P(Formats, FreeRotate,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(FreeRotated, AgreesWithTheMemberOnChannelsOfEightBits)
{
    for (const auto format : {QImage::Format_RGB888, QImage::Format_ARGB32, QImage::Format_Mono,
                              QImage::Format_Indexed8}) {
        const Vellum image = makeNoise(83, 29, format, Storage::Plain);
        for (const double angle : {2.0, 44.4, 123.0, 256.5, 340.0}) {
            EXPECT_TRUE(
                samePixels(vellum::freeRotated(image, angle, ~0U), image.rotated(angle, ~0U)))
                << angle;
        }
    }
}

TEST(FreeRotated, SixtyFourBitChannelsKeepTheirPrecision)
{
    Vellum image(40, 40, QImage::Format_RGBA64);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 40; ++x)
            setRawPixel(image, x, y, (x + y) % 2 ? ~quint64(0) : 0x0001000100010001U);
    EXPECT_TRUE(samePixels(vellum::freeRotated(image, 17, 0U), naiveFree(image, 17, 0U)));
}

TEST(FreeRotated, DescriptionGoesAlong)
{
    for (const Storage storage : kStorages) {
        Vellum image = makeNoise(9, 4, QImage::Format_Indexed8, storage);
        image.setIccProfile("profile");
        image.setOrgFileCmyk(true);
        image.setDotsPerMeterX(1234);
        image.setText(QStringLiteral("Author"), QStringLiteral("somebody"));
        image.setColorSpace(QColorSpace::AdobeRgb);
        for (const auto resultStorage : kResults) {
            const Vellum result = vellum::freeRotated(image, 20, 0U, resultStorage);
            EXPECT_EQ(result.getIccProfile(), QByteArray("profile"));
            EXPECT_TRUE(result.isOrgFileCmyk());
            EXPECT_EQ(result.dotsPerMeterX(), 1234);
            EXPECT_EQ(result.text(QStringLiteral("Author")), QStringLiteral("somebody"));
            EXPECT_EQ(result.colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
            EXPECT_EQ(result.colorTable(), image.colorTable());
        }
    }
}

TEST(FreeRotated, ReportsRowsAndCanBeCancelled)
{
    Vellum image = makeNoise(150, 100, QImage::Format_RGBA64, Storage::Plain);
    ProgressLog log(image); // of 100 rows: percentages arrive as they are
    const Vellum result = vellum::freeRotated(image, 20, 0U);
    ASSERT_EQ(int(log.percentages.size()), result.height());
    for (int rows = 1; rows <= result.height(); ++rows)
        ASSERT_EQ(log.percentages[size_t(rows - 1)], 100 * rows / result.height());

    const ProgressLog stopping(image, 3);
    EXPECT_TRUE(vellum::freeRotated(image, 20, 0U).isNull());
    EXPECT_EQ(stopping.percentages.size(), 3U);
}

TEST(FreeRotated, NullImageAndAnglesThatAreNoNumberGiveNull)
{
    const Vellum image = makeNoise(9, 4, QImage::Format_RGB32, Storage::Plain);
    EXPECT_TRUE(vellum::freeRotated(Vellum(), 30, 0U).isNull());
    EXPECT_TRUE(vellum::freeRotated(Vellum(), 90, 0U).isNull());
    EXPECT_TRUE(vellum::freeRotated(Vellum(), 30, QColor(Qt::red)).isNull());
    EXPECT_TRUE(vellum::freeRotated(image, std::nan(""), 0U).isNull());
    EXPECT_TRUE(vellum::freeRotated(image, std::numeric_limits<double>::infinity(), 0U).isNull());
}

TEST(FreeRotated, SourceStaysAsItIs)
{
    const Vellum image = makeNoise(33, 21, QImage::Format_ARGB32, Storage::Plain);
    const Vellum before = image.copyEx();
    (void)vellum::freeRotated(image, 30, 0U);
    (void)image.rotated(30, 0U);
    EXPECT_TRUE(samePixels(image, before));
}

} // namespace
