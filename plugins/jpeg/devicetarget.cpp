#include "jpeg/devicetarget.h"

#include "shared/device.h"

namespace vellum::plugin {

namespace {

constexpr std::size_t kBufferBytes = 64 << 10;

} // namespace

DeviceTarget::DeviceTarget(QIODevice &device)
    : jpeg_destination_mgr(), m_device(device), m_buffer(kBufferBytes)
{
    init_destination = [](j_compress_ptr codec) {
        static_cast<DeviceTarget *>(codec->dest)->reset();
    };
    empty_output_buffer = [](j_compress_ptr codec) -> boolean {
        // The whole buffer, whatever free_in_buffer says: so libjpeg wants it.
        static_cast<DeviceTarget *>(codec->dest)->flush(codec, kBufferBytes);
        return TRUE;
    };
    term_destination = [](j_compress_ptr codec) {
        auto *const self = static_cast<DeviceTarget *>(codec->dest);
        self->flush(codec, kBufferBytes - self->free_in_buffer);
    };
}

void DeviceTarget::reset()
{
    next_output_byte = m_buffer.data();
    free_in_buffer = m_buffer.size();
}

void DeviceTarget::flush(j_compress_ptr codec, std::size_t bytes)
{
    if (bytes > 0 && !writeExactly(m_device, m_buffer.data(), qint64(bytes)))
        ERREXIT(codec, JERR_FILE_WRITE);
    reset();
}

} // namespace vellum::plugin
