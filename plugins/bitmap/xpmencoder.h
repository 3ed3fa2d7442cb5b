// XPM files, encoded row by row.
#pragma once

#include "shared/encoder.h"

#include <QHash>
#include <QIODevice>
#include <QLoggingCategory>
#include <QTemporaryFile>

namespace vellum::plugin {

/// The format knows pixels that are transparent, none that are translucent: any alpha but 0 counts
/// as opaque.
///
/// All colours stand before the pixels. Rows whose colours are not known beforehand wait in a
/// temporary file, as numbers of 4 bytes.
class XpmEncoder : public Encoder
{
public:
    XpmEncoder(QIODevice &device, const QLoggingCategory &category);

    Encoding encodingFor(Encoding natural) const override;
    bool takesProfile() const override { return false; }
    bool writeHeader(const Picture &picture, Encoding encoding) override;
    bool writeRow(const uchar *row, const uchar *extra) override;
    bool writeEnd() override;

private:
    bool writeColors();
    bool storeRow(const uchar *row);
    bool writeStoredRows();
    template <typename IndexAt>
    bool writePixels(IndexAt indexAt);

    QIODevice &m_device;
    const QLoggingCategory &m_category;
    QSize m_size;
    int m_colorBytes = 0; // of a pixel that is no index: 3 or 4
    QVector<QRgb> m_colors;
    QHash<QRgb, quint32> m_indices; // of colours that were met
    int m_keyBytes = 1;
    QByteArray m_text; // of a row
    QVector<quint32> m_row; // of indices
    QTemporaryFile m_stored;
};

} // namespace vellum::plugin
