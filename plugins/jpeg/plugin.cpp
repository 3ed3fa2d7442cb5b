#include "shared/plugin.h"

#include "jpeg/jpeghandler.h"

#include <QImageIOPlugin>

namespace vellum::plugin {

class JpegPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "jpeg.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        return plugin::capabilities(device, format, {"jpg", "jpeg"}, isJpeg);
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        auto *const handler = new JpegHandler;
        handler->setDevice(device);
        handler->setFormat(format.isEmpty() ? QByteArrayLiteral("jpeg") : format);
        return handler;
    }
};

} // namespace vellum::plugin

#include "plugin.moc"
