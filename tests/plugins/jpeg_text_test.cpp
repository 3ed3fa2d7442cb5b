// What stands beside the pixels of JPEG files: profile, EXIF, orientation, resolution, texts.

#include <QBuffer>
#include <QColorSpace>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTransform>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <support/jpegfile.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

class JpegText : public testing::Test
{
protected:
    void SetUp() override { useOwnPlugins(); }

    const Samples m_photo = photoSamples(48, 32, 3);
};

/// An EXIF block with the orientation \a orientation and a name that only its writer knows.
QByteArray exifBlock(int orientation, bool bigEndian)
{
    QByteArray block;
    const auto number = [&](quint32 value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            block.append(char(value >> 8 * (bigEndian ? bytes - 1 - i : i)));
    };
    block.append(bigEndian ? "MM" : "II");
    number(42, 2);
    number(8, 4); // place of the directory
    number(2, 2); // entries
    for (const quint32 field : {0x010fU, 0x0112U}) { // maker, orientation
        const bool isText = field == 0x010f;
        number(field, 2);
        number(isText ? 2 : 3, 2); // text or 16-bit number
        number(isText ? 6 : 1, 4);
        if (isText) {
            number(38, 4);
        } else {
            number(quint32(orientation), 2);
            number(0, 2);
        }
    }
    number(0, 4); // no further directory
    block.append("Nobody", 6);
    return block;
}

std::pair<int, QByteArray> exifMarker(const QByteArray &block)
{
    return {JPEG_APP0 + 1, QByteArray("Exif\0\0", 6) + block};
}

QByteArray exifOf(Vellum &image)
{
    const ExifData *const exif = image.getExifData();
    return exif && exif->data ? QByteArray(exif->data, exif->size) : QByteArray();
}

QByteArray written(const Vellum &image, int quality = 100)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriterEx writer(&buffer, "jpg");
    writer.setQuality(quality);
    EXPECT_TRUE(writer.write(image)) << qPrintable(writer.errorString());
    return buffer.data();
}

/// What exiftool finds in \a file.
QJsonObject exiftool(const QByteArray &file)
{
    const QTemporaryDir folder;
    const QByteArray json =
        run("exiftool", {"-j", "-n", "-G1", store(folder, "picture.jpg", file)});
    return QJsonDocument::fromJson(json).array().first().toObject();
}

TEST_F(JpegText, ProfileInManyMarkersComesAsOneAndGoesBackAsItCame)
{
    JpegKind kind;
    kind.icc = readFile(profileFile("cmyk.icm")); // a megabyte; of no use for these pixels
    ASSERT_GT(kind.icc.size(), 10 * 65519);
    EXPECT_EQ(readFresh(makeJpeg(m_photo, kind), Storage::Big).getIccProfile(), kind.icc);

    kind.icc = matrixProfile();
    Vellum image = readFresh(makeJpeg(m_photo, kind), Storage::Big);
    EXPECT_EQ(image.getIccProfile(), kind.icc);
    EXPECT_EQ(decodeJpeg(written(image)).icc, kind.icc);
}

TEST_F(JpegText, GreyProfileOfGreyPixelsGoesBackToo)
{
    JpegKind kind;
    kind.stored = JCS_GRAYSCALE;
    kind.h = kind.v = 1;
    kind.icc = greyProfile();
    const QByteArray file = makeJpeg(photoSamples(48, 32, 1), kind);
    const DecodedJpeg again = decodeJpeg(written(readFresh(file, Storage::Plain)));
    EXPECT_EQ(again.icc, kind.icc);
    EXPECT_EQ(again.stored, JCS_GRAYSCALE);
}

TEST_F(JpegText, IncompleteProfileCountsAsNone)
{
    JpegKind kind;
    kind.markers = {{JPEG_APP0 + 2, QByteArray("ICC_PROFILE\0\1\2", 14) + "part of a profile"}};
    EXPECT_TRUE(readFresh(makeJpeg(m_photo, kind), Storage::Big).getIccProfile().isEmpty());
}

