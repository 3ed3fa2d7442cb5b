// Files of the small bitmap formats from and for GraphicsMagick.

#include <QProcess>
#include <QTemporaryDir>

#include <support/bitmapfile.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

class BitmapTools : public testing::Test
{
protected:
    QString path(const QString &name) const { return m_folder.filePath(name); }

    void store(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QByteArray stored(const QString &name) const { return readFile(path(name)); }

    void convert(const QString &from, const QStringList &options, const QString &to) const
    {
        QProcess tool;
        tool.start(QStringLiteral("gm"),
                   QStringList {QStringLiteral("convert"), path(from)} + options +
                       QStringList {path(to)});
        ASSERT_TRUE(tool.waitForFinished()) << "is graphicsmagick installed?";
        ASSERT_EQ(tool.exitCode(), 0) << tool.readAllStandardError().constData();
    }

    /// What the tool makes of file \a name, by way of a PNG file.
    QImage seenByTool(const QString &name) const
    {
        convert(name, {}, QStringLiteral("seen.png"));
        return QImage(path(QStringLiteral("seen.png")));
    }

private:
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(BitmapTools, OurFilesOpenThereWithTheSamePixels)
{
    const std::pair<const char *, QImage::Format> kFiles[] = {
        {"bmp", QImage::Format_Mono},       {"bmp", QImage::Format_Indexed8},
        {"bmp", QImage::Format_Grayscale8}, {"bmp", QImage::Format_RGB32},
        {"bmp", QImage::Format_ARGB32},     {"pbm", QImage::Format_Mono},
        {"pgm", QImage::Format_Grayscale8}, {"pgm", QImage::Format_Grayscale16},
        {"ppm", QImage::Format_RGB32},      {"ppm", QImage::Format_RGBX64},
        {"xbm", QImage::Format_Mono},       {"xpm", QImage::Format_Grayscale8},
        {"xpm", QImage::Format_RGB32},
    };
    for (const auto &[key, format] : kFiles) {
        const Vellum image = makeValidNoise(43, 17, format, Storage::Big);
        const QString name = QStringLiteral("ours.") + QLatin1String(key);
        store(name, bitmapWritten(image, key));

        const QImage expected = format == QImage::Format_Indexed8
            ? toPlain(image).convertToFormat(QImage::Format_RGB32) // tables have no alpha
            : toPlain(image);
        EXPECT_EQ(deep(seenByTool(name)), deep(expected)) << key << ", format " << format;
    }
}

TEST_F(BitmapTools, AProfileInAnImageWeWriteIsNoObstacleThere)
{
    Vellum image = makeValidNoise(43, 17, QImage::Format_RGB32, Storage::Plain);
    const QImage expected = toPlain(image);
    image.setIccProfile(srgbProfile());
    store(QStringLiteral("ours.bmp"), bitmapWritten(image, "bmp"));

    EXPECT_EQ(deep(seenByTool(QStringLiteral("ours.bmp"))), deep(expected));
}

TEST_F(BitmapTools, TheirFilesOpenHereWithTheSamePixels)
{
    struct Kind
    {
        const char *key;
        QStringList options;
    };
    const Kind kKinds[] = {
        {"bmp", {"-type", "TrueColor"}},
        {"bmp", {"-type", "TrueColorMatte"}},
        {"bmp", {"-colors", "200", "-type", "Palette", "-compress", "None"}},
        {"bmp", {"-colors", "200", "-type", "Palette", "-compress", "RLE"}},
        {"bmp", {"-colors", "10", "-type", "Palette"}},
        {"bmp", {"-monochrome"}},
        {"pbm", {}},
        {"pbm", {"-compress", "None"}},
        {"pgm", {"-depth", "8"}},
        {"pgm", {"-depth", "16"}},
        {"pgm", {"-compress", "None"}},
        {"ppm", {"-depth", "8"}},
        {"ppm", {"-depth", "16"}},
        {"ppm", {"-compress", "None"}},
        {"xbm", {}},
        {"xpm", {}},
        {"xpm", {"-colors", "50"}},
    };
    const QImage source =
        toPlain(makeValidNoise(43, 17, QImage::Format_RGB888, Storage::Plain)).scaled(86, 34);
    ASSERT_TRUE(source.save(path(QStringLiteral("source.png"))));
    for (const Kind &kind : kKinds) {
        const QString name = QStringLiteral("theirs.") + QLatin1String(kind.key);
        convert(QStringLiteral("source.png"), kind.options, name);

        EXPECT_EQ(deep(bitmapRead(stored(name), kind.key)), deep(seenByTool(name)))
            << kind.key << ' ' << kind.options.join(QLatin1Char(' ')).toStdString();
    }
}
