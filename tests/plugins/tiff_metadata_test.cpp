// What stands beside the pixels of TIFF files, both ways.

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <QTemporaryDir>

#include <cstdlib>
#include <cstring>
#include <support/imageplugin.h>
#include <support/images.h>
#include <support/profiles.h>
#include <support/tifffile.h>

using namespace vellum::test;

namespace {

TiffFile fileWith(std::function<void(TIFF *)> addTags)
{
    TiffFile file;
    file.addTags = std::move(addTags);
    return file;
}

void setProfile(TIFF *tiff, const QByteArray &icc)
{
    TIFFSetField(tiff, TIFFTAG_ICCPROFILE, quint32(icc.size()), icc.constData());
}

void setResolution(TIFF *tiff, int unit, double x, double y)
{
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, unit);
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, x);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, y);
}

QByteArray exifOf(Vellum &image)
{
    const ExifData *const exif = image.getExifData();
    return exif ? QByteArray(exif->data, exif->size) : QByteArray();
}

QString fileOf(const QTemporaryDir &folder, const QByteArray &bytes)
{
    const QString name = folder.filePath(QStringLiteral("a.tif"));
    writeFile(name, bytes);
    return name;
}

/// What exiftool says about \a tags of the file \a name, one per line.
std::string exiftool(const QString &name, const QStringList &tags)
{
    return run(QStringLiteral("exiftool"),
               QStringList {"-s3", "-n", "-f"} + tags + QStringList(name))
        .toStdString();
}

} // namespace

TEST(TiffMetadata, EverythingBesideThePixelsArrivesAndGoesBack)
{
    const QByteArray icc = matrixProfile(); // the next one may have another date
    const QByteArray bytes = makeTiff(fileWith([icc](TIFF *tiff) {
                                 setResolution(tiff, RESUNIT_CENTIMETER, 10, 20);
                                 TIFFSetField(tiff, TIFFTAG_XPOSITION, 0.5);
                                 TIFFSetField(tiff, TIFFTAG_YPOSITION, 0.35);
                                 TIFFSetField(tiff, TIFFTAG_DOCUMENTNAME, "plain");
                                 TIFFSetField(tiff, TIFFTAG_ARTIST, "\xc5\x81ukasz");
                                 TIFFSetField(tiff, TIFFTAG_COPYRIGHT, "nobody");
                                 setProfile(tiff, icc);
                             })).bytes;
    for (const Storage storage : kStorages) {
        Vellum first = makeImage(37, 23, QImage::Format_RGB32, storage);
        ASSERT_TRUE(readTiff(bytes, first));
        Vellum second;
        ASSERT_TRUE(readTiff(writeTiff(first), second));
        for (const Vellum *const image : {&first, &second}) {
            EXPECT_EQ(image->dotsPerMeterX(), 1000);
            EXPECT_EQ(image->dotsPerMeterY(), 2000);
            EXPECT_EQ(image->offset(), QPoint(5, 7));
            EXPECT_EQ(image->textKeys(), QStringList({"Author", "Copyright", "Title"}));
            EXPECT_EQ(image->text("Title"), "plain");
            EXPECT_EQ(image->text("Author"), QString::fromUtf8("\xc5\x81ukasz"));
            EXPECT_EQ(image->getIccProfile(), icc);
        }
    }
}

TEST(TiffMetadata, NothingOfAnEarlierFileStays)
{
    const QByteArray full = makeTiff(fileWith([](TIFF *tiff) {
                                setResolution(tiff, RESUNIT_INCH, 100, 200);
                                TIFFSetField(tiff, TIFFTAG_DOCUMENTNAME, "plain");
                                setProfile(tiff, matrixProfile());
                            })).bytes;
    const int untold = QImage(1, 1, QImage::Format_RGB32).dotsPerMeterX();
    for (const Storage storage : kStorages) {
        Vellum image = makeImage(37, 23, QImage::Format_RGB32, storage);
        ASSERT_TRUE(readTiff(full, image));
        image.setOrgFileCmyk(true);
        int stride = 0;
        image.allocChannelsData(2, 8, stride);

        ASSERT_TRUE(readTiff(makeTiff({}).bytes, image));

        EXPECT_EQ(image.dotsPerMeterX(), untold);
        EXPECT_EQ(image.textKeys(), QStringList());
        EXPECT_EQ(image.getIccProfile(), QByteArray());
        EXPECT_FALSE(image.isOrgFileCmyk());
        EXPECT_TRUE(image.getChannelsImage(false, false).isEmpty());
    }
}

