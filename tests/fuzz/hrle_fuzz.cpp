// Any bytes, as an HRLE file: reading and checking must agree and come to an end.

#include <vellum/vellum.h>

#include <QBuffer>
#include <QDataStream>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr qint64 kMostBytes = 4 << 20; // of pixels; larger images only make fuzzing slow

void demand(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

vellum::HrleCheck check(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return vellum::checkHrle(buffer);
}

bool read(QByteArray bytes, Vellum &image)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QDataStream stream(&buffer);
    return HrleHandler().readStream(stream, image);
}

QByteArray write(const Vellum &image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    demand(HrleHandler().writeStream(stream, image), "what was read can be written");
    return buffer.data();
}

bool sameRows(const Vellum &a, const Vellum &b)
{
    if (a.size() != b.size())
        return false;
    for (int y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.scanLineEx(y), b.scanLineEx(y), size_t(a.bytesPerLine())) != 0)
            return false;
    }
    return true;
}

void silence(QtMsgType, const QMessageLogContext &, const QString &) { }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const auto previous = qInstallMessageHandler(silence); // the writer logs every size
    Q_UNUSED(previous);
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));

    const vellum::HrleCheck found = check(bytes);
    const bool complete = found.status == vellum::HrleCheck::Complete;
    demand(found.reason.isEmpty() == complete, "whatever is not complete has a reason");
    if ((qint64(found.width) + 3) * found.height > kMostBytes)
        return 0;

    Vellum image;
    const bool wasRead = read(bytes, image);
    demand(wasRead != image.isNull(), "a failed read leaves a null image");
    demand(wasRead || !complete, "a complete file can be read");
    if (!wasRead)
        return 0;
    demand(found.status != vellum::HrleCheck::NotHrle, "what can be read has a header");
    demand(image.size() == QSize(found.width, found.height), "the sizes agree");

    const QByteArray written = write(image);
    demand(check(written).status == vellum::HrleCheck::Complete, "written files are complete");
    Vellum again;
    demand(read(written, again), "written files can be read");
    demand(sameRows(image, again), "pixels come back");
    return 0;
}
