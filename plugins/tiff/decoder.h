// TIFF files, decoded row by row.
#pragma once

#include "shared/decoder.h"
#include "tiff/pixels.h"
#include "tiff/rowsource.h"
#include "tiff/unpack.h"

namespace vellum::plugin::tiff {

class TiffDecoder : public Decoder
{
public:
    /// \param device  random-access; must outlive the decoder
    /// \param start   of the file in it
    /// \param page    which directory of the file, from 0 on
    TiffDecoder(QIODevice &device, qint64 start, int page);
    ~TiffDecoder() override;

    bool readHeader(Picture &picture) override;
    int maxExpansion() const override;
    QRect start(const QRect &wanted) override;
    bool readRow(uchar *row, uchar *extra) override;

private:
    bool isJustified() const;
    template <typename T>
    const T *samples();
    template <typename T>
    void convertRow(const PixelConverter<T> &converter, uchar *row, uchar *extra);
    template <typename T>
    void takeExtras(uchar *extra, const T *in) const;
    void copyBits(uchar *row) const;

    Directory m_directory;
    int m_page;
    Layout m_layout;
    PixelKind m_kind;
    SampleCode m_code {};
    std::unique_ptr<RowSource> m_source;
    std::unique_ptr<PixelConverter<uchar>> m_narrow; // the one for the samples' size
    std::unique_ptr<PixelConverter<quint16>> m_wide;
    std::vector<quint16> m_samples; // a row of them, 8 or 16 bits each
    int m_width = 0; // pixels of a row that are wanted
};

} // namespace vellum::plugin::tiff
