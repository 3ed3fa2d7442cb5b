#include <QBuffer>
#include <QFile>
#include <QProcess>

#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <support/jpegfile.h>
#include <support/profiles.h>

namespace vellum::test {

namespace {

J_COLOR_SPACE unconverted(J_COLOR_SPACE stored)
{
    switch (stored) {
    case JCS_GRAYSCALE:
        return JCS_GRAYSCALE;
    case JCS_CMYK:
    case JCS_YCCK:
        return JCS_CMYK;
    default:
        return JCS_RGB;
    }
}

void setScansOfOneComponent(jpeg_compress_struct &codec, std::vector<jpeg_scan_info> &scans)
{
    for (int i = 0; i < codec.num_components; ++i) {
        jpeg_scan_info scan = {};
        scan.comps_in_scan = 1;
        scan.component_index[0] = i;
        scan.Se = DCTSIZE2 - 1;
        scans.push_back(scan);
    }
    codec.scan_info = scans.data();
    codec.num_scans = int(scans.size());
}

void writeAdobeMarker(jpeg_compress_struct &codec, int transform)
{
    const QByteArray bytes = QByteArrayLiteral("Adobe") + QByteArray("\0\x64\0\0\0\0", 6) +
        QByteArray(1, char(transform));
    jpeg_write_marker(&codec, JPEG_APP0 + 14, reinterpret_cast<const JOCTET *>(bytes.constData()),
                      unsigned(bytes.size()));
}

} // namespace

Samples photoSamples(int width, int height, int perPixel, unsigned seed)
{
    Samples samples {width, height, perPixel, {}};
    std::mt19937 random(seed);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < perPixel; ++c) {
                const double wave = std::sin(x * 0.07 + c) * std::cos(y * 0.05 - c * 2 + seed);
                const int edge = (x / 23 + y / 17 + c) % 3 == 0 ? 40 : 0;
                const int noise = int(random() % 16);
                samples.bytes.push_back(
                    uchar(std::clamp(int(110 + 80 * wave) + edge + noise, 0, 255)));
            }
        }
    }
    return samples;
}

namespace {

constexpr int kPatchSide = 16;
constexpr int kPatchesAcross = 9;

} // namespace

Samples patches(int perPixel)
{
    Samples samples {kPatchSide * kPatchesAcross, kPatchSide * kPatchesAcross, perPixel, {}};
    for (int y = 0; y < samples.height; ++y) {
        for (int x = 0; x < samples.width; ++x) {
            const int number = y / kPatchSide * kPatchesAcross + x / kPatchSide;
            int rest = number;
            for (int c = 0; c < perPixel; ++c, rest /= 3)
                samples.bytes.push_back(uchar(rest % 3 * 100 + 25 + number % 5));
        }
    }
    return samples;
}

Samples patchColors(const Samples &patches)
{
    Samples colors {kPatchesAcross, kPatchesAcross, patches.perPixel, {}};
    for (int y = 0; y < kPatchesAcross; ++y) {
        for (int x = 0; x < kPatchesAcross; ++x) {
            const uchar *const p =
                patches.at(x * kPatchSide + kPatchSide / 2, y * kPatchSide + kPatchSide / 2);
            colors.bytes.insert(colors.bytes.end(), p, p + patches.perPixel);
        }
    }
    return colors;
}

void PrintTo(const JpegKind &kind, std::ostream *out) { *out << kind.name; }

std::string kindName(const testing::TestParamInfo<JpegKind> &info) { return info.param.name; }

std::vector<JpegKind> allKinds()
{
    std::vector<JpegKind> kinds;
    const auto add = [&](const char *name, J_COLOR_SPACE stored, int h, int v) -> JpegKind & {
        JpegKind kind;
        kind.name = name;
        kind.stored = stored;
        kind.h = h;
        kind.v = v;
        kinds.push_back(kind);
        return kinds.back();
    };
    add("Grey", JCS_GRAYSCALE, 1, 1);
    add("GreyProgressive", JCS_GRAYSCALE, 1, 1).progressive = true;
    add("Color444", JCS_YCbCr, 1, 1);
    add("Color440", JCS_YCbCr, 1, 2);
    add("Color422", JCS_YCbCr, 2, 1);
    add("Color420", JCS_YCbCr, 2, 2);
    add("Color411", JCS_YCbCr, 4, 1);
    add("Color420Restart", JCS_YCbCr, 2, 2).restartRows = 1;
    add("Color420Progressive", JCS_YCbCr, 2, 2).progressive = true;
    add("Color422Progressive", JCS_YCbCr, 2, 1).progressive = true;
    add("Color420OneByOne", JCS_YCbCr, 2, 2).oneScanEach = true;
    add("Color420Arithmetic", JCS_YCbCr, 2, 2).arithmetic = true;
    add("Rgb", JCS_RGB, 1, 1);
    add("Cmyk", JCS_CMYK, 1, 1);
    add("CmykProgressive", JCS_CMYK, 1, 1).progressive = true;
    add("Ycck444", JCS_YCCK, 1, 1);
    add("Ycck420", JCS_YCCK, 2, 2);
    return kinds;
}

