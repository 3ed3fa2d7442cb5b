#include <vellum/image/rowaccess.h>
#include <vellum/image/vellum.h>
#include <vellum/io/hrlecodec_p.h>
#include <vellum/io/hrlehandler.h>
#include <vellum/io/hrleheader_p.h>
#include <vellum/io/readavailable_p.h>

#include <QDataStream>
#include <QDebug>
#include <QFile>

#include <cstdlib>
#include <cstring>
#include <limits>

using namespace vellum::io;

namespace {

constexpr int kDefaultDotsPerMeter = 2834; // 72 dots per inch

/// The fields of 32 bits hold the size modulo 2^32.
quint32 pixelBytes(const Vellum &image)
{
    return quint32(image.height()) * quint32(image.bytesPerLine());
}

/// \return false when a row is null; true when the device ends too soon
bool readRawRows(QIODevice &device, Vellum &image)
{
    const int bytes = image.bytesPerLine();
    for (int y = image.height() - 1; y >= 0; --y) {
        uchar *const row = image_scanLine_reverse(&image, nullptr, y);
        if (!row)
            return false;
        const int held = readAvailable(device, row, bytes);
        if (held < bytes) {
            std::memset(row + held, 0, size_t(bytes - held));
            clearRows(image, 0, y);
            break;
        }
    }
    return true;
}

bool readRunLengthRows(QIODevice &device, Vellum &image)
{
    WordReader words(device, readCount(device).value_or(0));
    if (!decodeRows(words, image))
        return false;
    words.skipRest();
    return true;
}

bool writeRaw(QDataStream &stream, const uchar *bytes, int count)
{
    return stream.writeRawData(reinterpret_cast<const char *>(bytes), count) == count;
}

bool writeRawRows(QDataStream &stream, const Vellum &image)
{
    RowSource rows(image, image_constScanLine_reverse);
    for (int y = rows.height() - 1; y >= 0; --y) {
        const uchar *const row = rows.row(y);
        if (!row || !writeRaw(stream, row, rows.bytesPerLine()))
            return false;
    }
    return true;
}

/// A full disk may show only when a file writes its buffer.
bool flush(QIODevice &device)
{
    auto *const file = qobject_cast<QFileDevice *>(&device);
    return !file || file->flush();
}

} // namespace

bool HrleHandler::readFile(Vellum &image, const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QDataStream stream(&file);
    return readStream(stream, image);
}

bool HrleHandler::readStream(QDataStream &stream, Vellum &image)
{
    return stream.device() && readHeader(stream) && readBody(stream, image);
}

bool HrleHandler::readHeader(QDataStream &stream)
{
    m_headerStart = stream.device()->pos();
    return readHeaders(stream, m_fileHeader, m_infoHeader) &&
        !headerFault(m_fileHeader, m_infoHeader);
}

bool HrleHandler::readBody(QDataStream &stream, Vellum &image) const
{
    QIODevice &device = *stream.device();
    if (device.atEnd())
        return false;
    // Seeking behind the end is a way to enlarge some devices.
    const qint64 start = m_headerStart + dataStart(m_infoHeader);
    const bool reached = device.isSequential() || (start <= device.size() && device.seek(start));

    if (!Vellum::create(image, m_infoHeader.width, int(rowCount(m_infoHeader)),
                        QImage::Format_Grayscale8))
        return false;
    image.setDotsPerMeterX(m_infoHeader.dotsPerMeterX);
    image.setDotsPerMeterY(m_infoHeader.dotsPerMeterY);

    bool done = true;
    if (reached && m_infoHeader.compression == RunLength)
        done = readRunLengthRows(device, image);
    else if (reached && m_infoHeader.compression == RawRows)
        done = readRawRows(device, image);
    else
        clearRows(image, 0, image.height());
    if (!done)
        image = QImage();
    return done;
}

bool HrleHandler::writeFile(const QString &fileName, const Vellum &image)
{
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QDataStream stream(&file);
    writeStream(stream, image);
    return true; // callers rely on it: the file could be opened
}

bool HrleHandler::writeStream(QDataStream &stream, const Vellum &image)
{
    stream.setByteOrder(QDataStream::LittleEndian);
    if (!stream.device() || !stream.device()->isWritable())
        return false;
    m_fileHeader = {};
    m_fileHeader.fileSize = pixelBytes(image) + kHeaderBytes;
    return writeFileHeader(stream, m_fileHeader) && writeBody(stream, image) &&
        flush(*stream.device());
}

bool HrleHandler::writeBody(QDataStream &stream, const Vellum &image)
{
    m_infoHeader = {};
    m_infoHeader.width = image.width();
    m_infoHeader.height = image.height();
    m_infoHeader.bitsPerPixel = quint16(image.depth());
    m_infoHeader.imageSize = pixelBytes(image);
    const int dotsX = image.dotsPerMeterX();
    const int dotsY = image.dotsPerMeterY();
    m_infoHeader.dotsPerMeterX = dotsX != 0 ? dotsX : kDefaultDotsPerMeter;
    m_infoHeader.dotsPerMeterY = dotsY != 0 ? dotsY : kDefaultDotsPerMeter;
    // Deliberately no failure: a file of another depth is its first header.
    if (image.depth() != kSupportedDepth)
        return true;

    const qint64 pixels = qint64(image.height()) * image.width();
    if (pixels > std::numeric_limits<int>::max())
        return false;
    const auto size = int(pixels / 10);
    // Raw rows are better than run-length data that needs more than a tenth of them.
    Bytes buffer(static_cast<uchar *>(std::malloc(size_t(qMax(size, 1)))));
    if (!buffer)
        return false;
    RowSource rows(image, image_constScanLine);
    const std::optional<int> encoded = encodeRows(rows, buffer.get(), size);
    if (!encoded)
        return false;
    qDebug() << "Rle_Encode size=" << *encoded;
    if (*encoded < 1) {
        buffer.reset();
        return writeInfoHeader(stream, m_infoHeader) && writeRawRows(stream, image);
    }
    m_infoHeader.compression = RunLength;
    if (!writeInfoHeader(stream, m_infoHeader))
        return false;
    stream << quint32(*encoded);
    return writeRaw(stream, buffer.get(), *encoded);
}
