// The bytes of a device, one by one or many at once, and not one more than asked for.
#pragma once

#include <QByteArray>
#include <QIODevice>

#include <array>

namespace vellum::plugin {

/// Reads ahead without taking: after release() the device stands behind the last byte that was
/// handed out, so that what follows the picture is still there. That holds for pipes too.
class ByteReader
{
    Q_DISABLE_COPY(ByteReader)

public:
    static constexpr int kEnd = -1;

    explicit ByteReader(QIODevice &device) : m_device(device) { }

    /// The next byte, 0 to 255, or kEnd.
    int next() { return m_at < m_end || fill() ? uchar(m_chunk[size_t(m_at++)]) : kEnd; }

    /// Reads exactly \a bytes bytes. \return false when the device ends before
    [[nodiscard]] bool read(void *out, qint64 bytes);

    /// \return false when the device ends before
    [[nodiscard]] bool skip(qint64 bytes);

    /// At most \a bytes bytes; takes no memory for those that are not there.
    QByteArray readUpTo(qint64 bytes);

    /// At most \a bytes bytes from \a position on, counted as by position(), without moving;
    /// empty for devices that cannot go there.
    QByteArray peekAt(qint64 position, qint64 bytes);

    bool canSeek() const { return !m_device.isSequential(); }

    /// Bytes handed out or skipped so far.
    qint64 position() const { return m_before + m_at; }

    /// Moves the device to position().
    void release();

private:
    bool fill();

    QIODevice &m_device;
    std::array<char, 16384> m_chunk; // a look ahead from the device's position on
    int m_at = 0;
    int m_end = 0;
    qint64 m_before = 0; // handed out before the chunk
};

} // namespace vellum::plugin
