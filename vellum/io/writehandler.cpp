#include <vellum/io/writehandler_p.h>

#include <QImageIOPlugin>
#include <QVariant>

namespace vellum::io {

std::unique_ptr<QImageIOHandler> makeWritingHandler(const ImagePlugin &plugin, QIODevice *device,
                                                    const QByteArray &format)
{
    QImageIOPlugin *const instance = pluginInstance(plugin);
    if (!instance || !(instance->capabilities(device, format) & QImageIOPlugin::CanWrite))
        return nullptr;
    return std::unique_ptr<QImageIOHandler>(instance->create(device, format));
}

void passSettings(QImageIOHandler &handler, const WriteSettings &settings)
{
    const auto pass = [&handler](QImageIOHandler::ImageOption option, const QVariant &value) {
        if (handler.supportsOption(option))
            handler.setOption(option, value);
    };
    pass(QImageIOHandler::Quality, settings.quality);
    pass(QImageIOHandler::CompressionRatio, settings.compression);
    pass(QImageIOHandler::Gamma, settings.gamma);
    if (!settings.description.isEmpty())
        pass(QImageIOHandler::Description, settings.description);
    if (!settings.subType.isEmpty())
        pass(QImageIOHandler::SubType, settings.subType);
    pass(QImageIOHandler::OptimizedWrite, settings.optimizedWrite);
    pass(QImageIOHandler::ProgressiveScanWrite, settings.progressiveScanWrite);
}

} // namespace vellum::io
