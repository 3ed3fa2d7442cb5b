#include "shared/device.h"

namespace vellum::plugin {

bool readExactly(QIODevice &device, void *out, qint64 bytes)
{
    for (auto *at = static_cast<char *>(out); bytes > 0;) {
        const qint64 got = device.read(at, bytes);
        if (got > 0) {
            at += got;
            bytes -= got;
        } else if (got < 0 || !device.isSequential() || !device.waitForReadyRead(-1)) {
            return false;
        }
    }
    return true;
}

bool writeExactly(QIODevice &device, const void *data, qint64 bytes)
{
    for (const auto *at = static_cast<const char *>(data); bytes > 0;) {
        const qint64 taken = device.write(at, bytes);
        if (taken <= 0)
            return false;
        at += taken;
        bytes -= taken;
    }
    return true;
}

bool startsWith(QIODevice &device, const QByteArray &magic)
{
    return device.peek(magic.size()) == magic;
}

qint64 bytesLeft(const QIODevice &device)
{
    return device.isSequential() ? -1 : qMax(qint64(0), device.size() - device.pos());
}

} // namespace vellum::plugin
