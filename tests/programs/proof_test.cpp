// A print shown on the screen, against lcms2 itself.

#include "proof.h"

#include <QColorSpace>

#include <algorithm>
#include <support/colordifference.h>
#include <support/images.h>
#include <support/pixels.h>
#include <vector>

using namespace vellum;
using namespace vellum::test;
using vellum::tool::proofed;
using vellum::tool::ProofWhite;

namespace {

bool goOn(int) { return true; }

const QByteArray &press()
{
    static const QByteArray icc = readFile(profileFile(QStringLiteral("cmyk.icm")));
    return icc;
}

/// A row of B, G, R, any to CMYK and back, by two transforms of lcms2.
class LcmsProof
{
public:
    LcmsProof(const QByteArray &source, const ColorConversion &toPress, ProofWhite white)
        : m_from(openBytes(source.isEmpty() ? srgbProfile() : source)), m_press(openBytes(press())),
          m_screen(openBytes(srgbProfile())),
          m_there(cmsCreateTransform(
              m_from.get(), TYPE_BGRA_8, m_press.get(), TYPE_CMYK_8,
              cmsUInt32Number(toPress.intent),
              toPress.blackPointCompensation ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0)),
          m_back(
              cmsCreateTransform(m_press.get(), TYPE_CMYK_8, m_screen.get(), TYPE_BGRA_8,
                                 white == ProofWhite::Paper ? INTENT_ABSOLUTE_COLORIMETRIC
                                                            : INTENT_RELATIVE_COLORIMETRIC,
                                 white == ProofWhite::Paper ? 0 : cmsFLAGS_BLACKPOINTCOMPENSATION))
    {
    }

    std::vector<QRgb> row(const uchar *pixels, int width) const
    {
        std::vector<uchar> inks(size_t(width) * 4);
        std::vector<QRgb> shown(static_cast<size_t>(width));
        cmsDoTransform(m_there.get(), pixels, inks.data(), cmsUInt32Number(width));
        cmsDoTransform(m_back.get(), inks.data(), shown.data(), cmsUInt32Number(width));
        return shown;
    }

private:
    OwnedProfile m_from;
    OwnedProfile m_press;
    OwnedProfile m_screen;
    OwnedTransform m_there;
    OwnedTransform m_back;
};

Vellum flat(QRgb color)
{
    Vellum picture = makeImage(3, 2, QImage::Format_RGB32, test::Storage::Plain);
    picture.fill(color);
    return picture;
}

QRgb shownAs(QRgb color, ProofWhite white)
{
    const Vellum proof = proofed(flat(color), {}, press(), {}, white, vellum::Storage::Plain, goOn);
    return proof.isNull() ? 0 : proof.toImage().pixel(1, 1);
}

} // namespace

TEST(Proof, HasTheColoursThatLcmsMakesAndThePicturesAlpha)
{
    ColorConversion relative;
    relative.intent = RenderingIntent::RelativeColorimetric;
    relative.blackPointCompensation = true;
    const struct
    {
        QByteArray source;
        ColorConversion toPress;
        ProofWhite white;
        test::Storage storage;
    } cases[] = {
        {{}, {}, ProofWhite::Screen, test::Storage::Plain},
        {{}, relative, ProofWhite::Paper, test::Storage::Big},
        {matrixProfile(), {}, ProofWhite::Paper, test::Storage::Plain},
        {matrixProfile(), relative, ProofWhite::Screen, test::Storage::Big},
    };
    for (const auto &[source, toPress, white, storage] : cases) {
        const Vellum picture = makeNoise(67, 41, QImage::Format_ARGB32, storage);
        const LcmsProof expected(source, toPress, white);
        const auto to =
            storage == test::Storage::Big ? vellum::Storage::Plain : vellum::Storage::Big;

        const Vellum proof = proofed(picture, source, press(), toPress, white, to, goOn);

        ASSERT_EQ(proof.format(), QImage::Format_ARGB32);
        EXPECT_EQ(proof.isBigImage(), to == vellum::Storage::Big);
        for (int y = 0; y < picture.height(); ++y) {
            const std::vector<QRgb> row = expected.row(picture.scanLineEx(y), picture.width());
            for (int x = 0; x < picture.width(); ++x) {
                const auto alpha = quint32(rawPixel(picture, x, y)) & 0xff000000;
                ASSERT_EQ(quint32(rawPixel(proof, x, y)), (row[size_t(x)] & 0x00ffffff) | alpha)
                    << x << ", " << y;
            }
        }
    }
}

