// PNG files.
#pragma once

#include "shared/imagehandler.h"

namespace vellum::plugin {

bool isPng(QIODevice &device); ///< Only peeks.

class PngHandler : public ImageHandler
{
public:
    PngHandler();

protected:
    bool recognises(QIODevice &device) const override;
    std::unique_ptr<Decoder> makeDecoder(QIODevice &device) const override;
    std::unique_ptr<Encoder> makeEncoder(QIODevice &device,
                                         const WriteOptions &options) const override;
};

} // namespace vellum::plugin
