// TIFF files as they are written: other programs and libtiff are the measure.

#include <QBuffer>
#include <QProcess>
#include <QTemporaryDir>

#include <support/devices.h>
#include <support/imageplugin.h>
#include <support/images.h>
#include <support/polls.h>
#include <support/profiles.h>
#include <support/tifffile.h>

using namespace vellum::test;

namespace {

/// The pixels in a format that holds all that TIFF has.
QImage deep(const QImage &image) { return image.convertToFormat(QImage::Format_RGBA64); }

QList<QByteArray> subTypes()
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return makeHandler(QStringLiteral("tiff"), &buffer)
        ->option(QImageIOHandler::SupportedSubTypes)
        .value<QList<QByteArray>>();
}

using Param = std::tuple<QImage::Format, Storage>;

class TiffWrite : public testing::TestWithParam<Param>
{
};

INSTANTIATE_TEST_SUITE_P(Formats, TiffWrite,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

/// Tags of the first directory of a file.
template <typename T>
T tagOf(const QByteArray &bytes, ttag_t tag)
{
    const QTemporaryDir folder;
    const QString name = folder.filePath(QStringLiteral("a.tif"));
    writeFile(name, bytes);
    TIFF *const tiff = TIFFOpen(name.toLocal8Bit().constData(), "r");
    T value = 0;
    EXPECT_TRUE(TIFFGetFieldDefaulted(tiff, tag, &value)) << tag;
    TIFFClose(tiff);
    return value;
}

} // namespace

TEST_P(TiffWrite, PixelsOfEveryFormatComeBack)
{
    const auto [format, storage] = GetParam();
    const Vellum image = makeNoise(67, 29, format, storage);
    const QImage expected = deep(toPlain(image));
    for (const char *subType : {"none", "lzw-tiled"}) {
        const QByteArray bytes = writeTiff(image, subType);
        Vellum again;
        ASSERT_TRUE(readTiff(bytes, again));
        const QImage got = deep(toPlain(again));
        for (int y = 0; y < 29; ++y)
            for (int x = 0; x < 67; ++x) {
                // Premultiplied noise is not what any colour gives.
                if (toPlain(image).pixelFormat().premultiplied() == QPixelFormat::Premultiplied)
                    continue;
                const QRgba64 a = got.pixelColor(x, y).rgba64();
                const QRgba64 b = expected.pixelColor(x, y).rgba64();
                if (image.hasAlphaChannel()) {
                    ASSERT_EQ(a.alpha(), b.alpha()) << x << ", " << y;
                }
                ASSERT_EQ(a.red(), b.red()) << x << ", " << y;
                ASSERT_EQ(a.green(), b.green()) << x << ", " << y;
                ASSERT_EQ(a.blue(), b.blue()) << x << ", " << y;
            }
    }
}

TEST(TiffSubTypes, AllGiveTheSamePixels)
{
    ASSERT_EQ(subTypes().size(), 20);
    for (const auto format : {QImage::Format_RGB32, QImage::Format_RGBA64, QImage::Format_Mono,
                              QImage::Format_Grayscale16}) {
        const Vellum image = makeNoise(300, 270, format, Storage::Plain);
        QImage expected;
        ASSERT_TRUE(readTiff(writeTiff(image), expected));
        for (const QByteArray &subType : subTypes()) {
            const QByteArray bytes = writeTiff(image, subType);
            QImage again;
            ASSERT_TRUE(readTiff(bytes, again)) << subType.constData();
            EXPECT_EQ(again, expected) << subType.constData();
            EXPECT_EQ(bytes.at(2) == 43, subType.contains("big")) << subType.constData();
        }
    }
}

TEST(TiffSubTypes, ChooseCompressionAndLevel)
{
    Vellum image(300, 270, QImage::Format_RGB32);
    image.fill(0xff336699);
    const auto written = [&](const char *subType, int ratio) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        const auto handler = makeHandler(QStringLiteral("tiff"), &buffer);
        handler->setOption(QImageIOHandler::SubType, QByteArray(subType));
        handler->setOption(QImageIOHandler::CompressionRatio, ratio);
        EXPECT_TRUE(handler->write(image));
        return tagOf<quint16>(buffer.data(), TIFFTAG_COMPRESSION);
    };
    EXPECT_EQ(written("", -1), COMPRESSION_NONE);
    EXPECT_EQ(written("", 0), COMPRESSION_NONE);
    EXPECT_EQ(written("", 1), COMPRESSION_LZW);
    EXPECT_EQ(written("", 100), COMPRESSION_ADOBE_DEFLATE);
    EXPECT_EQ(written("PackBits", 1), COMPRESSION_PACKBITS);
    EXPECT_EQ(written("zstd", 100), COMPRESSION_ZSTD);
    EXPECT_EQ(tagOf<quint16>(writeTiff(image, "deflate"), TIFFTAG_PREDICTOR), PREDICTOR_HORIZONTAL);
}

TEST(TiffDevices, ThatOnlyTakeBytesInOrderGetTheSameFile)
{
    const Vellum image = makeNoise(67, 29, QImage::Format_RGB32, Storage::Plain);
    const QTemporaryDir folder;
    const QString name = folder.filePath(QStringLiteral("piped.tif"));
    QProcess pipe;
    pipe.setStandardOutputFile(name);
    pipe.start(QStringLiteral("cat"), QStringList());
    ASSERT_TRUE(pipe.waitForStarted());
    ASSERT_TRUE(makeHandler(QStringLiteral("tiff"), &pipe)->write(image));
    pipe.closeWriteChannel();
    ASSERT_TRUE(pipe.waitForFinished());

    EXPECT_EQ(bytesOfFile(name), writeTiff(image));
}

