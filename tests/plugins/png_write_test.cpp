// What stands in the PNG files that are written: colours, texts, options. libpng, Qt's own reader,
// Little CMS and other programs tell.

#include <QColorSpace>
#include <QCoreApplication>
#include <QFile>
#include <QImageWriter>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <cstring>
#include <plugins/png.h>
#include <shared/imagehandler.h>
#include <support/devices.h>
#include <support/images.h>
#include <support/polls.h>

using namespace vellum::test;

namespace {

/// The profile in a file, by libpng; empty when it has none.
QByteArray profileIn(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, &buffer, [](png_structp reader, png_bytep out, size_t size) {
        static_cast<QIODevice *>(png_get_io_ptr(reader))
            ->read(reinterpret_cast<char *>(out), qint64(size));
    });
    png_read_info(png, info);
    png_charp name = nullptr;
    int compression = 0;
    png_bytep data = nullptr;
    png_uint_32 size = 0;
    QByteArray icc;
    if (png_get_iCCP(png, info, &name, &compression, &data, &size))
        icc = QByteArray(reinterpret_cast<const char *>(data), int(size));
    png_destroy_read_struct(&png, &info, nullptr);
    return icc;
}

/// The pixels in a file as they are stored, without any colour management.
QImage storedIn(const QByteArray &bytes)
{
    QImage image = qtReads(bytes);
    image.setColorSpace(QColorSpace());
    return image;
}

/// \a image with its rows through \a transform.
QImage through(const OwnedTransform &transform, QImage image)
{
    for (int y = 0; y < image.height(); ++y)
        cmsDoTransform(transform.get(), image.scanLine(y), image.scanLine(y),
                       cmsUInt32Number(image.width()));
    return image;
}

OwnedTransform fromSrgb(const QByteArray &icc, QImage::Format format)
{
    const auto code = CVlLcmsManager::toLcmsFormat(format);
    return chainTransform({cmsCreate_sRGBProfile(), openBytes(icc).release()}, code, code,
                          INTENT_PERCEPTUAL, cmsFLAGS_BLACKPOINTCOMPENSATION);
}

class PngWriting : public testing::TestWithParam<Storage>
{
};

INSTANTIATE_TEST_SUITE_P(Both, PngWriting, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

} // namespace

TEST_P(PngWriting, RgbPixelsGoIntoTheProfileThatIsEmbedded)
{
    for (const QImage::Format format :
         {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_RGBA64}) {
        Vellum image = makeNoise(31, 17, format, GetParam());
        image.setIccProfile(wideGamut());
        const QImage plain = toPlain(image);

        const QByteArray written = writePng(image);

        EXPECT_EQ(profileIn(written), wideGamut());
        const QImage expected = through(fromSrgb(wideGamut(), format), plain);
        EXPECT_EQ(storedIn(written).convertToFormat(format), expected) << format;
        EXPECT_TRUE(samePixels(image, plain)) << "the image itself stays";
    }
}

TEST_P(PngWriting, PixelsThatAreInTheirProfileAlreadyAreNotConverted)
{
    Vellum image = makeNoise(31, 17, QImage::Format_RGB32, GetParam());
    image.setIccProfile(wideGamut());
    image.setColorSpace(QColorSpace::fromIccProfile(wideGamut()));

    const QByteArray written = writePng(image);

    EXPECT_EQ(profileIn(written), wideGamut());
    EXPECT_EQ(storedIn(written), toPlain(image));
}

TEST_P(PngWriting, EveryTenthRowStopsTheWrite)
{
    for (size_t row = 0; row < 95; row += 10) {
        Vellum image = makeNoise(20, 95, QImage::Format_RGB32, GetParam());
        Polls polls;
        polls.stopAt = row;
        polls.attach(image);
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);

        EXPECT_FALSE(makeHandler(QStringLiteral("png"), &buffer)->write(image));

        EXPECT_EQ(polls.percents.size(), row + 1);
    }
}

TEST_P(PngWriting, GreyPixelsStayInTheirProfile)
{
    for (const QImage::Format format : {QImage::Format_Grayscale8, QImage::Format_Grayscale16}) {
        Vellum image = makeNoise(31, 17, format, GetParam());
        image.setIccProfile(greyProfile());
        const QByteArray icc = image.getIccProfile();

        const QByteArray written = writePng(image);

        EXPECT_EQ(profileIn(written), icc);
        EXPECT_EQ(storedIn(written).convertToFormat(format), toPlain(image));
        Vellum again;
        ASSERT_TRUE(readPng(written, again));
        EXPECT_EQ(again.getIccProfile(), icc);
        EXPECT_TRUE(samePixels(again, image));
    }
}

