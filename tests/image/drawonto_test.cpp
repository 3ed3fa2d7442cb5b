#include <QPainter>

#include <cstring>
#include <support/images.h>
#include <support/sampling.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

/// makeNoise() with pixels that make sense: no colour in them exceeds a premultiplied alpha, where
/// QPainter's results depend on the position in the row.
Vellum makeDrawable(int w, int h, QImage::Format format, Storage storage, unsigned seed,
                    int extraStride)
{
    const Vellum noise = makeNoise(w, h, QImage::Format_ARGB32, Storage::Plain, seed);
    const Vellum converted = noise.toImage().convertToFormat(format);
    Vellum image = makeImage(w, h, format, storage, extraStride);
    for (int y = 0; y < h; ++y)
        std::memcpy(image.scanLineEx(y), converted.scanLineEx(y), size_t(converted.bytesPerLine()));
    image.setColorTable(converted.colorTable());
    return image;
}

/// A plain image of what \a source shows in a target of \a size.
QImage picked(const Vellum &image, const QRect &source, const QSize &size)
{
    QImage result(size, image.format());
    result.fill(0);
    result.setColorTable(image.colorTable());
    Vellum view = result;
    for (int y = 0; y < size.height(); ++y) {
        const int sy = source.top() + sampledFrom(y, source.height(), size.height(), {});
        for (int x = 0; x < size.width(); ++x) {
            const int sx = source.left() + sampledFrom(x, source.width(), size.width(), {});
            setRawPixel(view, x, y, rawPixel(image, sx, sy));
        }
    }
    return view.toImage();
}

/// Pixel (\a x, \a y) of Format_RGB32, whose unused byte QPainter sometimes keeps and sometimes
/// not.
quint32 colour(const Vellum &image, int x, int y)
{
    return quint32(rawPixel(image, x, y)) & 0xffffff;
}

/// The device as QPainter alone leaves it; for devices inside its coordinates.
QImage expected(const Vellum &device, const QRect &target, const Vellum &image, const QRect &source,
                qreal opacity = 1.0,
                QPainter::CompositionMode mode = QPainter::CompositionMode_SourceOver)
{
    QImage result = toPlain(device);
    QPainter painter(&result);
    painter.setOpacity(opacity);
    painter.setCompositionMode(mode);
    painter.drawImage(target.topLeft(), picked(image, source, target.size()));
    painter.end();
    return result;
}

class DrawOnto : public testing::TestWithParam<Param>
{
protected:
    const QImage::Format m_format = std::get<0>(GetParam());
    const Storage m_storage = std::get<1>(GetParam());
};

TEST_P(DrawOnto, TakesSourcesOfEveryFormat)
{
    const Vellum image = makeDrawable(45, 31, m_format, m_storage, 3, 4);
    const QRect source(5, 3, 33, 20);
    for (const QRect target : {QRect(10, 7, 33, 20), QRect(-5, -9, 70, 61), QRect(40, 30, 11, 9)}) {
        Vellum device =
            makeDrawable(60, 50, QImage::Format_ARGB32_Premultiplied, Storage::Plain, 4, 0);
        const QImage result = expected(device, target, image, source);
        ASSERT_TRUE(vellum::drawOnto(device, target, image, source));
        EXPECT_TRUE(samePixels(device, result));
    }
}

TEST_P(DrawOnto, TakesDevicesOfEveryFormatThatQPainterTakes)
{
    const Vellum image = makeNoise(45, 31, QImage::Format_ARGB32, Storage::Big, 3);
    Vellum device = makeDrawable(60, 50, m_format, m_storage, 4, 8);
    const QRect target(-7, 13, 80, 30);
    if (m_format == QImage::Format_Indexed8) {
        const Vellum before = device.copyEx();
        EXPECT_FALSE(vellum::drawOnto(device, target, image));
        EXPECT_TRUE(samePixels(device, before));
        return;
    }
    const QImage result = expected(device, target, image, QRect(0, 0, 45, 31));

    ASSERT_TRUE(vellum::drawOnto(device, target, image));

    EXPECT_TRUE(samePixels(device, result));
    EXPECT_EQ(device.isBigImage(), m_storage == Storage::Big);
}