QByteArray makeJpeg(const Samples &samples, const JpegKind &kind)
{
    jpeg_error_mgr errors = {};
    jpeg_compress_struct codec = {};
    codec.err = jpeg_std_error(&errors); // ends the program: it must not go wrong here
    jpeg_create_compress(&codec);
    unsigned char *bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&codec, &bytes, &size);
    codec.image_width = unsigned(samples.width);
    codec.image_height = unsigned(samples.height);
    codec.input_components = samples.perPixel;
    codec.in_color_space = unconverted(kind.stored);
    jpeg_set_defaults(&codec);
    jpeg_set_colorspace(&codec, kind.stored);
    jpeg_set_quality(&codec, kind.quality, TRUE);
    for (int i = 0; i < codec.num_components; ++i) {
        const bool isColor = codec.num_components >= 3 && (i == 1 || i == 2);
        codec.comp_info[i].h_samp_factor = isColor ? 1 : kind.h;
        codec.comp_info[i].v_samp_factor = isColor ? 1 : kind.v;
    }
    std::vector<jpeg_scan_info> scans;
    if (kind.progressive)
        jpeg_simple_progression(&codec);
    if (kind.oneScanEach)
        setScansOfOneComponent(codec, scans);
    codec.arith_code = kind.arithmetic;
    codec.restart_in_rows = kind.restartRows;
    if (kind.densityUnit != 0) {
        codec.write_JFIF_header = TRUE;
        codec.density_unit = UINT8(kind.densityUnit);
        codec.X_density = UINT16(kind.density);
        codec.Y_density = UINT16(kind.density);
    }
    if (kind.adobeTransform != -1)
        codec.write_Adobe_marker = FALSE;
    jpeg_start_compress(&codec, TRUE);
    if (kind.adobeTransform >= 0)
        writeAdobeMarker(codec, kind.adobeTransform);
    for (const auto &[marker, content] : kind.markers) {
        jpeg_write_marker(&codec, marker, reinterpret_cast<const JOCTET *>(content.constData()),
                          unsigned(content.size()));
    }
    if (!kind.icc.isEmpty()) {
        jpeg_write_icc_profile(&codec, reinterpret_cast<const JOCTET *>(kind.icc.constData()),
                               unsigned(kind.icc.size()));
    }
    for (int y = 0; y < samples.height; ++y) {
        JSAMPROW rows[] = {const_cast<uchar *>(samples.at(0, y))};
        jpeg_write_scanlines(&codec, rows, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    const QByteArray file(reinterpret_cast<const char *>(bytes), int(size));
    std::free(bytes);
    return file;
}

DecodedJpeg decodeJpeg(const QByteArray &file, int eighths)
{
    jpeg_error_mgr errors = {};
    jpeg_decompress_struct codec = {};
    codec.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&codec);
    jpeg_mem_src(&codec, reinterpret_cast<const unsigned char *>(file.constData()),
                 static_cast<unsigned long>(file.size()));
    for (const int marker : {JPEG_APP0 + 1, JPEG_APP0 + 2, int(JPEG_COM)})
        jpeg_save_markers(&codec, marker, 0xffff);
    jpeg_read_header(&codec, TRUE);
    codec.out_color_space = unconverted(codec.jpeg_color_space);
    codec.scale_num = unsigned(eighths);
    codec.scale_denom = 8;
    jpeg_start_decompress(&codec);

    DecodedJpeg decoded;
    decoded.samples = {
        int(codec.output_width), int(codec.output_height), codec.output_components, {}};
    decoded.samples.bytes.resize(std::size_t(codec.output_width) * codec.output_height *
                                 std::size_t(codec.output_components));
    while (codec.output_scanline < codec.output_height) {
        JSAMPROW rows[] = {const_cast<uchar *>(decoded.samples.at(0, int(codec.output_scanline)))};
        jpeg_read_scanlines(&codec, rows, 1);
    }
    decoded.stored = codec.jpeg_color_space;
    decoded.progressive = codec.progressive_mode;
    decoded.hasAdobe = codec.saw_Adobe_marker;
    decoded.adobeTransform = codec.Adobe_transform;
    decoded.densityUnit = codec.density_unit;
    decoded.densityX = codec.X_density;
    decoded.densityY = codec.Y_density;
    decoded.h = codec.comp_info[0].h_samp_factor;
    decoded.v = codec.comp_info[0].v_samp_factor;
    decoded.quantizer = codec.quant_tbl_ptrs[0]->quantval[0];
    JOCTET *icc = nullptr;
    unsigned int iccSize = 0;
    if (jpeg_read_icc_profile(&codec, &icc, &iccSize))
        decoded.icc = QByteArray(reinterpret_cast<const char *>(icc), int(iccSize));
    std::free(icc);
    for (auto *marker = codec.marker_list; marker; marker = marker->next) {
        if (marker->marker != JPEG_APP0 + 2)
            decoded.markers.emplace_back(
                marker->marker,
                QByteArray(reinterpret_cast<const char *>(marker->data), int(marker->data_length)));
    }
    jpeg_destroy_decompress(&codec);
    return decoded;
}