TEST_F(JpegText, PlainImagesGetAColorSpace)
{
    JpegKind kind;
    kind.icc = srgbProfile();
    EXPECT_EQ(QImage::fromData(makeJpeg(m_photo, kind)).colorSpace(),
              QColorSpace(QColorSpace::SRgb));
    EXPECT_FALSE(QImage::fromData(makeJpeg(m_photo, JpegKind())).colorSpace().isValid());
}

TEST_F(JpegText, ExifBlockIsKeptToTheByteButForTheOrientation)
{
    for (const bool bigEndian : {false, true}) {
        JpegKind kind;
        kind.markers = {exifMarker(exifBlock(6, bigEndian))};

        Vellum image = readFresh(makeJpeg(m_photo, kind), Storage::Big);
        EXPECT_EQ(exifOf(image), exifBlock(6, bigEndian));

        const auto markers = decodeJpeg(written(image)).markers;
        ASSERT_EQ(markers.size(), 1U);
        EXPECT_EQ(markers[0], exifMarker(exifBlock(1, bigEndian)));
    }
}

/// An EXIF block that states a size of \a width x \a height and holds a preview, \a linked or not,
/// of the bytes \a preview.
QByteArray exifWithPreview(int width, int height, const QByteArray &preview, bool linked = true)
{
    QByteArray block("II*\0\x08\0\0\0", 8);
    const auto number = [&](quint32 value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            block.append(char(value >> 8 * i));
    };
    const auto entry = [&](quint32 field, int value) { // of 32 bits
        number(field, 2);
        number(4, 2);
        number(1, 4);
        number(quint32(value), 4);
    };
    number(1, 2);
    entry(0x8769, 26); // the directory with the size
    number(linked ? 56 : 0, 4); // that of the preview
    number(2, 2);
    entry(0xa002, width);
    entry(0xa003, height);
    number(0, 4);
    number(2, 2);
    entry(0x0201, 86);
    entry(0x0202, preview.size());
    number(0, 4);
    return block + preview;
}

TEST_F(JpegText, PreviewIsThatOfThePictureOrNone)
{
    const QByteArray preview = "a small picture of all";
    JpegKind kind;
    kind.markers = {exifMarker(exifWithPreview(48, 32, preview))};
    const Vellum whole = readFresh(makeJpeg(m_photo, kind), Storage::Plain);
    EXPECT_EQ(decodeJpeg(written(whole)).markers[0], kind.markers[0]);

    Vellum part = whole.copy(3, 4, 20, 10);
    const QByteArray exif = exifWithPreview(48, 32, preview);
    auto *const record = static_cast<char *>(std::malloc(size_t(exif.size())));
    std::memcpy(record, exif.constData(), size_t(exif.size()));
    part.setExifData(record, exif.size());
    EXPECT_EQ(decodeJpeg(written(part)).markers[0],
              exifMarker(exifWithPreview(20, 10, QByteArray(preview.size(), '\0'), false)));
    part.setExifData(nullptr, 0);
}

TEST_F(JpegText, WhatWasWrittenIsWhatExiftoolFinds)
{
    JpegKind kind;
    kind.markers = {exifMarker(exifBlock(8, true))};
    Vellum image = readFresh(makeJpeg(m_photo, kind), Storage::Plain);
    image.setDotsPerMeterX(11811);
    image.setDotsPerMeterY(5906);
    image.setText("Description", "Küste");
    image.setText("XML:com.adobe.xmp",
                  "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
                  "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description "
                  "xmlns:dc='http://purl.org/dc/elements/1.1/' dc:format='image/jpeg'/>"
                  "</rdf:RDF></x:xmpmeta>");
    image.setIccProfile(matrixProfile());

    const QJsonObject found = exiftool(written(image));

    EXPECT_EQ(found["IFD0:Make"].toString(), "Nobody");
    EXPECT_EQ(found["IFD0:Orientation"].toInt(), 1);
    EXPECT_EQ(found["JFIF:ResolutionUnit"].toInt(), 1);
    EXPECT_EQ(found["JFIF:XResolution"].toInt(), 300);
    EXPECT_EQ(found["JFIF:YResolution"].toInt(), 150);
    EXPECT_EQ(found["File:Comment"].toString(), QString("Küste"));
    EXPECT_EQ(found["XMP-dc:Format"].toString(), "image/jpeg");
    EXPECT_EQ(found["ICC-header:ProfileConnectionSpace"].toString().trimmed(), "XYZ");
    EXPECT_FALSE(found.contains("ExifTool:Warning"))
        << qPrintable(found["ExifTool:Warning"].toString());
}

