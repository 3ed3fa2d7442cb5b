// Pixels of TIFF files of every kind: what the samples were made of is the measure.

#include <QBuffer>

#include <cmath>
#include <support/devices.h>
#include <support/imageplugin.h>
#include <support/images.h>
#include <support/tifffile.h>

using namespace vellum::test;

namespace {

/// Red, green, blue, alpha, each 0 to 1.
struct Color
{
    double parts[4] = {0, 0, 0, 1};
};

double unitOf(const TiffFile &file, quint32 sample)
{
    if (file.sampleFormat == SAMPLEFORMAT_IEEEFP)
        return sample / 65535.0;
    const double most = double((quint64(1) << file.bits) - 1);
    if (file.sampleFormat == SAMPLEFORMAT_INT)
        sample ^= quint32(1) << (file.bits - 1);
    return sample / most;
}

/// By the definition of the file's colours.
Color colorOf(const TiffFile &file, const MadeTiff &made, int x, int y)
{
    const auto unit = [&](int sample) { return unitOf(file, made.at(file, x, y, sample)); };
    Color color;
    const bool isGray = file.photometric != PHOTOMETRIC_RGB;
    const int colors = isGray ? 1 : 3;
    for (int c = 0; c < 3; ++c) {
        const double value = unit(isGray ? 0 : c);
        color.parts[c] = file.photometric == PHOTOMETRIC_MINISWHITE ? 1 - value : value;
    }
    if (!file.extras.empty() && file.extras[0] != EXTRASAMPLE_UNSPECIFIED) {
        const double alpha = unit(colors);
        color.parts[3] = alpha;
        for (int c = 0; c < 3 && file.extras[0] == EXTRASAMPLE_ASSOCALPHA; ++c)
            color.parts[c] = alpha == 0 ? 0 : std::min(1.0, color.parts[c] / alpha);
    }
    return color;
}

testing::AssertionResult hasColors(const QImage &image, const TiffFile &file, const MadeTiff &made)
{
    if (image.size() != file.size)
        return testing::AssertionFailure() << "size";
    const bool isWide = image.depth() == 64 || image.format() == QImage::Format_Grayscale16;
    const double step = 0.51 / (isWide ? 65535 : 255);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const Color expected = colorOf(file, made, x, y);
            // Where depths differ, colour and alpha are rounded before the one divides the other.
            const bool isDivided = !file.extras.empty() && file.extras[0] == EXTRASAMPLE_ASSOCALPHA;
            const bool isScaled = file.bits != 8 && file.bits != 16;
            const double tolerance =
                isDivided && isScaled ? step * (1 + 2 / std::max(step, expected.parts[3])) : step;
            const QRgba64 rgba = image.pixelColor(x, y).rgba64();
            const quint16 parts[] = {rgba.red(), rgba.green(), rgba.blue(), rgba.alpha()};
            for (int c = 0; c < 4; ++c) {
                if (std::abs(parts[c] / 65535.0 - expected.parts[c]) > tolerance) {
                    return testing::AssertionFailure()
                        << "part " << c << " at (" << x << ", " << y << "): " << parts[c]
                        << " against " << expected.parts[c] * 65535;
                }
            }
        }
    }
    return testing::AssertionSuccess();
}

std::vector<TiffFile> allKinds()
{
    std::vector<TiffFile> files;
    const auto add = [&](quint16 photometric, int colors, int bits, quint16 format) {
        for (const bool separate : {false, true}) {
            for (const int tile : {0, 16}) {
                for (const int alpha : {-1, EXTRASAMPLE_UNASSALPHA, EXTRASAMPLE_ASSOCALPHA}) {
                    TiffFile file;
                    file.photometric = photometric;
                    file.samples = colors + (alpha >= 0 ? 1 : 0);
                    file.bits = bits;
                    file.sampleFormat = format;
                    file.separate = separate;
                    file.tile = tile;
                    if (alpha >= 0)
                        file.extras = {quint16(alpha)};
                    if (file.separate && file.samples == 1)
                        continue;
                    files.push_back(file);
                }
            }
        }
    };
    for (const int bits : {1, 2, 3, 4, 7, 8, 9, 10, 12, 15, 16, 32}) {
        add(PHOTOMETRIC_MINISBLACK, 1, bits, SAMPLEFORMAT_UINT);
        add(PHOTOMETRIC_RGB, 3, bits, SAMPLEFORMAT_UINT);
    }
    for (const int bits : {1, 4, 8, 16})
        add(PHOTOMETRIC_MINISWHITE, 1, bits, SAMPLEFORMAT_UINT);
    for (const int bits : {8, 16})
        add(PHOTOMETRIC_MINISBLACK, 1, bits, SAMPLEFORMAT_INT);
    add(PHOTOMETRIC_MINISBLACK, 1, 32, SAMPLEFORMAT_IEEEFP);
    add(PHOTOMETRIC_RGB, 3, 32, SAMPLEFORMAT_IEEEFP);
    return files;
}

