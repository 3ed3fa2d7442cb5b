// TIFF files of other programs here, and ours there: libtiff's tools, GraphicsMagick, vips, and
// lcms2's tool for TIFF files.

#include <QBuffer>
#include <QTemporaryDir>

#include <support/colordifference.h>
#include <support/imageplugin.h>
#include <support/images.h>
#include <support/profiles.h>
#include <support/tifffile.h>

using namespace vellum::test;

namespace {

class TiffTools : public testing::Test
{
protected:
    QString file(const char *name) const { return m_folder.filePath(QLatin1String(name)); }

    QImage read(const char *name) const
    {
        QImage image;
        EXPECT_TRUE(readTiff(bytesOfFile(file(name)), image)) << name;
        return image;
    }

    /// The pixels of a file as another program unpacked them, in a format Qt itself reads.
    QImage unpacked(const char *name) const
    {
        QImage image(file(name));
        EXPECT_FALSE(image.isNull()) << name;
        return image;
    }

    QTemporaryDir m_folder;
};

QVector<QRgb> opaque(QVector<QRgb> table)
{
    for (QRgb &color : table)
        color |= 0xff000000;
    return table;
}

QImage deep(const QImage &image) { return image.convertToFormat(QImage::Format_RGBX64); }

double worstDifference(const QImage &a, const QImage &b)
{
    double worst = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            worst =
                std::max(worst, difference(labOf(a.pixelColor(x, y)), labOf(b.pixelColor(x, y))));
    return worst;
}

} // namespace

TEST_F(TiffTools, OurFilesHaveTheSamePixelsThere)
{
    for (const auto format : {QImage::Format_RGB32, QImage::Format_Grayscale8,
                              QImage::Format_Indexed8, QImage::Format_Mono}) {
        Vellum image = makeNoise(301, 263, format, Storage::Plain);
        image.setColorTable(opaque(image.colorTable()));
        for (const char *subType :
             {"none", "lzw", "deflate-tiled", "packbits", "zstd", "zstd-tiled-big"}) {
            writeFile(file("ours.tif"), writeTiff(image, subType));

            run(QStringLiteral("gm"), {"convert", file("ours.tif"), file("gm.ppm")});
            EXPECT_EQ(deep(unpacked("gm.ppm")), deep(toPlain(image))) << format << subType;
            run(QStringLiteral("vips"),
                {"colourspace", file("ours.tif"), file("vips.png"), "srgb"});
            EXPECT_EQ(deep(unpacked("vips.png")), deep(toPlain(image))) << format << subType;
            run(QStringLiteral("tiffinfo"), {"-D", file("ours.tif")}); // decodes all of it
        }
    }
}

TEST_F(TiffTools, OurFilesOf16BitsHaveTheSamePixelsThere)
{
    for (const auto format : {QImage::Format_RGBA64, QImage::Format_Grayscale16}) {
        const Vellum image = makeNoise(61, 33, format, Storage::Plain);
        for (const char *subType : {"none", "lzw", "deflate-tiled"}) {
            writeFile(file("ours.tif"), writeTiff(image, subType));
            run(QStringLiteral("vips"), {"copy", file("ours.tif"), file("vips.png")});
            const QImage there = unpacked("vips.png");
            EXPECT_EQ(there.convertToFormat(QImage::Format_RGBA64),
                      toPlain(image).convertToFormat(QImage::Format_RGBA64))
                << format << subType;
        }
    }
}

TEST_F(TiffTools, CopiesInEveryFormHaveTheSamePixelsHere)
{
    const std::vector<QStringList> forms = {{"-c", "lzw:2"},
                                            {"-c", "zip:2"},
                                            {"-c", "packbits"},
                                            {"-c", "zstd"},
                                            {"-c", "lzma"},
                                            {"-t", "-w", "64", "-l", "32"},
                                            {"-p", "separate"},
                                            {"-B"},
                                            {"-8"},
                                            {"-r", "1"},
                                            {"-r", "300"},
                                            {"-f", "lsb2msb"},
                                            {"-8", "-B", "-t", "-p", "separate", "-c", "lzw"}};
    for (const auto format :
         {QImage::Format_RGB32, QImage::Format_RGBA64, QImage::Format_Grayscale8,
          QImage::Format_Grayscale16, QImage::Format_Indexed8, QImage::Format_Mono}) {
        Vellum image = makeNoise(131, 97, format, Storage::Plain);
        image.setColorTable(opaque(image.colorTable()));
        writeFile(file("ours.tif"), writeTiff(image));
        const QImage expected = read("ours.tif");
        for (const QStringList &form : forms) {
            const bool is8Bit = image.depth() == 8 || image.depth() == 32;
            if (form.contains(QStringLiteral("separate")) && !is8Bit)
                continue; // tiffcp separates no others
            if (form.last().endsWith(QLatin1String(":2")) && image.depth() == 1)
                continue; // there is no predictor for bits
            run(QStringLiteral("tiffcp"), form + QStringList {file("ours.tif"), file("copy.tif")});
            EXPECT_EQ(read("copy.tif"), expected)
                << format << qPrintable(form.join(QLatin1Char(' ')));
        }
    }
}