TEST_F(JpegText, WhatExiftoolWroteIsFound)
{
    const QTemporaryDir folder;
    const QString path = store(folder, "picture.jpg", makeJpeg(m_photo, JpegKind()));
    run("exiftool",
        {"-q", "-overwrite_original", "-Orientation#=6", "-Comment=Title: a sunset",
         "-XMP-dc:Creator=Me", "-JFIF:XResolution=240", "-JFIF:YResolution=240",
         "-JFIF:ResolutionUnit=inches", path});

    QImageReader reader(path);
    Vellum image;
    ASSERT_TRUE(reader.read(&image));

    EXPECT_EQ(reader.transformation(), QImageIOHandler::TransformationRotate90);
    EXPECT_EQ(image.text("Title"), "a sunset");
    EXPECT_TRUE(image.text("XML:com.adobe.xmp").contains("<rdf:li>Me</rdf:li>"));
    EXPECT_EQ(image.dotsPerMeterX(), qRound(240 / 0.0254));
    EXPECT_TRUE(exifOf(image).startsWith("MM"));
}

/// Where EXIF's orientation puts stored pixel (x, y) of a width x height picture.
QPoint uprightPlace(int orientation, int x, int y, int width, int height)
{
    switch (orientation) {
    case 2:
        return {width - 1 - x, y};
    case 3:
        return {width - 1 - x, height - 1 - y};
    case 4:
        return {x, height - 1 - y};
    case 5:
        return {y, x};
    case 6:
        return {height - 1 - y, x};
    case 7:
        return {height - 1 - y, width - 1 - x};
    case 8:
        return {y, width - 1 - x};
    default:
        return {x, y};
    }
}

TEST_F(JpegText, AllEightOrientationsLoadUpright)
{
    const QTemporaryDir folder;
    for (int orientation = 1; orientation <= 8; ++orientation) {
        JpegKind kind;
        kind.markers = {exifMarker(exifBlock(orientation, orientation % 2))};
        const QByteArray file = makeJpeg(m_photo, kind);
        const QString path = store(folder, "picture.jpg", file);
        const Samples stored = decodeJpeg(file).samples;
        const bool isTurned = orientation >= 5;
        Samples upright {isTurned ? 32 : 48, isTurned ? 48 : 32, 3, stored.bytes};
        for (int y = 0; y < stored.height; ++y) {
            for (int x = 0; x < stored.width; ++x) {
                const QPoint place = uprightPlace(orientation, x, y, 48, 32);
                std::memcpy(const_cast<uchar *>(upright.at(place.x(), place.y())), stored.at(x, y),
                            3);
            }
        }

        for (const Storage storage : kStorages) {
            Vellum image = makeNoise(48, 32, QImage::Format_RGB32, storage);
            ASSERT_TRUE(image.load(path, nullptr));
            EXPECT_TRUE(showsSamples(image, upright)) << orientation;
        }
        QImageReader reader(path);
        reader.setAutoTransform(true);
        EXPECT_TRUE(showsSamples(reader.read(), upright)) << orientation;
    }
}

TEST_F(JpegText, UnknownOrientationsCountAsUpright)
{
    for (const int orientation : {0, 9, 65535}) {
        JpegKind kind;
        kind.markers = {exifMarker(exifBlock(orientation, false))};
        QByteArray file = makeJpeg(m_photo, kind);
        QBuffer buffer(&file);
        EXPECT_EQ(QImageReader(&buffer).transformation(), QImageIOHandler::TransformationNone);
    }
}

