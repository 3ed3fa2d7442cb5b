#include "shared/plugin.h"

#include "bitmap/handlers.h"

#include <algorithm>
#include <iterator>

namespace vellum::plugin {

namespace {

struct Format
{
    const char *key;
    bool (*recognises)(QIODevice &device); ///< only peeks
    ImageHandler *(*make)();
};

template <typename Handler>
ImageHandler *make()
{
    return new Handler;
}

template <PnmKind Kind>
bool isPnmOf(QIODevice &device)
{
    return pnmKind(device) == Kind;
}

constexpr Format kFormats[] = {
    {"bmp", isBmp, make<BmpHandler>},
    {"pbm", isPnmOf<PnmKind::Bits>, make<PnmHandler>},
    {"pgm", isPnmOf<PnmKind::Greys>, make<PnmHandler>},
    {"ppm", isPnmOf<PnmKind::Colors>, make<PnmHandler>},
    {"xbm", isXbm, make<XbmHandler>},
    {"xpm", isXpm, make<XpmHandler>},
};

QList<QByteArray> keys()
{
    QList<QByteArray> all;
    for (const Format &format : kFormats)
        all.append(format.key);
    return all;
}

/// Null when there is none. Without \a key the file that \a device goes on with decides.
const Format *formatFor(QIODevice *device, const QByteArray &key)
{
    const auto found = std::find_if(std::begin(kFormats), std::end(kFormats), [&](const Format &f) {
        return key.isEmpty() ? device && f.recognises(*device) : key.toLower() == f.key;
    });
    return found == std::end(kFormats) ? nullptr : found;
}

} // namespace

class BitmapPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "bitmap.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        return plugin::capabilities(device, format, keys(),
                                    [](QIODevice &d) { return formatFor(&d, {}) != nullptr; });
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &key) const override
    {
        const Format *const format = formatFor(device, key);
        auto *const handler = format ? format->make() : make<BmpHandler>();
        handler->setDevice(device);
        handler->setFormat(format ? QByteArray(format->key) : key);
        return handler;
    }
};

} // namespace vellum::plugin

#include "plugin.moc"