std::string nameOf(const testing::TestParamInfo<TiffFile> &info)
{
    const TiffFile &file = info.param;
    const char *const kinds[] = {"White", "Black", "Rgb", "Palette"};
    std::string name = kinds[file.photometric];
    name += std::to_string(file.bits);
    if (file.sampleFormat != SAMPLEFORMAT_UINT)
        name += file.sampleFormat == SAMPLEFORMAT_INT ? "Signed" : "Float";
    if (!file.extras.empty())
        name += file.extras[0] == EXTRASAMPLE_ASSOCALPHA ? "Associated" : "Alpha";
    name += file.separate ? "Planes" : "";
    return name + (file.tile > 0 ? "Tiles" : "Strips");
}

class TiffKinds : public testing::TestWithParam<TiffFile>
{
};

INSTANTIATE_TEST_SUITE_P(All, TiffKinds, testing::ValuesIn(allKinds()), nameOf);

} // namespace

TEST_P(TiffKinds, TheImageHasTheColorsOfTheSamples)
{
    const MadeTiff made = makeTiff(GetParam());

    QImage image;
    ASSERT_TRUE(readTiff(made.bytes, image));

    EXPECT_TRUE(hasColors(image, GetParam(), made));
}

TEST_P(TiffKinds, EveryStorageIsFilledWithTheSamePixels)
{
    const MadeTiff made = makeTiff(GetParam());
    QImage expected;
    ASSERT_TRUE(readTiff(made.bytes, expected));

    for (const Storage storage : kStorages) {
        Vellum image =
            makeImage(expected.width(), expected.height(), expected.format(), storage, 8);
        ASSERT_TRUE(readTiff(made.bytes, image));

        EXPECT_EQ(image.isBigImage(), storage == Storage::Big);
        EXPECT_TRUE(samePixels(image, expected));
    }
}

TEST_P(TiffKinds, AClippedReadIsAPartOfTheWhole)
{
    QByteArray bytes = makeTiff(GetParam()).bytes;
    QImage whole;
    ASSERT_TRUE(readTiff(bytes, whole));
    for (const QRect &clip : {QRect(0, 0, 5, 7), QRect(9, 11, 13, 5), QRect(17, 16, 20, 7)}) {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        const auto handler = makeHandler(QStringLiteral("tiff"), &buffer);
        handler->setOption(QImageIOHandler::ClipRect, clip);
        QImage part;
        ASSERT_TRUE(handler->read(&part));

        EXPECT_EQ(part, whole.copy(clip));
    }
}

namespace {

QImage::Format formatOf(const TiffFile &file)
{
    QByteArray bytes = makeTiff(file).bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto handler = makeHandler(QStringLiteral("tiff"), &buffer);
    const auto format = QImage::Format(handler->option(QImageIOHandler::ImageFormat).toInt());
    QImage image;
    EXPECT_TRUE(handler->read(&image));
    EXPECT_EQ(image.format(), format) << "as announced";
    return format;
}

TiffFile kind(quint16 photometric, int samples, int bits, std::vector<quint16> extras = {})
{
    TiffFile file;
    file.photometric = photometric;
    file.samples = samples;
    file.bits = bits;
    file.extras = std::move(extras);
    return file;
}

} // namespace

TEST(TiffFormats, FollowFromTheKindOfPixels)
{
    const std::vector<quint16> alpha {EXTRASAMPLE_UNASSALPHA};
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_MINISWHITE, 1, 1)), QImage::Format_Mono);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_PALETTE, 1, 1)), QImage::Format_Mono);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_PALETTE, 1, 4)), QImage::Format_Indexed8);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_PALETTE, 1, 8)), QImage::Format_Indexed8);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_MINISBLACK, 1, 4)), QImage::Format_Grayscale8);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_MINISBLACK, 1, 8)), QImage::Format_Grayscale8);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_MINISBLACK, 1, 12)), QImage::Format_Grayscale16);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_MINISBLACK, 2, 8, alpha)), QImage::Format_ARGB32);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_RGB, 3, 8)), QImage::Format_RGB32);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_RGB, 4, 8, alpha)), QImage::Format_ARGB32);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_RGB, 3, 16)), QImage::Format_RGBX64);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_RGB, 4, 16, alpha)), QImage::Format_RGBA64);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_SEPARATED, 4, 8)), QImage::Format_RGB32);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_SEPARATED, 4, 16)), QImage::Format_RGBX64);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_CIELAB, 3, 8)), QImage::Format_RGB32);
    EXPECT_EQ(formatOf(kind(PHOTOMETRIC_ICCLAB, 3, 16)), QImage::Format_RGBX64);
}