TEST_F(JpegText, ResolutionIsReadInEitherUnitAndWrittenInTheCloserOne)
{
    JpegKind kind;
    kind.densityUnit = 1;
    kind.density = 72;
    EXPECT_EQ(readFresh(makeJpeg(m_photo, kind), Storage::Big).dotsPerMeterX(), 2835);
    kind.densityUnit = 2;
    kind.density = 30;
    EXPECT_EQ(readFresh(makeJpeg(m_photo, kind), Storage::Big).dotsPerMeterY(), 3000);

    for (const int dots : {1, 100, 2835, 3000, 3780, 11811, 23622, 100000, 2580000}) {
        Vellum image = makeNoise(20, 20, QImage::Format_RGB32, Storage::Big);
        image.setDotsPerMeterX(dots);
        image.setDotsPerMeterY(dots);
        const int again = readFresh(written(image), Storage::Plain).dotsPerMeterX();
        EXPECT_NEAR(again, dots, dots == 1 ? 50 : 1);
    }
}

TEST_F(JpegText, ResolutionOfExifCountsWhereTheHeaderHasNone)
{
    const QTemporaryDir folder;
    const QString path = store(folder, "picture.jpg", makeJpeg(m_photo, JpegKind()));
    for (const bool inInches : {true, false}) {
        run("exiftool",
            {"-q", "-overwrite_original", "-IFD0:XResolution=150.5", "-IFD0:YResolution=75",
             inInches ? "-IFD0:ResolutionUnit=inches" : "-IFD0:ResolutionUnit=cm", path});
        const Vellum image = readFresh(readFile(path), Storage::Big);
        EXPECT_EQ(image.dotsPerMeterX(), inInches ? 5925 : 15050);
        EXPECT_EQ(image.dotsPerMeterY(), inInches ? 2953 : 7500);
    }
}

TEST_F(JpegText, TextsComeBackAndOptionsOfSavingStayOut)
{
    Vellum image = makeNoise(20, 20, QImage::Format_RGB32, Storage::Big);
    image.setText("Description", "first: a line\nand another");
    image.setText("Title", "Überschrift");
    image.setText("Creation Time", "noon");
    image.setText("quality", "3");
    image.setText("filesizeonly", "no");

    const Vellum again = readFresh(written(image), Storage::Big);

    EXPECT_EQ(again.text("Description"), image.text("Description"));
    EXPECT_EQ(again.text("Title"), image.text("Title"));
    EXPECT_EQ(again.text("Creation Time"), "noon");
    EXPECT_EQ(again.textKeys().size(), 3);
}

TEST_F(JpegText, OptionsInAFileAreNotImported)
{
    JpegKind kind;
    kind.markers = {{JPEG_COM, "JpegOptions: yes"}, {JPEG_COM, "filesizeonly: true"}};
    EXPECT_TRUE(readFresh(makeJpeg(m_photo, kind), Storage::Big).textKeys().isEmpty());
}

TEST_F(JpegText, DescriptionOfTheWriterIsTheComment)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriterEx writer(&buffer, "jpg");
    writer.setDescription("A harbour");
    ASSERT_TRUE(writer.write(makeNoise(20, 20, QImage::Format_RGB32, Storage::Big)));
    const auto markers = decodeJpeg(buffer.data()).markers;
    ASSERT_EQ(markers.size(), 1U);
    EXPECT_EQ(markers[0], std::make_pair(int(JPEG_COM), QByteArray("A harbour")));
}

TEST_F(JpegText, WhatNoMarkerCanHoldIsLeftOut)
{
    Vellum image = makeNoise(20, 20, QImage::Format_RGB32, Storage::Big);
    image.setText("Novel", QString(70000, 'x'));
    image.setText("Note", "short");
    const QStringList keys = readFresh(written(image), Storage::Big).textKeys();
    EXPECT_EQ(keys, QStringList("Note"));
}

} // namespace
