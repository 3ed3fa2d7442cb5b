// Programs that ask for the library's plugins get them, through Qt's own classes.

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QImageReader>
#include <QImageWriter>

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

QByteArray pngWithProfile()
{
    PngFile file;
    file.addChunks = [](png_structp png, png_infop info) {
        const QByteArray icc = wideGamut();
        png_set_iCCP(png, info, "a", PNG_COMPRESSION_TYPE_BASE,
                     reinterpret_cast<png_const_bytep>(icc.constData()), png_uint_32(icc.size()));
    };
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
