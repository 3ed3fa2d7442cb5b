#include <vellum/io/hrleheader_p.h>
#include <vellum/io/readavailable_p.h>

#include <QDataStream>
#include <QtEndian>

#include <limits>

namespace vellum::io {

bool readHeaders(QDataStream &stream, HrleFileHeader &file, HrleInfoHeader &info)
{
    stream.setByteOrder(QDataStream::LittleEndian);
    if (stream.status() != QDataStream::Ok)
        return false;
    QByteArray bytes(kHeaderBytes, '\0');
    if (readAvailable(*stream.device(), reinterpret_cast<uchar *>(bytes.data()), kHeaderBytes) !=
        kHeaderBytes) {
        stream.setStatus(QDataStream::ReadPastEnd);
        return false;
    }
    QDataStream in(bytes);
    in.setByteOrder(QDataStream::LittleEndian);
    in.readRawData(file.magic, sizeof file.magic);
    in >> file.fileSize >> file.reserved1 >> file.reserved2 >> file.dataOffset;
    in >> info.informationHeaderSize >> info.width >> info.height >> info.planes;
    in >> info.bitsPerPixel >> info.compression >> info.imageSize;
    in >> info.dotsPerMeterX >> info.dotsPerMeterY >> info.colorsUsed >> info.colorsImportant;
    return true;
}

std::optional<quint32> readCount(QIODevice &device)
{
    uchar bytes[kCountBytes];
    if (readAvailable(device, bytes, kCountBytes) != kCountBytes)
        return std::nullopt;
    return qFromLittleEndian<quint32>(bytes);
}

bool writeFileHeader(QDataStream &stream, const HrleFileHeader &file)
{
    stream.setByteOrder(QDataStream::LittleEndian);
    stream.writeRawData(file.magic, sizeof file.magic);
    stream << file.fileSize << file.reserved1 << file.reserved2 << file.dataOffset;
    return stream.status() == QDataStream::Ok;
}

bool writeInfoHeader(QDataStream &stream, const HrleInfoHeader &info)
{
    stream.setByteOrder(QDataStream::LittleEndian);
    stream << info.informationHeaderSize << info.width << info.height << info.planes;
    stream << info.bitsPerPixel << info.compression << info.imageSize;
    stream << info.dotsPerMeterX << info.dotsPerMeterY << info.colorsUsed << info.colorsImportant;
    return stream.status() == QDataStream::Ok;
}

const char *headerFault(const HrleFileHeader &file, const HrleInfoHeader &info)
{
    if (file.magic[0] != 'B' || file.magic[1] != 'M')
        return "it does not begin with the letters BM";
    if (info.planes != 1)
        return "the header's number of planes is not 1";
    if (info.bitsPerPixel != kSupportedDepth)
        return "its depth is not 8 bits per pixel";
    if (info.width < 1)
        return "the header's width is below 1";
    if (info.height == 0 || info.height == std::numeric_limits<qint32>::min())
        return "the header's height is not a valid one";
    if (rowCount(info) * info.width > kMostPixels)
        return "the header claims more than 1073741824 pixels";
    return nullptr;
}

} // namespace vellum::io

namespace vellum {

QString hrleSizeFault(const QSize &size)
{
    if (size.width() > io::kWidestRow)
        return QStringLiteral("%1 pixels are more than a row of .hrle can hold").arg(size.width());
    if (qint64(size.width()) * size.height() > io::kMostPixels) {
        return QStringLiteral("%1 x %2 pixels are more than the %3 that .hrle can hold")
            .arg(size.width())
            .arg(size.height())
            .arg(io::kMostPixels);
    }
    return {};
}

} // namespace vellum
