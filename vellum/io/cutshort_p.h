// Files that end too soon and that Qt's decoders take for whole.
#pragma once

class QIODevice;

namespace vellum::io {

/// True when \a device is a BMP or JPEG file that ends before the picture does. Its position
/// stays. False for pipes, which cannot be asked.
[[nodiscard]] bool isCutShort(QIODevice &device);

} // namespace vellum::io