INSTANTIATE_TEST_SUITE_P(Formats, DrawOnto,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

class DrawOntoStorage : public testing::TestWithParam<Storage>
{
};

TEST_P(DrawOntoStorage, OpacityAndCompositionModeApply)
{
    const Vellum image = makeNoise(45, 31, QImage::Format_ARGB32, Storage::Big, 3);
    for (const auto mode :
         {QPainter::CompositionMode_SourceOver, QPainter::CompositionMode_Source,
          QPainter::CompositionMode_DestinationIn, QPainter::CompositionMode_Multiply}) {
        Vellum device = makeDrawable(60, 50, QImage::Format_ARGB32_Premultiplied, GetParam(), 4, 0);
        const QRect target(2, 3, 50, 40);
        const QImage result = expected(device, target, image, image.rect(), 0.4, mode);
        ASSERT_TRUE(vellum::drawOnto(device, target, image, QRectF(), 0.4, mode));
        EXPECT_TRUE(samePixels(device, result)) << mode;
    }
}

TEST_P(DrawOntoStorage, ReachesTheLastPixelOfWideAndTallDevices)
{
    const Vellum image = makeNoise(40000, 3, QImage::Format_RGB32, GetParam());
    Vellum device = makeImage(40000, 3, QImage::Format_RGB32, GetParam());
    device.fill(0U);
    ASSERT_TRUE(vellum::drawOnto(device, device.rect(), image));
    for (const int x : {0, 16383, 16384, 32766, 32767, 32768, 39999}) {
        for (int y = 0; y < 3; ++y)
            EXPECT_EQ(colour(device, x, y), colour(image, x, y)) << x;
    }

    const Vellum small = makeNoise(3, 400, QImage::Format_RGB32, GetParam());
    Vellum tall = makeImage(3, 40000, QImage::Format_RGB32, GetParam());
    tall.fill(0U);
    ASSERT_TRUE(vellum::drawOnto(tall, tall.rect(), small));
    for (const int y : {0, 32767, 32768, 39999})
        EXPECT_EQ(colour(tall, 2, y), colour(small, 2, y / 100)) << y;
}

TEST_P(DrawOntoStorage, TilesMeetWithoutSeams)
{
    const Vellum image = makeNoise(300, 70, QImage::Format_Grayscale8, GetParam());
    Vellum device = makeImage(35001, 97, QImage::Format_Grayscale8, GetParam());
    device.fill(0U);
    const QRect target(11, -5, 34001, 99);
    ASSERT_TRUE(vellum::drawOnto(device, target, image, QRectF(1, 2, 290, 60)));
    const QImage all = picked(image, QRect(1, 2, 290, 60), target.size());
    for (int y = 0; y < 97; ++y) {
        const uchar *const row = std::as_const(device).scanLineEx(y);
        for (int x = 0; x < 35001; ++x) {
            const bool inside = target.contains(x, y);
            const int value = inside ? all.constScanLine(y + 5)[x - 11] : 0;
            ASSERT_EQ(row[x], value) << x << ' ' << y;
        }
    }
}

TEST_P(DrawOntoStorage, ADeviceCanBeDrawnOnItself)
{
    Vellum device = makeNoise(60, 50, QImage::Format_RGB32, GetParam(), 4);
    const QRect target(1, 1, 59, 49);
    const QImage result = expected(device, target, device, device.rect());
    ASSERT_TRUE(vellum::drawOnto(device, target, device));
    EXPECT_TRUE(samePixels(device, result));
}

TEST_P(DrawOntoStorage, ReportsNoProgressAndCannotBeCancelled)
{
    Vellum image = makeNoise(45, 31, QImage::Format_RGB32, GetParam());
    const ProgressLog log(image, 1);
    Vellum device = makeImage(45, 31, QImage::Format_RGB32, GetParam());
    EXPECT_TRUE(vellum::drawOnto(device, device.rect(), image));
    EXPECT_TRUE(log.percentages.empty());
}

INSTANTIATE_TEST_SUITE_P(Storages, DrawOntoStorage, testing::ValuesIn(kStorages));

TEST(DrawOntoDevice, ASharedPlainOneIsCopiedFirst)
{
    const Vellum image = makeNoise(10, 10, QImage::Format_RGB32, Storage::Big);
    QImage device(10, 10, QImage::Format_RGB32);
    device.fill(Qt::black);
    const QImage other = device;
    ASSERT_TRUE(vellum::drawOnto(device, device.rect(), image));
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 10; ++x) {
            EXPECT_EQ(colour(other, x, y), 0U);
            EXPECT_EQ(colour(device, x, y), colour(image, x, y));
        }
    }
}

TEST(DrawOntoDevice, PixelRatiosAreIgnored)
{
    const Vellum image = makeNoise(20, 10, QImage::Format_ARGB32_Premultiplied, Storage::Plain);
    Vellum doubled = image;
    doubled.setDevicePixelRatio(2);
    QImage device(20, 10, QImage::Format_ARGB32_Premultiplied);
    device.fill(0);
    device.setDevicePixelRatio(3);
    ASSERT_TRUE(vellum::drawOnto(device, QRectF(0, 0, 20, 10), doubled, QRectF(), 1.0,
                                 QPainter::CompositionMode_Source));
    EXPECT_TRUE(samePixels(device, image));
}

TEST(DrawOntoDevice, StoresAreDrawnOnAsFarAsTheyGo)
{
    const Vellum image = makeNoise(20, 30, QImage::Format_RGB32, Storage::Plain);
    Vellum device = makeUntouchable(20, 30, QImage::Format_RGB32);
    ASSERT_TRUE(device.alloc_buffer(52, 20)); // 13 columns
    ASSERT_TRUE(vellum::drawOnto(device, device.rect(), image));
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 13; ++x)
            ASSERT_EQ(colour(device, x, y), colour(image, x, y)) << x << ' ' << y;
    }
}

TEST(DrawOntoArguments, WhatCannotBeDrawnIsRefused)
{
    const Vellum image = makeNoise(10, 10, QImage::Format_RGB32, Storage::Big);
    QImage device(10, 10, QImage::Format_RGB32);
    QImage null;
    EXPECT_FALSE(vellum::drawOnto(device, QRectF(0, 0, 5, 5), Vellum()));
    EXPECT_FALSE(vellum::drawOnto(null, QRectF(0, 0, 5, 5), image));
}

TEST(DrawOntoArguments, NothingToDrawLeavesTheDeviceAsItIs)
{
    const Vellum image = makeNoise(10, 10, QImage::Format_RGB32, Storage::Big);
    Vellum device = makeNoise(10, 10, QImage::Format_RGB32, Storage::Plain, 2);
    const Vellum before = device.copyEx();
    EXPECT_TRUE(vellum::drawOnto(device, QRectF(10, 0, 5, 5), image));
    EXPECT_TRUE(vellum::drawOnto(device, QRectF(0, 0, 0, 5), image));
    EXPECT_TRUE(vellum::drawOnto(device, QRectF(5, 5, -4, -4), image));
    EXPECT_TRUE(vellum::drawOnto(device, QRectF(0, 0, 5, 5), image, QRectF(10, 10, 5, 5)));
    EXPECT_TRUE(samePixels(device, before));
}

} // namespace
