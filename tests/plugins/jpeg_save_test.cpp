// Writing JPEG files.

#include <QBuffer>
#include <QImageWriter>
#include <QLoggingCategory>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <support/devices.h>
#include <support/jpegfile.h>
#include <support/messages.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

class JpegSave : public testing::TestWithParam<Storage>
{
protected:
    void SetUp() override { useOwnPlugins(); }

    /// Shades and edges, in \a format.
    Vellum photo(QImage::Format format = QImage::Format_RGB32, int width = 90,
                 int height = 70) const
    {
        const Samples samples = photoSamples(width, height, 3);
        const QImage plain =
            QImage(samples.bytes.data(), width, height, 3 * width, QImage::Format_RGB888)
                .convertToFormat(format);
        Vellum image = makeImage(width, height, format, GetParam());
        if (plain.colorCount() > 0)
            image.setColorTable(plain.colorTable());
        image.setDotsPerMeterX(3780);
        image.setDotsPerMeterY(3780);
        for (int y = 0; y < height; ++y)
            std::memcpy(image.scanLineEx(y), plain.constScanLine(y), size_t(plain.bytesPerLine()));
        return image;
    }
};

template <typename SetUp>
QByteArray writtenWith(const Vellum &image, SetUp setUp)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriterEx writer(&buffer, "jpeg");
    setUp(writer);
    EXPECT_TRUE(writer.write(image)) << qPrintable(writer.errorString());
    return buffer.data();
}

QByteArray written(const Vellum &image, int quality)
{
    return writtenWith(image, [&](QImageWriterEx &writer) { writer.setQuality(quality); });
}

double meanError(const Samples &a, const Samples &b)
{
    double sum = 0;
    for (std::size_t i = 0; i < a.bytes.size(); ++i)
        sum += std::abs(a.bytes[i] - b.bytes[i]);
    return sum / double(a.bytes.size());
}

TEST_P(JpegSave, FilesAreTheBytesThatLibjpegMakesOfThePixels)
{
    JpegKind kind;
    for (const int quality : {1, 50, 75, 100}) {
        kind.quality = quality;
        kind.densityUnit = 1;
        kind.density = 96;
        EXPECT_EQ(written(photo(), quality), makeJpeg(photoSamples(90, 70, 3), kind)) << quality;
    }
}

TEST_P(JpegSave, DefaultQualityIs75)
{
    EXPECT_EQ(writtenWith(photo(), [](QImageWriterEx &) {}), written(photo(), 75));
}

TEST_P(JpegSave, EveryFormatOfImagesCanBeWritten)
{
    for (const QImage::Format format : allFormats()) {
        const Vellum image = photo(format);
        const DecodedJpeg file = decodeJpeg(written(image, 100));
        const bool isGrey = format == QImage::Format_Grayscale8 ||
            format == QImage::Format_Grayscale16 || format == QImage::Format_Alpha8 ||
            image.depth() == 1;
        if (format == QImage::Format_Alpha8)
            continue; // all of it is black, and alpha has no place in the file
        EXPECT_EQ(file.stored == JCS_GRAYSCALE, isGrey) << format;
        const Samples expected = samplesOf(toPlain(image).convertToFormat(
            isGrey ? QImage::Format_Grayscale8 : QImage::Format_RGB888));
        const bool isRough = image.depth() == 1 || format == QImage::Format_Indexed8;
        EXPECT_LT(meanError(file.samples, expected), isRough ? 40 : 6) << format;
    }
}

TEST_P(JpegSave, PalettesOfGreysAreGreyWithTheirProfile)
{
    Vellum image = makeNoise(31, 17, QImage::Format_Indexed8, GetParam());
    QVector<QRgb> greys(256);
    for (int i = 0; i < 256; ++i)
        greys[i] = qRgb(255 - i, 255 - i, 255 - i);
    image.setColorTable(greys);
    image.setIccProfile(greyProfile());

    const QByteArray file = written(image, 100);

    EXPECT_EQ(decodeJpeg(file).stored, JCS_GRAYSCALE);
    EXPECT_TRUE(file.contains(greyProfile()));
    const Samples expected = samplesOf(toPlain(image).convertToFormat(QImage::Format_Grayscale8));
    EXPECT_LT(meanError(decodeJpeg(file).samples, expected), 3);
}

