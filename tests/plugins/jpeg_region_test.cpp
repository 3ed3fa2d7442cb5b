// Parts of JPEG files, and smaller ones: as exact as the whole, at less cost.

#include <QBuffer>

#include <gtest/gtest.h>

#include <cmath>
#include <support/jpegfile.h>
#include <support/process.h>

using namespace vellum::test;

namespace {

class JpegRegion : public testing::TestWithParam<JpegKind>
{
protected:
    void SetUp() override { useOwnPlugins(); }

    QByteArray makeFile(int width, int height) const
    {
        return makeJpeg(photoSamples(width, height, GetParam().perPixel()), GetParam());
    }
};

/// What a reader makes of \a file after \a setUp.
template <typename SetUp>
Vellum readWith(const QByteArray &file, SetUp setUp, Storage storage = Storage::Plain,
                const QSize &size = {})
{
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    setUp(reader);
    Vellum image;
    if (!size.isEmpty())
        image = makeNoise(size.width(), size.height(), reader.imageFormat(), storage);
    EXPECT_TRUE(reader.read(&image)) << qPrintable(reader.errorString());
    return image;
}

TEST_P(JpegRegion, ClipsHaveThePixelsOfTheWholePicture)
{
    const QByteArray file = makeFile(150, 130);
    const Samples whole = samplesOf(QImage::fromData(file));
    const QRect clips[] = {{0, 0, 150, 130},  {0, 0, 1, 1},     {149, 129, 1, 1}, {37, 41, 50, 33},
                           {64, 64, 16, 16},  {15, 15, 17, 17}, {16, 0, 1, 130},  {0, 77, 150, 1},
                           {100, 31, 50, 99}, {48, 17, 63, 64}, {1, 95, 90, 35}};
    for (const QRect &clip : clips) {
        for (const Storage storage : kStorages) {
            const Vellum image = readWith(
                file, [&](QImageReader &reader) { reader.setClipRect(clip); }, storage,
                clip.size());
            ASSERT_EQ(image.size(), clip.size());
            EXPECT_EQ(image.isBigImage(), storage == Storage::Big);
            EXPECT_TRUE(showsSamples(image, whole, clip.x(), clip.y()))
                << clip.x() << ' ' << clip.y() << ' ' << clip.width() << ' ' << clip.height();
        }
    }
}

TEST_P(JpegRegion, EveryFirstRowAndColumnIsExact)
{
    const QByteArray file = makeFile(97, 83);
    const Samples whole = samplesOf(QImage::fromData(file));
    for (int i = 0; i < 80; ++i) {
        const QRect clip(i, 79 - i, 11, 3);
        const Vellum image =
            readWith(file, [&](QImageReader &reader) { reader.setClipRect(clip); });
        ASSERT_TRUE(showsSamples(image, whole, clip.x(), clip.y())) << i;
    }
}

TEST_P(JpegRegion, HalvesComeAsTheCodecGivesThem)
{
    const QByteArray file = makeFile(160, 120);
    for (const int eighths : {1, 2, 4, 8}) {
        Samples expected = decodeJpeg(file, eighths).samples;
        if (expected.perPixel == 4)
            expected = inksToSrgb(expected, {});
        const QSize size(20 * eighths, 15 * eighths);
        ASSERT_EQ(QSize(expected.width, expected.height), size);
        for (const Storage storage : kStorages) {
            const Vellum image = readWith(
                file, [&](QImageReader &reader) { reader.setScaledSize(size); }, storage, size);
            EXPECT_TRUE(showsSamples(image, expected)) << eighths;
        }
    }
}

/// Mean squared difference in brightness. Colours of some samplings are coarser when the codec
/// reduces a picture; see above for those.
double meanSquare(const QImage &a, const QImage &b)
{
    const QImage grey = a.convertToFormat(QImage::Format_Grayscale8);
    const QImage other = b.convertToFormat(QImage::Format_Grayscale8);
    double sum = 0;
    for (int y = 0; y < grey.height(); ++y) {
        for (int x = 0; x < grey.width(); ++x)
            sum += std::pow(grey.constScanLine(y)[x] - other.constScanLine(y)[x], 2);
    }
    return sum / grey.width() / grey.height();
}

constexpr double kTolerated = 60; // less than half of what a displacement by one pixel makes

TEST_P(JpegRegion, ScaledPicturesLookLikeTheWholeOnesScaled)
{
    const QByteArray file = makeFile(400, 300);
    const QImage whole = QImage::fromData(file);
    for (const QSize size : {QSize(399, 299), QSize(321, 100), QSize(150, 110), QSize(33, 25),
                             QSize(7, 5), QSize(1, 1), QSize(500, 400)}) {
        const Vellum image =
            readWith(file, [&](QImageReader &reader) { reader.setScaledSize(size); });
        ASSERT_EQ(image.size(), size);
        const QImage expected = whole.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        EXPECT_LT(meanSquare(image, expected), kTolerated) << size.width();
    }
}

TEST_P(JpegRegion, ClipsAreScaledAndClippedAgain)
{
    const QByteArray file = makeFile(400, 300);
    const QRect clip(103, 57, 240, 200);
    const QRect second(11, 13, 40, 30);
    const Vellum scaled = readWith(file, [&](QImageReader &reader) {
        reader.setClipRect(clip);
        reader.setScaledSize(QSize(90, 75));
    });
    const Vellum part = readWith(file, [&](QImageReader &reader) {
        reader.setClipRect(clip);
        reader.setScaledSize(QSize(90, 75));
        reader.setScaledClipRect(second);
    });
    ASSERT_EQ(scaled.size(), QSize(90, 75));
    ASSERT_EQ(part.size(), second.size());
    EXPECT_TRUE(showsSamples(part, samplesOf(scaled), second.x(), second.y(), 1));

    const QImage expected = QImage::fromData(file).copy(clip).scaled(90, 75, Qt::IgnoreAspectRatio,
                                                                     Qt::SmoothTransformation);
    EXPECT_LT(meanSquare(scaled, expected), kTolerated);
}

INSTANTIATE_TEST_SUITE_P(Kinds, JpegRegion, testing::ValuesIn(allKinds()), kindName);

TEST(JpegMemory, ThumbnailsAreReadWithoutHoldingThePicture)
{
    useOwnPlugins();
    JpegKind kind;
    const QByteArray file = makeJpeg(photoSamples(6000, 5000, 3), kind); // 114 MiB of pixels
    if (kSanitized)
        return; // limits of memory say nothing; the other tests read thumbnails too
    EXPECT_TRUE(passesWithinAddressSpace(24 << 20, [&] {
        for (const int width : {5000, 2000, 700}) { // just below the codec's own sizes, and far
            const QSize size(width, 100);
            const Vellum image =
                readWith(file, [&](QImageReader &reader) { reader.setScaledSize(size); });
            EXPECT_EQ(image.size(), size);
        }
    }));
}

} // namespace