TEST(Proof, WhiteIsTheScreensOrThePapers)
{
    const QRgb white = qRgb(255, 255, 255);
    EXPECT_EQ(shownAs(white, ProofWhite::Screen), white);
    const QRgb paper = shownAs(white, ProofWhite::Paper);
    EXPECT_NE(paper, white);
    EXPECT_GT(qGray(paper), 220);
    const QRgb black = qRgb(0, 0, 0);
    EXPECT_LT(qGray(shownAs(black, ProofWhite::Screen)), 8);
    EXPECT_GT(qGray(shownAs(black, ProofWhite::Paper)), qGray(shownAs(black, ProofWhite::Screen)));
}

TEST(Proof, DullsColoursThatThePressDoesNotHave)
{
    const QRgb shown = shownAs(qRgb(0, 255, 0), ProofWhite::Screen);
    EXPECT_GT(difference(labOf(QColor(shown)), labOf(QColor(0, 255, 0))), 5);
}

TEST(Proof, TakesEveryFormatAndKeepsAlpha)
{
    for (const QImage::Format format : allFormats()) {
        for (const test::Storage storage : kStorages) {
            const Vellum picture = makeNoise(7, 5, format, storage);
            const Vellum proof =
                proofed(picture, {}, press(), {}, ProofWhite::Screen, vellum::Storage::Plain, goOn);
            ASSERT_FALSE(proof.isNull()) << format;
            EXPECT_EQ(proof.hasAlphaChannel(), picture.hasAlphaChannel()) << format;
            if (format == QImage::Format_RGBA64) {
                ASSERT_EQ(proof.format(), format);
                for (int x = 0; x < 7; ++x)
                    EXPECT_EQ(rawPixel(proof, x, 4) >> 48, rawPixel(picture, x, 4) >> 48);
            }
        }
    }
}

TEST(Proof, SixteenBitsGoToThePressAsTheyAre)
{
    const Vellum wide = makeNoise(67, 41, QImage::Format_RGBX64, test::Storage::Big);
    const Vellum proof =
        proofed(wide, {}, press(), {}, ProofWhite::Screen, vellum::Storage::Plain, goOn);
    ColorConversion back;
    back.intent = RenderingIntent::RelativeColorimetric;
    back.blackPointCompensation = true;
    const Vellum expected = convertColors(convertColors(wide, {}, press()), press(), {}, back);
    ASSERT_FALSE(expected.isNull());
    EXPECT_TRUE(samePixels(proof, expected));
}

TEST(Proof, KeepsTheDescriptionAndIsInSrgb)
{
    Vellum picture = makeNoise(7, 5, QImage::Format_RGB32, test::Storage::Plain);
    picture.setText("Author", "nobody");
    picture.setDotsPerMeterX(1000);
    picture.setDotsPerMeterY(2000);
    picture.setIccProfile(matrixProfile());
    const Vellum proof = proofed(picture, matrixProfile(), press(), {}, ProofWhite::Screen,
                                 vellum::Storage::Plain, goOn);
    EXPECT_EQ(proof.text("Author"), "nobody");
    EXPECT_EQ(proof.dotsPerMeterX(), 1000);
    EXPECT_EQ(proof.dotsPerMeterY(), 2000);
    EXPECT_EQ(proof.colorSpace(), QColorSpace(QColorSpace::SRgb));
    EXPECT_EQ(QColorSpace::fromIccProfile(proof.getIccProfile()), QColorSpace(QColorSpace::SRgb));
}

TEST(Proof, NeedsProfilesThatFit)
{
    const Vellum picture = makeNoise(7, 5, QImage::Format_RGB32, test::Storage::Plain);
    const auto isRefused = [&](const QByteArray &source, const QByteArray &to) {
        return proofed(picture, source, to, {}, ProofWhite::Screen, vellum::Storage::Plain, goOn)
            .isNull();
    };
    for (const QByteArray &to : {QByteArray(), QByteArray("none"), matrixProfile()})
        EXPECT_TRUE(isRefused({}, to));
    for (const QByteArray &source : {QByteArray("none"), greyProfile(), cmykProfile()})
        EXPECT_TRUE(isRefused(source, press()));
}

TEST(Proof, EndsWhenToldTo)
{
    const Vellum picture = makeNoise(3000, 3001, QImage::Format_Grayscale8, test::Storage::Big);
    std::vector<int> percents;
    const auto record = [&](int percent) {
        percents.push_back(percent);
        return true;
    };
    EXPECT_FALSE(
        proofed(picture, {}, cmykProfile(), {}, ProofWhite::Screen, vellum::Storage::Plain, record)
            .isNull());
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
    EXPECT_EQ(percents.back(), 100);
    // How often it is asked depends on the threads that help.
    for (const int last : {0, 50, 100}) {
        EXPECT_TRUE(proofed(picture, {}, cmykProfile(), {}, ProofWhite::Screen,
                            vellum::Storage::Plain, [last](int percent) { return percent < last; })
                        .isNull())
            << last;
    }
}
