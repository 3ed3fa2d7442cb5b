// A QIODevice as libjpeg reads it.
#pragma once

#include "jpeg/library.h"

#include <QIODevice>

#include <vector>

namespace vellum::plugin {

/// Where a decompressor gets its bytes from. When the device ends among pixels it gets end markers,
/// as often as it asks; when it ends between the scans of a picture it gets nothing any more, and
/// libjpeg's functions say that they are waiting.
class DeviceSource : public jpeg_source_mgr
{
    Q_DISABLE_COPY(DeviceSource)

public:
    /// \param device  open; must outlive the source
    explicit DeviceSource(QIODevice &device);

    /// Whether more was asked for than the device holds.
    bool hasEnded() const { return m_hasEnded; }

    /// Puts the device behind the last byte that was used, where it can be put.
    void giveBack();

private:
    bool fill(j_decompress_ptr codec);
    void skip(j_decompress_ptr codec, long bytes);

    QIODevice &m_device;
    std::vector<JOCTET> m_buffer;
    bool m_hasEnded = false;
};

} // namespace vellum::plugin
