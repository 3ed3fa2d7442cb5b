#include "png/pnglatechunks.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <iterator>

namespace vellum::plugin {

namespace {

constexpr int kHeadBytes = 8; // length and kind
constexpr int kSumBytes = 4; // behind the content

/// Signature and head of a picture of one grey pixel: texts do not depend on what it is.
constexpr uchar kStart[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n', 0,    0,    0,
                            13,   'I', 'H', 'D', 'R',  0,    0,    0,    1,    0,    0,
                            0,    1,   8,   0,   0,    0,    0,    0x3a, 0x7e, 0x9b, 0x55};
constexpr uchar kPixels[] = {0, 0, 0, 0, 'I', 'D', 'A', 'T'};
constexpr uchar kEnd[] = {0, 0, 0, 0, 'I', 'E', 'N', 'D', 0xae, 0x42, 0x60, 0x82};

template <size_t N>
QByteArray bytesOf(const uchar (&bytes)[N])
{
    return {reinterpret_cast<const char *>(bytes), int(N)};
}

bool isWanted(const QByteArray &kind)
{
    constexpr std::array kWanted = {"tEXt", "zTXt", "iTXt", "eXIf"};
    return std::any_of(kWanted.begin(), kWanted.end(),
                       [&](const char *wanted) { return kind == wanted; });
}

bool isCritical(const QByteArray &kind) { return kind.at(0) >= 'A' && kind.at(0) <= 'Z'; }

/// The wanted chunks from position \a at on, which is that of the first chunk of pixels.
std::optional<QByteArray> collect(QIODevice &device, qint64 at, qint64 mostBytes, int mostChunks)
{
    QByteArray found;
    for (int chunks = 0; device.seek(at);) {
        const QByteArray head = device.read(kHeadBytes);
        if (head.size() < kHeadBytes)
            return QByteArray();
        const qint64 content = qFromBigEndian<quint32>(head.constData());
        const QByteArray kind = head.mid(4);
        const qint64 whole = kHeadBytes + content + kSumBytes;
        if (kind == "IEND")
            return head + device.read(kSumBytes) == bytesOf(kEnd) ? found : QByteArray();
        if (isCritical(kind) && kind != "IDAT")
            return std::nullopt;
        if (isWanted(kind)) {
            if (++chunks > mostChunks || found.size() + whole > mostBytes)
                return std::nullopt;
            found += head + device.read(content + kSumBytes);
        }
        at += whole;
        if (at > device.size())
            return QByteArray();
    }
    return std::nullopt;
}

} // namespace

std::optional<QByteArray> lateChunks(QIODevice &device, qint64 mostBytes, int mostChunks)
{
    if (device.isSequential())
        return std::nullopt;
    const qint64 start = device.pos();
    std::optional<QByteArray> chunks = collect(device, start - kHeadBytes, mostBytes, mostChunks);
    if (!device.seek(start))
        return std::nullopt;
    if (chunks && !chunks->isEmpty())
        chunks = bytesOf(kStart) + *chunks + bytesOf(kPixels);
    return chunks;
}

} // namespace vellum::plugin