TEST(TiffPalettes, HaveTheColorsThatLibtiffGives)
{
    for (const int bits : {1, 2, 4, 8}) {
        for (const int tile : {0, 16}) {
            TiffFile file = kind(PHOTOMETRIC_PALETTE, 1, bits);
            file.tile = tile;
            const QByteArray bytes = makeTiff(file).bytes;
            QImage image;
            ASSERT_TRUE(readTiff(bytes, image));

            EXPECT_EQ(image.convertToFormat(QImage::Format_ARGB32_Premultiplied),
                      libtiffReads(bytes))
                << bits;
        }
    }
}

TEST(TiffCompressions, AllGiveTheSamePixels)
{
    TiffFile plain;
    plain.size = {67, 41};
    QImage expected;
    ASSERT_TRUE(readTiff(makeTiff(plain).bytes, expected));
    for (const int compression :
         {COMPRESSION_LZW, COMPRESSION_PACKBITS, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_DEFLATE,
          COMPRESSION_LZMA, COMPRESSION_ZSTD, COMPRESSION_LERC}) {
        for (const int predictor : {0, 2}) {
            TiffFile file = plain;
            file.compression = quint16(compression);
            file.predictor = compression == COMPRESSION_PACKBITS || compression == COMPRESSION_LERC
                ? 0
                : predictor;
            QImage image;
            ASSERT_TRUE(readTiff(makeTiff(file).bytes, image)) << compression;
            EXPECT_EQ(image, expected) << compression;
        }
    }
}

TEST(TiffCompressions, WebPGivesTheSamePixels)
{
    TiffFile file;
    QImage expected;
    ASSERT_TRUE(readTiff(makeTiff(file).bytes, expected));
    file.compression = COMPRESSION_WEBP;
    file.addTags = [](TIFF *tiff) { TIFFSetField(tiff, TIFFTAG_WEBP_LOSSLESS, 1); };
    for (const int tile : {0, 16}) {
        file.tile = tile;
        QImage image;
        ASSERT_TRUE(readTiff(makeTiff(file).bytes, image));
        EXPECT_EQ(image, expected);
    }
}

TEST(TiffCompressions, OneBitOnesGiveTheSamePixels)
{
    TiffFile plain = kind(PHOTOMETRIC_MINISWHITE, 1, 1);
    QImage expected;
    ASSERT_TRUE(readTiff(makeTiff(plain).bytes, expected));
    for (const int compression :
         {COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4, COMPRESSION_JBIG}) {
        TiffFile file = plain;
        file.compression = quint16(compression);
        if (compression == COMPRESSION_JBIG)
            file.rowsPerStrip = file.size.height(); // libtiff writes no others
        QImage image;
        ASSERT_TRUE(readTiff(makeTiff(file).bytes, image)) << compression;
        EXPECT_EQ(image, expected) << compression;
    }
}

TEST(TiffFiles, ByteOrderAndOffsetSizeDoNotMatter)
{
    for (const int bits : {8, 12, 16, 32}) {
        TiffFile file = kind(PHOTOMETRIC_RGB, 3, bits);
        QImage expected;
        ASSERT_TRUE(readTiff(makeTiff(file).bytes, expected));
        for (const char *mode : {"wl", "wb", "w8l", "w8b"}) {
            file.mode = mode;
            QImage image;
            ASSERT_TRUE(readTiff(makeTiff(file).bytes, image)) << mode;
            EXPECT_EQ(image, expected) << mode;
        }
    }
}

TEST(TiffDevices, ASequentialOneGivesTheSamePixels)
{
    for (const int tile : {0, 16}) {
        TiffFile file;
        file.tile = tile;
        const QByteArray bytes = makeTiff(file).bytes;
        QImage expected;
        ASSERT_TRUE(readTiff(bytes, expected));
        for (const qint64 atOnce : {7, 1000}) {
            SequentialDevice device(bytes, atOnce);
            const auto handler = makeHandler(QStringLiteral("tiff"), &device);
            QImage image;
            ASSERT_TRUE(handler->read(&image));
            EXPECT_EQ(image, expected);
        }
    }
}

TEST(TiffDevices, AFileMayStandBehindOtherBytes)
{
    const TiffFile file;
    const MadeTiff made = makeTiff(file);
    QByteArray bytes = "something else" + made.bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    buffer.seek(14);

    QImage image;
    ASSERT_TRUE(makeHandler(QStringLiteral("tiff"), &buffer)->read(&image));

    EXPECT_TRUE(hasColors(image, file, made));
}
