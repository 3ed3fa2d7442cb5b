// XPM files, decoded row by row.
#pragma once

#include "bitmap/bytereader.h"
#include "bitmap/ctokens.h"
#include "shared/decoder.h"

#include <QHash>
#include <QLoggingCategory>

namespace vellum::plugin {

bool isXpm(QIODevice &device); ///< Only peeks.

/// Up to 256 colours make an indexed picture, more of them 32 bits. Of the colours that a file has
/// for several kinds of screen the best is taken.
class XpmDecoder : public Decoder
{
public:
    XpmDecoder(QIODevice &device, const QLoggingCategory &category);

    bool readHeader(Picture &picture) override;
    int maxExpansion() const override { return 4; } // a character can be 32 bits
    QRect start(const QRect &wanted) override;
    bool readRow(uchar *row, uchar *extra) override;
    void readEnd(Picture &picture) override;

private:
    const char *readValues();
    const char *readColors(Picture &picture);
    template <typename Put>
    bool readPixels(Put put);

    const QLoggingCategory &m_category;
    ByteReader m_bytes;
    CTokens m_tokens {m_bytes};
    QSize m_size;
    int m_colors = 0;
    int m_keyBytes = 0; // characters per pixel
    bool m_isIndexed = false;
    QHash<quint64, QRgb> m_pixels; // by their characters: indices or colours
};

} // namespace vellum::plugin
