#include "shared/plugin.h"

#include "png/pnghandler.h"

#include <QVariantMap>

#include <png.h>
#include <zlib.h>

namespace vellum::plugin {

class PngPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "png.json")

    /// What the plugin stands on, versions by name, for vellum::components().
    Q_PROPERTY(QVariantMap codecs READ codecs CONSTANT)

public:
    QVariantMap codecs() const
    {
        return {{QStringLiteral("libpng"), QString::fromLatin1(png_get_libpng_ver(nullptr))},
                {QStringLiteral("zlib"), QString::fromLatin1(zlibVersion())}};
    }

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
