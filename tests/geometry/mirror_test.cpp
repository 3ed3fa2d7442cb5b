#include <QColorSpace>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <support/images.h>
#include <support/pixels.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

Vellum naiveMirror(const Vellum &image, bool horizontal, bool vertical)
{
    Vellum result(image.width(), image.height(), image.format());
    result.fill(0U);
    result.setColorTable(image.colorTable());
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            setRawPixel(result, horizontal ? image.width() - 1 - x : x,
                        vertical ? image.height() - 1 - y : y, rawPixel(image, x, y));
        }
    }
    return result;
}

/// Where row \a y lies; reading never parts shared images.
const uchar *addressOf(const Vellum &image, int y) { return image.scanLineEx(y); }

constexpr std::pair<bool, bool> kWays[] = {{true, false}, {false, true}, {true, true}};

class Mirror : public testing::TestWithParam<Param>
{
protected:
    const QImage::Format m_format = std::get<0>(GetParam());
    const Storage m_storage = std::get<1>(GetParam());
};

TEST_P(Mirror, EveryPixelMovesAtAnyWidth)
{
    for (const auto &[horizontal, vertical] : kWays) {
        for (int w = 1; w <= 70; ++w) {
            const Vellum image = makeNoise(w, 5, m_format, m_storage, unsigned(w), 3);
            const Vellum result = image.mirrored(horizontal, vertical);
            ASSERT_TRUE(samePixels(result, naiveMirror(image, horizontal, vertical))) << w;
            ASSERT_FALSE(result.isBigImage());
        }
    }
}

TEST_P(Mirror, EveryPixelMovesAtAnyHeight)
{
    for (const auto &[horizontal, vertical] : kWays) {
        for (int h = 1; h <= 20; ++h) {
            const Vellum image = makeNoise(11, h, m_format, m_storage, unsigned(h), 1);
            ASSERT_TRUE(samePixels(image.mirrored(horizontal, vertical),
                                   naiveMirror(image, horizontal, vertical)))
                << h;
        }
    }
}

TEST_P(Mirror, EqualsQImage)
{
    const Vellum image = makeNoise(67, 13, m_format, m_storage);
    const QImage plain = toPlain(image);

    for (const auto &[horizontal, vertical] : kWays) {
        EXPECT_TRUE(
            samePixels(image.mirrored(horizontal, vertical), plain.mirrored(horizontal, vertical)));
    }
}

TEST_P(Mirror, InPlaceGivesTheSameAtAnyWidth)
{
    for (const auto &[horizontal, vertical] : kWays) {
        for (int w = 1; w <= 40; ++w) {
            for (const int h : {1, 4, 5}) {
                Vellum image = makeNoise(w, h, m_format, m_storage, unsigned(w), 5);
                const Vellum expected = naiveMirror(image, horizontal, vertical);
                vellum::mirrorInPlace(image, horizontal, vertical);
                ASSERT_TRUE(samePixels(image, expected)) << w << " x " << h;
            }
        }
    }
}

TEST_P(Mirror, KeptStorageGivesTheSameAtAnyWidth)
{
    for (const auto &[horizontal, vertical] : kWays) {
        for (int w = 1; w <= 40; ++w) {
            for (const int h : {1, 4, 5}) {
                const Vellum image = makeNoise(w, h, m_format, m_storage, unsigned(w), 5);
                const Vellum result = vellum::mirrored(image, horizontal, vertical);
                ASSERT_TRUE(samePixels(result, naiveMirror(image, horizontal, vertical)))
                    << w << " x " << h;
                ASSERT_EQ(result.isBigImage(), image.isBigImage());
            }
        }
    }
}

TEST_P(Mirror, TwiceIsTheIdentity)
{
    const Vellum image = makeNoise(75, 21, m_format, m_storage, 1, 2);

    for (const auto &[horizontal, vertical] : kWays) {
        const Vellum there = vellum::mirrored(image, horizontal, vertical);
        EXPECT_FALSE(samePixels(there, image));
        EXPECT_TRUE(samePixels(vellum::mirrored(there, horizontal, vertical), image));
        EXPECT_TRUE(
            samePixels(image.mirrored(horizontal, vertical).mirrored(horizontal, vertical), image));
    }
}

TEST_P(Mirror, NoFlagSharesThePixels)
{
    const Vellum image = makeNoise(5, 5, m_format, m_storage);

    EXPECT_EQ(addressOf(image.mirrored(false, false), 2), addressOf(image, 2));
    EXPECT_EQ(addressOf(vellum::mirrored(image, false, false), 2), addressOf(image, 2));
    EXPECT_EQ(image.mirrored(false, false).isBigImage(), image.isBigImage());
}

