#include "png/pnghandler.h"

#include "png/pngdecoder.h"
#include "png/pngencoder.h"
#include "shared/device.h"

namespace vellum::plugin {

namespace {

// Silent until somebody asks for it, as with QT_LOGGING_RULES="vellum.plugin.*=true".
Q_LOGGING_CATEGORY(lcPng, "vellum.plugin.png", QtFatalMsg)

} // namespace

bool isPng(QIODevice &device)
{
    return startsWith(device, QByteArray::fromRawData("\x89PNG\r\n\x1a\n", 8));
}

PngHandler::PngHandler() : ImageHandler(lcPng(), {Quality, CompressionRatio, Description}) { }

bool PngHandler::recognises(QIODevice &device) const { return isPng(device); }

std::unique_ptr<Decoder> PngHandler::makeDecoder(QIODevice &device) const
{
    return std::make_unique<PngDecoder>(device, category());
}

std::unique_ptr<Encoder> PngHandler::makeEncoder(QIODevice &device,
                                                 const WriteOptions &options) const
{
    return std::make_unique<PngEncoder>(device, options, category());
}

} // namespace vellum::plugin