TEST_P(PngWriting, IndicesStayAsTheyAreWithTheirProfile)
{
    Vellum image = makeNoise(31, 17, QImage::Format_Indexed8, GetParam());
    image.setIccProfile(wideGamut());

    const QByteArray written = writePng(image);

    EXPECT_EQ(profileIn(written), wideGamut());
    EXPECT_EQ(deep(storedIn(written)), deep(toPlain(image)));
}

TEST_P(PngWriting, AProfileOfAnotherColourSpaceIsLeftOut)
{
    const std::pair<QImage::Format, QByteArray> cases[] = {
        {QImage::Format_RGB32, greyProfile()},
        {QImage::Format_RGB32, cmykProfile()},
        {QImage::Format_RGBA64, labProfile()},
        {QImage::Format_Grayscale8, wideGamut()},
        {QImage::Format_Grayscale16, cmykProfile()}};
    for (const auto &[format, icc] : cases) {
        Vellum image = makeNoise(31, 17, format, GetParam());
        image.setIccProfile(icc);

        const QByteArray written = writePng(image);

        EXPECT_EQ(profileIn(written), QByteArray());
        EXPECT_EQ(storedIn(written).convertToFormat(format), toPlain(image));
    }
}

// Damaged ones, and one that only tells how to come from it.
TEST_P(PngWriting, AProfileThatNoPixelCanBeConvertedToIsLeftOut)
{
    const QByteArray whole = wideGamut();
    for (const QByteArray &icc : {whole.left(150), whole.left(whole.size() / 2),
                                  whole.left(whole.size() - 4), lutProfile()}) {
        Vellum image = makeNoise(31, 17, QImage::Format_RGB32, GetParam());
        image.setIccProfile(icc);

        const QByteArray written = writePng(image);

        EXPECT_EQ(profileIn(written), QByteArray());
        EXPECT_EQ(storedIn(written), toPlain(image));
    }
}

TEST(PngWritingPlain, APlainImageIsWrittenAsItIsWithItsColorSpace)
{
    QImage image = toPlain(makeNoise(31, 17, QImage::Format_RGB32, Storage::Plain));
    image.setColorSpace(QColorSpace::fromIccProfile(wideGamut()));

    const QByteArray written = writePng(image);

    EXPECT_EQ(profileIn(written), wideGamut());
    image.setColorSpace(QColorSpace());
    EXPECT_EQ(storedIn(written), image);
}

TEST_P(PngWriting, EveryTransformationIsThatOfQt)
{
    const Vellum image = makeNoise(31, 17, QImage::Format_ARGB32, GetParam());
    for (int how = 0; how < 8; ++how) {
        QBuffer buffer;
        QImageWriter writer(&buffer, "png");
        writer.setTransformation(QImageIOHandler::Transformations(how));
        ASSERT_TRUE(writer.write(toPlain(image)));

        EXPECT_EQ(qtReads(writePng(image, {{QImageIOHandler::ImageTransformation, how}})),
                  qtReads(buffer.data()))
            << how;
        EXPECT_EQ(qtReads(writePng(toPlain(image), {{QImageIOHandler::ImageTransformation, how}})),
                  qtReads(buffer.data()))
            << how;
    }
}

TEST_P(PngWriting, TheSizeAloneIsFoundWithoutTheDevice)
{
    const Vellum image = makeNoise(131, 117, QImage::Format_RGBA64, GetParam());
    const int size = writePng(image).size();
    LimitedDevice full(0);
    const auto handler = makeHandler(QStringLiteral("png"), &full);
    handler->setOption(QImageIOHandler::Gamma, 10.0F);

    ASSERT_TRUE(handler->write(image));

    EXPECT_EQ(handler->option(QImageIOHandler::Gamma).toFloat(), float(size));
    EXPECT_EQ(handler->option(vellum::plugin::kEncodedSize).toLongLong(), size);
    handler->setOption(QImageIOHandler::Gamma, 0.0F);
    EXPECT_FALSE(handler->write(image)) << "the device is full";
}