TEST(TiffDevices, AreLeftBehindTheFile)
{
    const Vellum image = makeNoise(70, 41, QImage::Format_RGB32, Storage::Plain);
    const QByteArray before = "before";
    QBuffer buffer;
    ASSERT_TRUE(buffer.open(QIODevice::ReadWrite));
    buffer.write(before);

    ASSERT_TRUE(makeHandler(QStringLiteral("tiff"), &buffer)->write(image));

    EXPECT_EQ(buffer.pos(), buffer.size());
    EXPECT_EQ(buffer.data().mid(before.size()), writeTiff(image));
}

TEST(TiffDevices, ThatAreFullMakeTheWriteFail)
{
    const Vellum image = makeNoise(300, 270, QImage::Format_RGB32, Storage::Plain);
    const QByteArray whole = writeTiff(image);
    for (const int percent : {0, 1, 50, 99}) {
        LimitedDevice device(whole.size() * percent / 100);
        EXPECT_FALSE(makeHandler(QStringLiteral("tiff"), &device)->write(image)) << percent;
    }
}

TEST(TiffSize, IsFoundWithoutADevice)
{
    const Vellum image = makeNoise(300, 270, QImage::Format_RGB32, Storage::Plain);
    const auto handler = makeHandler(QStringLiteral("tiff"), nullptr);
    handler->setOption(QImageIOHandler::SubType, QByteArray("lzw"));
    handler->setOption(QImageIOHandler::Gamma, 10.0F);
    ASSERT_TRUE(handler->write(image));
    EXPECT_EQ(handler->option(QImageIOHandler::Gamma).toFloat(),
              float(writeTiff(image, "lzw").size()));
}

TEST(TiffCancel, EveryTenthRowStopsTheWrite)
{
    for (const Storage storage : kStorages) {
        for (size_t row = 0; row < 95; row += 10) {
            Vellum image = makeNoise(20, 95, QImage::Format_RGB32, storage);
            Polls polls;
            polls.stopAt = row;
            polls.attach(image);
            QBuffer buffer;
            buffer.open(QIODevice::WriteOnly);
            EXPECT_FALSE(makeHandler(QStringLiteral("tiff"), &buffer)->write(image));
            EXPECT_EQ(polls.percents.size(), row + 1);
        }
    }
}

TEST(TiffCmyk, IsWrittenWithTheProfileWhenSavedAsSuch)
{
    ASSERT_TRUE(vellum::registerPlugins());
    const QTemporaryDir folder;
    const QString name = folder.filePath(QStringLiteral("inks.tif"));
    QByteArray press;
    Vellum().getCmykIccProfile(press);
    const OwnedProfile inks = openBytes(press);
    const OwnedProfile srgb(cmsCreate_sRGBProfile());
    const OwnedTransform transform(
        cmsCreateTransform(srgb.get(), TYPE_RGB_8, inks.get(), TYPE_CMYK_8, INTENT_PERCEPTUAL, 0));
    for (const auto format : {QImage::Format_RGB32, QImage::Format_Grayscale8,
                              QImage::Format_Indexed8, QImage::Format_RGBA64}) {
        for (const Storage storage : kStorages) {
            Vellum image = makeNoise(37, 23, format, storage);
            ASSERT_TRUE(image.save(name, nullptr, -1, true));

            const QByteArray bytes = bytesOfFile(name);
            EXPECT_EQ(tagOf<quint16>(bytes, TIFFTAG_PHOTOMETRIC), PHOTOMETRIC_SEPARATED);
            const QByteArray embedded =
                run(QStringLiteral("exiftool"), {"-b", "-ICC_Profile", name});
            EXPECT_TRUE(embedded == press);
            const QImage pixels = toPlain(image)
                                      .convertToFormat(QImage::Format_RGBA64)
                                      .convertToFormat(QImage::Format_RGB888);
            const QByteArray raw = bytes.mid(8, 37 * 23 * 4);
            int worst = 0;
            for (int y = 0; y < 23; ++y) {
                uchar expected[37 * 4];
                cmsDoTransform(transform.get(), pixels.constScanLine(y), expected, 37);
                for (int i = 0; i < 37 * 4; ++i)
                    worst = std::max(worst, std::abs(expected[i] - uchar(raw.at(y * 37 * 4 + i))));
            }
            EXPECT_LE(worst, 2) << format;
        }
    }
}

TEST(TiffBig, StartsWhereOffsetsOf32BitsEnd)
{
    // Sizes only: the device counts what it is given, and rows of a big image that were never
    // written cost nothing.
    Vellum image;
    ASSERT_TRUE(Vellum::createBig(image, 40000, 27000, QImage::Format_RGB32)); // 3.24e9 bytes
    class Head : public QIODevice
    {
    public:
        Head() { open(WriteOnly | Unbuffered); }
        qint64 size() const override { return qMax(pos(), m_size); }
        char version() const { return m_version; }

    protected:
        qint64 readData(char *, qint64) override { return -1; }
        qint64 writeData(const char *data, qint64 bytes) override
        {
            if (pos() == 0 && bytes > 2)
                m_version = data[2];
            m_size = qMax(m_size, pos() + bytes);
            return m_size > 100 << 10 ? -1 : bytes; // the header is all that is wanted
        }

    private:
        qint64 m_size = 0;
        char m_version = 0;
    };
    Head small;
    makeHandler(QStringLiteral("tiff"), &small)->write(image);
    EXPECT_EQ(small.version(), 42);

    ASSERT_TRUE(Vellum::createBig(image, 40000, 27000, QImage::Format_RGBA64)); // 8.6e9 bytes
    Head large;
    makeHandler(QStringLiteral("tiff"), &large)->write(image);
    EXPECT_EQ(large.version(), 43);
}
