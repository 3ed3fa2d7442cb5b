#include "shared/plugin.h"

#include "png/pnghandler.h"

namespace vellum::plugin {

class PngPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "png.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        return plugin::capabilities(device, format, {QByteArrayLiteral("png")}, isPng);
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        auto *const handler = new PngHandler;
        handler->setDevice(device);
        handler->setFormat(format.isEmpty() ? QByteArrayLiteral("png") : format);
        return handler;
    }
};

} // namespace vellum::plugin

#include "plugin.moc"
