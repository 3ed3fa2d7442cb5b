// Reading, writing and judging the headers of an HRLE file.
#pragma once

#include <vellum/io/hrleheader.h>

#include <optional>

class QDataStream;
class QIODevice;

namespace vellum::io {

constexpr int kFileHeaderBytes = 14;
constexpr int kInfoHeaderBytes = 40;
constexpr int kHeaderBytes = kFileHeaderBytes + kInfoHeaderBytes;
constexpr int kCountBytes = 4; // in front of run-length data
constexpr int kSupportedDepth = 8;
constexpr qint64 kMostPixels = 0x40000000; // readers refuse more
constexpr int kWidestRow = 16777212; // a run's length has 24 bits, and rows are padded to 4 bytes

enum HrleCompression : quint32 { RawRows = 0, RunLength = 1 };

/// Where the pixel data begins, in bytes from the start of the headers.
constexpr qint64 dataStart(const HrleInfoHeader &info)
{
    return qint64(kFileHeaderBytes) + info.informationHeaderSize;
}

constexpr qint64 rowCount(const HrleInfoHeader &info)
{
    return info.height < 0 ? -qint64(info.height) : info.height;
}

/// Bytes of a row in the file, which is the stride of an 8-bit image.
constexpr qint64 rowBytes(const HrleInfoHeader &info) { return (qint64(info.width) + 3) / 4 * 4; }

/// Each switches the stream to little-endian first.
/// \return false when the stream fails or ends too soon
[[nodiscard]] bool readHeaders(QDataStream &stream, HrleFileHeader &file, HrleInfoHeader &info);
[[nodiscard]] bool writeFileHeader(QDataStream &stream, const HrleFileHeader &file);
[[nodiscard]] bool writeInfoHeader(QDataStream &stream, const HrleInfoHeader &info);

/// The number of bytes of run-length data, which stands before it; nothing when the device ends too
/// soon.
[[nodiscard]] std::optional<quint32> readCount(QIODevice &device);

/// Why a file with these headers is none that we read, as a clause for a person; null when it is.
[[nodiscard]] const char *headerFault(const HrleFileHeader &file, const HrleInfoHeader &info);

} // namespace vellum::io