TEST_P(PngWriting, CompressionChangesNothingButTheSize)
{
    Vellum image(200, 150, QImage::Format_RGB32);
    if (GetParam() == Storage::Big)
        image = makeImage(200, 150, QImage::Format_RGB32, Storage::Big);
    for (int y = 0; y < 150; ++y) {
        for (int x = 0; x < 200; ++x)
            reinterpret_cast<QRgb *>(image.scanLineEx(y))[x] = qRgb(x, (x * y) & 255, y);
    }
    const QByteArray usual = writePng(image);
    const QByteArray none = writePng(image, {{QImageIOHandler::CompressionRatio, 0}});
    const QByteArray most = writePng(image, {{QImageIOHandler::CompressionRatio, 100}});
    const QByteArray best = writePng(image, {{QImageIOHandler::Quality, 100}});
    const QByteArray worst = writePng(image, {{QImageIOHandler::Quality, 0}});

    EXPECT_GT(none.size(), 200 * 150 * 3);
    EXPECT_LE(most.size(), usual.size());
    EXPECT_LT(usual.size(), none.size());
    EXPECT_EQ(best, none) << "pixels are all kept, so quality is what it costs";
    EXPECT_EQ(worst, most);
    for (const QByteArray &bytes : {usual, none, most})
        EXPECT_EQ(qtReads(bytes), toPlain(image));
}

TEST_P(PngWriting, TextsOfEveryKindComeBack)
{
    const QString longLatin = QString(3000, QLatin1Char('a')) + QString::fromUtf8("\xc3\xa9");
    const QString longUnicode = QString(3000, QChar(0x0142));
    Vellum image = makeNoise(9, 7, QImage::Format_RGB32, GetParam());
    image.setText("Short", "a");
    image.setText("Unicode", QString(QChar(0x0142)));
    image.setText("LongLatin", longLatin);
    image.setText("LongUnicode", longUnicode);

    const QByteArray written =
        writePng(image, {{QImageIOHandler::Description, "Title: of it\n\nno key here"}});

    Vellum again;
    ASSERT_TRUE(readPng(written, again));
    const QImage byQt = qtReads(written);
    EXPECT_LT(written.size(), 2000) << "long texts are compressed";
    for (const QImage *const read : {static_cast<const QImage *>(&again), &byQt}) {
        EXPECT_EQ(read->text("Short"), "a");
        EXPECT_EQ(read->text("Unicode"), QString(QChar(0x0142)));
        EXPECT_EQ(read->text("LongLatin"), longLatin);
        EXPECT_EQ(read->text("LongUnicode"), longUnicode);
        EXPECT_EQ(read->text("Title"), "of it");
        EXPECT_EQ(read->text("Description"), "no key here");
    }
}

TEST_P(PngWriting, KeysThatSavingReadsAsOptionsStayOutOfFiles)
{
    const char *const options[] = {"JpegOptions", "quality", "progressive",
                                   "optimize",    "cmyk",    "filesizeonly"};
    const QByteArray file = pngWith([&](png_structp png, png_infop info) {
        for (const char *const key : options)
            setText(png, info, key, "true", PNG_TEXT_COMPRESSION_NONE);
    });
    Vellum read = makeImage(37, 23, QImage::Format_RGB32, GetParam());
    ASSERT_TRUE(readPng(file, read));
    EXPECT_EQ(read.textKeys(), QStringList());

    Vellum image = makeNoise(9, 7, QImage::Format_RGB32, GetParam());
    for (const char *const key : options)
        image.setText(key, "true");
    image.setText("Title", "t");
    EXPECT_EQ(qtReads(writePng(image)).textKeys(), QStringList("Title"));
}

TEST(PngReading, CompressedTextsArrive)
{
    const QByteArray file = pngWith([](png_structp png, png_infop info) {
        setText(png, info, "Latin", "\xe9t\xe9", PNG_TEXT_COMPRESSION_zTXt);
        setText(png, info, "Unicode", "\xc5\x82", PNG_ITXT_COMPRESSION_zTXt);
        setText(png, info, "XML:com.adobe.xmp", "<x/>", PNG_ITXT_COMPRESSION_zTXt);
    });
    Vellum image;
    ASSERT_TRUE(readPng(file, image));

    EXPECT_EQ(image.text("Latin"), QString::fromUtf8("\xc3\xa9t\xc3\xa9"));
    EXPECT_EQ(image.text("Unicode"), QString(QChar(0x0142)));
    EXPECT_EQ(image.text("XML:com.adobe.xmp"), "<x/>");
}

namespace {

/// \a color of the space \a icc in sRGB.
QColor inSrgb(const QByteArray &icc, const QColor &color)
{
    const OwnedTransform transform = chainTransform(
        {openBytes(icc).release(), cmsCreate_sRGBProfile()}, TYPE_RGB_16, TYPE_RGB_16);
    const QRgba64 in = color.rgba64();
    quint16 samples[] = {in.red(), in.green(), in.blue()};
    cmsDoTransform(transform.get(), samples, samples, 1);
    return QColor::fromRgba64(samples[0], samples[1], samples[2]);
}

} // namespace

