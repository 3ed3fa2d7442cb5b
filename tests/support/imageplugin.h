// The library's image-format plugins, without Qt's search for them: Qt's own readers stay in
// place, to compare with.
#pragma once

#include <QByteArray>
#include <QImageIOHandler>
#include <QString>

#include <memory>

namespace vellum::test {

/// A handler of the plugin \a name (such as "png", which is also the format asked for, unless
/// \a format says another) for \a device; null, with a failure, when there is no such plugin.
std::unique_ptr<QImageIOHandler> makeHandler(const QString &name, QIODevice *device,
                                             const QByteArray &format = QByteArray());

} // namespace vellum::test
