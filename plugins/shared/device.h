// Devices as codecs need them: whole reads, a look ahead, and one that only counts.
#pragma once

#include <QByteArray>
#include <QIODevice>

namespace vellum::plugin {

/// Reads exactly \a bytes bytes. A read of a sequential device, such as a pipe, may come in parts.
/// \return false when the device ends before
[[nodiscard]] bool readExactly(QIODevice &device, void *out, qint64 bytes);

/// Writes exactly \a bytes bytes. \return false when the device takes less
[[nodiscard]] bool writeExactly(QIODevice &device, const void *data, qint64 bytes);

/// Whether the device goes on with \a magic. Its position does not change.
///
/// A sequential device, such as a pipe, is waited for while what it shows may become \a magic, for
/// five seconds at most; once that was in vain, not again before it shows more.
bool startsWith(QIODevice &device, const QByteArray &magic);

/// The next \a bytes bytes, fewer at the end of the device. Waits as startsWith() does, whatever
/// they are.
QByteArray peekAll(QIODevice &device, int bytes);

/// Bytes from the position of \a device to its end; -1 when only reading would tell.
qint64 bytesLeft(const QIODevice &device);

/// A device that keeps nothing of what is written to it but the size.
class CountingDevice : public QIODevice
{
public:
    CountingDevice() { open(QIODevice::WriteOnly | QIODevice::Unbuffered); }

    qint64 size() const override { return m_size; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64 bytes) override
    {
        m_size = qMax(m_size, pos() + bytes); // codecs may go back to fill in a header
        return bytes;
    }

private:
    qint64 m_size = 0;
};

} // namespace vellum::plugin