TEST(PngReading, PrimariesAndGammaAreAProfile)
{
    struct Case
    {
        double gamma;
        bool primaries;
    };
    for (const Case &c : {Case {0, true}, Case {1 / 1.8, true}, Case {1 / 1.8, false}}) {
        const QByteArray file = pngWith([&](png_structp png, png_infop info) {
            if (c.gamma > 0)
                png_set_gAMA(png, info, c.gamma);
            if (c.primaries) { // those of Adobe RGB
                png_set_cHRM(png, info, 0.3127, 0.3290, 0.64, 0.33, 0.21, 0.71, 0.15, 0.06);
            }
        });
        Vellum image;
        ASSERT_TRUE(readPng(file, image));

        const float gamma = c.gamma > 0 ? float(1 / c.gamma) : 2.2F;
        const QByteArray expected = QColorSpace(c.primaries ? QColorSpace::Primaries::AdobeRgb
                                                            : QColorSpace::Primaries::SRgb,
                                                QColorSpace::TransferFunction::Gamma, gamma)
                                        .iccProfile();
        for (const QColor &color : {QColor(200, 100, 50), QColor(20, 120, 60),
                                    QColor(128, 128, 128), QColor(90, 60, 200)}) {
            const QColor a = inSrgb(image.getIccProfile(), color);
            const QColor b = inSrgb(expected, color);
            EXPECT_NEAR(a.red(), b.red(), 2);
            EXPECT_NEAR(a.green(), b.green(), 2);
            EXPECT_NEAR(a.blue(), b.blue(), 2);
        }
    }
}

TEST(PngReading, GammaOfAGreyPictureIsAGreyProfile)
{
    Vellum image;
    ASSERT_TRUE(readPng(pngWith([](png_structp png, png_infop info) { png_set_gAMA(png, info, 1); },
                                PNG_COLOR_TYPE_GRAY),
                        image));

    const OwnedProfile profile = openBytes(image.getIccProfile());
    ASSERT_TRUE(profile);
    EXPECT_EQ(cmsGetColorSpace(profile.get()), cmsSigGrayData);
    const auto *const curve =
        static_cast<cmsToneCurve *>(cmsReadTag(profile.get(), cmsSigGrayTRCTag));
    ASSERT_TRUE(curve);
    EXPECT_NEAR(cmsEvalToneCurveFloat(curve, 0.5F), 0.5, 0.001);
}

TEST(PngReading, ValuesThatStandForSrgbAreNoProfile)
{
    Vellum image;
    ASSERT_TRUE(readPng(pngWith([](png_structp png, png_infop info) {
                            png_set_gAMA(png, info, 0.45455);
                            png_set_cHRM(png, info, 0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60, 0.15,
                                         0.06);
                        }),
                        image));
    EXPECT_EQ(image.getIccProfile(), QByteArray());
}

namespace {

/// A folder to exchange files with other programs in.
class PngPrograms : public testing::Test
{
protected:
    QString path(const QString &name) const { return m_folder.filePath(name); }

    QString put(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(bytes), bytes.size());
        return path(name);
    }

    static QByteArray run(const QString &program, const QStringList &arguments)
    {
        static int argc = 1;
        static char name[] = "test";
        static char *argv[] = {name, nullptr};
        if (!QCoreApplication::instance()) // QProcess wants one
            static const QCoreApplication application(argc, argv);
        QProcess process;
        process.start(program, arguments);
        EXPECT_TRUE(process.waitForFinished(120000)) << qPrintable(program);
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
        return process.readAllStandardOutput();
    }

    /// The pixels as GraphicsMagick reads them: R, G, B, A of 16 bits, most significant byte first.
    QByteArray byGraphicsMagick(const QString &file) const
    {
        run(QStringLiteral("gm"),
            {"convert", file, "-depth", "16", QLatin1String("rgba:") + path("pixels")});
        return readFile(path("pixels"));
    }

    QTemporaryDir m_folder;
};

QByteArray bigEndian16(const QImage &image)
{
    const QImage deep = image.convertToFormat(QImage::Format_RGBA64);
    QByteArray bytes;
    for (int y = 0; y < deep.height(); ++y) {
        for (int x = 0; x < deep.width(); ++x) {
            const QRgba64 p = deep.pixelColor(x, y).rgba64();
            for (const quint16 sample : {p.red(), p.green(), p.blue(), p.alpha()}) {
                bytes += char(sample >> 8);
                bytes += char(sample & 255);
            }
        }
    }
    return bytes;
}

} // namespace

