// What stands beside the pixels of pictures that flow from file to file.

#include <plugins/png.h>
#include <support/devices.h>
#include <support/jpegfile.h>
#include <support/streaming.h>

using namespace vellum;
using namespace vellum::test;

namespace {

constexpr int kWidth = 31;
constexpr int kHeight = 203;

/// A block with one entry, the name of a camera.
QByteArray exifData(char orientation = 1)
{
    const QByteArray block(
        "II*\0\x08\0\0\0\x02\0\x0f\x01\x02\0\x04\0\0\0Cam\0\x12\x01\x03\0\x01\0\0\0", 30);
    return block + QByteArray(1, orientation) + QByteArray(7, '\0');
}

class StreamedMetadata : public StreamTest
{
protected:
    static void expectInEveryKind(const QString &file, Wishes wishes = {})
    {
        for (const char *const target : {"png", "tif", "jpg", "ppm"}) {
            wishes.save.format = target;
            EXPECT_TRUE(streamsAlike(file, wishes)) << target;
        }
    }

    static Vellum described(QImage::Format format = QImage::Format_RGB32)
    {
        Vellum image = makePicture(kWidth, kHeight, format);
        image.setDotsPerMeterX(5000);
        image.setDotsPerMeterY(7000);
        image.setOffset(QPoint(12, 34));
        image.setText(QStringLiteral("Title"), QStringLiteral("A picture"));
        image.setText(QStringLiteral("Author"), QString::fromUtf8("N\xc3\xa4he \xe2\x82\xac"));
        return image;
    }

    /// A PNG file with \a chunks behind its pixels.
    static QByteArray withLateChunks(const QByteArray &chunks, bool hasTexts = false)
    {
        PngFile png;
        png.size = {kWidth, kHeight};
        if (hasTexts) {
            png.addChunks = [](png_structp writer, png_infop info) {
                char key[] = "Title";
                char value[] = "in front";
                png_text text {};
                text.compression = PNG_TEXT_COMPRESSION_NONE;
                text.key = key;
                text.text = value;
                png_set_text(writer, info, &text, 1);
            };
        }
        constexpr int kEndBytes = 12;
        QByteArray file = makePng(png);
        return file.insert(file.size() - kEndBytes, chunks);
    }

    static QByteArray text(const QByteArray &key, const QByteArray &value)
    {
        return pngChunk("tEXt" + key + '\0' + value);
    }
};

} // namespace

TEST_F(StreamedMetadata, ResolutionOffsetAndTextsGoAlong)
{
    expectInEveryKind(save(QStringLiteral("source.png"), described()));
    expectInEveryKind(save(QStringLiteral("source.tif"), described()));
    expectInEveryKind(save(QStringLiteral("source.jpg"), described()));
}

TEST_F(StreamedMetadata, ProfilesGoAlongOrAreConvertedFrom)
{
    SaveOptions own;
    own.profile = wideGamut();
    for (const char *const name : {"source.png", "source.tif", "source.jpg"}) {
        const QString file = save(QLatin1String(name), described(), own);
        Wishes wishes;
        expectInEveryKind(file, wishes);
        wishes.save.colors = PixelColors::Srgb;
        expectInEveryKind(file, wishes);
        wishes.save.colors = PixelColors::FileOwn;
        wishes.save.profile = srgbProfile();
        expectInEveryKind(file, wishes);
        wishes.save.profile = {};
        wishes.save.cmyk = true;
        for (const char *const target : {"tif", "jpg"}) {
            wishes.save.format = target;
            EXPECT_TRUE(streamsAlike(file, wishes)) << name << " to " << target;
        }
    }
}

TEST_F(StreamedMetadata, ColoursOfEveryFormatAreConvertedOnTheWay)
{
    Wishes wishes;
    wishes.save.profile = wideGamut();
    for (const auto format :
         {QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_Grayscale8,
          QImage::Format_Grayscale16, QImage::Format_ARGB32, QImage::Format_RGBA64}) {
        expectInEveryKind(save(QStringLiteral("source.png"), described(format)), wishes);
    }
}

TEST_F(StreamedMetadata, ConversionChangesColoursAndProfile)
{
    const QString file = save(QStringLiteral("source.png"), described());
    Wishes wishes;
    wishes.conversion = [](const Vellum &strip) { return convertColors(strip, {}, wideGamut()); };
    expectInEveryKind(file, wishes);
    wishes.save.cmyk = true; // from the profile that the conversion made
    wishes.save.format = "tif";
    EXPECT_TRUE(streamsAlike(file, wishes));
}

