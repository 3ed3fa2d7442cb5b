#include "jpeg/devicesource.h"

namespace vellum::plugin {

namespace {

constexpr std::size_t kBufferBytes = 64 << 10;

/// What there is, up to \a bytes; waits for more only when there is nothing.
qint64 readSome(QIODevice &device, JOCTET *out, qint64 bytes)
{
    for (;;) {
        const qint64 got = device.read(reinterpret_cast<char *>(out), bytes);
        if (got != 0 || !device.isSequential() || !device.waitForReadyRead(-1))
            return got;
    }
}

} // namespace

DeviceSource::DeviceSource(QIODevice &device)
    : jpeg_source_mgr(), m_device(device), m_buffer(kBufferBytes)
{
    init_source = [](j_decompress_ptr) {};
    fill_input_buffer = [](j_decompress_ptr codec) -> boolean {
        return static_cast<DeviceSource *>(codec->src)->fill(codec);
    };
    skip_input_data = [](j_decompress_ptr codec, long bytes) {
        static_cast<DeviceSource *>(codec->src)->skip(codec, bytes);
    };
    resync_to_restart = jpeg_resync_to_restart;
    term_source = [](j_decompress_ptr) {};
}

namespace {

/// Between scans, or behind the last one.
bool isBetweenScans(const jpeg_decompress_struct &codec)
{
    return codec.input_scan_number > 0 && codec.input_iMCU_row >= codec.total_iMCU_rows;
}

} // namespace

bool DeviceSource::fill(j_decompress_ptr codec)
{
    const qint64 got =
        m_hasEnded ? 0 : readSome(m_device, m_buffer.data(), qint64(m_buffer.size()));
    next_input_byte = m_buffer.data();
    bytes_in_buffer = std::size_t(qMax(got, qint64(0)));
    if (got > 0)
        return true;
    if (!m_hasEnded) {
        m_hasEnded = true;
        WARNMS(codec, JWRN_JPEG_EOF);
    }
    if (isBetweenScans(*codec))
        return false; // an end marker could be taken for the content of another
    static constexpr JOCTET kEnd[] = {0xff, JPEG_EOI};
    next_input_byte = kEnd;
    bytes_in_buffer = sizeof kEnd;
    return true;
}

void DeviceSource::skip(j_decompress_ptr codec, long bytes)
{
    while (bytes > long(bytes_in_buffer)) {
        bytes -= long(bytes_in_buffer);
        bytes_in_buffer = 0;
        if (!fill(codec) || m_hasEnded)
            return;
    }
    if (bytes > 0) {
        next_input_byte += bytes;
        bytes_in_buffer -= std::size_t(bytes);
    }
}

void DeviceSource::giveBack()
{
    if (!m_device.isSequential() && !m_hasEnded)
        m_device.seek(m_device.pos() - qint64(bytes_in_buffer));
    bytes_in_buffer = 0;
}

} // namespace vellum::plugin
