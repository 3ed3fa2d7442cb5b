#include <plugins/recording/handler.h>

using namespace vellum::test;

class FirstPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "first.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        return recordedCapabilities("first", recorder().first, device, format);
    }
    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        return recordedHandler("first", recorder().first, device, format);
    }
};

#include "first.moc"
