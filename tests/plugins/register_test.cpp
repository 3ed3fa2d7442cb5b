// Programs that ask for the library's plugins get them, through Qt's own classes.

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QImageWriter>
#include <QTemporaryDir>

#include <support/images.h>
#include <support/pngfile.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

/// Made once: a profile holds the second it was made in.
const QByteArray &wideGamut()
{
    static const QByteArray icc = matrixProfile();
    return icc;
}

void addWideGamut(png_structp png, png_infop info)
{
    const QByteArray icc = wideGamut();
    png_set_iCCP(png, info, "a", PNG_COMPRESSION_TYPE_BASE,
                 reinterpret_cast<png_const_bytep>(icc.constData()), png_uint_32(icc.size()));
}

QByteArray pngWithProfile()
{
    PngFile file;
    file.addChunks = addWideGamut;
    return makePng(file);
}

} // namespace

TEST(RegisterPlugins, PutsTheLibrarysFolderFirst)
{
    ASSERT_TRUE(vellum::registerPlugins());
    ASSERT_TRUE(vellum::registerPlugins());

    EXPECT_EQ(QCoreApplication::libraryPaths().first(),
              QDir(vellum::pluginFolder()).canonicalPath());
}

TEST(RegisterPlugins, MakesQImageReaderFillABigImageAndKeepItsProfile)
{
    ASSERT_TRUE(vellum::registerPlugins());
    QByteArray bytes = pngWithProfile();
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    ASSERT_EQ(reader.size(), QSize(37, 23));
    ASSERT_EQ(reader.imageFormat(), QImage::Format_RGB32);
    Vellum image = makeImage(37, 23, QImage::Format_RGB32, Storage::Big);

    ASSERT_TRUE(reader.read(&image));

    EXPECT_TRUE(image.isBigImage());
    EXPECT_EQ(image.getIccProfile(), wideGamut());
}

TEST(RegisterPlugins, OpeningConvertsSixteenBitsFromTheirProfile)
{
    ASSERT_TRUE(vellum::registerPlugins());
    PngFile png;
    png.depth = 16;
    png.addChunks = addWideGamut;
    QImage stored;
    {
        QByteArray bytes = makePng(png);
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        ASSERT_TRUE(QImageReader(&buffer).read(&stored));
    }
    ASSERT_EQ(stored.format(), QImage::Format_RGBX64);
    const unsigned int code = CVlLcmsManager::toLcmsFormat(stored.format());
    const OwnedTransform toSrgb =
        chainTransform({openBytes(wideGamut()).release(), cmsCreate_sRGBProfile()}, code, code);
    for (int y = 0; y < stored.height(); ++y)
        cmsDoTransform(toSrgb.get(), stored.constScanLine(y), stored.scanLine(y),
                       cmsUInt32Number(stored.width()));
    const QTemporaryDir folder;
    QFile file(folder.filePath("deep.png"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(makePng(png));
    file.close();

    for (const vellum::Storage storage : {vellum::Storage::Plain, vellum::Storage::Big}) {
        vellum::OpenOptions options;
        options.storage = storage;
        options.format = vellum::OpenedFormat::Keep16Bits;
        Vellum image;
        ASSERT_TRUE(vellum::openImage(image, file.fileName(), options));

        EXPECT_EQ(image.isBigImage(), storage == vellum::Storage::Big);
        EXPECT_EQ(image.getIccProfile(), wideGamut());
        ASSERT_EQ(image.format(), stored.format());
        for (int y = 0; y < stored.height(); ++y) {
            const auto *const opened = reinterpret_cast<const quint16 *>(image.scanLineEx(y));
            const auto *const expected = reinterpret_cast<const quint16 *>(stored.constScanLine(y));
            for (int i = 0; i < stored.width() * 4; ++i)
                ASSERT_NEAR(opened[i], expected[i], 64) << i << ", " << y; // a quarter of 1/255
        }
    }
}

// QImageWriter hands a plain copy to plugins: big images need a writer that does not.
TEST(RegisterPlugins, LetsQImageWriterWrite)
{
    ASSERT_TRUE(vellum::registerPlugins());
    const Vellum image = makeNoise(31, 17, QImage::Format_ARGB32, Storage::Plain);
    QBuffer buffer;
    ASSERT_TRUE(buffer.open(QIODevice::ReadWrite));

    ASSERT_TRUE(QImageWriter(&buffer, "png").write(image));

    buffer.seek(0);
    Vellum again;
    ASSERT_TRUE(QImageReader(&buffer).read(&again));
    EXPECT_TRUE(samePixels(again, image));
}
