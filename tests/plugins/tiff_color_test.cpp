// CMYK, Lab and YCbCr pixels of TIFF files: lcms2 and libtiff are the measure.

#include <QBuffer>
#include <QTemporaryDir>

#include <lcms2.h>

#include <cmath>
#include <support/colordifference.h>
#include <support/imageplugin.h>
#include <support/images.h>
#include <support/profiles.h>
#include <support/tifffile.h>

using namespace vellum::test;

namespace {

/// As lcms2 converts \a lab without special wishes.
QColor lcmsMakesOf(const cmsCIELab &lab, int bits)
{
    static const OwnedProfile srgb(cmsCreate_sRGBProfile());
    static const OwnedProfile connection(cmsCreateLab4Profile(nullptr));
    static const OwnedTransform transform(cmsCreateTransform(
        connection.get(), TYPE_Lab_16, srgb.get(), TYPE_RGB_16, INTENT_PERCEPTUAL, 0));
    cmsUInt16Number encoded[3];
    cmsFloat2LabEncoded(encoded, &lab);
    quint16 rgb[3];
    cmsDoTransform(transform.get(), encoded, rgb, 1);
    const QColor exact = QColor::fromRgba64(rgb[0], rgb[1], rgb[2]);
    return bits == 8 ? QColor(exact.rgb()) : exact;
}

/// A Lab colour and the same as samples of the three encodings, worked out by hand.
struct LabColor
{
    cmsCIELab lab;
    quint32 cie8[3];
    quint32 icc8[3];
    quint32 cie16[3];
    quint32 icc16[3];
    quint32 itu8[3];
};

// Neutrals, and the primaries of sRGB in whole steps of Lab (D50), all inside its gamut.
// CIE 8: L * 2.55, a and b as signed bytes. ICC 8: a + 128. CIE 16: L * 655.35, a * 256 signed.
// ICC 16: L * 652.8, a * 256 + 32768. ITU: a * 255 / 170 + 128, b * 255 / 200 + 96.
const LabColor kLabColors[] = {
    {{100, 0, 0},
     {255, 0, 0},
     {255, 128, 128},
     {65535, 0, 0},
     {65280, 32768, 32768},
     {255, 128, 96}},
    {{0, 0, 0}, {0, 0, 0}, {0, 128, 128}, {0, 0, 0}, {0, 32768, 32768}, {0, 128, 96}},
    {{60, 0, 0},
     {153, 0, 0},
     {153, 128, 128},
     {39321, 0, 0},
     {39168, 32768, 32768},
     {153, 128, 96}},
    {{20, 0, 0}, {51, 0, 0}, {51, 128, 128}, {13107, 0, 0}, {13056, 32768, 32768}, {51, 128, 96}},
    // red is near (54, 81, 70), green near (88, -79, 81), blue near (30, 68, -112)
    {{40, 60, 40},
     {102, 60, 40},
     {102, 188, 168},
     {26214, 15360, 10240},
     {26112, 48128, 43008},
     {102, 218, 147}},
    {{80, -60, 60},
     {204, 196, 60},
     {204, 68, 188},
     {52428, 50176, 15360},
     {52224, 17408, 48128},
     {204, 38, 173}},
    {{40, 20, -60},
     {102, 20, 196},
     {102, 148, 68},
     {26214, 5120, 50176},
     {26112, 37888, 17408},
     {102, 158, 20}},
};

struct Encoding
{
    const char *name;
    quint16 photometric;
    int bits;
    const quint32 (LabColor::*samples)[3];
    double tolerance; // of dE00, half a step of the file plus half a step of the image
};

const Encoding kEncodings[] = {
    {"Cie8", PHOTOMETRIC_CIELAB, 8, &LabColor::cie8, 0.5},
    {"Icc8", PHOTOMETRIC_ICCLAB, 8, &LabColor::icc8, 0.5},
    {"Cie16", PHOTOMETRIC_CIELAB, 16, &LabColor::cie16, 0.1},
    {"Icc16", PHOTOMETRIC_ICCLAB, 16, &LabColor::icc16, 0.1},
    {"Itu8", PHOTOMETRIC_ITULAB, 8, &LabColor::itu8, 0.5},
};

class TiffLab : public testing::TestWithParam<Encoding>
{
};

INSTANTIATE_TEST_SUITE_P(Encodings, TiffLab, testing::ValuesIn(kEncodings),
                         [](const auto &encoding) { return std::string(encoding.param.name); });

} // namespace