TEST_P(JpegSave, OptionsChangeTheCodingAndNotThePixels)
{
    const QByteArray plain = written(photo(), 75);
    const QByteArray optimized =
        writtenWith(photo(), [](QImageWriterEx &writer) { writer.setOptimizedWrite(true); });
    const QByteArray progressive =
        writtenWith(photo(), [](QImageWriterEx &writer) { writer.setProgressiveScanWrite(true); });

    EXPECT_LT(optimized.size(), plain.size());
    EXPECT_FALSE(decodeJpeg(plain).progressive);
    EXPECT_FALSE(decodeJpeg(optimized).progressive);
    EXPECT_TRUE(decodeJpeg(progressive).progressive);
    EXPECT_EQ(decodeJpeg(optimized).samples.bytes, decodeJpeg(plain).samples.bytes);
    EXPECT_EQ(decodeJpeg(progressive).samples.bytes, decodeJpeg(plain).samples.bytes);
}

TEST_P(JpegSave, SubTypesAreSamplings)
{
    const struct
    {
        const char *name;
        int h;
        int v;
    } samplings[] = {{"444", 1, 1}, {"440", 1, 2}, {"422", 2, 1}, {"420", 2, 2}, {"411", 4, 1}};
    for (const auto &sampling : samplings) {
        QByteArray file =
            writtenWith(photo(), [&](QImageWriterEx &writer) { writer.setSubType(sampling.name); });
        const DecodedJpeg decoded = decodeJpeg(file);
        EXPECT_EQ(decoded.h, sampling.h) << sampling.name;
        EXPECT_EQ(decoded.v, sampling.v) << sampling.name;
        QBuffer buffer(&file);
        QImageReader reader(&buffer);
        EXPECT_EQ(reader.subType(), sampling.name);
        EXPECT_TRUE(reader.supportedSubTypes().contains(sampling.name));
    }
}

TEST_P(JpegSave, PicturesAreOpenedByOtherPrograms)
{
    const QTemporaryDir folder;
    const QString path = store(folder, "picture.jpg", written(photo(), 90));
    const QByteArray ppm = run("djpeg", {"-pnm", path});
    const Samples ours = decodeJpeg(readFile(path)).samples;
    EXPECT_EQ(
        ppm.right(int(ours.bytes.size())),
        QByteArray(reinterpret_cast<const char *>(ours.bytes.data()), int(ours.bytes.size())));
    EXPECT_TRUE(run("gm", {"identify", path}).contains("JPEG 90x70"));
}

TEST_P(JpegSave, EveryTenthRowCanBeTheLast)
{
    for (int last = 0; last < 70; last += 10) {
        Vellum image = photo();
        int polls = 0;
        const vellum::ProgressGuard guard(image, [&](int) { return ++polls <= last; });
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        EXPECT_FALSE(QImageWriterEx(&buffer, "jpg").write(image)) << last;
        EXPECT_EQ(polls, last + 1);
    }
}

TEST_P(JpegSave, FullDeviceIsAFailure)
{
    QLoggingCategory::setFilterRules("vellum.plugin.jpeg=true");
    const MessageLog log;
    const int size = written(photo(), 75).size();
    for (const qint64 room : {0, 1, size / 2, size - 1}) {
        LimitedDevice device(room);
        EXPECT_FALSE(QImageWriterEx(&device, "jpg").write(photo())) << room;
    }
    EXPECT_TRUE(log.messages().join('\n').contains("write error"));
}

