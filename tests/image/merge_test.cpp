#include <random>
#include <support/images.h>
#include <support/messages.h>
#include <support/pixels.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

class Merge : public testing::TestWithParam<Param>
{
protected:
    const QImage::Format m_format = std::get<0>(GetParam());
    const Storage m_storage = std::get<1>(GetParam());
};

/// \a image with \a source over it at (x, y), pixel by pixel.
Vellum naiveMerge(const Vellum &image, const Vellum &source, int x, int y)
{
    Vellum result = image.copyEx();
    for (int j = 0; j < source.height(); ++j) {
        for (int i = 0; i < source.width(); ++i) {
            const QPoint to(x + i, y + j);
            if (image.depth() >= 8 && image.rect().contains(to))
                setRawPixel(result, to.x(), to.y(), rawPixel(source, i, j));
        }
    }
    return result;
}

TEST_P(Merge, RectanglesAnywhereEqualTheNaiveMerge)
{
    std::mt19937 random(11);
    const auto between = [&](int low, int high) {
        return low + int(random() % unsigned(high - low + 1));
    };
    for (int i = 0; i < 500; ++i) {
        const auto sourceStorage = i % 2 ? Storage::Plain : Storage::Big;
        Vellum image = makeNoise(between(1, 40), between(1, 20), m_format, m_storage, random(), 3);
        const Vellum source =
            makeNoise(between(1, 50), between(1, 25), m_format, sourceStorage, random());
        const QRect rect(QPoint(between(-60, 60), between(-30, 30)), source.size());
        const Vellum expected = naiveMerge(image, source, rect.x(), rect.y());

        image.mergerImage(source, rect);

        ASSERT_TRUE(samePixels(image, expected)) << rect.x() << ' ' << rect.y();
    }
}

TEST_P(Merge, PlainQImageIsPasted)
{
    Vellum image = makeNoise(20, 10, m_format, m_storage, 1);
    const Vellum source = makeNoise(7, 5, m_format, Storage::Plain, 2);
    const Vellum expected = naiveMerge(image, source, 3, 4);

    image.mergerImage(source.toImage(), QRect(3, 4, 7, 5));

    EXPECT_TRUE(samePixels(image, expected));
}

TEST_P(Merge, OtherSizeIsIgnoredSilently)
{
    Vellum image = makeNoise(20, 10, m_format, m_storage, 1);
    const Vellum before = image.copyEx();
    const Vellum source = makeNoise(7, 5, m_format, m_storage, 2);
    const MessageLog log;

    image.mergerImage(source, QRect(0, 0, 7, 4));
    image.mergerImage(source, QRect(0, 0, 8, 5));
    image.mergerImage(source, QRect());

    EXPECT_TRUE(samePixels(image, before));
    EXPECT_TRUE(log.messages().isEmpty());
}

TEST_P(Merge, ImageMayBePastedIntoItself)
{
    Vellum image = makeNoise(20, 10, m_format, m_storage, 1);
    Vellum expected = image.copyEx();
    if (image.depth() >= 8) { // row by row from the top: a row pasted early is source later on
        for (int y = 0; y < 8; ++y)
            for (int x = 19; x >= 3; --x)
                setRawPixel(expected, x, y + 2, rawPixel(expected, x - 3, y));
    }

    image.mergerImage(image, QRect(3, 2, 20, 10));

    EXPECT_TRUE(samePixels(image, expected));
}

INSTANTIATE_TEST_SUITE_P(Formats, Merge,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(MergeImage, OtherPixelSizeIsRefusedWithAMessage)
{
    Vellum image = makeNoise(9, 9, QImage::Format_RGB32, Storage::Plain, 1);
    const Vellum before = image.copyEx();
    const Vellum source = makeNoise(4, 4, QImage::Format_Grayscale8, Storage::Plain, 2);
    const MessageLog log;

    image.mergerImage(source, QRect(0, 0, 4, 4));

    EXPECT_TRUE(samePixels(image, before));
    EXPECT_EQ(log.messages(),
              QStringList {QStringLiteral("Vellum::mergerImage error,channels != dst_channels")});
}

TEST(MergeImage, TopLeftOutsideCutsTheSource)
{
    Vellum image = makeNoise(6, 6, QImage::Format_ARGB32, Storage::Plain, 1);
    const Vellum before = image.copyEx();
    const Vellum source = makeNoise(4, 4, QImage::Format_ARGB32, Storage::Plain, 2);

    image.mergerImage(source, QRect(-2, -2, 4, 4));

    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 6; ++x) {
            const bool pasted = x < 2 && y < 2;
            EXPECT_EQ(rawPixel(image, x, y),
                      pasted ? rawPixel(source, x + 2, y + 2) : rawPixel(before, x, y));
        }
    }
}