TEST_P(TiffLab, NeutralsAndPrimariesKeepTheirColor)
{
    const Encoding &encoding = GetParam();
    TiffFile file;
    file.size = {int(std::size(kLabColors)), 3};
    file.photometric = encoding.photometric;
    file.bits = encoding.bits;
    file.change = [&](quint32, int x, int, int s) { return (kLabColors[x].*encoding.samples)[s]; };
    const QByteArray icc = matrixProfile();
    file.addTags = [&](TIFF *tiff) {
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, quint32(icc.size()), icc.constData());
    };

    Vellum image;
    ASSERT_TRUE(readTiff(makeTiff(file).bytes, image));

    EXPECT_FALSE(image.isOrgFileCmyk());
    EXPECT_EQ(image.getIccProfile(), QByteArray()) << "the pixels are sRGB now";
    for (int x = 0; x < file.size.width(); ++x) {
        const cmsCIELab got = labOf(image.pixelColor(x, 1));
        const cmsCIELab &lab = kLabColors[x].lab;
        EXPECT_LE(difference(got, labOf(lcmsMakesOf(lab, encoding.bits))), encoding.tolerance)
            << "colour " << x;
        EXPECT_LE(difference(got, lab), 1.0) // lcms2 itself is no nearer through its tables
            << "colour " << x << ": " << got.L << ", " << got.a << ", " << got.b;
    }
}

TEST(TiffLab, NeutralsAreGrey)
{
    TiffFile file;
    file.size = {256, 1};
    file.photometric = PHOTOMETRIC_CIELAB;
    file.change = [](quint32, int x, int, int s) { return s == 0 ? quint32(x) : 0; };
    QImage image;
    ASSERT_TRUE(readTiff(makeTiff(file).bytes, image));
    for (int x = 0; x < 256; ++x) {
        const QColor color = image.pixelColor(x, 0);
        EXPECT_NEAR(color.red(), color.green(), 1) << x;
        EXPECT_NEAR(color.blue(), color.green(), 1) << x;
    }
}

namespace {

TiffFile cmykFile(int bits, const QByteArray &icc)
{
    TiffFile file;
    file.photometric = PHOTOMETRIC_SEPARATED;
    file.samples = 4;
    file.bits = bits;
    file.addTags = [icc](TIFF *tiff) {
        if (!icc.isEmpty())
            TIFFSetField(tiff, TIFFTAG_ICCPROFILE, quint32(icc.size()), icc.constData());
    };
    return file;
}

/// The largest dE00 between \a image and what lcms2 makes of the inks through \a icc.
double worstDifference(const Vellum &image, const TiffFile &file, const MadeTiff &made,
                       const QByteArray &icc)
{
    const OwnedProfile press = openBytes(icc);
    const OwnedProfile srgb(cmsCreate_sRGBProfile());
    const OwnedTransform transform(cmsCreateTransform(press.get(), TYPE_CMYK_16, srgb.get(),
                                                      TYPE_RGB_16, INTENT_PERCEPTUAL, 0));
    const double most = double((1 << file.bits) - 1);
    double worst = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            quint16 inks[4];
            for (int s = 0; s < 4; ++s)
                inks[s] = quint16(std::lround(made.at(file, x, y, s) / most * 65535));
            quint16 rgb[3];
            cmsDoTransform(transform.get(), inks, rgb, 1);
            const QColor exact = QColor::fromRgba64(rgb[0], rgb[1], rgb[2]);
            const QColor expected = file.bits == 8 ? QColor(exact.rgb()) : exact;
            const Vellum &pixels = image;
            const auto *const row = pixels.scanLineEx(y);
            const QColor got = image.depth() == 64
                ? QColor(reinterpret_cast<const QRgba64 *>(row)[x])
                : QColor(reinterpret_cast<const QRgb *>(row)[x]);
            worst = std::max(worst, difference(labOf(got), labOf(expected)));
        }
    }
    return worst;
}

} // namespace

TEST(TiffCmyk, IsConvertedThroughTheProfileOfTheFile)
{
    for (const int bits : {8, 16}) {
        const TiffFile file = cmykFile(bits, cmykProfile());
        const MadeTiff made = makeTiff(file);
        for (const Storage storage : kStorages) {
            const auto format = bits == 8 ? QImage::Format_RGB32 : QImage::Format_RGBX64;
            Vellum image = makeImage(file.size.width(), file.size.height(), format, storage);
            ASSERT_TRUE(readTiff(made.bytes, image));

            EXPECT_TRUE(image.isOrgFileCmyk());
            EXPECT_LE(worstDifference(image, file, made, cmykProfile()), 0.5) << bits;
        }
    }
}

TEST(TiffCmyk, WithoutAProfileTheLibrarysOwnIsTaken)
{
    const TiffFile file = cmykFile(8, {});
    const MadeTiff made = makeTiff(file);
    Vellum image;
    ASSERT_TRUE(readTiff(made.bytes, image));
    EXPECT_TRUE(image.isOrgFileCmyk());
    EXPECT_LE(worstDifference(image, file, made, readFile(profileFile(QStringLiteral("cmyk.icm")))),
              0.5);
}

TEST(TiffCmyk, APlainImageGetsTheSameColors)
{
    const QByteArray bytes = makeTiff(cmykFile(8, cmykProfile())).bytes;
    Vellum vellum;
    QImage plain;
    ASSERT_TRUE(readTiff(bytes, vellum));
    ASSERT_TRUE(readTiff(bytes, plain));
    EXPECT_TRUE(samePixels(vellum, plain));
}

