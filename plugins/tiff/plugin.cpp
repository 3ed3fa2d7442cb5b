#include "shared/plugin.h"

#include "tiff/handler.h"

namespace vellum::plugin::tiff {

class TiffPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "tiff.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        return plugin::capabilities(device, format, {"tiff", "tif"}, isTiff);
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        auto *const handler = new TiffHandler;
        handler->setDevice(device);
        handler->setFormat(format.isEmpty() ? QByteArrayLiteral("tiff") : format);
        return handler;
    }
};

} // namespace vellum::plugin::tiff

#include "plugin.moc"
