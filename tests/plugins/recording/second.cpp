#include <plugins/recording/handler.h>

using namespace vellum::test;

class SecondPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "second.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        return recordedCapabilities("second", recorder().second, device, format);
    }
    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        return recordedHandler("second", recorder().second, device, format);
    }
};

#include "second.moc"
