#include "shared/plugin.h"

#include "tiff/handler.h"

#include <QVariantMap>

#include <tiffio.h>

namespace vellum::plugin::tiff {

namespace {

/// "4.5.0", of "LIBTIFF, Version 4.5.0" and a line of copyright.
QString tiffVersion()
{
    return QString::fromLatin1(TIFFGetVersion()).section(QLatin1Char('\n'), 0, 0).section(' ', -1);
}

} // namespace

class TiffPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "tiff.json")

    /// What the plugin stands on, versions by name, for vellum::components().
    Q_PROPERTY(QVariantMap codecs READ codecs CONSTANT)

public:
    QVariantMap codecs() const
    {
        return {{QStringLiteral("libtiff"), tiffVersion()},
                {QStringLiteral("libexif"), QStringLiteral(VELLUM_LIBEXIF_VERSION)}};
    }

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