INSTANTIATE_TEST_SUITE_P(Formats, Mirror,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(Mirrored, DefaultIsVertical)
{
    const Vellum image = makeNoise(9, 4, QImage::Format_RGB32, Storage::Plain);
    EXPECT_TRUE(samePixels(image.mirrored(), naiveMirror(image, false, true)));
}

TEST(Mirrored, OnePixelSharesThePixels)
{
    const Vellum image = makeNoise(1, 1, QImage::Format_RGB32, Storage::Big);
    EXPECT_EQ(addressOf(image.mirrored(true, true), 0), addressOf(image, 0));
}

TEST(Mirrored, NullImageGivesNull)
{
    EXPECT_TRUE(Vellum().mirrored(true, true).isNull());
    EXPECT_TRUE(vellum::mirrored(Vellum(), true, true).isNull());
    Vellum null;
    vellum::mirrorInPlace(null, true, true);
    EXPECT_TRUE(null.isNull());
}

TEST(Mirrored, SingleRowAndColumn)
{
    const Vellum column = makeNoise(1, 5, QImage::Format_RGB888, Storage::Big);
    const Vellum row = makeNoise(5, 1, QImage::Format_RGB888, Storage::Big);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(rawPixel(column.mirrored(false, true), 0, i), rawPixel(column, 0, 4 - i));
        EXPECT_EQ(rawPixel(row.mirrored(true, false), i, 0), rawPixel(row, 4 - i, 0));
    }
}

Vellum described(Storage storage)
{
    Vellum image = makeNoise(9, 4, QImage::Format_Indexed8, storage);
    image.setIccProfile("profile");
    image.setOrgFileCmyk(true);
    image.setDotsPerMeterX(1234);
    image.setText(QStringLiteral("Author"), QStringLiteral("somebody"));
    image.setColorSpace(QColorSpace::AdobeRgb);
    return image;
}

TEST(Mirrored, MemberCarriesTheColourTableAlone)
{
    const Vellum image = described(Storage::Big);
    const Vellum result = image.mirrored(true, true);

    EXPECT_EQ(result.colorTable(), image.colorTable());
    EXPECT_TRUE(result.getIccProfile().isEmpty());
    EXPECT_FALSE(result.isOrgFileCmyk());
    EXPECT_NE(result.dotsPerMeterX(), 1234);
    EXPECT_TRUE(result.textKeys().isEmpty());
}

