#include "bitmap/handlers.h"

#include <iterator>

namespace vellum::plugin {

// Silent until somebody asks for it, as with QT_LOGGING_RULES="vellum.plugin.*=true".
Q_LOGGING_CATEGORY(lcBitmap, "vellum.plugin.bitmap", QtFatalMsg)

bool PnmHandler::recognises(QIODevice &device) const
{
    const auto kind = pnmKind(device);
    if (kind)
        setFormat(keyOf(*kind));
    return kind.has_value();
}

std::unique_ptr<Decoder> PnmHandler::makeDecoder(QIODevice &device) const
{
    return std::make_unique<PnmDecoder>(device, category());
}

std::unique_ptr<Encoder> PnmHandler::makeEncoder(QIODevice &device,
                                                 const WriteOptions &options) const
{
    const QList<QByteArray> keys = subTypes();
    const int wanted = keys.indexOf(options.subType.toLower());
    const int kind = wanted >= 0 ? wanted : keys.indexOf(format().toLower());
    return std::make_unique<PnmEncoder>(device, kind >= 0 ? PnmKind(kind) : PnmKind::Colors);
}

QList<QByteArray> PnmHandler::subTypes() const
{
    return {std::begin(kPnmKeys), std::end(kPnmKeys)};
}

} // namespace vellum::plugin