TEST_F(PngPrograms, GraphicsMagickSeesOurPixels)
{
    for (const QImage::Format format :
         {QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_Grayscale8,
          QImage::Format_Grayscale16, QImage::Format_RGB32, QImage::Format_ARGB32,
          QImage::Format_RGBX64, QImage::Format_RGBA64}) {
        Vellum image = makeNoise(31, 17, format, Storage::Big);
        if (format == QImage::Format_Mono)
            image.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
        if (format == QImage::Format_RGBX64) {
            for (int y = 0; y < 17; ++y) {
                for (int x = 0; x < 31; ++x)
                    reinterpret_cast<quint16 *>(image.scanLineEx(y))[x * 4 + 3] = 0xffff;
            }
        }
        EXPECT_EQ(byGraphicsMagick(put("ours.png", writePng(image))), bigEndian16(toPlain(image)))
            << format;
    }
}

TEST_F(PngPrograms, WeSeeThePixelsOfGraphicsMagickAndVips)
{
    const QImage image = toPlain(makeNoise(31, 17, QImage::Format_RGBA64, Storage::Plain));
    const QString ours = put("ours.png", writePng(image));
    run("gm", {"convert", ours, "-interlace", "Line", path("gm.png")});
    run("vips", {"copy", ours, path("vips.png") + "[interlace]"});
    for (const char *const name : {"gm.png", "vips.png"}) {
        Vellum theirs = makeImage(31, 17, QImage::Format_RGBA64, Storage::Big);
        ASSERT_TRUE(readPng(readFile(path(name)), theirs));
        EXPECT_EQ(deep(toPlain(theirs)), deep(image)) << name;
    }
}

TEST_F(PngPrograms, ExifToolSeesWhatStandsBesideThePixels)
{
    Vellum image;
    ASSERT_TRUE(readPng(pngWith([](png_structp png, png_infop info) {
                            png_set_pHYs(png, info, 1000, 2000, PNG_RESOLUTION_METER);
                            setText(png, info, "Title", "plain", PNG_TEXT_COMPRESSION_NONE);
                            setText(png, info, "Author", "\xc5\x81ukasz",
                                    PNG_ITXT_COMPRESSION_NONE);
                            setProfile(png, info, wideGamut());
                            setExif(png, info, exifBlock(6));
                        }),
                        image));
    const QString file = put("ours.png", writePng(image));

    const QJsonObject tags =
        QJsonDocument::fromJson(run("exiftool", {"-json", "-n", file})).array().at(0).toObject();

    EXPECT_EQ(tags.value("PixelsPerUnitX").toInt(), 1000);
    EXPECT_EQ(tags.value("PixelsPerUnitY").toInt(), 2000);
    EXPECT_EQ(tags.value("Title").toString(), "plain");
    EXPECT_EQ(tags.value("Author").toString(), QString::fromUtf8("\xc5\x81ukasz"));
    EXPECT_EQ(tags.value("Orientation").toInt(), 1) << "what is written is upright";
    EXPECT_FALSE(tags.contains("Warning")) << qPrintable(tags.value("Warning").toString());
    EXPECT_EQ(run("exiftool", {"-icc_profile", "-b", file}), wideGamut());
}

TEST_F(PngPrograms, OrientationsOfExifToolAreReported)
{
    constexpr QImageIOHandler::Transformation kExpected[] = {
        QImageIOHandler::TransformationNone,
        QImageIOHandler::TransformationMirror,
        QImageIOHandler::TransformationRotate180,
        QImageIOHandler::TransformationFlip,
        QImageIOHandler::TransformationFlipAndRotate90,
        QImageIOHandler::TransformationRotate90,
        QImageIOHandler::TransformationMirrorAndRotate90,
        QImageIOHandler::TransformationRotate270,
    };
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const QString file = put("theirs.png", makePng(PngFile()));
        run("exiftool",
            {"-n", "-overwrite_original", QStringLiteral("-IFD0:Orientation=%1").arg(orientation),
             file});
        QByteArray bytes = readFile(file);
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        const auto handler = makeHandler(QStringLiteral("png"), &buffer);
        QImage image;
        ASSERT_TRUE(handler->read(&image));

        EXPECT_EQ(handler->option(QImageIOHandler::ImageTransformation).toInt(),
                  int(kExpected[orientation - 1]))
            << orientation;
    }
}
