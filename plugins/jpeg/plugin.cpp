#include "shared/plugin.h"

#include "jpeg/jpeghandler.h"
#include "jpeg/library.h"

#include <QImageIOPlugin>
#include <QVariantMap>

namespace vellum::plugin {

class JpegPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "jpeg.json")

    /// What the plugin stands on, versions by name, for vellum::components().
    Q_PROPERTY(QVariantMap codecs READ codecs CONSTANT)

public:
    QVariantMap codecs() const
    {
#ifdef LIBJPEG_TURBO_VERSION // the one it was built with: it tells no other
        return {
            { QStringLiteral("libjpeg-turbo"),
              QStringLiteral(QT_STRINGIFY(LIBJPEG_TURBO_VERSION)) }};
#else
        return {{QStringLiteral("libjpeg"), QString::number(JPEG_LIB_VERSION / 10.0)}};
#endif
    }

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
