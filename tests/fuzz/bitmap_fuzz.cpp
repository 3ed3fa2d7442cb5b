// Any bytes, as a file of the small bitmap formats: every read must come to an end, both storages
// get the same pixels, and what was read can be written and read again.

#include <vellum/vellum.h>

#include <QBuffer>
#include <QVariant>

#include <bitmap/handlers.h>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using namespace vellum::plugin;

constexpr qint64 kMostPixels = 1 << 13; // larger images only make fuzzing slow

void demand(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

/// The handler for a file, or for writing under the same key.
std::unique_ptr<ImageHandler> makeHandler(const QByteArray &key)
{
    std::unique_ptr<ImageHandler> handler;
    if (key == "bmp")
        handler = std::make_unique<BmpHandler>();
    else if (key == "xbm")
        handler = std::make_unique<XbmHandler>();
    else if (key == "xpm")
        handler = std::make_unique<XpmHandler>();
    else
        handler = std::make_unique<PnmHandler>();
    handler->setFormat(key);
    return handler;
}

struct Request
{
    QRect clip;
    QSize scaled;
};

/// \return false also for pictures that are too large to be worth the time
bool read(QByteArray bytes, const QByteArray &key, QImage &image, const Request &request = {})
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto handler = makeHandler(key);
    handler->setDevice(&buffer);
    const QSize size = handler->option(QImageIOHandler::Size).toSize();
    if (size.isEmpty() || qint64(size.width()) * size.height() > kMostPixels)
        return false;
    handler->setOption(QImageIOHandler::ClipRect, request.clip);
    handler->setOption(QImageIOHandler::ScaledSize, request.scaled);
    return handler->read(&image);
}

QByteArray write(const QImage &image, const QByteArray &key)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    const auto handler = makeHandler(key);
    handler->setDevice(&buffer);
    demand(handler->write(image), "what was read can be written");
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

void tryFile(const QByteArray &bytes, const QByteArray &key)
{
    Vellum plain;
    plain.setReadOptions(vellum::KeepDamaged);
    if (!read(bytes, key, plain))
        return;
    Vellum big;
    demand(Vellum::createBig(big, plain.width(), plain.height(), plain.format()), "memory");
    big.setReadOptions(vellum::KeepDamaged);
    demand(read(bytes, key, big), "a big image can be read too");
    demand(big.isBigImage(), "a storage that fits is kept");
    demand(sameRows(plain, big), "both have the same pixels");

    QImage image;
    const bool isWhole = read(bytes, key, image);
    Vellum part;
    const Request request = {QRect(image.width() / 3, image.height() / 2, 40, 30), QSize(7, 11)};
    demand(!read(bytes, key, part, request) || part.size() == request.scaled, "the size asked for");

    QImage again;
    for (const char *const other : {"bmp", "pbm", "pgm", "ppm", "xbm", "xpm"}) {
        demand(read(write(plain, other), other, again), "written files can be read");
        demand(again.size() == plain.size(), "the size comes back");
    }
    if (!isWhole)
        return;
    demand(read(write(image, key), key, again), "written files can be read");
    // An XPM file may define colours that no pixel has.
    constexpr auto kAnyColor = QImage::Format_RGBA64;
    demand(again.convertToFormat(kAnyColor) == image.convertToFormat(kAnyColor),
           "pixels come back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const auto previous = qInstallMessageHandler(silence); // there is no cmyk.icm here
    Q_UNUSED(previous);
    QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    if (isBmp(buffer))
        tryFile(bytes, "bmp");
    if (const auto kind = pnmKind(buffer))
        tryFile(bytes, keyOf(*kind));
    if (isXbm(buffer))
        tryFile(bytes, "xbm");
    if (isXpm(buffer))
        tryFile(bytes, "xpm");
    return 0;
}
