// Qt's image-format plugins, as Qt itself finds them.
#pragma once

#include <QList>
#include <QStringList>

class QImageIOPlugin;

namespace vellum::io {

/// What a plugin says of itself without being loaded.
struct ImagePlugin
{
    int index; ///< for pluginInstance()
    QStringList keys; ///< format names
    QStringList mimeTypes; ///< one per key
    bool knowsVellum; ///< metadata "Vellum": true: it fills and reads a Vellum, big ones too
    bool writesChains; ///< metadata "VellumPages": true: it writes the images linked to one, too
    bool tellsRowOrder; ///< metadata "VellumRows": true: it tells kReadOrder and kWriteOrder
    bool writesCmyk; ///< metadata "VellumCmyk": true: it writes CMYK when that has been prepared
};

/// All plugins in the folders "imageformats" of the application's library paths, in the order in
/// which they are asked. May be called from any thread.
QList<ImagePlugin> imagePlugins();

/// The plugin behind \a plugin, loaded when it is first asked for and kept for the process; null
/// when it cannot be loaded.
QImageIOPlugin *pluginInstance(const ImagePlugin &plugin);

} // namespace vellum::io
