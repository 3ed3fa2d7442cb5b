#include "shared/device.h"

#include <QDeadlineTimer>
#include <QVariant>

namespace vellum::plugin {

namespace {

/// A device keeps here how many bytes it showed when it was last waited for in vain: many formats
/// ask one after the other what it holds, and only the first shall spend the time.
constexpr char kShownInVain[] = "_vellum_shownInVain";

bool wasInVain(const QIODevice &device, int shown)
{
    const QVariant before = device.property(kShownInVain);
    return before.isValid() && shown <= before.toInt();
}

/// The first \a bytes bytes, waiting as long as those that are there pass \a mayMatch.
template <typename MayMatch>
QByteArray peekWaiting(QIODevice &device, int bytes, MayMatch mayMatch)
{
    constexpr int kPatience = 5000; // milliseconds
    const QDeadlineTimer deadline(kPatience);
    QByteArray head = device.peek(bytes);
    while (head.size() < bytes && device.isSequential() && mayMatch(head) &&
           !wasInVain(device, head.size())) {
        const int shown = head.size();
        device.waitForReadyRead(int(deadline.remainingTime()));
        head = device.peek(bytes); // also of devices that cannot wait but give little at once
        if (head.size() <= shown)
            device.setProperty(kShownInVain, shown);
    }
    return head;
}

} // namespace

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
    const auto mayMatch = [&](const QByteArray &head) { return magic.startsWith(head); };
    return peekWaiting(device, magic.size(), mayMatch) == magic;
}

QByteArray peekAll(QIODevice &device, int bytes)
{
    return peekWaiting(device, bytes, [](const QByteArray &) { return true; });
}

qint64 bytesLeft(const QIODevice &device)
{
    return device.isSequential() ? -1 : qMax(qint64(0), device.size() - device.pos());
}

} // namespace vellum::plugin
