// BMP files, decoded row by row.
#pragma once

#include "bitmap/bmpheader.h"
#include "bitmap/bmpmasks.h"
#include "bitmap/bmprunlength.h"
#include "shared/decoder.h"

#include <QLoggingCategory>

#include <optional>
#include <vector>

namespace vellum::plugin {

class BmpDecoder : public Decoder
{
public:
    BmpDecoder(QIODevice &device, const QLoggingCategory &category);

    bool readHeader(Picture &picture) override;
    int maxExpansion() const override;
    QRect start(const QRect &wanted) override;
    bool readRow(uchar *row, uchar *extra) override;
    bool foresee(int lastRow, Picture &picture) override;
    void readEnd(Picture &picture) override;

private:
    qint64 rowBytes() const;
    void unpack(uchar *out) const;
    void unpackColors(uchar *out) const;
    void keepIndicesInTable(uchar *row) const;

    const QLoggingCategory &m_category;
    ByteReader m_bytes;
    BmpHeader m_header;
    std::optional<BmpMasks> m_masks;
    std::optional<BmpRunLength> m_runLength;
    std::vector<uchar> m_row; // as in the file
    bool m_isBroken = false;
};

} // namespace vellum::plugin
