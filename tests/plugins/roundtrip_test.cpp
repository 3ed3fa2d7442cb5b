// Colours on their way through files: opened and saved with the library's own plugins.

#include <QTemporaryDir>

#include <support/images.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

constexpr vellum::Storage kBoth[] = {vellum::Storage::Plain, vellum::Storage::Big};

/// Soft colours, which every compression keeps and every press can print.
Vellum makeSoft(QImage::Format format)
{
    QImage picture(97, 61, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgb(90 + x, 100 + y, 150 - (x + y) / 4));
    }
    return picture.convertToFormat(format);
}

int largestDifference(const Vellum &a, const Vellum &b)
{
    const QImage first = toPlain(a).convertToFormat(QImage::Format_ARGB32);
    const QImage second = toPlain(b).convertToFormat(QImage::Format_ARGB32);
    if (first.size() != second.size())
        return 256;
    int largest = 0;
    for (int y = 0; y < first.height(); ++y) {
        for (int i = 0; i < first.width() * 4; ++i)
            largest = qMax(largest, qAbs(first.constScanLine(y)[i] - second.constScanLine(y)[i]));
    }
    return largest;
}

class Files : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(vellum::registerPlugins());
        ASSERT_TRUE(m_folder.isValid());
    }

    QString file(const char *name) const { return m_folder.filePath(QLatin1String(name)); }

    static Vellum opened(const QString &name, const vellum::OpenOptions &options)
    {
        Vellum image;
        const vellum::OpenResult result = vellum::openImage(image, name, options);
        EXPECT_TRUE(result) << result.message.toStdString();
        EXPECT_EQ(result.colors, options.colors);
        return image;
    }

private:
    QTemporaryDir m_folder;
};

class RoundTrip : public Files, public testing::WithParamInterface<const char *>
{
protected:
    QString picture() const { return file("picture.") + QLatin1String(GetParam()); }
    QString again() const { return file("again.") + QLatin1String(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(Kinds, RoundTrip, testing::Values("png", "tif", "bmp"),
                         [](const auto &kind) { return std::string(kind.param); });

} // namespace

TEST_P(RoundTrip, PixelsInTheColoursOfTheFileComeBackUnchanged)
{
    const QByteArray icc = matrixProfile();
    Vellum image = makeSoft(QImage::Format_RGB32);
    image.setIccProfile(icc);
    vellum::SaveOptions save;
    save.colors = vellum::PixelColors::FileOwn;
    ASSERT_TRUE(vellum::saveImage(image, picture(), save));

    for (const vellum::Storage storage : kBoth) {
        vellum::OpenOptions open;
        open.storage = storage;
        open.colors = vellum::PixelColors::FileOwn;
        const Vellum once = opened(picture(), open);
        EXPECT_EQ(once.getIccProfile(), icc);
        EXPECT_EQ(largestDifference(once, image), 0);

        ASSERT_TRUE(vellum::saveImage(once, again(), save));
        const Vellum twice = opened(again(), open);
        EXPECT_EQ(twice.getIccProfile(), icc);
        EXPECT_EQ(largestDifference(twice, image), 0);
    }
}

TEST_P(RoundTrip, LoadingAndSavingKeepsTheColoursOfTheFile)
{
    const QByteArray icc = matrixProfile();
    vellum::SaveOptions save;
    save.profile = icc;
    ASSERT_TRUE(vellum::saveImage(makeSoft(QImage::Format_RGB32), picture(), save));

    Vellum loaded;
    ASSERT_TRUE(loaded.load(picture()));
    EXPECT_EQ(loaded.getIccProfile(), icc);
    EXPECT_LE(largestDifference(loaded, makeSoft(QImage::Format_RGB32)), 3);
    ASSERT_TRUE(loaded.save(again()));

    vellum::OpenOptions own;
    own.colors = vellum::PixelColors::FileOwn;
    EXPECT_LE(largestDifference(opened(again(), own), opened(picture(), own)), 2);
    EXPECT_EQ(opened(again(), own).getIccProfile(), icc);
}

TEST_F(Files, InksAreRefusedByKindsOfFileThatHoldNone)
{
    vellum::SaveOptions save;
    save.cmyk = true;
    for (const char *const name : {"inks.png", "inks.bmp", "inks.ppm"}) {
        const vellum::SaveResult result =
            vellum::saveImage(makeSoft(QImage::Format_RGB32), file(name), save);
        EXPECT_EQ(result.status, vellum::FileStatus::NotAPicture);
        EXPECT_TRUE(result.message.contains(QLatin1String("CMYK")));
        EXPECT_FALSE(QFile::exists(file(name)));
    }
}

TEST_F(Files, InksOfEveryKindOfFileThatHoldsThemShowTheColoursThatWereSaved)
{
    for (const char *const kind : {"jpg", "tif"}) {
        for (const QImage::Format format :
             {QImage::Format_RGB32, QImage::Format_RGB888, QImage::Format_Grayscale8,
              QImage::Format_Indexed8, QImage::Format_ARGB32_Premultiplied}) {
            SCOPED_TRACE(testing::Message() << kind << ", format " << format);
            const Vellum image = makeSoft(format);
            vellum::SaveOptions save;
            save.cmyk = true;
            save.quality = 98;
            const QString name = file("inks.") + QLatin1String(kind);
            const vellum::SaveResult saved = vellum::saveImage(image, name, save);
            ASSERT_TRUE(saved) << saved.message.toStdString();

            for (const vellum::Storage storage : kBoth) {
                vellum::OpenOptions open;
                open.storage = storage;
                const Vellum shown = opened(name, open);
                EXPECT_TRUE(shown.isOrgFileCmyk());
                EXPECT_EQ(shown.isBigImage(), storage == vellum::Storage::Big);
                EXPECT_LE(largestDifference(shown, image), 12);
            }
        }
    }
}
