// PBM, PGM and PPM files, plain and raw, decoded row by row.
#pragma once

#include "bitmap/bytereader.h"
#include "bitmap/pnm.h"
#include "shared/decoder.h"

#include <QLoggingCategory>

#include <vector>

namespace vellum::plugin {

/// Samples of more than 8 bits become 16; a largest value of its own is scaled to that of the
/// image. Files may follow each other on a device.
class PnmDecoder : public Decoder
{
public:
    PnmDecoder(QIODevice &device, const QLoggingCategory &category);

    bool readHeader(Picture &picture) override;
    int maxExpansion() const override { return 2; } // 24 bits become 32
    QRect start(const QRect &wanted) override;
    bool readRow(uchar *row, uchar *extra) override;
    void readEnd(Picture &picture) override;

private:
    /// The next number, saturated; -1 where there is none, or where the file ends with it though
    /// more must follow.
    int number();
    int nextOfText();
    bool readPlainBits(uchar *row);
    template <typename NextSample>
    void putRow(uchar *row, NextSample nextSample) const;
    int scaled(int sample) const { return m_levels[size_t(qMin(sample, m_most))]; }

    qint64 rawRowBytes() const;

    const QLoggingCategory &m_category;
    ByteReader m_bytes;
    PnmKind m_kind = PnmKind::Bits;
    bool m_isPlain = false;
    QSize m_size;
    int m_most = 1; // the largest value of a sample
    QImage::Format m_format = QImage::Format_Invalid;
    std::vector<quint16> m_levels; // what the values of samples become
    std::vector<uchar> m_row; // as in a raw file
    qint64 m_rowsLeft = 0;
    bool m_isBroken = false;
};

} // namespace vellum::plugin
