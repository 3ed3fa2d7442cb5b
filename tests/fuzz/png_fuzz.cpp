// Any bytes, as a PNG file: every read must come to an end, both storages get the same pixels, and
// what was read can be written and read again.

#include <vellum/vellum.h>

#include <QBuffer>
#include <QVariant>
#include <QtEndian>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <png/pnghandler.h>
#include <zlib.h>

namespace {

using vellum::plugin::PngHandler;

constexpr qint64 kMostPixels = 1 << 18; // larger images only make fuzzing slow

void demand(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

/// The file with the checksums that its chunks should have: without them no change of a byte would
/// get any further.
QByteArray withChecksums(QByteArray bytes)
{
    constexpr qint64 kSignature = 8;
    constexpr qint64 kFrame = 12; // length, type and checksum
    for (qint64 at = kSignature; at + kFrame <= bytes.size();) {
        char *const chunk = bytes.data() + at;
        const qint64 length = qFromBigEndian<quint32>(chunk);
        if (at + kFrame + length > bytes.size())
            break;
        const uLong crc =
            crc32(0, reinterpret_cast<const Bytef *>(chunk + 4), static_cast<uInt>(length + 4));
        qToBigEndian(quint32(crc), chunk + 8 + length);
        at += kFrame + length;
    }
    return bytes;
}

struct Request
{
    QRect clip;
    QSize scaled;
};

/// \return false also for pictures that are too large to be worth the time
bool read(QByteArray bytes, QImage &image, const Request &request = {})
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    PngHandler handler;
    handler.setDevice(&buffer);
    const QSize size = handler.option(QImageIOHandler::Size).toSize();
    if (size.isEmpty() || qint64(size.width()) * size.height() > kMostPixels)
        return false;
    static_cast<void>(handler.option(QImageIOHandler::Description));
    static_cast<void>(handler.option(QImageIOHandler::ImageTransformation));
    handler.setOption(QImageIOHandler::ClipRect, request.clip);
    handler.setOption(QImageIOHandler::ScaledSize, request.scaled);
    return handler.read(&image);
}

QByteArray write(const QImage &image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    PngHandler handler;
    handler.setDevice(&buffer);
    handler.setOption(QImageIOHandler::CompressionRatio, 1);
    demand(handler.write(image), "what was read can be written");
    return buffer.data();
}

bool sameRows(const Vellum &a, const Vellum &b)
{
    if (a.size() != b.size() || a.format() != b.format())
        return false;
    const auto bytes = size_t(qint64(a.width()) * a.depth() / 8); // whole ones
    for (int y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.scanLineEx(y), b.scanLineEx(y), bytes) != 0)
            return false;
    }
    return true;
}

void silence(QtMsgType, const QMessageLogContext &, const QString &) { }

void tryFile(const QByteArray &bytes)
{
    Vellum plain;
    plain.setReadOptions(vellum::KeepDamaged);
    if (!read(bytes, plain))
        return;
    Vellum big;
    demand(Vellum::createBig(big, plain.width(), plain.height(), plain.format()), "memory");
    big.setReadOptions(vellum::KeepDamaged);
    demand(read(bytes, big), "a big image can be read too");
    demand(big.isBigImage(), "a storage that fits is kept");
    demand(sameRows(plain, big), "both have the same pixels");

    QImage image;
    const bool isWhole = read(bytes, image);
    Vellum part;
    const Request request = {QRect(image.width() / 3, image.height() / 2, 40, 30), QSize(7, 11)};
    demand(!read(bytes, part, request) || part.size() == request.scaled, "the size asked for");

    QImage again;
    demand(read(write(plain), again), "written files can be read");
    demand(again.size() == plain.size(), "the size comes back");
    if (isWhole && image.depth() > 8) {
        demand(read(write(image), again), "written files can be read");
        demand(again == image, "pixels come back");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const auto previous = qInstallMessageHandler(silence); // there is no cmyk.icm here
    Q_UNUSED(previous);
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    const QByteArray valid = withChecksums(bytes);
    tryFile(valid);
    if (valid != bytes)
        tryFile(bytes);
    return 0;
}