TEST_F(TiffTools, FilesOfGraphicsMagickAndVipsAreRead)
{
    const Vellum image = makeNoise(131, 97, QImage::Format_RGB32, Storage::Plain);
    writeFile(file("ours.tif"), writeTiff(image));
    for (const char *compression : {"None", "LZW", "Zip", "RLE"}) {
        for (const char *depth : {"8", "16"}) {
            run(QStringLiteral("gm"),
                {"convert", file("ours.tif"), "-compress", compression, "-depth", depth,
                 file("gm.tif")});
            EXPECT_EQ(read("gm.tif").convertToFormat(QImage::Format_RGB32), toPlain(image))
                << compression << depth;
        }
    }
    for (const char *options : {"[tile]", "[compression=lzw,predictor=horizontal]",
                                "[bigtiff,tile,tile-width=32,tile-height=64]",
                                "[compression=deflate,pyramid,tile]", "[compression=zstd]"}) {
        run(QStringLiteral("vips"),
            {"copy", file("ours.tif"), file("vips.tif") + QLatin1String(options)});
        EXPECT_EQ(read("vips.tif"), toPlain(image)) << options;
    }
    run(QStringLiteral("vips"), {"cast", file("ours.tif"), file("cast.v"), "float"});
    run(QStringLiteral("vips"),
        {"linear", file("cast.v"), file("float.tif"), "0.00392156862745098", "0"});
    EXPECT_EQ(read("float.tif").convertToFormat(QImage::Format_RGB32), toPlain(image));
}

TEST_F(TiffTools, FaxPagesAreRead)
{
    Vellum image = makeNoise(131, 97, QImage::Format_Mono, Storage::Plain);
    image.setColorTable({qRgb(255, 255, 255), qRgb(0, 0, 0)});
    writeFile(file("ours.tif"), writeTiff(image));
    const QImage expected = read("ours.tif").convertToFormat(QImage::Format_RGB32);
    for (const char *compression : {"g3:1d", "g3:2d", "g4"}) {
        run(QStringLiteral("tiffcp"), {"-c", compression, file("ours.tif"), file("fax.tif")});
        EXPECT_EQ(read("fax.tif").convertToFormat(QImage::Format_RGB32), expected) << compression;
    }
}

TEST_F(TiffTools, InksAreTheColorsThatTificcMakes)
{
    writeFile(file("press.icc"), cmykProfile());
    TiffFile inks;
    inks.photometric = PHOTOMETRIC_SEPARATED;
    inks.samples = 4;
    inks.addTags = [icc = cmykProfile()](TIFF *tiff) {
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, quint32(icc.size()), icc.constData());
    };
    writeFile(file("inks.tif"), makeTiff(inks).bytes);

    run(QStringLiteral("tificc"),
        {"-t0", "-o*sRGB", "-i" + file("press.icc"), file("inks.tif"), file("rgb.tif")});

    EXPECT_LE(worstDifference(read("inks.tif"), read("rgb.tif")), 0.5);
}

TEST_F(TiffTools, LabIsTheColorsThatTificcMakes)
{
    // Of 8 bits and CIE's encoding: tificc refuses that of ICC profiles.
    TiffFile lab;
    lab.photometric = PHOTOMETRIC_CIELAB;
    // Colours that sRGB has: what lies outside is cut off in more than one way.
    lab.change = [](quint32 noise, int, int, int s) {
        return s == 0 ? 80 + noise % 100 : noise % 40 - 20;
    };
    writeFile(file("lab.tif"), makeTiff(lab).bytes);
    run(QStringLiteral("tificc"), {"-t0", "-o*sRGB", "-i*Lab4", file("lab.tif"), file("rgb.tif")});
    EXPECT_LE(worstDifference(read("lab.tif"), read("rgb.tif")), 0.5);
}