TEST(Mirrored, FunctionCarriesTheDescription)
{
    for (const Storage storage : kStorages) {
        const Vellum image = described(storage);
        const Vellum result = vellum::mirrored(image, true, false);

        EXPECT_EQ(result.colorTable(), image.colorTable());
        EXPECT_EQ(result.getIccProfile(), QByteArray("profile"));
        EXPECT_TRUE(result.isOrgFileCmyk());
        EXPECT_EQ(result.dotsPerMeterX(), 1234);
        EXPECT_EQ(result.text(QStringLiteral("Author")), QStringLiteral("somebody"));
        EXPECT_EQ(result.colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
    }
}

/// The bytes of a row, padding included, after mirroring in place: all whole bytes of pixels
/// change places, then all bits in all bytes, then the whole row moves to the front.
std::vector<uchar> naiveMonoRow(std::vector<uchar> row, int width, bool lsbFirst)
{
    std::reverse(row.begin(), row.begin() + (width + 7) / 8);
    std::vector<bool> bits;
    for (const uchar byte : row)
        for (int i = 0; i < 8; ++i)
            bits.push_back(byte >> (lsbFirst ? 7 - i : i) & 1); // the order in which they end
    const int pad = 8 - width % 8;
    if (pad != 8) {
        bits.erase(bits.begin(), bits.begin() + pad);
        bits.insert(bits.end(), size_t(pad), false);
    }
    for (size_t i = 0; i < row.size(); ++i) {
        row[i] = 0;
        for (int b = 0; b < 8; ++b)
            row[i] =
                uchar(row[i] | (bits[i * 8 + size_t(b)] ? (lsbFirst ? 1 << b : 0x80 >> b) : 0));
    }
    return row;
}

TEST(Mirrored, MemberAndFunctionAgreeOnWhatANarrowStoreLacks)
{
    for (const auto format : {QImage::Format_Mono, QImage::Format_MonoLSB, QImage::Format_Indexed8,
                              QImage::Format_RGB888, QImage::Format_RGBA64}) {
        Vellum image = makeUntouchable(61, 5, format);
        ASSERT_TRUE(image.alloc_buffer(image.bytesPerLine() / 2 + 1, 5));
        image.fill(0x35a5a535U);
        for (const bool vertical : {false, true}) {
            EXPECT_TRUE(samePixels(image.mirrored(true, vertical),
                                   toPlain(vellum::mirrored(image, true, vertical))))
                << format << vertical;
        }
    }
}

TEST(Mirrored, RowsThatAShortStoreLacksShowAsZero)
{
    constexpr int kHeight = 21; // of 13 rows stored, two in a block
    Vellum image = makeUntouchable(61, kHeight, QImage::Format_Grayscale8);
    ASSERT_TRUE(image.alloc_buffer(image.bytesPerLine(), 13));
    for (int y = 0; y < 13; ++y)
        std::fill_n(image.scanLineEx(y), image.bytesPerLine(), uchar(y + 1));
    for (const bool watched : {false, true}) {
        ProgressLog log(image); // reports row by row
        if (!watched)
            image.setCallback(nullptr, nullptr, 0, 1.0);
        for (const bool horizontal : {false, true}) {
            const Vellum member = image.mirrored(horizontal, true);
            const Vellum kept = vellum::mirrored(image, horizontal, true);
            for (int y = 0; y < kHeight; ++y) {
                const uchar expected = uchar(y < kHeight - 13 ? 0 : kHeight - y);
                for (const int x : {0, 30, 60}) {
                    EXPECT_EQ(member.scanLineEx(y)[x], expected) << y;
                    EXPECT_EQ(kept.scanLineEx(y)[x], expected) << y;
                }
            }
        }
    }
}

TEST(MirrorInPlace, PaddingOfOneBitRowsMovesAlong)
{
    for (const auto format : {QImage::Format_Mono, QImage::Format_MonoLSB}) {
        for (int w = 1; w <= 70; ++w) {
            Vellum image = makeNoise(w, 1, format, Storage::Big, unsigned(w));
            const uchar *const row = image.scanLineEx(0);
            const std::vector<uchar> before(row, row + image.bytesPerLine());

            vellum::mirrorInPlace(image, true, false);

            const std::vector<uchar> after(row, row + image.bytesPerLine());
            ASSERT_EQ(after, naiveMonoRow(before, w, format == QImage::Format_MonoLSB)) << w;
        }
    }
}

TEST(MirrorInPlace, SharedPlainPixelsAreCopiedFirst)
{
    Vellum image = makeNoise(9, 5, QImage::Format_RGB888, Storage::Plain);
    const Vellum sharing = image;
    const Vellum expected = naiveMirror(image, true, true);
    const Vellum before = image.copyEx();

    vellum::mirrorInPlace(image, true, true);

    EXPECT_TRUE(samePixels(image, expected));
    EXPECT_TRUE(samePixels(sharing, before));
}

TEST(MirrorInPlace, StoreNarrowerAndShorterThanTheImageIsNotOverrun)
{
    for (const auto format : {QImage::Format_ARGB32, QImage::Format_Mono, QImage::Format_RGB888}) {
        for (const auto &[horizontal, vertical] : kWays) {
            Vellum image = makeUntouchable(64, 20, format);
            ASSERT_TRUE(image.alloc_buffer(image.bytesPerLine() / 2 + 1, 10));
            image.fill(0x5aU);
            EXPECT_EQ(image.mirrored(horizontal, vertical).size(), QSize(64, 20));
            EXPECT_EQ(vellum::mirrored(image, horizontal, vertical).size(), QSize(64, 20));
            vellum::mirrorInPlace(image, horizontal, vertical);
            EXPECT_TRUE(image.isBigImage());
        }
    }
}

/// What arrives for \a percents handed over by operations on an image of \a height rows.
std::vector<int> arriving(std::vector<int> percents, int height)
{
    for (int &percent : percents)
        percent = reported(percent, height);
    return percents;
}

/// unit * (i + 1) / count for i from 0 to count - 1.
std::vector<int> steps(int unit, int count)
{
    std::vector<int> percents;
    for (int i = 0; i < count; ++i)
        percents.push_back(unit * (i + 1) / count);
    return percents;
}

class MirrorProgress : public testing::TestWithParam<Storage>
{
};

TEST_P(MirrorProgress, CopyReportsRowsOnlyWhenVertical)
{
    Vellum image = makeNoise(20, 7, QImage::Format_ARGB32, GetParam());
    ProgressLog log(image);

    (void)image.mirrored(true, false);
    (void)image.mirrored(true, true);
    EXPECT_TRUE(log.percentages.empty());

    (void)image.mirrored(false, true);
    EXPECT_EQ(log.percentages, arriving(steps(100, 7), 7));
}

TEST_P(MirrorProgress, InPlaceReportsRowsOrPairsOfRows)
{
    Vellum image = makeNoise(20, 7, QImage::Format_ARGB32, GetParam());
    ProgressLog log(image);

    vellum::mirrorInPlace(image, true, false);
    EXPECT_EQ(log.percentages, arriving(steps(100, 7), 7));
    log.percentages.clear();
    vellum::mirrorInPlace(image, false, true);
    EXPECT_EQ(log.percentages, arriving(steps(100, 3), 7));
}

TEST_P(MirrorProgress, InPlaceBothWaysOfEvenHeightReportsPairsOfRows)
{
    Vellum image = makeNoise(20, 8, QImage::Format_ARGB32, GetParam());
    ProgressLog log(image);

    vellum::mirrorInPlace(image, true, true);

    EXPECT_EQ(log.percentages, arriving(steps(100, 4), 8));
}

TEST_P(MirrorProgress, InPlaceBothWaysOfOddHeightCountsToFiftyTwice)
{
    for (const auto format : {QImage::Format_ARGB32, QImage::Format_RGB888}) {
        Vellum image = makeNoise(20, 7, format, GetParam());
        ProgressLog log(image);

        vellum::mirrorInPlace(image, true, true);

        std::vector<int> expected = steps(50, 3);
        const std::vector<int> middle = steps(50, 10);
        expected.insert(expected.end(), middle.begin(), middle.end());
        EXPECT_EQ(log.percentages, arriving(expected, 7));
    }
}

TEST_P(MirrorProgress, OneBitCountsBytesInTheMiddleRow)
{
    Vellum image = makeNoise(40, 3, QImage::Format_Mono, GetParam());
    ProgressLog log(image);

    vellum::mirrorInPlace(image, true, true);

    EXPECT_EQ(log.percentages, arriving({50, 25, 50}, 3));
}

TEST_P(MirrorProgress, CancellingStopsNeitherMemberNorInPlace)
{
    Vellum image = makeNoise(20, 7, QImage::Format_ARGB32, GetParam());
    const Vellum expected = naiveMirror(image, false, true);
    const ProgressLog log(image, 1);

    EXPECT_TRUE(samePixels(image.mirrored(false, true), expected));
    vellum::mirrorInPlace(image, false, true);
    EXPECT_TRUE(samePixels(image, expected));
}

TEST_P(MirrorProgress, FunctionReportsRowsAndCanBeCancelled)
{
    Vellum image = makeNoise(20, 7, QImage::Format_ARGB32, GetParam());
    for (const auto &[horizontal, vertical] : kWays) {
        ProgressLog log(image);
        EXPECT_FALSE(vellum::mirrored(image, horizontal, vertical).isNull());
        EXPECT_EQ(log.percentages, arriving(steps(100, 7), 7));
        ProgressLog stopping(image, 3);
        EXPECT_TRUE(vellum::mirrored(image, horizontal, vertical).isNull());
        EXPECT_EQ(stopping.percentages.size(), 3U);
    }
}

INSTANTIATE_TEST_SUITE_P(Storages, MirrorProgress, testing::ValuesIn(kStorages));

RC_GTEST_PROP(MirrorProperties, BothWaysIsOneWayAfterTheOther, ())
{
    const auto format = *rc::gen::elementOf(allFormats());
    const auto storage = *rc::gen::element(Storage::Plain, Storage::Big);
    const Vellum image =
        makeNoise(*rc::gen::inRange(1, 300), *rc::gen::inRange(1, 60), format, storage,
                  *rc::gen::arbitrary<unsigned>(), *rc::gen::inRange(0, 9));
    const Vellum twice = image.mirrored(true, false).mirrored(false, true);
    Vellum inPlace = image.copyEx();
    vellum::mirrorInPlace(inPlace, true, true);

    RC_ASSERT(bool(samePixels(image.mirrored(true, true), twice)));
    RC_ASSERT(bool(samePixels(vellum::mirrored(image, true, true), twice)));
    RC_ASSERT(bool(samePixels(inPlace, twice)));
}

} // namespace