TEST_P(JpegSave, SizeOnlyTellsTheSizeAndLeavesTheDeviceAlone)
{
    const int size = written(photo(), 85).size();
    const QTemporaryDir folder;
    const QString path = folder.filePath("never.jpg");
    QImageWriterEx writer(path);
    writer.setQuality(85);
    writer.setGamma(10.0F);

    ASSERT_TRUE(writer.write(photo()));

    EXPECT_EQ(writer.gamma(), float(size));
    EXPECT_FALSE(QFile::exists(path));
}

TEST_P(JpegSave, SaveWithFilesizeonlyNotesTheExactSize)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("never.jpg");
    Vellum image = photo();
    image.setPsdLayerData(new PsdLayerData);
    image.setText("filesizeonly", "true");
    ASSERT_TRUE(image.save(path, nullptr, 85, false));
    EXPECT_EQ(image.getPsdLayerData()->encodedSize, written(photo(), 85).size());
    EXPECT_FALSE(QFile::exists(path));
}

TEST_P(JpegSave, MoreThan65500PixelsASideAreRefusedBeforeAnythingIsWritten)
{
    QLoggingCategory::setFilterRules("vellum.plugin.jpeg=true");
    const MessageLog log;
    for (const QSize size : {QSize(65501, 1), QSize(1, 65501)}) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        EXPECT_FALSE(QImageWriterEx(&buffer, "jpg")
                         .write(makeNoise(size.width(), size.height(), QImage::Format_Grayscale8,
                                          GetParam())));
        EXPECT_TRUE(buffer.data().isEmpty());
    }
    EXPECT_TRUE(log.messages().join('\n').contains("65500"));
    const QByteArray most = written(makeNoise(65500, 1, QImage::Format_Grayscale8, GetParam()), 75);
    EXPECT_EQ(decodeJpeg(most).samples.width, 65500);
}

TEST_P(JpegSave, CmykIsInvertedMarkedAndHasItsProfile)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("inks.jpg");
    Vellum image = photo();
    ASSERT_TRUE(image.save(path, nullptr, 100, true));

    const DecodedJpeg file = decodeJpeg(readFile(path));
    EXPECT_EQ(file.stored, JCS_CMYK);
    EXPECT_TRUE(file.hasAdobe);
    EXPECT_EQ(file.adobeTransform, 0);
    QByteArray profile;
    image.getCmykIccProfile(profile);
    EXPECT_EQ(file.icc, profile);

    const OwnedProfile press = openBytes(file.icc);
    const OwnedProfile screen(cmsCreate_sRGBProfile());
    const OwnedTransform transform(cmsCreateTransform(screen.get(), TYPE_RGB_8, press.get(),
                                                      TYPE_CMYK_8_REV, INTENT_PERCEPTUAL, 0));
    const Samples rgb = photoSamples(90, 70, 3);
    Samples expected {90, 70, 4, {}};
    expected.bytes.resize(90 * 70 * 4);
    cmsDoTransform(transform.get(), rgb.bytes.data(), expected.bytes.data(), 90 * 70);
    EXPECT_LT(meanError(file.samples, expected), 0.5);
}

TEST_P(JpegSave, CmykKeepsResolutionAndColoursOfOtherPrograms)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("inks.jpg");
    const Samples rgb = patches(3);
    Vellum image = makeImage(rgb.width, rgb.height, QImage::Format_RGB888, GetParam());
    for (int y = 0; y < rgb.height; ++y)
        std::memcpy(image.scanLineEx(y), rgb.at(0, y), std::size_t(rgb.width) * 3);
    image.setDotsPerMeterX(11811);
    image.setDotsPerMeterY(11811);
    ASSERT_TRUE(image.save(path, nullptr, 100, true));
    EXPECT_TRUE(run("exiftool", {"-n", "-XResolution", path}).contains("300"));

    // Their way: RGB to TIFF, through lcms2's own program to inks. Ours, decoded by another one.
    const QString rgbTiff = folder.filePath("rgb.tif");
    const QString inkTiff = folder.filePath("inks.tif");
    QByteArray ppm = "P6\n144 144\n255\n";
    ppm.append(reinterpret_cast<const char *>(rgb.bytes.data()), int(rgb.bytes.size()));
    run("gm", {"convert", store(folder, "rgb.ppm", ppm), rgbTiff});
    run("tificc", {"-w8", "-t0", "-i*sRGB", "-o", profileFile("cmyk.icm"), rgbTiff, inkTiff});
    const auto inksOf = [](const QString &file) {
        const QByteArray bytes =
            run("gm", {"convert", file, "+profile", "*", "-depth", "8", "cmyk:-"});
        return Samples {144, 144, 4, {bytes.begin(), bytes.end()}};
    };
    EXPECT_LE(worstDifference(inksToSrgb(inksOf(path), {}, false),
                              inksToSrgb(inksOf(inkTiff), {}, false)),
              0.5);
}

