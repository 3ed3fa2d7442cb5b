#include <QBuffer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <support/imageplugin.h>
#include <support/tifffile.h>

namespace vellum::test {

namespace {

/// Puts \a number into \a bits bits of \a row from bit \a at on, highest first; whole bytes in
/// the byte order of this machine.
void putSample(std::vector<uchar> &row, qint64 at, quint32 number, const TiffFile &file)
{
    if (file.sampleFormat == SAMPLEFORMAT_IEEEFP) {
        const float value = float(number) / 65535;
        std::memcpy(&row[size_t(at / 8)], &value, sizeof value);
    } else if (file.bits == 16) {
        const auto value = quint16(number);
        std::memcpy(&row[size_t(at / 8)], &value, sizeof value);
    } else if (file.bits == 32) {
        std::memcpy(&row[size_t(at / 8)], &number, sizeof number);
    } else {
        for (int bit = 0; bit < file.bits; ++bit) {
            if (number >> (file.bits - 1 - bit) & 1)
                row[size_t((at + bit) / 8)] |= uchar(0x80 >> (at + bit) % 8);
        }
    }
}

/// Rows of the block at (x, y), of one plane or all; beyond the picture zeros.
std::vector<uchar> block(const TiffFile &file, const MadeTiff &made, const QRect &rect, int plane)
{
    const int count = file.separate ? 1 : file.samples;
    const qint64 rowBytes = (qint64(rect.width()) * count * file.bits + 7) / 8;
    std::vector<uchar> bytes;
    for (int y = rect.top(); y <= rect.bottom(); ++y) {
        std::vector<uchar> row(static_cast<size_t>(rowBytes));
        for (int x = 0; x < rect.width(); ++x) {
            if (y >= file.size.height() || rect.x() + x >= file.size.width())
                continue;
            for (int s = 0; s < count; ++s) {
                putSample(row, (qint64(x) * count + s) * file.bits,
                          made.at(file, rect.x() + x, y, file.separate ? plane : s), file);
            }
        }
        bytes.insert(bytes.end(), row.begin(), row.end());
    }
    return bytes;
}

void writeSamples(TIFF *tiff, const TiffFile &file, const MadeTiff &made)
{
    const int planes = file.separate ? file.samples : 1;
    const int width = file.tile > 0 ? file.tile : file.size.width();
    const int height = file.tile > 0 ? file.tile : file.rowsPerStrip;
    for (int plane = 0; plane < planes; ++plane) {
        for (int y = 0; y < file.size.height(); y += height) {
            for (int x = 0; x < file.size.width(); x += width) {
                const int rows = file.tile > 0 ? height : qMin(height, file.size.height() - y);
                auto bytes = block(file, made, QRect(x, y, width, rows), plane);
                const auto size = tmsize_t(bytes.size());
                const auto sample = quint16(plane);
                if (file.tile > 0) {
                    const auto tile = TIFFComputeTile(tiff, quint32(x), quint32(y), 0, sample);
                    EXPECT_EQ(TIFFWriteEncodedTile(tiff, tile, bytes.data(), size), size);
                } else {
                    const auto strip = TIFFComputeStrip(tiff, quint32(y), sample);
                    EXPECT_GT(TIFFWriteEncodedStrip(tiff, strip, bytes.data(), size), 0);
                }
            }
        }
    }
}

MadeTiff writePicture(TIFF *tiff, const TiffFile &file)
{
    MadeTiff made;
    std::mt19937 random(file.seed);
    const bool isFloat = file.sampleFormat == SAMPLEFORMAT_IEEEFP;
    const quint32 most = isFloat ? 65535 : quint32((quint64(1) << file.bits) - 1);
    for (int y = 0; y < file.size.height(); ++y)
        for (int x = 0; x < file.size.width(); ++x)
            for (int s = 0; s < file.samples; ++s) {
                const quint32 noise = quint32(random()) & most;
                made.samples.push_back(file.change ? file.change(noise, x, y, s) & most : noise);
            }

    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, quint32(file.size.width()));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, quint32(file.size.height()));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, file.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, file.samples);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, file.sampleFormat);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, file.photometric);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, file.compression);
    if (file.predictor > 0)
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, file.predictor);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG,
                 file.separate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (file.tile > 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, quint32(file.tile));
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, quint32(file.tile));
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, quint32(file.rowsPerStrip));
    }
    if (!file.extras.empty())
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, int(file.extras.size()), file.extras.data());
    if (file.photometric == PHOTOMETRIC_PALETTE) {
        std::vector<quint16> colors[3];
        for (auto &table : colors)
            for (int i = 0; i < 1 << file.bits; ++i)
                table.push_back(quint16((random() & 0xff) * 257));
        TIFFSetField(tiff, TIFFTAG_COLORMAP, colors[0].data(), colors[1].data(), colors[2].data());
    }
    if (file.addTags)
        file.addTags(tiff);
    writeSamples(tiff, file, made);
    EXPECT_TRUE(TIFFWriteDirectory(tiff));
    return made;
}

} // namespace

