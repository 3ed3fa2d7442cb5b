// Which library this is, what it stands on, and what of the processor it uses: for reports.
#pragma once

#include <vellum/export.h>

#include <QList>
#include <QString>
#include <QStringList>

namespace vellum {

/// A library and the version of it that this process uses.
struct Component
{
    QString name; ///< as the library calls itself, such as "libpng"
    QString version; ///< such as "1.6.39"
};

/// The version of this library, such as "0.1.0".
VELLUM_EXPORT QString libraryVersion();

/// Qt, Little CMS, and what the library's own image-format plugins say they stand on.
///
/// Versions are those that are loaded, not those of the headers that were compiled, save for
/// libraries that tell neither their callers nor anybody else. Loads the plugins that Qt finds, so
/// call registerPlugins() before; those of others are left alone. May be called from any thread.
VELLUM_EXPORT QList<Component> components();

/// The vector instructions in use, as processors call them, such as "SSE2" and "SSE4.1"; empty
/// when only the portable forms are. They differ in speed alone.
VELLUM_EXPORT QStringList vectorInstructions();

} // namespace vellum
