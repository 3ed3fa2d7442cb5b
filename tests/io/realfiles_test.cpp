// vellum::openImage and saveImage on files as Qt writes them, by whatever plugins there are.

#include <vellum/vellum.h>

#include <QBuffer>
#include <QColorSpace>
#include <QFile>
#include <QImageReader>
#include <QImageWriter>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <support/images.h>
#include <support/profiles.h>

using namespace vellum;
using namespace vellum::test;

namespace {

QByteArray encoded(const QImage &image, const char *kind)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, kind);
    EXPECT_TRUE(writer.write(image)) << kind;
    return buffer.data();
}

bool isKnown(const char *kind) { return QImageReader::supportedImageFormats().contains(kind); }

class RealFiles : public testing::Test
{
protected:
    QString write(const QString &name, const QByteArray &content) const
    {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return file.fileName();
    }

    QTemporaryDir folder;
};

OpenOptions untouched(vellum::Storage storage)
{
    OpenOptions options;
    options.storage = storage;
    options.format = OpenedFormat::AsDecoded;
    return options;
}

constexpr vellum::Storage kPlaces[] = {vellum::Storage::Plain, vellum::Storage::Big};

/// Smooth shades, so that JPEG keeps them.
QImage shades(int w, int h)
{
    QImage image(w, h, QImage::Format_RGB32);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            image.setPixel(x, y, qRgb(x * 255 / w, y * 255 / h, (x + y) * 255 / (w + h)));
    return image;
}

} // namespace

TEST_F(RealFiles, HoldThePixelsThatQtReads)
{
    using Format = QImage::Format;
    const std::pair<const char *, Format> cases[] = {
        {"png", Format::Format_Mono},       {"png", Format::Format_Indexed8},
        {"png", Format::Format_Grayscale8}, {"png", Format::Format_Grayscale16},
        {"png", Format::Format_RGB32},      {"png", Format::Format_ARGB32},
        {"png", Format::Format_RGBA64},     {"bmp", Format::Format_Mono},
        {"bmp", Format::Format_Indexed8},   {"bmp", Format::Format_RGB32},
        {"ppm", Format::Format_RGB32},      {"pgm", Format::Format_Grayscale8},
        {"pbm", Format::Format_Mono},
    };
    for (const auto &[kind, format] : cases) {
        SCOPED_TRACE(std::string(kind) + " " + std::to_string(format));
        const QByteArray bytes =
            encoded(makeNoise(67, 41, format, test::Storage::Plain).toImage(), kind);
        const QString file = write(QStringLiteral("a"), bytes);
        const Vellum expected(QImage::fromData(bytes));
        for (const vellum::Storage place : kPlaces) {
            Vellum image;
            const OpenResult result = openImage(image, file, untouched(place));
            ASSERT_TRUE(result) << result.message.toStdString();
            EXPECT_EQ(image.isBigImage(), place == vellum::Storage::Big);
            EXPECT_TRUE(samePixels(image, expected));
        }
    }
}

TEST_F(RealFiles, ComeBackAsTheyWereSaved)
{
    for (const char *kind : {"png", "bmp", "ppm"}) {
        for (const auto storage : kStorages) {
            const QString file = folder.filePath(QStringLiteral("a.") + QLatin1String(kind));
            Vellum image = makeNoise(67, 41, QImage::Format_ARGB32, storage);
            convert32BitsImageToARGB32(image, true);
            for (int y = 0; y < 41; ++y)
                for (int x = 0; x < 67; ++x)
                    image.scanLineEx(y)[x * 4 + 3] = 255;
            ASSERT_TRUE(saveImage(image, file));
            Vellum read;
            ASSERT_TRUE(openImage(read, file));
            EXPECT_TRUE(samePixels(vellum::converted(read, QImage::Format_ARGB32, Qt::AutoColor,
                                                     vellum::Storage::Plain),
                                   image))
                << kind;
        }
    }
}

TEST_F(RealFiles, ThatAreCutShortAreDamaged)
{
    for (const char *kind : {"png", "jpg", "bmp", "pgm"}) {
        if (!isKnown(kind))
            continue;
        const QByteArray whole = encoded(shades(301, 47), kind);
        for (const int length : {int(whole.size() / 3), int(whole.size() * 9 / 10)}) {
            Vellum image;
            const OpenResult result =
                openImage(image, write(QStringLiteral("cut"), whole.left(length)));
            EXPECT_EQ(result.status, FileStatus::Damaged) << kind << " " << length;
            EXPECT_FALSE(result.message.isEmpty());
            EXPECT_TRUE(image.isNull());
        }
        Vellum image;
        EXPECT_TRUE(openImage(image, write(QStringLiteral("whole"), whole))) << kind;
    }
}

TEST_F(RealFiles, JpegWithBytesBehindItsEndIsWhole)
{
    if (!isKnown("jpg"))
        GTEST_SKIP() << "no plugin";
    Vellum image;
    EXPECT_TRUE(openImage(
        image,
        write(QStringLiteral("a.jpg"), encoded(shades(31, 17), "jpg") + QByteArray(99, 'x'))));
}

