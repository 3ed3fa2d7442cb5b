// Marks what the shared library exports; everything else stays hidden.
#pragma once

#include <QtGlobal>

#if defined(vellum_EXPORTS) // defined by CMake while the library itself is compiled
#define VELLUM_EXPORT Q_DECL_EXPORT
#else
#define VELLUM_EXPORT Q_DECL_IMPORT
#endif
