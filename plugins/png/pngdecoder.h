// PNG files, decoded row by row.
#pragma once

#include "png/pngcodec.h"
#include "shared/decoder.h"

namespace vellum::plugin {

class PngDecoder : public Decoder, private PngCodec
{
public:
    PngDecoder(QIODevice &device, const QLoggingCategory &category);
    ~PngDecoder() override;

    bool readHeader(Picture &picture) override;
    int maxExpansion() const override { return m_maxExpansion; }
    QRect start(const QRect &wanted) override;
    QVector<Lattice> lattices() const override;
    bool readRow(uchar *row, uchar *extra) override;
    bool foresee(int lastRow, Picture &picture) override;
    void readEnd(Picture &picture) override;

private:
    /// Texts and profiles expand when they are read: this is what they and libpng itself get.
    static constexpr size_t kMostMetadata = 32 << 20;

    static png_voidp allocate(png_structp png, png_alloc_size_t bytes);
    static void release(png_structp png, png_voidp memory);
    static void readData(png_structp png, png_bytep out, size_t bytes);
    QImage::Format chooseFormat();
    void chooseColors(Picture &picture) const;
    QVector<QRgb> colorTable() const;
    QVector<QRgb> greyTable() const;
    QVector<Text> texts() const;
    QByteArray exif() const;

    size_t m_memory = 0; // that libpng has
    size_t m_mostMemory = kMostMetadata;
    QSize m_size;
    int m_type = 0; // as stored
    int m_depth = 0;
    int m_maxExpansion = 1;
    qint64 m_rowsLeft = 0;
};

} // namespace vellum::plugin