testing::AssertionResult showsSamples(const Vellum &image, const Samples &expected, int x0, int y0,
                                      int tolerance)
{
    const bool isGrey = image.format() == QImage::Format_Grayscale8;
    if (!isGrey && image.format() != QImage::Format_RGB32 &&
        image.format() != QImage::Format_ARGB32)
        return testing::AssertionFailure() << "format " << image.format();
    if ((isGrey ? 1 : 3) != expected.perPixel)
        return testing::AssertionFailure() << expected.perPixel << " samples per pixel";
    for (int y = 0; y < image.height(); ++y) {
        const uchar *const row = image.scanLineEx(y);
        for (int x = 0; x < image.width(); ++x) {
            const uchar *const wanted = expected.at(x0 + x, y0 + y);
            const QRgb pixel =
                isGrey ? qRgb(row[x], row[x], row[x]) : reinterpret_cast<const QRgb *>(row)[x];
            const int found[] = {qRed(pixel), qGreen(pixel), qBlue(pixel)};
            for (int c = 0; c < expected.perPixel; ++c) {
                if (std::abs(found[c] - wanted[c]) > tolerance || qAlpha(pixel) != 255) {
                    return testing::AssertionFailure()
                        << "sample " << c << " at (" << x << ", " << y << ") is " << found[c]
                        << ", not " << int(wanted[c]) << "; alpha " << qAlpha(pixel);
                }
            }
        }
    }
    return testing::AssertionSuccess();
}

Samples inksToSrgb(const Samples &inks, const QByteArray &icc, bool areInverted)
{
    const QByteArray profile =
        icc.isEmpty() ? readFile(profileFile(QStringLiteral("cmyk.icm"))) : icc;
    const OwnedProfile press = openBytes(profile);
    const OwnedProfile screen(cmsCreate_sRGBProfile());
    const OwnedTransform transform(
        cmsCreateTransform(press.get(), areInverted ? TYPE_CMYK_8_REV : TYPE_CMYK_8, screen.get(),
                           TYPE_RGB_8, INTENT_PERCEPTUAL, 0));
    Samples rgb {inks.width, inks.height, 3, {}};
    rgb.bytes.resize(inks.bytes.size() / 4 * 3);
    cmsDoTransform(transform.get(), inks.bytes.data(), rgb.bytes.data(),
                   unsigned(inks.bytes.size() / 4));
    return rgb;
}

double worstDifference(const Samples &a, const Samples &b)
{
    if (a.bytes.size() != b.bytes.size())
        return HUGE_VAL;
    const OwnedProfile srgb(cmsCreate_sRGBProfile());
    const OwnedProfile lab(cmsCreateLab4Profile(nullptr));
    const OwnedTransform transform(cmsCreateTransform(
        srgb.get(), TYPE_RGB_8, lab.get(), TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC, 0));
    double worst = 0;
    for (std::size_t i = 0; i < a.bytes.size(); i += 3) {
        cmsCIELab one = {};
        cmsCIELab other = {};
        cmsDoTransform(transform.get(), &a.bytes[i], &one, 1);
        cmsDoTransform(transform.get(), &b.bytes[i], &other, 1);
        worst = std::max(worst, cmsCIE2000DeltaE(&one, &other, 1, 1, 1));
    }
    return worst;
}

Samples samplesOf(const QImage &image)
{
    const bool isGrey = image.format() == QImage::Format_Grayscale8;
    Samples samples {image.width(), image.height(), isGrey ? 1 : 3, {}};
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            samples.bytes.push_back(uchar(qRed(pixel)));
            if (!isGrey) {
                samples.bytes.push_back(uchar(qGreen(pixel)));
                samples.bytes.push_back(uchar(qBlue(pixel)));
            }
        }
    }
    return samples;
}

void useOwnPlugins()
{
    static const bool isRegistered = registerPlugins();
    ASSERT_TRUE(isRegistered) << qPrintable(pluginFolder());
}

bool readInto(Vellum &image, const QByteArray &file)
{
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    return QImageReader(&buffer).read(&image);
}

Vellum readFresh(const QByteArray &file, Storage storage, bool *wasRead)
{
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    Vellum image = makeNoise(size.width(), size.height(), reader.imageFormat(), storage);
    const bool isRead = reader.read(&image);
    if (wasRead)
        *wasRead = isRead;
    else
        EXPECT_TRUE(isRead) << qPrintable(reader.errorString());
    return image;
}

QByteArray run(const QString &program, const QStringList &arguments, const QByteArray &input)
{
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    const bool hasEnded = process.waitForFinished(60000);
    const QByteArray err = process.readAllStandardError();
    EXPECT_TRUE(hasEnded && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        << qPrintable(program) << ": " << qPrintable(process.errorString()) << '\n'
        << err.constData();
    return process.readAllStandardOutput();
}

QString store(const QTemporaryDir &folder, const QString &name, const QByteArray &content)
{
    QFile file(folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write(content), content.size());
    return file.fileName();
}

} // namespace vellum::test
