#include "bitmap/bytereader.h"

#include "shared/device.h"

#include <cstring>

namespace vellum::plugin {

bool ByteReader::fill()
{
    release();
    for (;;) {
        const qint64 got = m_device.peek(m_chunk.data(), qint64(m_chunk.size()));
        if (got > 0) {
            m_end = int(got);
            return true;
        }
        if (got < 0 || !m_device.isSequential() || !m_device.waitForReadyRead(-1))
            return false;
    }
}

void ByteReader::release()
{
    // Bytes that were seen can be taken: nothing can fail here.
    static_cast<void>(readExactly(m_device, m_chunk.data(), m_at));
    m_before += m_at;
    m_at = 0;
    m_end = 0;
}

bool ByteReader::read(void *out, qint64 bytes)
{
    auto *to = static_cast<char *>(out);
    while (bytes > 0) {
        if (m_at == m_end && bytes >= qint64(m_chunk.size())) {
            release();
            m_before += bytes;
            return readExactly(m_device, to, bytes);
        }
        if (m_at == m_end && !fill())
            return false;
        const int count = int(qMin(bytes, qint64(m_end - m_at)));
        std::memcpy(to, m_chunk.data() + m_at, size_t(count));
        m_at += count;
        to += count;
        bytes -= count;
    }
    return true;
}

bool ByteReader::skip(qint64 bytes)
{
    const auto skipInChunk = [&] {
        const int count = int(qMin(bytes, qint64(m_end - m_at)));
        m_at += count;
        bytes -= count;
    };
    skipInChunk();
    if (bytes > 0 && canSeek()) {
        release();
        m_before += bytes;
        return bytes <= bytesLeft(m_device) && m_device.seek(m_device.pos() + bytes);
    }
    while (bytes > 0) {
        if (!fill())
            return false;
        skipInChunk();
    }
    return true;
}

QByteArray ByteReader::readUpTo(qint64 bytes)
{
    QByteArray all;
    while (bytes > 0 && (m_at < m_end || fill())) {
        const int count = int(qMin(bytes, qint64(m_end - m_at)));
        all.append(m_chunk.data() + m_at, count);
        m_at += count;
        bytes -= count;
    }
    return all;
}

QByteArray ByteReader::peekAt(qint64 position, qint64 bytes)
{
    if (!canSeek())
        return {};
    release();
    const qint64 here = m_device.pos();
    QByteArray found;
    if (m_device.seek(here - m_before + position))
        found = m_device.read(qMin(bytes, bytesLeft(m_device)));
    m_device.seek(here);
    return found;
}

} // namespace vellum::plugin
