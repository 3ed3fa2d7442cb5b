// The handlers of this plugin's formats.
#pragma once

#include "bitmap/bmpdecoder.h"
#include "bitmap/bmpencoder.h"
#include "bitmap/pnmdecoder.h"
#include "bitmap/pnmencoder.h"
#include "bitmap/xbmdecoder.h"
#include "bitmap/xbmencoder.h"
#include "bitmap/xpmdecoder.h"
#include "bitmap/xpmencoder.h"
#include "shared/imagehandler.h"

namespace vellum::plugin {

Q_DECLARE_LOGGING_CATEGORY(lcBitmap)

template <auto IsFormat, typename FormatDecoder, typename FormatEncoder>
class BitmapHandler : public ImageHandler
{
public:
    BitmapHandler() : ImageHandler(lcBitmap(), {}) { }

protected:
    bool recognises(QIODevice &device) const override { return IsFormat(device); }

    std::unique_ptr<Decoder> makeDecoder(QIODevice &device) const override
    {
        return std::make_unique<FormatDecoder>(device, category());
    }

    std::unique_ptr<Encoder> makeEncoder(QIODevice &device, const WriteOptions &) const override
    {
        return std::make_unique<FormatEncoder>(device, category());
    }
};

using BmpHandler = BitmapHandler<isBmp, BmpDecoder, BmpEncoder>;
using XbmHandler = BitmapHandler<isXbm, XbmDecoder, XbmEncoder>;
using XpmHandler = BitmapHandler<isXpm, XpmDecoder, XpmEncoder>;

/// Reads all three kinds under any of their keys; its format is then that of the file. Writes the
/// kind that the sub-type asks for, else that of its format.
class PnmHandler : public ImageHandler
{
public:
    PnmHandler() : ImageHandler(lcBitmap(), {SubType}) { }

protected:
    bool recognises(QIODevice &device) const override;
    std::unique_ptr<Decoder> makeDecoder(QIODevice &device) const override;
    std::unique_ptr<Encoder> makeEncoder(QIODevice &device,
                                         const WriteOptions &options) const override;
    QList<QByteArray> subTypes() const override;
};

} // namespace vellum::plugin
