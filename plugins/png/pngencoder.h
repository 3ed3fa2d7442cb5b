// PNG files, encoded row by row.
#pragma once

#include "png/pngcodec.h"
#include "shared/encoder.h"

namespace vellum::plugin {

class PngEncoder : public Encoder, private PngCodec
{
public:
    PngEncoder(QIODevice &device, const WriteOptions &options, const QLoggingCategory &category);
    ~PngEncoder() override;

    Encoding encodingFor(Encoding natural) const override { return natural; }
    bool writeHeader(const Picture &picture, Encoding encoding) override;
    bool writeRow(const uchar *row, const uchar *extra) override;
    bool writeEnd() override;

private:
    /// A colour type of PNG and how rows get there.
    struct Layout
    {
        int type = 0;
        int depth = 8;
        bool isInverted = false; ///< of one bit, 0 is white
    };

    static void writeData(png_structp png, png_bytep data, size_t bytes);
    static void flush(png_structp png);
    static Layout layoutFor(const Picture &picture, Encoding encoding);
    void setColorTable(const QVector<QRgb> &colors);
    void setTexts(const QVector<Text> &texts);
    [[nodiscard]] bool setProfile(const QByteArray &icc);

    WriteOptions m_options;
};

} // namespace vellum::plugin
