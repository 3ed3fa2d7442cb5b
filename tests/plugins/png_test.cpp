// PNG files: what Qt's own reader and libpng make of them is the measure.

#include <QColorSpace>

#include <array>
#include <cstring>
#include <plugins/png.h>
#include <support/images.h>
#include <support/polls.h>

using namespace vellum::test;

namespace {

struct Kind
{
    int type;
    int depth;
};

constexpr Kind kKinds[] = {
    {PNG_COLOR_TYPE_GRAY, 1},        {PNG_COLOR_TYPE_GRAY, 2},      {PNG_COLOR_TYPE_GRAY, 4},
    {PNG_COLOR_TYPE_GRAY, 8},        {PNG_COLOR_TYPE_GRAY, 16},     {PNG_COLOR_TYPE_PALETTE, 1},
    {PNG_COLOR_TYPE_PALETTE, 2},     {PNG_COLOR_TYPE_PALETTE, 4},   {PNG_COLOR_TYPE_PALETTE, 8},
    {PNG_COLOR_TYPE_RGB, 8},         {PNG_COLOR_TYPE_RGB, 16},      {PNG_COLOR_TYPE_GRAY_ALPHA, 8},
    {PNG_COLOR_TYPE_GRAY_ALPHA, 16}, {PNG_COLOR_TYPE_RGB_ALPHA, 8}, {PNG_COLOR_TYPE_RGB_ALPHA, 16},
};

std::vector<PngFile> allFiles()
{
    std::vector<PngFile> files;
    for (const Kind &kind : kKinds) {
        for (const bool interlaced : {false, true}) {
            for (const bool transparent : {false, true}) {
                if (transparent && (kind.type & PNG_COLOR_MASK_ALPHA))
                    continue;
                PngFile file;
                file.type = kind.type;
                file.depth = kind.depth;
                file.interlaced = interlaced;
                file.transparent = transparent;
                files.push_back(file);
            }
        }
    }
    return files;
}

std::string nameOf(const testing::TestParamInfo<PngFile> &info)
{
    const PngFile &file = info.param;
    return "Type" + std::to_string(file.type) + "Depth" + std::to_string(file.depth) +
        (file.interlaced ? "Interlaced" : "") + (file.transparent ? "Transparent" : "");
}

class PngKinds : public testing::TestWithParam<PngFile>
{
};

INSTANTIATE_TEST_SUITE_P(All, PngKinds, testing::ValuesIn(allFiles()), nameOf);

} // namespace

TEST_P(PngKinds, APlainImageGetsThePixelsThatQtReads)
{
    const PngFile &file = GetParam();
    if (file.type == PNG_COLOR_TYPE_RGB && file.depth == 16 && file.transparent)
        GTEST_SKIP() << "Qt 5.15 takes these pixels for wider ones than they are";
    const QByteArray bytes = makePng(file);

    QImage image;
    ASSERT_TRUE(readPng(bytes, image));

    EXPECT_EQ(deep(image), deep(qtReads(bytes)));
}

TEST_P(PngKinds, EveryStorageIsFilledWithTheSamePixels)
{
    const QByteArray bytes = makePng(GetParam());
    QImage expected;
    ASSERT_TRUE(readPng(bytes, expected));

    for (const Storage storage : kStorages) {
        Vellum image =
            makeImage(expected.width(), expected.height(), expected.format(), storage, 8);
        ASSERT_TRUE(readPng(bytes, image));

        EXPECT_EQ(image.isBigImage(), storage == Storage::Big);
        EXPECT_TRUE(samePixels(image, expected));
    }
}

TEST_P(PngKinds, WhatWasReadIsWrittenBackUnchanged)
{
    QImage first;
    ASSERT_TRUE(readPng(makePng(GetParam()), first));
    for (const Storage storage : kStorages) {
        Vellum image = makeImage(first.width(), first.height(), first.format(), storage);
        ASSERT_TRUE(readPng(makePng(GetParam()), image));

        const QByteArray written = writePng(image);
        QImage second;
        ASSERT_TRUE(readPng(written, second));

        EXPECT_EQ(second.format(), first.format());
        EXPECT_EQ(second.colorTable(), first.colorTable());
        EXPECT_EQ(deep(second), deep(first));
        EXPECT_EQ(deep(qtReads(written)), deep(first));
    }
}