TEST_F(StreamedMetadata, StripsAreDescribedLikeThePicture)
{
    const QString file = save(QStringLiteral("source.png"), described());
    Vellum whole;
    ASSERT_TRUE(openImage(whole, file, Wishes::decoded()));
    int strips = 0;
    int rows = 0;
    Wishes wishes;
    wishes.save.format = "png";
    wishes.conversion = [&](const Vellum &strip) {
        ++strips;
        rows += strip.height();
        EXPECT_EQ(strip.width(), kWidth);
        EXPECT_EQ(strip.dotsPerMeterX(), whole.dotsPerMeterX());
        EXPECT_EQ(strip.offset(), whole.offset());
        EXPECT_EQ(strip.textKeys(), whole.textKeys());
        EXPECT_EQ(strip.getIccProfile(), whole.getIccProfile());
        return strip;
    };
    EXPECT_TRUE(streamed(file, inSmallWindow(wishes, kWidth)).result);
    EXPECT_GT(strips, 1);
    EXPECT_EQ(rows, kHeight);
}

TEST_F(StreamedMetadata, ExifDataGoesAlong)
{
    JpegKind kind;
    kind.markers = {{JPEG_APP0 + 1, QByteArray("Exif\0\0", 6) + exifData()}};
    const QString file =
        store(QStringLiteral("source.jpg"), makeJpeg(photoSamples(kWidth, kHeight, 3), kind));
    expectInEveryKind(file);
    Wishes wishes;
    wishes.conversion = [](const Vellum &strip) {
        return converted(strip, QImage::Format_Grayscale8);
    };
    expectInEveryKind(file, wishes);
    wishes.save.format = "png";
    EXPECT_TRUE(streamed(file, wishes).file.contains("eXIf"));
}

TEST_F(StreamedMetadata, FilesToBeTurnedUprightAreLeftToTheOtherWay)
{
    JpegKind kind;
    kind.markers = {{JPEG_APP0 + 1, QByteArray("Exif\0\0", 6) + exifData(6)}};
    const QString file =
        store(QStringLiteral("source.jpg"), makeJpeg(photoSamples(kWidth, kHeight, 3), kind));
    ASSERT_EQ(PictureFile(file).info().transformation, QImageIOHandler::TransformationRotate90);
    Wishes wishes;
    wishes.save.format = "png";
    EXPECT_EQ(streamed(file, wishes).result.outcome, StreamResult::NotPossible);
}

TEST_F(StreamedMetadata, PngChunksBehindThePixelsAreNotLost)
{
    const QByteArray chunks = text("Software", "made up") + text("Comment", "late") +
        pngChunk("tIME" + QByteArray(7, '\1')) + pngChunk("eXIf" + exifData());
    for (const bool hasTexts : {false, true}) {
        const QString file = store(QStringLiteral("source.png"), withLateChunks(chunks, hasTexts));
        expectInEveryKind(file);
        Wishes wishes;
        wishes.save.format = "png";
        EXPECT_TRUE(streamed(file, wishes).file.contains("made up"));
        EXPECT_TRUE(streamed(file, wishes).file.contains("eXIf"));
        wishes.open.size = {17, 99};
        expectInEveryKind(file, wishes);
        wishes.open.size = {};
        wishes.open.region = {0, 50, kWidth, kHeight - 50};
        expectInEveryKind(file, wishes);
        wishes.open.region = {0, 50, kWidth, 60}; // ends above them
        expectInEveryKind(file, wishes);
    }
}

TEST_F(StreamedMetadata, DamagedPngChunksBehindThePixelsAreTakenAsAlways)
{
    QByteArray damaged = text("Comment", "damaged");
    damaged[damaged.size() - 1] = char(damaged.at(damaged.size() - 1) + 1);
    const QByteArray whole = withLateChunks(text("Software", "made up") + damaged, true);
    expectInEveryKind(store(QStringLiteral("source.png"), whole));
    for (int cut : {1, 4, 11, 12, 13, 20, 40}) {
        const QString file = store(QStringLiteral("source.png"), whole.chopped(cut));
        Wishes wishes;
        wishes.save.format = "png";
        wishes.open.keepDamaged = true;
        EXPECT_TRUE(streamsAlike(file, wishes)) << cut;
    }
}

TEST_F(StreamedMetadata, UnreasonablyManyPngChunksAreLeftToTheOtherWay)
{
    QByteArray chunks;
    for (int i = 0; i < 2000; ++i)
        chunks += text("Key" + QByteArray::number(i), "value");
    const QString file = store(QStringLiteral("source.png"), withLateChunks(chunks));
    Wishes wishes;
    wishes.save.format = "png";
    EXPECT_EQ(streamed(file, wishes).result.outcome, StreamResult::NotPossible);
}

TEST_F(StreamedMetadata, PngFilesThroughAPipeAreReadTheOtherWay)
{
    const QByteArray png = withLateChunks({});
    Vellum image;
    SequentialDevice pipe(png, 1000);
    const auto handler = makeHandler(QStringLiteral("png"), &pipe);
    EXPECT_EQ(handler->option(kReadOrder).toInt(), int(RowOrder::None));
    EXPECT_TRUE(handler->read(&image));
}
