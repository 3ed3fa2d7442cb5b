// BMP files, encoded row by row.
#pragma once

#include "shared/encoder.h"

#include <QIODevice>
#include <QLoggingCategory>

#include <vector>

namespace vellum::plugin {

/// Writes 1, 4, 8 and 24 bits without compression, and 32 bits with alpha, which together with
/// profiles needs headers that are newer than what some programs read.
class BmpEncoder : public Encoder
{
public:
    BmpEncoder(QIODevice &device, const QLoggingCategory &category);

    Encoding encodingFor(Encoding natural) const override;
    bool bottomUp() const override { return true; }
    bool writeHeader(const Picture &picture, Encoding encoding) override;
    bool writeRow(const uchar *row, const uchar *extra) override;
    bool writeEnd() override;

private:
    void pack(const uchar *in);

    QIODevice &m_device;
    const QLoggingCategory &m_category;
    int m_width = 0;
    int m_bits = 0;
    std::vector<uchar> m_row; // as in the file, padded
    QByteArray m_profile;
};

} // namespace vellum::plugin