TEST(TiffRgb, WithAProfileIsWrittenInItAndComesBack)
{
    ASSERT_TRUE(vellum::registerPlugins());
    const QTemporaryDir folder;
    const QByteArray icc = matrixProfile(); // the next one may have another date
    TiffFile file;
    file.addTags = [icc](TIFF *tiff) {
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, quint32(icc.size()), icc.constData());
    };
    const QString name = folder.filePath(QStringLiteral("a.tif"));
    writeFile(name, makeTiff(file).bytes);
    Vellum image;
    ASSERT_TRUE(image.load(name));

    writeFile(name, writeTiff(image));

    Vellum again;
    ASSERT_TRUE(again.load(name));
    EXPECT_EQ(again.getIccProfile(), icc);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ASSERT_LE(difference(labOf(image.pixelColor(x, y)), labOf(again.pixelColor(x, y))), 1.0)
                << x << ", " << y;
}

namespace {

int worstStep(const QImage &a, const QImage &b)
{
    int worst = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            worst = std::max({worst, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                              std::abs(qBlue(p) - qBlue(q))});
        }
    return worst;
}

} // namespace

TEST(TiffYCbCr, OfWholePixelsIsWhatLibtiffGives)
{
    for (const int tile : {0, 16}) {
        TiffFile file;
        file.photometric = PHOTOMETRIC_YCBCR;
        file.tile = tile;
        file.addTags = [](TIFF *tiff) { TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, 1, 1); };
        const QByteArray bytes = makeTiff(file).bytes;
        QImage image;
        ASSERT_TRUE(readTiff(bytes, image));
        EXPECT_LE(worstStep(image, libtiffReads(bytes)), 2);
    }
}

namespace {

/// A file of sub-sampled YCbCr, whose clumps are noise.
QByteArray clumpedTiff(int x, int y, const QSize &size)
{
    TiffFile file;
    file.photometric = PHOTOMETRIC_YCBCR;
    // As if a clump were a pixel: libtiff stores the bytes as they come.
    file.size = {(size.width() + x - 1) / x, (size.height() + y - 1) / y};
    file.samples = x * y + 2;
    file.rowsPerStrip = file.size.height();
    file.photometric = PHOTOMETRIC_RGB;
    QByteArray bytes = makeTiff(file).bytes;
    QBuffer source(&bytes);
    const QByteArray pixels = bytes.mid(8, file.size.width() * file.size.height() * file.samples);

    TiffFile flat;
    flat.size = size;
    flat.photometric = PHOTOMETRIC_YCBCR;
    flat.rowsPerStrip = size.height();
    flat.addTags = [&](TIFF *tiff) { TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, 1, 1); };
    QByteArray whole = makeTiff(flat).bytes;
    whole.replace(8, pixels.size(), pixels);
    // The tag's two numbers stand in its entry.
    const int at = whole.indexOf(QByteArray("\x12\x02\x03\x00\x02\x00\x00\x00", 8));
    EXPECT_GT(at, 0);
    whole[at + 8] = char(x);
    whole[at + 10] = char(y);
    return whole;
}

} // namespace

TEST(TiffYCbCr, SubSampledIsWhatLibtiffGives)
{
    for (const QSize &clump : {QSize(2, 2), QSize(2, 1), QSize(4, 2), QSize(4, 4), QSize(1, 2)}) {
        const QByteArray bytes = clumpedTiff(clump.width(), clump.height(), QSize(38, 21));
        QImage image;
        ASSERT_TRUE(readTiff(bytes, image)) << clump.width() << clump.height();
        EXPECT_LE(worstStep(image, libtiffReads(bytes)), 2) << clump.width() << clump.height();
    }
}

TEST(TiffYCbCr, CompressedAsJpegIsWhatLibtiffGives)
{
    for (const int tile : {0, 32}) {
        TiffFile file;
        file.size = {64, 48};
        file.photometric = PHOTOMETRIC_YCBCR;
        file.compression = COMPRESSION_JPEG;
        file.tile = tile;
        file.rowsPerStrip = 16;
        file.change = [](quint32, int x, int y, int s) { return quint32(s == 1 ? 4 * x : 5 * y); };
        file.addTags = [](TIFF *tiff) {
            TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        };
        const QByteArray bytes = makeTiff(file).bytes;
        QImage image;
        ASSERT_TRUE(readTiff(bytes, image));
        EXPECT_LE(worstStep(image, libtiffReads(bytes)), 1);
    }
}

TEST(TiffLogLuv, IsWhatLibtiffGives)
{
    for (const int compression : {COMPRESSION_SGILOG, COMPRESSION_SGILOG24}) {
        TiffFile file;
        file.photometric = PHOTOMETRIC_LOGLUV;
        file.compression = quint16(compression);
        file.bits = 32;
        file.sampleFormat = SAMPLEFORMAT_IEEEFP;
        file.addTags = [](TIFF *tiff) {
            TIFFSetField(tiff, TIFFTAG_SGILOGDATAFMT, SGILOGDATAFMT_FLOAT); // X, Y, Z
        };
        const QByteArray bytes = makeTiff(file).bytes;
        QImage image;
        ASSERT_TRUE(readTiff(bytes, image));
        EXPECT_EQ(image.format(), QImage::Format_RGB32);
        EXPECT_LE(worstStep(image, libtiffReads(bytes)), 1);
    }
}
