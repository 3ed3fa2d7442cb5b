// Where the library's own image-format plugins are, and how a program gets to use them.
#pragma once

#include <vellum/export.h>

#include <QString>

namespace vellum {

/// Makes Qt look for image-format plugins in the library's own folder before any other.
///
/// QImageReader, QImageWriter and all that is built on them then use the library's plugins, which
/// fill big images row by row and know profiles and CMYK; formats they lack come from where they
/// came from before. Nothing changes for other programs: the folder is none of Qt's own. Programs
/// that are not to be changed can be given it in the environment variable QT_PLUGIN_PATH.
///
/// Call it once a QCoreApplication exists and before the first image is read: Qt keeps the plugins
/// it has found. Calling it again is harmless.
/// \return false when the folder is not there
VELLUM_EXPORT bool registerPlugins();

/// The folder that holds "imageformats/" with the library's plugins: "vellum/plugins" beside the
/// library's file, and where it was to be installed when that is not there. May not exist.
VELLUM_EXPORT QString pluginFolder();

} // namespace vellum
