// Windows of rows: which rows share memory, and what the images that show them hold.

#include <vellum/image/rowwindow_p.h>

#include <support/images.h>

using vellum::image::RowWindow;
using namespace vellum::test;

namespace {

constexpr QSize kSize(37, 301);
constexpr int kRows = 80;

Vellum shown(const RowWindow &window)
{
    Vellum image;
    EXPECT_TRUE(window.show(image));
    return image;
}

} // namespace

TEST(RowWindow, ImageHasSizeAndFormatOfThePicture)
{
    RowWindow window;
    ASSERT_TRUE(window.make(kSize, QImage::Format_RGB888, kRows));

    const Vellum image = shown(window);

    EXPECT_TRUE(image.isBigImage());
    EXPECT_EQ(image.size(), kSize);
    EXPECT_EQ(image.format(), QImage::Format_RGB888);
    EXPECT_EQ(image.storedBytesPerLine(), image.bytesPerLine());
    EXPECT_EQ(image.scanLineEx(kSize.height()), nullptr);
}

TEST(RowWindow, OnlyRowsThatAreAWindowApartShareMemory)
{
    RowWindow window;
    ASSERT_TRUE(window.make(kSize, QImage::Format_RGB32, kRows));
    ASSERT_GE(window.rows(), kRows);
    ASSERT_LT(window.rows(), kSize.height());
    Vellum image = shown(window);

    for (int y = 0; y < kSize.height(); ++y)
        std::fill_n(image.scanLineEx(y), image.bytesPerLine(), uchar(y % 251));

    for (int y = kSize.height() - window.rows(); y < kSize.height(); ++y)
        ASSERT_EQ(image.scanLineEx(y)[0], uchar(y % 251)) << y;
    for (int y = window.rows(); y < kSize.height(); ++y)
        ASSERT_EQ(image.scanLineEx(y), image.scanLineEx(y - window.rows())) << y;
}

TEST(RowWindow, RowsOfAPieceLieOneBehindTheOther)
{
    RowWindow window;
    ASSERT_TRUE(window.make(kSize, QImage::Format_Grayscale8, kRows));
    const Vellum image = shown(window);
    const int piece = window.rowsInOnePiece();
    ASSERT_GE(piece, 1);

    for (int y = 0; y < kSize.height(); ++y) {
        ASSERT_EQ(image.scanLineEx(y),
                  image.scanLineEx(y / piece * piece) + y % piece * image.bytesPerLine());
    }
}

TEST(RowWindow, ImagesOfOneWindowShowTheSameRowsAndDescribeThemselves)
{
    RowWindow window;
    ASSERT_TRUE(window.make(kSize, QImage::Format_Indexed8, kRows));
    Vellum one = shown(window);
    Vellum other = shown(window);

    one.setColorTable({0xff112233});
    one.setText("Key", "value");
    one.scanLineEx(7)[3] = 99;

    EXPECT_EQ(other.scanLineEx(7)[3], 99);
    EXPECT_EQ(one.scanLineEx(7), other.scanLineEx(7));
    EXPECT_TRUE(other.textKeys().isEmpty());
    EXPECT_TRUE(other.colorTable().isEmpty());
}

TEST(RowWindow, BaseOfAnImageHoldsNoRows)
{
    RowWindow window;
    ASSERT_TRUE(window.make(kSize, QImage::Format_RGB32, kRows));
    Vellum image = shown(window);

    for (int y = 0; y < kSize.height(); ++y)
        std::fill_n(image.scanLineEx(y), image.bytesPerLine(), uchar(255));

    const QImage base = image.toImage();
    for (int y = 0; y < kSize.height(); ++y)
        ASSERT_EQ(base.pixel(5, y) & 0xffffff, 0U);
}

TEST(RowWindow, RowsOutliveTheWindowWithTheImages)
{
    Vellum image;
    {
        RowWindow window;
        ASSERT_TRUE(window.make(kSize, QImage::Format_RGB32, kRows));
        ASSERT_TRUE(window.show(image));
    }
    image.fill(0x12345678);
    EXPECT_EQ(reinterpret_cast<const quint32 *>(image.scanLineEx(300))[36], 0x12345678U);
}

TEST(RowWindow, AWindowForMoreRowsThanThereAreHoldsThemAll)
{
    for (const int height : {1, 2, 7, 8, 9, 80}) {
        RowWindow window;
        ASSERT_TRUE(window.make({100000, height}, QImage::Format_RGBA64, kRows));
        const Vellum image = shown(window);
        EXPECT_EQ(window.rows(), height);
        for (int y = 1; y < height; ++y)
            EXPECT_NE(image.scanLineEx(y), image.scanLineEx(y - 1));
        EXPECT_EQ(image.scanLineEx(height), nullptr);
    }
}

TEST(RowWindow, NothingForSizesAndFormatsThatNoImageHas)
{
    RowWindow window;
    EXPECT_FALSE(window.make({0, 5}, QImage::Format_RGB32, kRows));
    EXPECT_FALSE(window.make({5, -1}, QImage::Format_RGB32, kRows));
    EXPECT_FALSE(window.make(kSize, QImage::Format_Invalid, kRows));
    EXPECT_FALSE(window.make(kSize, QImage::NImageFormats, kRows));
    EXPECT_FALSE(window.make({std::numeric_limits<int>::max(), 1}, QImage::Format_RGBA64, kRows));
    EXPECT_EQ(window.rows(), 0);
}
