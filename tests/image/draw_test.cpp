#include <QPainter>

#include <cmath>
#include <limits>
#include <support/images.h>
#include <support/recorder.h>
#include <support/sampling.h>

using namespace vellum::test;

namespace {

std::vector<DrawnImage> draw(const QRectF &target, const Vellum &image, const QRectF &source,
                             Qt::ImageConversionFlags flags = Qt::AutoColor)
{
    Recorder device;
    QPainter painter(&device);
    painter_drawVellum(&painter, target, image, source, flags);
    painter.end();
    return device.drawn();
}

/// Big, black, and cheap: rows cost memory only when they are written to.
Vellum hugeImage(int w, int h, QImage::Format format)
{
    Vellum image = makeUntouchable(w, h, format);
    EXPECT_TRUE(image.alloc_buffer(image.bytesPerLine(), h));
    return image;
}

/// Grayscale8 on big storage with a number for every pixel.
Vellum numbered(int w, int h)
{
    Vellum image = hugeImage(w, h, QImage::Format_Grayscale8);
    for (int y = 0; y < h; ++y) {
        uchar *const row = image.scanLineEx(y);
        for (int x = 0; x < w; ++x)
            row[x] = uchar(x * 7 + y * 13);
    }
    return image;
}

TEST(PainterDraw, APlainImageIsDrawnByOneCall)
{
    const Vellum image = makeNoise(40, 30, QImage::Format_RGB32, Storage::Plain);
    const QRectF target(3.5, 4.25, 90, 70.5);
    const QRectF source(1.5, 2, 20.25, 9);

    const auto drawn = draw(target, image, source, Qt::DiffuseDither);

    ASSERT_EQ(drawn.size(), 1U);
    EXPECT_EQ(drawn[0].target, target);
    EXPECT_EQ(drawn[0].source, source);
    EXPECT_EQ(drawn[0].flags, Qt::DiffuseDither);
    EXPECT_TRUE(samePixels(drawn[0].image, image));
}

TEST(PainterDraw, NullImagesAndNullPaintersDrawNothing)
{
    EXPECT_TRUE(draw(QRectF(0, 0, 10, 10), Vellum(), QRectF()).empty());
    painter_drawVellum(nullptr, QRectF(0, 0, 10, 10),
                       makeNoise(4, 4, QImage::Format_RGB32, Storage::Big), QRectF(),
                       Qt::AutoColor);
}

TEST(PainterDraw, SmallTargetsGetAReducedImage)
{
    const Vellum image = numbered(2000, 1500);
    const QRectF target(5.5, 6, 100, 80);

    const auto drawn = draw(target, image, QRectF(), Qt::OrderedDither);

    ASSERT_EQ(drawn.size(), 1U);
    EXPECT_EQ(drawn[0].target, target);
    EXPECT_EQ(drawn[0].source, QRectF(0, 0, 100, 80));
    EXPECT_EQ(drawn[0].flags, Qt::OrderedDither);
    EXPECT_TRUE(
        samePixels(drawn[0].image, sampledNaively(image, QSize(100, 80), QRect(0, 0, 100, 80))));
}

TEST(PainterDraw, ReducesAnImageOf400MegapixelsToTheSizeOfTheTarget)
{
    const Vellum image = hugeImage(20000, 20000, QImage::Format_Grayscale8);
    const auto drawn = draw(QRectF(0, 0, 1000, 800), image, QRectF());
    ASSERT_EQ(drawn.size(), 1U);
    EXPECT_EQ(drawn[0].image.size(), QSize(1000, 800));
    EXPECT_EQ(drawn[0].source, QRectF(0, 0, 1000, 800));
}

TEST(PainterDraw, TheSourceIsRoundedClippedAndReducedInPlace)
{
    const Vellum image = numbered(300, 200);
    // Rounds to (100, 51) - (410, 101), of which the image has 200 x 51.
    const auto drawn =
        draw(QRectF(0, 0, 70.5, 33), image, QRectF(99.6, 50.5, 310.9, 50.6), Qt::AutoColor);
    ASSERT_EQ(drawn.size(), 1U);
    const QRect source = QRectF(99.6, 50.5, 310.9, 50.6).toRect() & QRect(0, 0, 300, 200);
    const double sx = 70.5 / source.width();
    const double sy = 33.0 / source.height();
    const QSize size(int(300 * sx), int(200 * sy));
    const QRect part(int(source.left() * sx), int(source.top() * sy), int(source.width() * sx),
                     int(source.height() * sy));
    EXPECT_EQ(drawn[0].target, QRectF(0, 0, 70.5, 33));
    EXPECT_TRUE(samePixels(drawn[0].image, sampledNaively(image, size, part)));
}

// The painter itself must not get the image: its base cannot be read.
TEST(PainterDraw, ABigImageInItsOwnSizeIsCopied)
{
    const Vellum image = numbered(300, 200);
    const auto drawn = draw(QRectF(0, 0, 300, 200), image, QRectF());
    ASSERT_EQ(drawn.size(), 1U);
    EXPECT_TRUE(samePixels(drawn[0].image, image));
}

TEST(PainterDraw, LargeTargetsAreDrawnInStripsWithoutFlags)
{
    const Vellum image = numbered(10000, 3000);

    const auto drawn = draw(QRectF(10, 20, 5000, 2000), image, QRectF(), Qt::DiffuseDither);

    const int rows[] = {838, 838, 838, 486};
    ASSERT_EQ(drawn.size(), 4U);
    int top = 0;
    for (size_t i = 0; i < 4; ++i) {
        const double scale = 2000.0 / 3000;
        EXPECT_EQ(drawn[i].target, QRectF(10, 20 + top * scale, 5000, rows[i] * scale));
        EXPECT_EQ(drawn[i].source, QRectF(0, 0, 10000, rows[i]));
        EXPECT_EQ(drawn[i].flags, Qt::AutoColor);
        EXPECT_TRUE(samePixels(drawn[i].image, image.copyEx(0, top, 10000, rows[i])));
        top += rows[i];
    }
}

TEST(PainterDraw, StripsStayInsideTheSource)
{
    const Vellum image = numbered(6000, 3000);
    const auto drawn = draw(QRectF(0, 0, 4096, 4096), image, QRectF(1000, 500, 9000, 2000));
    // 5000 columns and 2000 rows remain: 1677 rows a strip.
    ASSERT_EQ(drawn.size(), 2U);
    EXPECT_TRUE(samePixels(drawn[0].image, image.copyEx(1000, 500, 5000, 1677)));
    EXPECT_TRUE(samePixels(drawn[1].image, image.copyEx(1000, 2177, 5000, 323)));
}

TEST(PainterDraw, TheLimitOfReductionIsEightMebipixels)
{
    const Vellum image = numbered(100, 10);
    EXPECT_EQ(draw(QRectF(0, 0, 4096, 2047), image, QRectF())[0].image.width(), 4096);
    EXPECT_EQ(draw(QRectF(0, 0, 4096, 2048), image, QRectF())[0].image.width(), 100);
}

TEST(PainterDraw, WhereReductionFailsStripsAreDrawn)
{
    const Vellum image = numbered(100, 10);
    const auto drawn = draw(QRectF(0, 0, 50, 0.5), image, QRectF()); // half a row
    ASSERT_EQ(drawn.size(), 1U);
    EXPECT_EQ(drawn[0].target, QRectF(0, 0, 50, 0.5));
    EXPECT_TRUE(samePixels(drawn[0].image, image));
}

TEST(PainterDraw, SourcesOutsideTheImageDrawNothing)
{
    const Vellum image = numbered(100, 10);
    for (const QRectF source :
         {QRectF(100, 0, 5, 5), QRectF(0, 10, 5, 5), QRectF(-5, 0, 5, 5), QRectF(0, -6, 5, 5),
          QRectF(1e30, 1e30, 5, 5), QRectF(-1e300, 0, 5, 5)})
        EXPECT_TRUE(draw(QRectF(0, 0, 50, 50), image, source).empty());
}

TEST(PainterDraw, CoordinatesOfAnyMagnitudeAreSurvived)
{
    const Vellum image = numbered(100, 10);
    const double inf = std::numeric_limits<double>::infinity();
    const auto whole = draw(QRectF(0, 0, 50, 5), image, QRectF(-1e15, -1e15, 2e15, 2e15));
    ASSERT_EQ(whole.size(), 1U);
    EXPECT_TRUE(
        samePixels(whole[0].image, sampledNaively(image, QSize(50, 5), QRect(0, 0, 50, 5))));
    draw(QRectF(0, 0, 50, 5), image, QRectF(std::nan(""), inf, -inf, inf));
    draw(QRectF(0, 0, 1e300, 1e-300), image, QRectF());
}

TEST(PainterDraw, RowsTooLongForAStripDrawNothing)
{
    const Vellum image = hugeImage(0x800001, 2, QImage::Format_Mono);
    EXPECT_TRUE(draw(QRectF(0, 0, 4096, 4096), image, QRectF()).empty());
    EXPECT_EQ(draw(QRectF(0, 0, 4096, 4096), image, QRectF(0, 0, 0x800000, 2)).size(), 2U);
    EXPECT_EQ(draw(QRectF(0, 0, 400, 40), image, QRectF()).size(), 1U); // reduced
}

TEST(PainterDraw, PixelsWithoutAColourAreDrawnInGreyOrNotAtAll)
{
    for (const QSizeF size : {QSizeF(100, 10), QSizeF(4096, 2048)}) { // reduced, and in strips
        const QRectF target(QPointF(0, 0), size);
        const Vellum bits = hugeImage(100, 10, QImage::Format_Mono);
        ASSERT_EQ(bits.colorCount(), 0);
        EXPECT_EQ(draw(target, bits, QRectF())[0].image.colorTable(),
                  (QVector<QRgb> {0xff000000U, 0xffffffffU}));

        Vellum bytes = hugeImage(100, 10, QImage::Format_Indexed8);
        const QVector<QRgb> greys = draw(target, bytes, QRectF())[0].image.colorTable();
        ASSERT_EQ(greys.size(), 256);
        EXPECT_EQ(greys[77], qRgb(77, 77, 77));

        bytes.setColorTable({0xff112233U, 0xff445566U});
        const QVector<QRgb> padded = draw(target, bytes, QRectF())[0].image.colorTable();
        ASSERT_EQ(padded.size(), 256);
        EXPECT_EQ(padded[1], 0xff445566U);
        EXPECT_EQ(padded[2], 0U);
    }
}

TEST(PainterDraw, ReachesThePixelsOfAPlainDevice)
{
    const Vellum image = makeNoise(30, 20, QImage::Format_RGB32, Storage::Big);
    QImage device(30, 20, QImage::Format_RGB32);
    device.fill(0);
    QPainter painter(&device);
    painter_drawVellum(&painter, QRectF(0, 0, 30, 20), image, QRectF(), Qt::AutoColor);
    painter.end();
    EXPECT_EQ(device, toPlain(image).convertToFormat(QImage::Format_RGB32));
}

} // namespace