TEST(MergeImage, PollsTheSourceForItsRows)
{
    Vellum image = makeNoise(6, 6, QImage::Format_ARGB32, Storage::Plain, 1);
    Vellum source = makeNoise(4, 10, QImage::Format_ARGB32, Storage::Big, 2);
    const ProgressLog log(source);

    image.mergerImage(source, QRect(0, -7, 4, 10));

    EXPECT_EQ(log.percentages, (std::vector<int> {80, 90, 100}));
}

TEST(MergeImage, StopsAtTheFirstWithheldRow)
{
    Vellum image = makeNoise(6, 6, QImage::Format_ARGB32, Storage::Plain, 1);
    const Vellum before = image.copyEx();
    Vellum source = makeNoise(6, 6, QImage::Format_ARGB32, Storage::Plain, 2);
    const ProgressLog log(source, 3);
    const QImage &base = source; // found to be a Vellum nevertheless

    image.mergerImage(base, QRect(0, 0, 6, 6));

    EXPECT_EQ(log.percentages, (std::vector<int> {16, 33, 50}));
    for (int y = 0; y < 6; ++y)
        EXPECT_EQ(rawPixel(image, 5, y), rawPixel(y < 2 ? source : before, 5, y)) << y;
}

TEST(MergeImage, LeavesImagesThatShareThePixelsAlone)
{
    Vellum image = makeNoise(6, 6, QImage::Format_ARGB32, Storage::Plain, 1);
    const Vellum sharing = image;
    const Vellum before = image.copyEx();

    image.mergerImage(image, QRect(1, 1, 6, 6));

    EXPECT_TRUE(samePixels(sharing, before));
    EXPECT_EQ(rawPixel(image, 1, 1), rawPixel(before, 0, 0));
}

TEST(MergeImage, RectanglesAtTheEndsOfIntAreOutside)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();
    Vellum image = makeNoise(6, 6, QImage::Format_ARGB32, Storage::Plain, 1);
    const Vellum before = image.copyEx();
    const Vellum source = makeNoise(4, 4, QImage::Format_ARGB32, Storage::Plain, 2);

    image.mergerImage(source, QRect(QPoint(kLeast, kLeast), QPoint(kLeast + 3, kLeast + 3)));
    image.mergerImage(source, QRect(QPoint(kMost - 3, kMost - 3), QPoint(kMost, kMost)));
    image.mergerImage(source, QRect(QPoint(kLeast, kLeast), QPoint(kMost, kMost)));

    EXPECT_TRUE(samePixels(image, before));
}

TEST(MergeImage, NarrowAndShortStoresAreNotOverrun)
{
    Vellum image = makeUntouchable(64, 20, QImage::Format_ARGB32);
    ASSERT_TRUE(image.alloc_buffer(101, 10));
    image.fill(0U);
    Vellum source = makeUntouchable(64, 20, QImage::Format_ARGB32);
    ASSERT_TRUE(source.alloc_buffer(77, 15));
    source.fill(0x01020304U);

    image.mergerImage(source, QRect(0, 0, 64, 20));
    image.mergerImage(source, QRect(10, 3, 64, 20));
    image.mergerImage(source, QRect(-40, 3, 64, 20));

    EXPECT_EQ(rawPixel(image, 18, 0), 0x01020304U);
    EXPECT_EQ(rawPixel(image, 20, 0), 0U);
    EXPECT_EQ(rawPixel(image, 20, 9), 0x01020304U);
}

} // namespace