TEST(TiffMetadata, ResolutionsInDotsPerInchStayWhole)
{
    QImage image(3, 3, QImage::Format_RGB32);
    image.fill(Qt::red);
    const QTemporaryDir folder;
    for (const int dots : {72, 96, 300, 1200}) {
        image.setDotsPerMeterX(qRound(dots / 0.0254));
        image.setDotsPerMeterY(qRound(dots / 0.0254));
        const QByteArray bytes = writeTiff(image);
        const QString name = fileOf(folder, bytes);
        const std::string text = std::to_string(dots);
        EXPECT_EQ(exiftool(name, {"-XResolution", "-YResolution", "-ResolutionUnit"}),
                  text + "\n" + text + "\n2\n");
        QImage again;
        ASSERT_TRUE(readTiff(bytes, again));
        EXPECT_EQ(again.dotsPerMeterX(), image.dotsPerMeterX());
    }
}

TEST(TiffOrientation, AllEightAreReportedAsQtCountsThem)
{
    const int transformations[] = {
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
        QByteArray bytes = makeTiff(fileWith([orientation](TIFF *tiff) {
                               TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation);
                           })).bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        const auto handler = makeHandler(QStringLiteral("tiff"), &buffer);
        EXPECT_EQ(handler->option(QImageIOHandler::ImageTransformation).toInt(),
                  transformations[orientation - 1]);
        Vellum image;
        ASSERT_TRUE(handler->read(&image));
        EXPECT_EQ(image.size(), QSize(37, 23)) << "as stored";
    }
}

TEST(TiffOrientation, AllEightLoadUprightIntoBothStorages)
{
    ASSERT_TRUE(vellum::registerPlugins());
    const QTemporaryDir folder;
    for (int orientation = 1; orientation <= 8; ++orientation) {
        TiffFile file = fileWith(
            [orientation](TIFF *tiff) { TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation); });
        const QString name = fileOf(folder, makeTiff(file).bytes);
        const QString upright = folder.filePath(QStringLiteral("upright.tif"));
        run(QStringLiteral("gm"), {"convert", name, "-auto-orient", upright});
        QImage expected;
        ASSERT_TRUE(readTiff(bytesOfFile(upright), expected));
        for (const Storage storage : kStorages) {
            Vellum image = makeImage(37, 23, QImage::Format_RGB32, storage);
            ASSERT_TRUE(image.load(name));
            EXPECT_EQ(toPlain(image).convertToFormat(QImage::Format_RGB32), expected)
                << orientation;
        }
    }
}

TEST(TiffColors, APlainImageGetsAColorSpace)
{
    QImage image;
    ASSERT_TRUE(readTiff(
        makeTiff(fileWith([](TIFF *tiff) { setProfile(tiff, srgbProfile()); })).bytes, image));
    EXPECT_TRUE(image.colorSpace().isValid());
}

namespace {

/// A file with camera data, made by exiftool.
QByteArray cameraTiff(const QTemporaryDir &folder, const char *mode)
{
    TiffFile file;
    file.mode = mode;
    const QString name = fileOf(folder, makeTiff(file).bytes);
    run(QStringLiteral("exiftool"),
        {"-q", "-overwrite_original", "-Make=Maker", "-Model=Camera", "-ISO=400",
         "-ExposureTime=1/250", "-FNumber=5.6", "-DateTimeOriginal=2020:01:02 03:04:05",
         "-UserComment=hello there", "-GPSLatitude=52.5", "-GPSLatitudeRef=N", name});
    return bytesOfFile(name);
}

const QStringList kCameraTags = {"-Make",         "-Model",           "-ISO",
                                 "-ExposureTime", "-FNumber",         "-DateTimeOriginal",
                                 "-UserComment",  "-GPS:GPSLatitude", "-GPS:GPSLatitudeRef"};

} // namespace

TEST(TiffExif, ReadsWhatAnotherProgramWroteAndWritesWhatItReads)
{
    for (const char *mode : {"wl", "wb"}) {
        const QTemporaryDir folder;
        const QByteArray bytes = cameraTiff(folder, mode);
        const std::string expected = exiftool(fileOf(folder, bytes), kCameraTags);
        ASSERT_NE(expected.find("\n400\n"), std::string::npos);
        Vellum image;
        ASSERT_TRUE(readTiff(bytes, image));

        // A block is a small TIFF of its own, which exiftool reads as well.
        EXPECT_EQ(exiftool(fileOf(folder, exifOf(image)), kCameraTags), expected) << mode;

        for (const char *subType : {"none", "lzw-tiled-big"}) {
            const QByteArray written = writeTiff(image, subType);
            const QString name = fileOf(folder, written);
            // exiftool does not understand GPS directories in BigTIFF files, libtiff's tools do.
            if (!QByteArray(subType).endsWith("big")) {
                EXPECT_EQ(exiftool(name, kCameraTags), expected);
            } else {
                EXPECT_EQ(exiftool(name, kCameraTags.mid(0, 7)),
                          expected.substr(0, expected.find("52.5")));
            }
            EXPECT_TRUE(run(QStringLiteral("tiffinfo"), {name}).contains("LatitudeRef: N"));
            Vellum again;
            ASSERT_TRUE(readTiff(written, again));
            EXPECT_EQ(exiftool(fileOf(folder, exifOf(again)), kCameraTags), expected) << subType;
        }
    }
}

