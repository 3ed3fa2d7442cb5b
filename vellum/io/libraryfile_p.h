// Where this library was loaded from.
#pragma once

#include <QString>

namespace vellum::io {

/// Path of the library's own file; empty where the system does not tell.
[[nodiscard]] QString libraryFile();

} // namespace vellum::io