MadeTiff makeTiff(const TiffFile &file)
{
    const QTemporaryDir folder;
    const QString name = folder.filePath(QStringLiteral("made.tif"));
    TIFF *const tiff = TIFFOpen(name.toLocal8Bit().constData(), file.mode);
    MadeTiff made = writePicture(tiff, file);
    TIFFClose(tiff);
    made.bytes = bytesOfFile(name);
    return made;
}

QByteArray makePages(const std::vector<TiffFile> &pages)
{
    const QTemporaryDir folder;
    const QString name = folder.filePath(QStringLiteral("pages.tif"));
    TIFF *const tiff = TIFFOpen(name.toLocal8Bit().constData(), "w");
    for (const TiffFile &page : pages)
        writePicture(tiff, page);
    TIFFClose(tiff);
    return bytesOfFile(name);
}

QByteArray bytesOfFile(const QString &name)
{
    QFile file(name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(name);
    return file.readAll();
}

void writeFile(const QString &name, const QByteArray &bytes)
{
    QFile file(name);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(name);
    EXPECT_EQ(file.write(bytes), bytes.size());
}

bool readTiff(QByteArray bytes, QImage &image)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return makeHandler(QStringLiteral("tiff"), &buffer)->read(&image);
}

QByteArray writeTiff(const QImage &image, const QByteArray &subType)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    const auto handler = makeHandler(QStringLiteral("tiff"), &buffer);
    handler->setOption(QImageIOHandler::SubType, subType);
    EXPECT_TRUE(handler->write(image));
    return buffer.data();
}

QImage libtiffReads(const QByteArray &bytes)
{
    const QTemporaryDir folder;
    const QString name = folder.filePath(QStringLiteral("read.tif"));
    writeFile(name, bytes);
    TIFF *const tiff = TIFFOpen(name.toLocal8Bit().constData(), "r");
    quint32 width = 0;
    quint32 height = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    std::vector<quint32> pixels(size_t(width) * height);
    EXPECT_TRUE(
        TIFFReadRGBAImageOriented(tiff, width, height, pixels.data(), ORIENTATION_TOPLEFT, 1));
    TIFFClose(tiff);
    QImage image(int(width), int(height), QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < image.height(); ++y) {
        auto *const row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const quint32 p = pixels[size_t(y) * width + size_t(x)];
            row[x] = qRgba(TIFFGetR(p), TIFFGetG(p), TIFFGetB(p), TIFFGetA(p));
        }
    }
    return image;
}

QByteArray run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForStarted() && process.waitForFinished(60000);
    EXPECT_TRUE(ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        << qPrintable(program) << " " << qPrintable(arguments.join(QLatin1Char(' '))) << "\n"
        << process.readAllStandardError().constData();
    return process.readAllStandardOutput();
}

} // namespace vellum::test
