// How much memory there is.
#pragma once

#include <QtGlobal>

namespace vellum::io {

/// Bytes of memory that this process may have at most; the largest qint64 where the system does
/// not tell.
[[nodiscard]] qint64 machineMemory();

} // namespace vellum::io
