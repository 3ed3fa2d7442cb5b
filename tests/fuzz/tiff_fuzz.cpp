// Any bytes, as a TIFF file: every page must come to an end in both kinds of image, with the
// same pixels, and what was read can be written.

#include <vellum/vellum.h>

#include <QBuffer>
#include <QSize>
#include <QVariant>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <tiff/handler.h>

namespace {

using vellum::plugin::tiff::TiffHandler;

constexpr qint64 kMostPixels = 1 << 18; // larger images only make fuzzing slow
constexpr int kMostPages = 3;

void demand(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

bool sameRows(const Vellum &a, const Vellum &b)
{
    if (a.size() != b.size() || a.format() != b.format())
        return false;
    const auto bytes = size_t(qint64(a.width()) * a.depth() / 8);
    for (int y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.scanLineEx(y), b.scanLineEx(y), bytes) != 0)
            return false;
    }
    return true;
}

bool readPage(QByteArray bytes, int page, Vellum &image, const QRect &clip, const QSize &scaled)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    TiffHandler handler;
    handler.setDevice(&buffer);
    if (!handler.jumpToImage(page))
        return false;
    const QSize size = handler.option(QImageIOHandler::Size).toSize();
    if (size.isEmpty() || qint64(size.width()) * size.height() > kMostPixels)
        return false;
    handler.option(QImageIOHandler::Description);
    handler.setOption(QImageIOHandler::ClipRect, clip);
    handler.setOption(QImageIOHandler::ScaledSize, scaled);
    const bool wasRead = handler.read(&image);
    image.freeChannelsData();
    return wasRead;
}

void silence(QtMsgType, const QMessageLogContext &, const QString &) { }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const auto previous = qInstallMessageHandler(silence); // there is no cmyk.icm here
    Q_UNUSED(previous);
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    for (int page = 0; page < kMostPages; ++page) {
        Vellum plain;
        if (!readPage(bytes, page, plain, QRect(), QSize()))
            continue;
        Vellum big;
        demand(Vellum::createBig(big, plain.width(), plain.height(), plain.format()), "memory");
        demand(readPage(bytes, page, big, QRect(), QSize()), "a big image can be read too");
        demand(big.isBigImage(), "a storage that fits is kept");
        demand(sameRows(plain, big), "both have the same pixels");

        Vellum part;
        readPage(bytes, page, part, QRect(plain.width() / 3, plain.height() / 2, 40, 30),
                 QSize(7, 11));
        QBuffer written;
        written.open(QIODevice::WriteOnly);
        TiffHandler writer;
        writer.setDevice(&written);
        writer.setOption(QImageIOHandler::SubType, size % 2 ? "lzw" : "tiled");
        demand(writer.write(plain), "what was read can be written");
    }
    return 0;
}
