// TIFF files, encoded row by row.
#pragma once

#include "shared/encoder.h"
#include "tiff/stream.h"
#include "tiff/writeform.h"

#include <QTemporaryFile>

#include <memory>
#include <vector>

namespace vellum::plugin::tiff {

/// A file with one page or several: writeHeader() to writeEnd() for each, then finish().
class TiffEncoder : public Encoder
{
public:
    TiffEncoder(QIODevice &device, const WriteForm &form);
    ~TiffEncoder() override;

    Encoding encodingFor(Encoding natural) const override { return natural; }
    bool takesCmyk() const override { return true; }
    bool takesTranslucentTables() const override { return false; }
    void announce(const QVector<const QImage *> &pages) override;
    bool writeHeader(const Picture &picture, Encoding encoding) override;
    bool writeRow(const uchar *row, const uchar *extra) override;
    bool writeEnd() override;
    bool finish() override;

private:
    bool open();
    void describeSamples(const Picture &picture);
    void describeColors(const QVector<QRgb> &table);
    void describeBlocks();
    void interleave(uchar *out, const uchar *row, const uchar *extra) const;
    bool flush();
    bool writeTiles(int rows);

    QIODevice &m_device;
    WriteForm m_form;
    int m_pages = 1;
    int m_page = 0;
    std::unique_ptr<QTemporaryFile> m_spool; // for devices that cannot seek
    std::unique_ptr<WriteStream> m_stream;
    Handle m_handle; // uses the stream

    Encoding m_encoding = Encoding::Rgb8;
    QSize m_size;
    int m_bits = 8; // per sample
    int m_colors = 3; // samples per pixel without extra channels
    int m_extras = 0;
    int m_extraBytes = 1; // of a sample as it is handed over
    int m_pixelBits = 24;
    qint64 m_rowBytes = 0;
    int m_blockRows = 1;
    std::vector<uchar> m_rows; // of a strip, or a row of tiles
    std::vector<uchar> m_tile;
    int m_y = 0;
};

} // namespace vellum::plugin::tiff
