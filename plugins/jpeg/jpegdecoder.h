// JPEG files as rows.
#pragma once

#include "jpeg/devicesource.h"
#include "jpeg/errors.h"
#include "jpeg/intactrows.h"
#include "shared/decoder.h"

namespace vellum::plugin {

/// Decodes grey, YCbCr, RGB, CMYK and YCCK, in one scan or several. Grey comes as Grayscale8,
/// colours as RGB32, inks as the file has them: inverted, see picture.inputColors.
class JpegDecoder : public Decoder
{
public:
    /// \param device  open; must outlive the decoder
    explicit JpegDecoder(QIODevice &device);
    ~JpegDecoder() override;

    bool readHeader(Picture &picture) override;
    void obey(unsigned int readOptions, Picture &picture) override;
    int maxExpansion() const override;
    QSize reduce(const QSize &atLeast) override;
    QRect start(const QRect &wanted) override;
    bool readRow(uchar *row, uchar *extra) override;
    void readEnd(Picture &picture) override;
    bool isDamaged() const override;

private:
    static void onWarning(j_common_ptr codec, int code);
    static void onProgress(j_common_ptr codec);
    bool setColors(Picture &picture);
    QByteArray readProfile();
    bool begin();
    QRect moveTo(const QRect &wanted);

    JpegErrors m_errors;
    DeviceSource m_source;
    IntactRows m_intact;
    jpeg_progress_mgr m_progress;
    jpeg_decompress_struct m_codec;
    qint64 m_fileBytes;
    bool m_isReady; // false once an error has ended all
};

} // namespace vellum::plugin
