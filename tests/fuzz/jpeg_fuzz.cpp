// Any bytes, as a JPEG file: every read must come to an end, both storages get the same pixels, a
// part has those of the whole, and what was read can be written and read again.

#include <vellum/vellum.h>

#include <QBuffer>
#include <QVariant>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <jpeg/jpeghandler.h>

namespace {

using vellum::plugin::JpegHandler;

constexpr qint64 kMostPixels = 1 << 16; // larger images only make fuzzing slow

void demand(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
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
    JpegHandler handler;
    handler.setDevice(&buffer);
    const QSize size = handler.option(QImageIOHandler::Size).toSize();
    if (size.isEmpty() || qint64(size.width()) * size.height() > kMostPixels)
        return false;
    static_cast<void>(handler.option(QImageIOHandler::Description));
    static_cast<void>(handler.option(QImageIOHandler::ImageTransformation));
    static_cast<void>(handler.option(QImageIOHandler::SubType));
    handler.setOption(QImageIOHandler::ClipRect, request.clip);
    handler.setOption(QImageIOHandler::ScaledSize, request.scaled);
    return handler.read(&image);
}

QByteArray write(const QImage &image, bool progressive)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    JpegHandler handler;
    handler.setDevice(&buffer);
    handler.setOption(QImageIOHandler::ProgressiveScanWrite, progressive);
    demand(handler.write(image), "what was read can be written");
    return buffer.data();
}

/// Whether \a part has the pixels of \a whole from \a at on.
bool isPartOf(const Vellum &part, const Vellum &whole, QPoint at)
{
    if (part.format() != whole.format())
        return false;
    const int pixel = whole.depth() / 8;
    for (int y = 0; y < part.height(); ++y) {
        if (std::memcmp(part.scanLineEx(y), whole.scanLineEx(at.y() + y) + at.x() * pixel,
                        size_t(part.width()) * size_t(pixel)) != 0)
            return false;
    }
    return true;
}

void silence(QtMsgType, const QMessageLogContext &, const QString &) { }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const auto previous = qInstallMessageHandler(silence); // there is no cmyk.icm here
    Q_UNUSED(previous);
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));

    Vellum plain;
    plain.setReadOptions(vellum::KeepDamaged);
    if (!read(bytes, plain))
        return 0;
    Vellum big;
    demand(Vellum::createBig(big, plain.width(), plain.height(), plain.format()), "memory");
    big.setReadOptions(vellum::KeepDamaged);
    demand(read(bytes, big), "a big image can be read too");
    demand(big.isBigImage(), "a storage that fits is kept");
    demand(big.size() == plain.size() && isPartOf(big, plain, {}), "both have the same pixels");

    Vellum image;
    if (read(bytes, image)) {
        const QRect clip(image.width() / 3, image.height() / 2, image.width() / 2 + 1, 7);
        Vellum part;
        if (read(bytes, part, {clip, {}}))
            demand(isPartOf(part, image, clip.topLeft()), "a part has the pixels of the whole");
        Vellum small;
        demand(!read(bytes, small, {{}, QSize(7, 11)}) || small.size() == QSize(7, 11),
               "the size asked for");
    }

    Vellum again;
    demand(read(write(plain, size % 2 == 0), again), "written files can be read");
    demand(again.size() == plain.size(), "the size comes back");
    return 0;
}