TEST_P(PngKinds, AClippedReadIsAPartOfTheWhole)
{
    QByteArray bytes = makePng(GetParam());
    QImage whole;
    ASSERT_TRUE(readPng(bytes, whole));
    for (const QRect &clip : {QRect(0, 0, 5, 7), QRect(9, 11, 13, 5), QRect(30, 20, 20, 20)}) {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        const auto handler = makeHandler(QStringLiteral("png"), &buffer);
        handler->setOption(QImageIOHandler::ClipRect, clip);
        QImage part;
        ASSERT_TRUE(handler->read(&part));

        EXPECT_EQ(deep(part), deep(whole.copy(clip.intersected(whole.rect()))));
    }
}

namespace {

bool readScaled(QByteArray bytes, QImage &image, const QSize &size, const QRect &clip = QRect(),
                const QRect &scaledClip = QRect())
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto handler = makeHandler(QStringLiteral("png"), &buffer);
    handler->setOption(QImageIOHandler::ClipRect, clip);
    handler->setOption(QImageIOHandler::ScaledSize, size);
    handler->setOption(QImageIOHandler::ScaledClipRect, scaledClip);
    return handler->read(&image);
}

/// The mean of the area of \a image under pixel (\a x, \a y) of a result of \a size: 4 channels
/// in 0 to 65535, by the definition, alpha first multiplied into the colours and then taken out.
std::array<double, 4> meanUnder(const QImage &image, const QSize &size, int x, int y)
{
    const double stepX = double(image.width()) / size.width();
    const double stepY = double(image.height()) / size.height();
    const auto overlap = [](double from, double to, int pixel) {
        return std::max(0.0, std::min(to, pixel + 1.0) - std::max(from, double(pixel)));
    };
    std::array<double, 4> sums {};
    for (int v = 0; v < image.height(); ++v) {
        for (int u = 0; u < image.width(); ++u) {
            const double weight =
                overlap(x * stepX, (x + 1) * stepX, u) * overlap(y * stepY, (y + 1) * stepY, v);
            if (weight == 0)
                continue;
            const QRgba64 pixel = image.pixelColor(u, v).rgba64();
            const double alpha = pixel.alpha() * weight;
            sums[0] += pixel.red() * alpha;
            sums[1] += pixel.green() * alpha;
            sums[2] += pixel.blue() * alpha;
            sums[3] += alpha;
        }
    }
    for (int c = 0; c < 3 && sums[3] > 0; ++c)
        sums[size_t(c)] /= sums[3];
    sums[3] /= stepX * stepY;
    return sums;
}

} // namespace

TEST_P(PngKinds, AScaledReadAveragesByArea)
{
    const QByteArray bytes = makePng(GetParam());
    QImage whole;
    ASSERT_TRUE(readPng(bytes, whole));
    const QSize size(11, 9);

    QImage scaled;
    ASSERT_TRUE(readScaled(bytes, scaled, size));

    ASSERT_EQ(scaled.size(), size);
    const double tolerance = scaled.depth() == 64 || scaled.format() == QImage::Format_Grayscale16
        ? 257 // weights have steps of 1/256 of a pixel
        : 2 * 257;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const std::array<double, 4> mean = meanUnder(whole, size, x, y);
            const QRgba64 pixel = scaled.pixelColor(x, y).rgba64();
            ASSERT_NEAR(pixel.alpha(), mean[3], tolerance) << x << ", " << y;
            if (pixel.alpha() < 0x4000)
                continue;
            ASSERT_NEAR(pixel.red(), mean[0], tolerance) << x << ", " << y;
            ASSERT_NEAR(pixel.green(), mean[1], tolerance) << x << ", " << y;
            ASSERT_NEAR(pixel.blue(), mean[2], tolerance) << x << ", " << y;
        }
    }
}

TEST_P(PngKinds, ClipsBeforeAndAfterScalingArePartsOfTheWhole)
{
    const QByteArray bytes = makePng(GetParam());
    QImage scaled;
    ASSERT_TRUE(readScaled(bytes, scaled, QSize(17, 5), QRect(3, 2, 30, 17)));
    ASSERT_EQ(scaled.size(), QSize(17, 5));

    QImage part;
    ASSERT_TRUE(readScaled(bytes, part, QSize(17, 5), QRect(3, 2, 30, 17), QRect(4, 1, 9, 3)));

    EXPECT_EQ(part, scaled.copy(4, 1, 9, 3));
}

