// A QIODevice as libjpeg writes it.
#pragma once

#include "jpeg/library.h"

#include <QIODevice>

#include <vector>

namespace vellum::plugin {

/// Where a compressor puts its bytes. A device that takes no more is an error.
class DeviceTarget : public jpeg_destination_mgr
{
    Q_DISABLE_COPY(DeviceTarget)

public:
    /// \param device  open; must outlive the target
    explicit DeviceTarget(QIODevice &device);

private:
    void reset();
    void flush(j_compress_ptr codec, std::size_t bytes);

    QIODevice &m_device;
    std::vector<JOCTET> m_buffer;
};

} // namespace vellum::plugin
