// Rows as JPEG files.
#pragma once

#include "jpeg/devicetarget.h"
#include "jpeg/errors.h"
#include "shared/encoder.h"

#include <vector>

namespace vellum::plugin {

/// Writes grey, YCbCr, and inks: inverted, with the marker by which others recognise that, as CMYK
/// or, with a sub-type that halves colours, as YCCK.
class JpegEncoder : public Encoder
{
public:
    /// \param device  open; must outlive the encoder
    JpegEncoder(QIODevice &device, const WriteOptions &options);
    ~JpegEncoder() override;

    Encoding encodingFor(Encoding natural) const override;
    bool takesCmyk() const override { return true; }
    bool writeHeader(const Picture &picture, Encoding encoding) override;
    bool writeRow(const uchar *row, const uchar *extra) override;
    bool writeEnd() override;

private:
    bool setUp(const Picture &picture);
    void setColors();
    bool writeMarkers(const Picture &picture);

    WriteOptions m_options;
    Encoding m_encoding = Encoding::Rgb8;
    JpegErrors m_errors;
    DeviceTarget m_target;
    jpeg_compress_struct m_codec;
    std::vector<uchar> m_inverted;
    bool m_isReady; // false once an error has ended all
};

} // namespace vellum::plugin