TEST(TiffExif, ADamagedBlockIsLeftOut)
{
    for (const char *block : {"", "II*", "II*\0\x08", "MM\0*\0\0\xff\xff", "nonsense"}) {
        Vellum image(5, 5, QImage::Format_RGB32);
        image.fill(0xff00ff00);
        auto *const data = static_cast<char *>(std::calloc(64, 1));
        std::memcpy(data, block, std::strlen(block));
        image.setExifData(data, 64);
        Vellum again;
        EXPECT_TRUE(readTiff(writeTiff(image), again)) << block;
    }
}

namespace {

void fillChannels(Vellum &image, int channels, int bits)
{
    int stride = 0;
    uchar *const data = image.allocChannelsData(channels, bits, stride);
    for (int i = 0; i < stride * image.height(); ++i)
        data[i] = uchar(i * 37 + i / 251);
}

std::vector<QImage> channelsOf(Vellum &image)
{
    std::vector<QImage> channels;
    const QList<Vellum *> images = image.getChannelsImage(false, false);
    for (Vellum *const channel : images) {
        channels.push_back(toPlain(*channel));
        delete channel;
    }
    return channels;
}

} // namespace

TEST(TiffChannels, ExtraSamplesArriveInTheChannelBuffer)
{
    for (const bool separate : {false, true}) {
        for (const int bits : {4, 8, 16}) {
            TiffFile file;
            file.samples = 6;
            file.bits = bits;
            file.separate = separate;
            file.extras = {EXTRASAMPLE_UNSPECIFIED, EXTRASAMPLE_UNASSALPHA,
                           EXTRASAMPLE_UNSPECIFIED};
            const MadeTiff made = makeTiff(file);
            Vellum image;
            ASSERT_TRUE(readTiff(made.bytes, image));
            const auto channels = channelsOf(image);
            image.freeChannelsData();
            ASSERT_EQ(channels.size(), 2U);
            const int extras[] = {3, 5};
            for (int y = 0; y < 23; ++y)
                for (int x = 0; x < 37; ++x)
                    for (size_t c = 0; c < 2; ++c) {
                        const QRgba64 pixel = channels[c].pixelColor(x, y).rgba64();
                        const double most = (1 << bits) - 1;
                        ASSERT_NEAR(pixel.red(), made.at(file, x, y, extras[c]) / most * 65535, 1);
                    }
        }
    }
}

TEST(TiffChannels, GoIntoTheFileWithTheirNamesAndComeBack)
{
    const QTemporaryDir folder;
    const QString names = QString::fromUtf8("Gold\nVarnish \xc3\xa9");
    for (const auto format :
         {QImage::Format_Grayscale8, QImage::Format_RGB32, QImage::Format_ARGB32,
          QImage::Format_RGBA64, QImage::Format_Indexed8, QImage::Format_Mono}) {
        for (const char *subType : {"none", "deflate-tiled"}) {
            const bool isWide = format == QImage::Format_RGBA64;
            Vellum image = makeNoise(37, 23, format, Storage::Plain);
            if (image.colorCount() > 0) {
                QVector<QRgb> opaque = image.colorTable();
                for (QRgb &color : opaque)
                    color |= 0xff000000;
                image.setColorTable(opaque);
            }
            fillChannels(image, 2, isWide ? 16 : 8);
            image.setText(QStringLiteral("ChannelNames"), names);
            const auto expected = channelsOf(image);

            const QByteArray bytes = writeTiff(image, subType);
            Vellum again;
            ASSERT_TRUE(readTiff(bytes, again));

            EXPECT_EQ(channelsOf(again), expected) << format;
            EXPECT_EQ(again.text(QStringLiteral("ChannelNames")), names);
            EXPECT_EQ(toPlain(again).convertToFormat(QImage::Format_RGBA64),
                      toPlain(image).convertToFormat(QImage::Format_RGBA64))
                << format;
            const std::string told = exiftool(fileOf(folder, bytes), {"-AlphaChannelsNames"});
            EXPECT_NE(told.find("Gold"), std::string::npos) << told;
            image.freeChannelsData();
            again.freeChannelsData();
        }
    }
}