TEST_P(JpegSave, CmykWithFewerColoursIsYcck)
{
    QBuffer buffer;
    const QTemporaryDir folder;
    for (const char *const sampling : {"444", "422", "420"}) {
        Vellum image = photo();
        image.rePrepareSaveCmyk(image.format());
        const QByteArray file = writtenWith(image, [&](QImageWriterEx &writer) {
            writer.setSubType(sampling);
            writer.setQuality(95);
        });
        const DecodedJpeg decoded = decodeJpeg(file);
        EXPECT_EQ(decoded.stored, QByteArray(sampling) == "444" ? JCS_CMYK : JCS_YCCK);
        EXPECT_TRUE(decoded.hasAdobe);
        const Samples again = samplesOf(readFresh(file, Storage::Plain));
        const Samples reference = samplesOf(
            readFresh(writtenWith(image, [](QImageWriterEx &writer) { writer.setQuality(100); }),
                      Storage::Plain));
        EXPECT_LT(meanError(again, reference), 8) << sampling;
    }
}

TEST_P(JpegSave, GreyIsSavedAsCmykToo)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("inks.jpg");
    Vellum image = photo(QImage::Format_Grayscale8);
    ASSERT_TRUE(image.save(path, nullptr, 95, true));
    EXPECT_EQ(decodeJpeg(readFile(path)).stored, JCS_CMYK);
}

TEST_P(JpegSave, LoadedAndSavedAgainFilesKeepTheirColourSpace)
{
    const QTemporaryDir folder;
    JpegKind kind;
    kind.quality = 100;
    kind.h = kind.v = 1;
    kind.icc = matrixProfile();
    const QByteArray first = makeJpeg(patches(3), kind);
    const QString path = store(folder, "first.jpg", first);
    Vellum image = makeNoise(144, 144, QImage::Format_RGB32, GetParam());
    ASSERT_TRUE(image.load(path, nullptr));
    const QByteArray second = writtenWith(image, [](QImageWriterEx &writer) {
        writer.setQuality(100);
        writer.setSubType("444");
    });

    EXPECT_EQ(decodeJpeg(second).icc, kind.icc);
    // Colours outside of sRGB were lost when they were loaded; grey ones never are.
    Vellum again;
    ASSERT_TRUE(again.load(store(folder, "second.jpg", second), nullptr));
    const Samples a = patchColors(samplesOf(toPlain(image)));
    const Samples b = patchColors(samplesOf(again));
    EXPECT_LE(worstDifference(a, b), 1.5); // eight bits and YCbCr, twice
}

INSTANTIATE_TEST_SUITE_P(Storages, JpegSave, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

TEST(JpegSavePlain, QtsOwnWriterWritesTheSameFile)
{
    useOwnPlugins();
    const Samples rgb = photoSamples(90, 70, 3);
    const QImage image(rgb.bytes.data(), 90, 70, 270, QImage::Format_RGB888);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpg");
    writer.setQuality(85);
    ASSERT_TRUE(writer.write(image));
    EXPECT_EQ(buffer.data(), written(Vellum(image), 85));
}

} // namespace