TEST_F(RealFiles, ColoursOfTheFileAreConvertedInEveryDepth)
{
    QImage image = shades(31, 17);
    image.setColorSpace(QColorSpace::AdobeRgb);
    const QString file = write(QStringLiteral("a.png"), encoded(image, "png"));
    const QString wide = write(QStringLiteral("b.png"),
                               encoded(image.convertToFormat(QImage::Format_RGBX64), "png"));
    const OwnedTransform transform =
        chainTransform({openBytes(QImage(file).colorSpace().iccProfile()).release(),
                        openBytes(srgbProfile()).release()},
                       TYPE_BGRA_8, TYPE_BGRA_8);
    for (int y = 0; y < image.height(); ++y)
        cmsDoTransform(transform.get(), image.scanLine(y), image.scanLine(y), 31);

    for (const QString &name : {file, wide}) {
        Vellum opened;
        const OpenResult result = openImage(opened, name);
        // lcms2 interpolates colours of 16 bits in a table, which shows at the edge of the gamut.
        const int tolerance = name == wide ? 16 : 1;
        ASSERT_TRUE(result);
        EXPECT_EQ(result.colors, PixelColors::Srgb);
        EXPECT_EQ(opened.colorSpace(), QColorSpace(QColorSpace::SRgb));
        EXPECT_FALSE(opened.getIccProfile().isEmpty());
        for (int y = 0; y < 17; ++y) {
            for (int x = 0; x < 31; ++x) {
                const QRgb a = opened.pixel(x, y);
                const QRgb b = image.pixel(x, y);
                ASSERT_LE(std::abs(qRed(a) - qRed(b)), tolerance);
                ASSERT_LE(std::abs(qGreen(a) - qGreen(b)), tolerance);
                ASSERT_LE(std::abs(qBlue(a) - qBlue(b)), tolerance);
            }
        }
    }
}

TEST_F(RealFiles, FramesOfAnAnimationArePages)
{
    if (!isKnown("gif"))
        GTEST_SKIP() << "no plugin";
    // 1 x 1 pixels of a palette of red, blue, black and white: entry 0, entry 1, entry 0.
    const QByteArray head("GIF89a\x01\0\x01\0\x91\0\0\xff\0\0\0\0\xff\0\0\0\xff\xff\xff", 25);
    const QByteArray red(",\0\0\0\0\x01\0\x01\0\0\x02\x02\x44\x01\0", 15);
    const QByteArray blue(",\0\0\0\0\x01\0\x01\0\0\x02\x02\x4c\x01\0", 15);
    const QString file = write(QStringLiteral("a.gif"), head + red + blue + red + ';');

    PageChain pages;
    const OpenResult result = openPages(pages, file);

    ASSERT_TRUE(result) << result.message.toStdString();
    ASSERT_EQ(pages.count(), 3);
    EXPECT_EQ(pages.page(0).pixel(0, 0), qRgb(255, 0, 0));
    EXPECT_EQ(pages.page(1).pixel(0, 0), qRgb(0, 0, 255));
    EXPECT_EQ(pages.page(2).pixel(0, 0), qRgb(255, 0, 0));
    OpenOptions options;
    options.page = 1;
    Vellum image;
    ASSERT_TRUE(openImage(image, file, options));
    EXPECT_EQ(image.pixel(0, 0), qRgb(0, 0, 255));
    options.page = 3;
    EXPECT_EQ(openImage(image, file, options).status, FileStatus::NotFound);
}

TEST_F(RealFiles, PagesComeBackAsTheyWereSaved)
{
    PageChain pages;
    for (const unsigned seed : {1U, 2U, 3U}) {
        const auto storage = seed == 2 ? test::Storage::Big : test::Storage::Plain;
        pages.append(makeNoise(67, 41, QImage::Format_ARGB32, storage, seed));
    }
    const QString file = folder.filePath("a.tif");
    const SaveResult saved = savePages(pages, file);
    if (saved.status == FileStatus::NotAPicture)
        GTEST_SKIP() << "no plugin that writes pages";
    ASSERT_TRUE(saved) << saved.message.toStdString();

    PageChain read;
    const OpenResult result = openPages(read, file);

    ASSERT_TRUE(result) << result.message.toStdString();
    ASSERT_EQ(read.count(), 3);
    for (int page = 0; page < 3; ++page)
        EXPECT_TRUE(samePixels(read.page(page), pages.page(page))) << page;
}

TEST_F(RealFiles, CancelInTheMiddleOfQtsDecoders)
{
    for (const char *kind : {"png", "bmp", "pgm"}) {
        const QString file =
            write(QStringLiteral("a"),
                  encoded(makeNoise(401, 301, QImage::Format_RGB32, test::Storage::Plain).toImage(),
                          kind));
        for (const int stopAt : {0, 10, 50, 90, 100}) {
            OpenOptions options;
            options.progress = [&](int percent) { return percent < stopAt; };
            Vellum image;
            EXPECT_EQ(openImage(image, file, options).status, FileStatus::Cancelled)
                << kind << " " << stopAt;
            EXPECT_TRUE(image.isNull());
        }
    }
}

TEST_F(RealFiles, LargestPictureIsAMatterOfTheLimits)
{
    const QString file = write(QStringLiteral("a.pgm"), "P5\n32000 32000\n255\n");
    OpenOptions options;
    options.limits = Limits {Limits::kNone, qint64(1) << 29};
    Vellum image;
    const OpenResult result = openImage(image, file, options);
    EXPECT_EQ(result.status, FileStatus::OverLimit);
    EXPECT_TRUE(result.message.contains("976.6 MiB")) << result.message.toStdString();
}
