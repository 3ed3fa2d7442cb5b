#include "jpeg/jpeghandler.h"

#include "jpeg/errors.h"
#include "jpeg/jpegdecoder.h"
#include "jpeg/jpegencoder.h"
#include "jpeg/sampling.h"
#include "shared/device.h"

namespace vellum::plugin {

bool isJpeg(QIODevice &device) { return startsWith(device, QByteArrayLiteral("\xff\xd8\xff")); }

JpegHandler::JpegHandler()
    : ImageHandler(jpegLog(), {Quality, SubType, Description, OptimizedWrite, ProgressiveScanWrite})
{
}

bool JpegHandler::recognises(QIODevice &device) const { return isJpeg(device); }

std::unique_ptr<Decoder> JpegHandler::makeDecoder(QIODevice &device) const
{
    return std::make_unique<JpegDecoder>(device);
}

std::unique_ptr<Encoder> JpegHandler::makeEncoder(QIODevice &device,
                                                  const WriteOptions &options) const
{
    return std::make_unique<JpegEncoder>(device, options);
}

QList<QByteArray> JpegHandler::subTypes() const { return samplingNames(); }

} // namespace vellum::plugin
