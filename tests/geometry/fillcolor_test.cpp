#include <support/images.h>

using namespace vellum::test;

namespace {

/// The value for a 1 x 1 image of \a format and whether it stands for a transparent pixel.
std::pair<uint, bool> fillFor(QImage::Format format, const QVector<QRgb> &colors = {})
{
    Vellum image(1, 1, format);
    if (!colors.isEmpty())
        image.setColorTable(colors);
    bool transparent = true; // must be set either way
    const uint fill = getFillColorForRotate(image, transparent);
    return {fill, transparent};
}

constexpr QRgb kOpaque = 0xff102030;
constexpr QRgb kClear = 0x00102030;
constexpr QRgb kHalf = 0x80102030;

TEST(FillColor, ThirtyTwoBitsAreTransparentBlack)
{
    for (const QImage::Format format : allFormats()) {
        if (QImage(1, 1, format).depth() == 32) {
            EXPECT_EQ(fillFor(format), std::make_pair(0U, true)) << format;
        }
    }
}

TEST(FillColor, OtherDirectFormatsAreWhite)
{
    for (const QImage::Format format : allFormats()) {
        const int depth = QImage(1, 1, format).depth();
        if (depth != 32 && depth != 1 && format != QImage::Format_Indexed8) {
            EXPECT_EQ(fillFor(format), std::make_pair(0xffffffffU, false)) << format;
        }
    }
}

TEST(FillColor, IndexedIsTheFirstTransparentEntry)
{
    const QVector<QRgb> fifth {kOpaque, kHalf, kOpaque, kOpaque, kOpaque, kClear, kClear};

    EXPECT_EQ(fillFor(QImage::Format_Indexed8, fifth), std::make_pair(5U, true));
    EXPECT_EQ(fillFor(QImage::Format_Indexed8, {kClear, kClear}), std::make_pair(0U, true));
    EXPECT_EQ(fillFor(QImage::Format_Indexed8, {kOpaque, kHalf}), std::make_pair(0U, false));
    EXPECT_EQ(fillFor(QImage::Format_Indexed8), std::make_pair(0U, false));
}

TEST(FillColor, OneBitIsAllBitsOnlyWhenColourOneIsTheTransparentOne)
{
    for (const auto format : {QImage::Format_Mono, QImage::Format_MonoLSB}) {
        EXPECT_EQ(fillFor(format, {kOpaque, kClear}), std::make_pair(0xffffffffU, true));
        EXPECT_EQ(fillFor(format, {kClear, kClear}), std::make_pair(0U, true));
        EXPECT_EQ(fillFor(format, {kOpaque, kOpaque}), std::make_pair(0U, false));
        EXPECT_EQ(fillFor(format, {kOpaque, kOpaque, kClear}), std::make_pair(0U, true));
    }
}

TEST(FillColor, NullImageIsWhite)
{
    bool transparent = true;
    EXPECT_EQ(getFillColorForRotate(Vellum(), transparent), 0xffffffffU);
    EXPECT_FALSE(transparent);
}

} // namespace
