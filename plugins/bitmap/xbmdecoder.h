// XBM files, decoded row by row.
#pragma once

#include "bitmap/bytereader.h"
#include "bitmap/ctokens.h"
#include "shared/decoder.h"

#include <QLoggingCategory>

namespace vellum::plugin {

bool isXbm(QIODevice &device); ///< Only peeks.

/// The bits may be an array of char or, as in the oldest files, of short.
class XbmDecoder : public Decoder
{
public:
    XbmDecoder(QIODevice &device, const QLoggingCategory &category);

    bool readHeader(Picture &picture) override;
    int maxExpansion() const override { return 1; }
    QRect start(const QRect &wanted) override;
    bool readRow(uchar *row, uchar *extra) override;
    void readEnd(Picture &picture) override;

private:
    int nextWord();

    const QLoggingCategory &m_category;
    ByteReader m_bytes;
    CTokens m_tokens {m_bytes};
    QSize m_size;
    int m_bytesPerWord = 1;
};

} // namespace vellum::plugin
