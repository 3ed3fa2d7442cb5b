#include "shared/plugin.h"

#include <QIODevice>

namespace vellum::plugin {

QImageIOPlugin::Capabilities capabilities(QIODevice *device, const QByteArray &format,
                                          const QList<QByteArray> &keys,
                                          bool (*canRead)(QIODevice &device))
{
    if (!format.isEmpty()) {
        return keys.contains(format) ? QImageIOPlugin::CanRead | QImageIOPlugin::CanWrite
                                     : QImageIOPlugin::Capabilities();
    }
    QImageIOPlugin::Capabilities found;
    if (!device || !device->isOpen())
        return found;
    found.setFlag(QImageIOPlugin::CanRead, device->isReadable() && canRead(*device));
    found.setFlag(QImageIOPlugin::CanWrite, device->isWritable());
    return found;
}

} // namespace vellum::plugin
