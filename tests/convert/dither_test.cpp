// Dithering to one bit and to the colour cube, against QImage on an equal plain image.

#include <convert/pictures.h>

using namespace vellum::test;

namespace {

using Pair = std::tuple<QImage::Format, QImage::Format>;

class Dither : public testing::TestWithParam<Pair>
{
};

std::string pairName(const testing::TestParamInfo<Pair> &info)
{
    return "Format" + std::to_string(std::get<0>(info.param)) + "To" +
        std::to_string(std::get<1>(info.param));
}

void expectQImagesResult(const Vellum &big, const QImage &plain, QImage::Format to,
                         Qt::ImageConversionFlags flags)
{
    const Vellum result = big.convertToFormat(to, flags);
    const QImage expected = plain.convertToFormat(to, flags);
    ASSERT_FALSE(result.isBigImage());
    ASSERT_TRUE(samePixels(result, expected))
        << plain.width() << " x " << plain.height() << ", flags 0x" << std::hex << int(flags);
}

/// Indexed8 pictures get the grey-ish noise table of makeNoise.
Vellum makeSource(int w, int h, QImage::Format from, Content content)
{
    if (from == QImage::Format_Indexed8)
        return makeNoise(w, h, from, Storage::Big, unsigned(content) + 1, 5);
    return makePicture(w, h, from, Storage::Big, content, 5);
}

TEST_P(Dither, EqualsQImageAtEveryWidthUpTo70)
{
    const auto [from, to] = GetParam();
    for (int w = 1; w <= 70; ++w) {
        const Vellum big = makeSource(w, 19, from, Content::Photo);
        const QImage plain = toPlain(big);
        for (const int mode : {0x00, 0x10, 0x20, 0x30, 0x40, 0x18, 0x24, 0x44})
            expectQImagesResult(big, plain, to, QFlag(mode));
    }
}

TEST_P(Dither, EqualsQImageInEveryModeOnEveryContent)
{
    const auto [from, to] = GetParam();
    for (const Content content : kContents) {
        for (const int w : {1, 2, 7, 16, 33, 40, 531}) {
            const Vellum big = makeSource(w, 35, from, content);
            const QImage plain = toPlain(big);
            for (const auto flags : allDitherFlags())
                expectQImagesResult(big, plain, to, flags);
        }
    }
}

TEST_P(Dither, EqualsQImageAtEveryHeightUpTo20)
{
    const auto [from, to] = GetParam();
    for (int h = 1; h <= 20; ++h) {
        const Vellum big = makeSource(43, h, from, Content::Random);
        const QImage plain = toPlain(big);
        for (const int mode : {0x00, 0x10, 0x20, 0x48})
            expectQImagesResult(big, plain, to, QFlag(mode));
    }
}

TEST_P(Dither, EqualsQImageAcrossThousandsOfColumns)
{
    const auto [from, to] = GetParam();
    for (const Content content : {Content::Photo, Content::Dark}) {
        const Vellum big = makeSource(4099, 257, from, content);
        const QImage plain = toPlain(big);
        for (const int mode : {0x00, 0x10, 0x20, 0x48})
            expectQImagesResult(big, plain, to, QFlag(mode));
    }
}

// Far beyond what a 16-bit column number can count.
TEST_P(Dither, EqualsQImageOnVeryWideRows)
{
    const auto [from, to] = GetParam();
    const Vellum big = makeSource(70001, 17, from, Content::Photo);
    expectQImagesResult(big, toPlain(big), to, Qt::DiffuseDither | Qt::DiffuseAlphaDither);
}

INSTANTIATE_TEST_SUITE_P(Pairs, Dither,
                         testing::Values(Pair(QImage::Format_Indexed8, QImage::Format_Mono),
                                         Pair(QImage::Format_Indexed8, QImage::Format_MonoLSB),
                                         Pair(QImage::Format_RGB32, QImage::Format_Mono),
                                         Pair(QImage::Format_RGB32, QImage::Format_MonoLSB),
                                         Pair(QImage::Format_ARGB32, QImage::Format_Mono),
                                         Pair(QImage::Format_ARGB32, QImage::Format_MonoLSB),
                                         Pair(QImage::Format_RGB32, QImage::Format_Indexed8),
                                         Pair(QImage::Format_ARGB32, QImage::Format_Indexed8)),
                         pairName);

} // namespace
