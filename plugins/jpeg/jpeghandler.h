// Reading and writing JPEG files for Qt.
#pragma once

#include "shared/imagehandler.h"

namespace vellum::plugin {

/// Whether \a device stands at a JPEG file; only peeks.
bool isJpeg(QIODevice &device);

/// Quality is 0 to 100, by default 75. Sub-types are those of samplingNames(): by default colours
/// are written as "420", and as "444" when the file holds inks. Progressive files and those with
/// optimised coding are a little smaller, and cost the memory of the whole picture to write.
/// Both sides are at most 65500 pixels.
class JpegHandler : public ImageHandler
{
public:
    JpegHandler();

protected:
    bool recognises(QIODevice &device) const override;
    std::unique_ptr<Decoder> makeDecoder(QIODevice &device) const override;
    std::unique_ptr<Encoder> makeEncoder(QIODevice &device,
                                         const WriteOptions &options) const override;
    QList<QByteArray> subTypes() const override;
};

} // namespace vellum::plugin
