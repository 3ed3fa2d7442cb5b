// What the plugin classes have in common.
#pragma once

#include <QImageIOPlugin>

namespace vellum::plugin {

/// What a plugin can do with \a device when asked for \a format: both directions for one of its
/// \a keys, none for another format, and for an empty format what the device allows.
/// \param canRead  peeks whether the device stands at a file of the plugin's
QImageIOPlugin::Capabilities capabilities(QIODevice *device, const QByteArray &format,
                                          const QList<QByteArray> &keys,
                                          bool (*canRead)(QIODevice &device));

} // namespace vellum::plugin
