// The small bitmap formats through the library's own load and save.

#include <QFile>
#include <QImageReader>
#include <QTemporaryDir>

#include <support/bitmapfile.h>
#include <support/messages.h>

using namespace vellum::test;

namespace {

class BitmapLoad : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(vellum::registerPlugins()); }

    QString path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }

    const MessageLog m_log; // load and save tell what they do

private:
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(BitmapLoad, ABigImageOfTheFilesSizeStaysBig)
{
    const QImage source = toPlain(makeValidNoise(37, 23, QImage::Format_RGB32, Storage::Plain));
    QFile file(path("a.bmp"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bitmapWritten(source, "bmp"));
    file.close();
    Vellum image = makeImage(37, 23, QImage::Format_RGB32, Storage::Big);

    ASSERT_TRUE(image.load(file.fileName()));

    EXPECT_TRUE(image.isBigImage());
    EXPECT_EQ(toPlain(image), source.convertToFormat(QImage::Format_ARGB32));
}

TEST_F(BitmapLoad, WhatIsSavedUnderAnyKeyComesBack)
{
    const std::pair<const char *, QImage::Format> kFiles[] = {
        {"a.bmp", QImage::Format_ARGB32},     {"a.ppm", QImage::Format_RGB32},
        {"a.pgm", QImage::Format_Grayscale8}, {"a.pbm", QImage::Format_Mono},
        {"a.xbm", QImage::Format_Mono},       {"a.xpm", QImage::Format_RGB32},
    };
    for (const auto &[name, format] : kFiles) {
        for (const Storage storage : kStorages) {
            Vellum image = makeValidNoise(37, 23, format, storage);
            ASSERT_TRUE(image.save(path(name), nullptr, -1, false)) << name;

            Vellum again;
            ASSERT_TRUE(again.load(path(name))) << name;

            EXPECT_EQ(deep(toPlain(again)), deep(toPlain(image))) << name;
        }
    }
}

TEST_F(BitmapLoad, APaletteOfGreysBecomesGrey)
{
    Vellum image = makeValidNoise(37, 23, QImage::Format_Grayscale8, Storage::Plain);
    ASSERT_TRUE(image.save(path("grey.bmp"), nullptr, -1, false));

    Vellum again;
    ASSERT_TRUE(again.load(path("grey.bmp")));

    EXPECT_EQ(again.format(), QImage::Format_Grayscale8);
    EXPECT_TRUE(samePixels(again, image));
}

TEST_F(BitmapLoad, FilesAreKnownByWhatIsInThem)
{
    const QImage image = toPlain(makeValidNoise(9, 5, QImage::Format_RGB32, Storage::Plain));
    for (const char *const key : {"bmp", "pbm", "pgm", "ppm", "xbm", "xpm"}) {
        QFile file(path("nameless"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bitmapWritten(image, key));
        file.close();

        EXPECT_EQ(QImageReader(file.fileName()).format(), key);
        EXPECT_EQ(QImageReader::imageFormat(file.fileName()), key);
    }
}
