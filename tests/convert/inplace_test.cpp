// Vellum::convertTo(): the rows of a big image rewritten where they are.

#include <convert/pictures.h>
#include <functional>

using namespace vellum::test;

namespace {

/// Bytes of a pixel, or of an index and its colour, to the bytes expected; 1 or 4 of them.
using Rewrite = std::function<void(uchar *pixel, const QVector<QRgb> &colors)>;

struct Cell
{
    QImage::Format from;
    QImage::Format to;
    Rewrite rewrite;
};

void setOpaque(uchar *p, const QVector<QRgb> &) { p[3] = 255; }
void swapRedBlue(uchar *p, const QVector<QRgb> &) { std::swap(p[0], p[2]); }
void swapAndSetOpaque(uchar *p, const QVector<QRgb> &colors)
{
    swapRedBlue(p, colors);
    p[3] = 255;
}
void greyOfIndex(uchar *p, const QVector<QRgb> &colors)
{
    const QRgb c = colors.value(*p, 0);
    *p = uchar((11 * qRed(c) + 16 * qGreen(c) + 5 * qBlue(c)) / 32);
}
void alphaOfIndex(uchar *p, const QVector<QRgb> &colors)
{
    *p = uchar(qAlpha(colors.value(*p, 0)));
}
void keep(uchar *, const QVector<QRgb> &) { }

const std::vector<Cell> kCells = {
    {QImage::Format_Indexed8, QImage::Format_Grayscale8, greyOfIndex},
    {QImage::Format_Indexed8, QImage::Format_Alpha8, alphaOfIndex},
    {QImage::Format_Grayscale8, QImage::Format_Indexed8, keep},
    {QImage::Format_Alpha8, QImage::Format_Indexed8, keep},
    {QImage::Format_RGB32, QImage::Format_ARGB32, setOpaque},
    {QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied, setOpaque},
    {QImage::Format_ARGB32, QImage::Format_RGB32, setOpaque},
    {QImage::Format_RGBX8888, QImage::Format_RGB32, swapAndSetOpaque},
    {QImage::Format_RGBA8888, QImage::Format_RGB32, swapAndSetOpaque},
    {QImage::Format_RGBX8888, QImage::Format_ARGB32, swapRedBlue},
    {QImage::Format_RGBA8888, QImage::Format_ARGB32, swapRedBlue},
    {QImage::Format_RGBX8888, QImage::Format_ARGB32_Premultiplied, swapRedBlue},
    {QImage::Format_RGBA8888_Premultiplied, QImage::Format_ARGB32_Premultiplied, swapRedBlue},
    {QImage::Format_RGBA8888, QImage::Format_RGBX8888, setOpaque},
};

class InPlace : public testing::TestWithParam<QImage::Format>
{
};

TEST_P(InPlace, RewritesEveryPixelWhereTheTableHasARoutine)
{
    for (const Cell &cell : kCells) {
        if (cell.from != GetParam())
            continue;
        std::vector<int> widths = {1000, 3001};
        for (int w = 1; w <= 70; ++w)
            widths.push_back(w);
        for (const int w : widths) {
            Vellum image = makeNoise(w, 11, cell.from, Storage::Big, unsigned(w), w % 5);
            const Vellum before = makeNoise(w, 11, cell.from, Storage::Plain, unsigned(w));
            const uchar *const firstRow = image.scanLineEx(0);

            image.convertTo(cell.to);

            ASSERT_EQ(image.format(), cell.to);
            ASSERT_TRUE(image.isBigImage());
            ASSERT_EQ(image.scanLineEx(0), firstRow);
            const int bytes = before.depth() / 8;
            for (int y = 0; y < 11; ++y) {
                for (int x = 0; x < w; ++x) {
                    uchar pixel[4];
                    std::memcpy(pixel, before.scanLineEx(y) + x * bytes, size_t(bytes));
                    cell.rewrite(pixel, before.colorTable());
                    ASSERT_EQ(0, std::memcmp(pixel, image.scanLineEx(y) + x * bytes, size_t(bytes)))
                        << "(" << x << ", " << y << ") of " << w << " columns to " << cell.to;
                }
            }
        }
    }
}

TEST_P(InPlace, LeavesTheImageAloneWhereTheTableHasNone)
{
    for (int to = -1; to <= QImage::NImageFormats; ++to) {
        const bool listed = std::any_of(kCells.begin(), kCells.end(), [to](const Cell &cell) {
            return cell.from == GetParam() && cell.to == to;
        });
        if (listed)
            continue;
        Vellum image = makeNoise(13, 3, GetParam(), Storage::Big);
        image.convertTo(QImage::Format(to));
        EXPECT_TRUE(samePixels(image, makeNoise(13, 3, GetParam(), Storage::Big))) << "to " << to;
    }
}

TEST_P(InPlace, DoesAsQImageWhenPlain)
{
    for (const QImage::Format to : allFormats()) {
        Vellum image = makeNoise(13, 3, GetParam(), Storage::Plain);
        QImage expected = toPlain(image);

        image.convertTo(to, Qt::OrderedDither);

        expected.convertTo(to, Qt::OrderedDither);
        EXPECT_TRUE(samePixels(image, expected)) << "to " << to;
    }
}

// The store is all that may be written; what it holds is converted.
TEST_P(InPlace, StaysInsideANarrowStore)
{
    for (const Cell &cell : kCells) {
        if (cell.from != GetParam())
            continue;
        Vellum image = makeUntouchable(70, 12, cell.from);
        ASSERT_TRUE(image.alloc_buffer(6, 3));
        image.fill(0x40404040U);
        image.setColorTable(QVector<QRgb>(256, 0xff0000ff));
        const int second = image.depth() / 8; // its last byte does not fit for 32 bits

        image.convertTo(cell.to);

        EXPECT_EQ(image.format(), cell.to);
        EXPECT_EQ(image.scanLineEx(2)[4], second == 4 ? 0x40 : image.scanLineEx(2)[0]);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, InPlace, testing::ValuesIn(allFormats()));

TEST(InPlaceTable, IsTheRampOfIndexedGreyAndAlphaAndElseEmpty)
{
    Vellum grey = makeNoise(5, 2, QImage::Format_Grayscale8, Storage::Big);
    grey.convertTo(QImage::Format_Indexed8);
    ASSERT_EQ(grey.colorCount(), 256);
    EXPECT_EQ(grey.color(77), qRgb(77, 77, 77));
    EXPECT_FALSE(grey.hasAlphaChannel());
    grey.convertTo(QImage::Format_Grayscale8);
    EXPECT_EQ(grey.colorCount(), 0);

    Vellum alpha = makeNoise(5, 2, QImage::Format_Alpha8, Storage::Big);
    alpha.convertTo(QImage::Format_Indexed8);
    ASSERT_EQ(alpha.colorCount(), 256);
    EXPECT_EQ(alpha.color(77), qRgba(0, 0, 0, 77));
    EXPECT_TRUE(alpha.hasAlphaChannel());
}

TEST(InPlaceSharing, ShowsTheNewPixelsAndFormatToAllWhoShare)
{
    Vellum image = makeNoise(5, 2, QImage::Format_Indexed8, Storage::Big);
    const Vellum other = image;

    image.convertTo(QImage::Format_Grayscale8);

    EXPECT_EQ(other.format(), QImage::Format_Grayscale8);
    EXPECT_TRUE(samePixels(other, image));
}

TEST(InPlaceSharing, LeavesOthersAloneWhenPlain)
{
    Vellum image = makeNoise(5, 2, QImage::Format_RGB32, Storage::Plain);
    const Vellum other = image;
    const Vellum before = makeNoise(5, 2, QImage::Format_RGB32, Storage::Plain);

    image.convertTo(QImage::Format_ARGB32);

    EXPECT_TRUE(samePixels(other, before));
}

} // namespace
