// Colours converted once, against converting every pixel.

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <shared/knowncolors.h>
#include <vector>

using vellum::plugin::KnownColors;

namespace {

using Pixels = std::vector<quint32>;

quint32 convertedColor(quint32 color) { return (color ^ 0x5a5a5a5a) * 2654435761U + 1; }

/// Counts the colours that are converted, and converts their low \a colorBits.
struct Conversion
{
    quint32 colorBits = ~0U;
    int count = 0;

    void operator()(uchar *out, const uchar *in, int pixels)
    {
        count += pixels;
        for (int i = 0; i < pixels; ++i) {
            quint32 color;
            std::memcpy(&color, in + qptrdiff(i) * 4, sizeof color);
            color = convertedColor(color & colorBits);
            std::memcpy(out + qptrdiff(i) * 4, &color, sizeof color);
        }
    }
};

Pixels expected(const Pixels &pixels, quint32 colorBits)
{
    Pixels out;
    for (const quint32 pixel : pixels)
        out.push_back(convertedColor(pixel & colorBits));
    return out;
}

/// \a count pixels of about \a colors colours.
Pixels someOf(int colors, int count, unsigned seed)
{
    std::mt19937 random(seed);
    Pixels palette(static_cast<size_t>(colors));
    for (quint32 &color : palette)
        color = random();
    Pixels pixels(static_cast<size_t>(count));
    for (quint32 &pixel : pixels)
        pixel = palette[random() % palette.size()];
    return pixels;
}

Pixels convert(KnownColors &known, const Pixels &pixels, Conversion &conversion)
{
    Pixels out(pixels.size());
    known.convert(reinterpret_cast<uchar *>(out.data()),
                  reinterpret_cast<const uchar *>(pixels.data()), int(pixels.size()),
                  [&](uchar *to, const uchar *from, int count) { conversion(to, from, count); });
    return out;
}

} // namespace

TEST(KnownColors, GiveWhatConvertingEveryPixelGives)
{
    for (const quint32 bits : {~0U, 0x00ffffffU, 0xffffff00U}) {
        KnownColors known(bits);
        Conversion conversion {bits};
        for (const int colors : {1, 2, 300, 20000, 1 << 20}) {
            for (const int count : {0, 1, 7, 1000, 30000, 150000}) {
                const Pixels pixels = someOf(colors, count, unsigned(colors + count));
                EXPECT_EQ(convert(known, pixels, conversion), expected(pixels, bits));
            }
        }
    }
}

TEST(KnownColors, BlackAndColorsOfFewBitsAreNotKnownFromTheStart)
{
    for (const quint32 color : {0U, 1U, ~0U}) {
        KnownColors known(~0U);
        Conversion conversion;
        EXPECT_EQ(convert(known, {color, color}, conversion), expected({color, color}, ~0U));
        EXPECT_EQ(conversion.count, 1);
    }
}

TEST(KnownColors, AreNotConvertedAgain)
{
    KnownColors known(~0U);
    Conversion conversion;
    for (int row = 0; row < 50; ++row)
        convert(known, someOf(100, 4000, 1), conversion);
    EXPECT_LT(conversion.count, 2 * 100 * 3); // few share a place, and all are forgotten rarely
}

TEST(KnownColors, MayReplaceThePixels)
{
    const Pixels pixels = someOf(5000, 70000, 3);
    Pixels out = pixels;
    KnownColors known(~0U);
    auto *const bytes = reinterpret_cast<uchar *>(out.data());

    known.convert(bytes, bytes, int(out.size()), Conversion());

    EXPECT_EQ(out, expected(pixels, ~0U));
}

TEST(KnownColors, BitsThatAConversionLeavesAloneAreOnes)
{
    KnownColors known(~0U);
    Pixels out(3);
    const Pixels pixels = {1, 2, 1};
    known.convert(reinterpret_cast<uchar *>(out.data()),
                  reinterpret_cast<const uchar *>(pixels.data()), 3,
                  [](uchar *, const uchar *, int) {});
    EXPECT_EQ(out, Pixels(3, ~0U));
}