// Writers copy them into files, where what memory happened to hold has no business.
TEST(PngBits, ThoseBehindTheLastPixelOfARowAreClear)
{
    PngFile file;
    file.type = PNG_COLOR_TYPE_GRAY;
    file.depth = 1;
    for (const bool interlaced : {false, true}) {
        for (const QRect &clip : {QRect(), QRect(3, 2, 21, 7)}) {
            file.interlaced = interlaced;
            QByteArray bytes = makePng(file);
            QBuffer buffer(&bytes);
            buffer.open(QIODevice::ReadOnly);
            const auto handler = makeHandler(QStringLiteral("png"), &buffer);
            handler->setOption(QImageIOHandler::ClipRect, clip);
            const QSize size = clip.isNull() ? file.size : clip.size();
            Vellum image =
                makeNoise(size.width(), size.height(), QImage::Format_Mono, Storage::Big);

            ASSERT_TRUE(handler->read(&image));

            for (int y = 0; y < size.height(); ++y)
                ASSERT_EQ(0, image.scanLineEx(y)[size.width() / 8] & (0xff >> size.width() % 8));
        }
    }
}

TEST(PngScaling, AFlatPictureStaysFlatAtEverySize)
{
    QImage flat(61, 43, QImage::Format_RGBA64);
    flat.fill(QColor::fromRgba64(60001, 777, 65535, 33333));
    const QByteArray bytes = writePng(flat);
    for (const QSize &size : {QSize(1, 1), QSize(7, 40), QSize(60, 3), QSize(200, 90)}) {
        QImage scaled;
        ASSERT_TRUE(readScaled(bytes, scaled, size));

        const QRgba64 expected = flat.pixelColor(0, 0).rgba64();
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x) {
                const QRgba64 pixel = scaled.pixelColor(x, y).rgba64();
                ASSERT_EQ(pixel.alpha(), expected.alpha());
                ASSERT_NEAR(pixel.red(), expected.red(), 1);
                ASSERT_NEAR(pixel.green(), expected.green(), 1);
                ASSERT_NEAR(pixel.blue(), expected.blue(), 1);
            }
        }
    }
}

TEST(PngCancel, EveryTenthRowStopsTheRead)
{
    PngFile file;
    file.size = {20, 95};
    const QByteArray bytes = makePng(file);
    QImage whole;
    ASSERT_TRUE(readPng(bytes, whole));
    for (const Storage storage : kStorages) {
        for (size_t row = 0; row < 95; row += 10) {
            Vellum image = makeImage(20, 95, whole.format(), storage);
            Polls polls;
            polls.stopAt = row;
            polls.attach(image);

            EXPECT_FALSE(readPng(bytes, image));

            EXPECT_EQ(polls.percents.size(), row + 1);
            for (size_t y = 0; y < row; ++y) {
                ASSERT_EQ(
                    0, std::memcmp(image.scanLineEx(int(y)), whole.constScanLine(int(y)), 20 * 4));
            }
        }
    }
}

TEST(PngCancel, InterlacedAndScaledReadsStopToo)
{
    for (const bool interlaced : {false, true}) {
        PngFile file;
        file.size = {20, 95};
        file.interlaced = interlaced;
        QByteArray bytes = makePng(file);
        for (const QSize &scaled : {QSize(), QSize(7, 30)}) {
            Polls all;
            Vellum image = makeImage(20, 95, QImage::Format_RGB32, Storage::Big);
            all.attach(image);
            ASSERT_TRUE(readScaled(bytes, image, scaled));
            ASSERT_GT(all.percents.size(), 29U);
            for (size_t poll = 0; poll < all.percents.size(); poll += 10) {
                Vellum stopped = makeImage(20, 95, QImage::Format_RGB32, Storage::Big);
                Polls polls;
                polls.stopAt = poll;
                polls.attach(stopped);

                EXPECT_FALSE(readScaled(bytes, stopped, scaled));

                EXPECT_EQ(polls.percents.size(), poll + 1);
            }
        }
    }
}

namespace {

QByteArray exifOf(Vellum &image)
{
    const ExifData *const exif = image.getExifData();
    return exif ? QByteArray(exif->data, exif->size) : QByteArray();
}

} // namespace

