// Files of several pages, and chains of images.

#include <QBuffer>
#include <QTemporaryDir>

#include <support/imageplugin.h>
#include <support/images.h>
#include <support/profiles.h>
#include <support/tifffile.h>

using namespace vellum::test;

namespace {

TiffFile page(int width, quint16 photometric, int samples, int bits)
{
    TiffFile file;
    file.size = {width, 11};
    file.photometric = photometric;
    file.samples = samples;
    file.bits = bits;
    file.seed = unsigned(width);
    return file;
}

const std::vector<TiffFile> &threePages()
{
    static const std::vector<TiffFile> pages = {page(20, PHOTOMETRIC_RGB, 3, 8),
                                                page(31, PHOTOMETRIC_MINISBLACK, 1, 16),
                                                page(9, PHOTOMETRIC_PALETTE, 1, 4)};
    return pages;
}

QImage alone(const TiffFile &file)
{
    QImage image;
    EXPECT_TRUE(readTiff(makeTiff(file).bytes, image));
    return image;
}

} // namespace

TEST(TiffPages, AreCountedAndReadInAnyOrder)
{
    QByteArray bytes = makePages(threePages());
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto handler = makeHandler(QStringLiteral("tiff"), &buffer);
    ASSERT_EQ(handler->imageCount(), 3);
    EXPECT_EQ(handler->currentImageNumber(), 0);
    for (const int number : {0, 2, 1, 0}) {
        const TiffFile &expected = threePages()[size_t(number)];
        ASSERT_TRUE(handler->jumpToImage(number));
        EXPECT_EQ(handler->currentImageNumber(), number);
        EXPECT_EQ(handler->option(QImageIOHandler::Size).toSize(), expected.size);
        QImage image;
        ASSERT_TRUE(handler->read(&image));
        EXPECT_EQ(image, alone(expected));
    }
    EXPECT_FALSE(handler->jumpToImage(3));
    EXPECT_FALSE(handler->jumpToImage(-1));
}

TEST(TiffPages, FollowOneAnother)
{
    QByteArray bytes = makePages(threePages());
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto handler = makeHandler(QStringLiteral("tiff"), &buffer);
    for (size_t number = 0; number < 3; ++number) {
        QImage image;
        ASSERT_TRUE(handler->read(&image));
        EXPECT_EQ(image, alone(threePages()[number]));
        EXPECT_EQ(handler->jumpToNextImage(), number < 2);
    }
}

TEST(TiffPages, OfAChainAreWrittenInItsOrder)
{
    const auto formats = {QImage::Format_RGB32, QImage::Format_Grayscale16, QImage::Format_Mono};
    for (const Storage storage : kStorages) {
        for (const char *subType : {"none", "lzw-tiled", "deflate-big"}) {
            std::vector<Vellum> chain;
            int width = 17;
            for (const QImage::Format format : formats) {
                width += 9;
                chain.push_back(makeNoise(width, 23, format, storage, unsigned(width)));
            }
            chain[0].setNextImage(&chain[1]);
            chain[1].setNextImage(&chain[2]);
            chain[1].setDotsPerMeterX(2000);
            chain[1].setDotsPerMeterY(2000);

            QByteArray bytes = writeTiff(chain[0], subType);
            QBuffer buffer(&bytes);
            buffer.open(QIODevice::ReadOnly);
            const auto handler = makeHandler(QStringLiteral("tiff"), &buffer);
            ASSERT_EQ(handler->imageCount(), 3) << subType;
            for (int number = 0; number < 3; ++number) {
                ASSERT_TRUE(handler->jumpToImage(number));
                QImage image;
                ASSERT_TRUE(handler->read(&image));
                EXPECT_EQ(image, [&] {
                    QImage single;
                    Vellum copy = chain[size_t(number)];
                    EXPECT_TRUE(readTiff(writeTiff(copy), single));
                    return single;
                }());
                EXPECT_EQ(image.dotsPerMeterX(), chain[size_t(number)].dotsPerMeterX());
            }
            const QTemporaryDir folder;
            const QString name = folder.filePath(QStringLiteral("chain.tif"));
            writeFile(name, bytes);
            EXPECT_EQ(
                run(QStringLiteral("gm"), {"identify", "-format", "%wx%h\\n", name}).simplified(),
                "26x23 35x23 44x23");
        }
    }
}

TEST(TiffPages, ALinkInTheMiddleIsWrittenAlone)
{
    Vellum first = makeNoise(5, 5, QImage::Format_RGB32, Storage::Plain);
    Vellum second = makeNoise(6, 5, QImage::Format_RGB32, Storage::Plain);
    first.setNextImage(&second);
    QImage image;
    const QByteArray bytes = writeTiff(second);
    ASSERT_TRUE(readTiff(bytes, image));
    EXPECT_EQ(image.width(), 6);
}

TEST(TiffPages, ARingIsWrittenOnce)
{
    // The head of a ring has an image before it, which makes it one of its links.
    Vellum first = makeNoise(5, 5, QImage::Format_RGB32, Storage::Plain);
    Vellum second = makeNoise(6, 5, QImage::Format_RGB32, Storage::Plain);
    first.setNextImage(&second);
    second.setNextImage(&first);
    QByteArray bytes = writeTiff(first);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    EXPECT_EQ(makeHandler(QStringLiteral("tiff"), &buffer)->imageCount(), 1);
}

TEST(TiffPages, OfAChainSavedAsCmykAllAreCmyk)
{
    ASSERT_TRUE(vellum::registerPlugins());
    Vellum first = makeNoise(15, 5, QImage::Format_RGB32, Storage::Plain);
    Vellum second = makeNoise(16, 5, QImage::Format_RGB32, Storage::Plain);
    first.setNextImage(&second);
    const QTemporaryDir folder;
    const QString name = folder.filePath(QStringLiteral("chain.tif"));
    ASSERT_TRUE(first.save(name, nullptr, -1, true));
    QByteArray bytes = bytesOfFile(name);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto handler = makeHandler(QStringLiteral("tiff"), &buffer);
    ASSERT_EQ(handler->imageCount(), 2);
    for (int number = 0; number < 2; ++number) {
        ASSERT_TRUE(handler->jumpToImage(number));
        Vellum image;
        ASSERT_TRUE(handler->read(&image));
        EXPECT_TRUE(image.isOrgFileCmyk());
    }
}