TEST(PngMetadata, EverythingBesideThePixelsArrivesAndGoesBack)
{
    const QByteArray bytes = pngWith([](png_structp png, png_infop info) {
        png_set_pHYs(png, info, 1000, 2000, PNG_RESOLUTION_METER);
        png_set_oFFs(png, info, -5, 7, PNG_OFFSET_PIXEL);
        setText(png, info, "Title", "plain", PNG_TEXT_COMPRESSION_NONE);
        setText(png, info, "Long", "compressed", PNG_TEXT_COMPRESSION_zTXt);
        setText(png, info, "Author", "\xc5\x81ukasz", PNG_ITXT_COMPRESSION_NONE);
        setText(png, info, "quality", "3", PNG_TEXT_COMPRESSION_NONE);
        setText(png, info, "JpegOptions", "yes", PNG_TEXT_COMPRESSION_NONE);
        setProfile(png, info, wideGamut());
        setExif(png, info, exifBlock(6));
    });
    for (const Storage storage : kStorages) {
        Vellum first = makeImage(37, 23, QImage::Format_RGB32, storage);
        ASSERT_TRUE(readPng(bytes, first));
        EXPECT_EQ(exifOf(first), exifBlock(6));
        Vellum second;
        ASSERT_TRUE(readPng(writePng(first), second));
        EXPECT_EQ(exifOf(second), exifBlock(1)) << "what is written is upright";

        for (const Vellum *const image : {&first, &second}) {
            EXPECT_EQ(image->dotsPerMeterX(), 1000);
            EXPECT_EQ(image->dotsPerMeterY(), 2000);
            EXPECT_EQ(image->offset(), QPoint(-5, 7));
            EXPECT_EQ(image->textKeys(), QStringList({"Author", "Long", "Title"}));
            EXPECT_EQ(image->text("Title"), "plain");
            EXPECT_EQ(image->text("Long"), "compressed");
            EXPECT_EQ(image->text("Author"), QString::fromUtf8("\xc5\x81ukasz"));
            EXPECT_EQ(image->getIccProfile(), wideGamut());
        }
    }
}

TEST(PngMetadata, NothingOfAnEarlierFileStays)
{
    const QByteArray full = pngWith([](png_structp png, png_infop info) {
        png_set_pHYs(png, info, 1000, 2000, PNG_RESOLUTION_METER);
        png_set_oFFs(png, info, -5, 7, PNG_OFFSET_PIXEL);
        setText(png, info, "Title", "plain", PNG_TEXT_COMPRESSION_NONE);
        setProfile(png, info, wideGamut());
        setExif(png, info, exifBlock(6));
    });
    const QByteArray bare = pngWith(nullptr);
    const QByteArray grey = pngWith(nullptr, PNG_COLOR_TYPE_GRAY); // needs another storage
    const int untold = QImage(1, 1, QImage::Format_RGB32).dotsPerMeterX();
    for (const QByteArray &next : {bare, grey}) {
        for (const Storage storage : kStorages) {
            Vellum image = makeImage(37, 23, QImage::Format_RGB32, storage);
            ASSERT_TRUE(readPng(full, image));
            image.setOrgFileCmyk(true);
            int stride = 0;
            image.allocChannelsData(2, 8, stride);

            ASSERT_TRUE(readPng(next, image));

            EXPECT_EQ(image.dotsPerMeterX(), untold);
            EXPECT_EQ(image.offset(), QPoint());
            EXPECT_EQ(image.textKeys(), QStringList());
            EXPECT_EQ(image.getIccProfile(), QByteArray());
            EXPECT_FALSE(image.isOrgFileCmyk());
            EXPECT_EQ(exifOf(image), QByteArray());
            EXPECT_TRUE(image.getChannelsImage(false, false).isEmpty());
        }
    }
}

TEST(PngColors, APlainImageGetsAColorSpace)
{
    QImage image;
    ASSERT_TRUE(readPng(
        pngWith([](png_structp png, png_infop info) { setProfile(png, info, wideGamut()); }),
        image));
    EXPECT_EQ(image.colorSpace().iccProfile(), wideGamut());

    ASSERT_TRUE(readPng(pngWith([](png_structp png, png_infop info) {
                            png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
                        }),
                        image));
    EXPECT_EQ(image.colorSpace(), QColorSpace(QColorSpace::SRgb));

    ASSERT_TRUE(readPng(
        pngWith([](png_structp png, png_infop info) { png_set_gAMA(png, info, 1 / 1.8); }), image));
    EXPECT_TRUE(image.colorSpace().isValid());
    EXPECT_NEAR(image.colorSpace().gamma(), 1.8, 0.01);

    ASSERT_TRUE(readPng(pngWith(nullptr), image));
    EXPECT_FALSE(image.colorSpace().isValid());
}
