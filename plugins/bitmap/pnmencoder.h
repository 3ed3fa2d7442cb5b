// PBM, PGM and PPM files, encoded row by row, always raw.
#pragma once

#include "bitmap/blackrows.h"
#include "bitmap/pnm.h"

#include <memory>

namespace vellum::plugin {

class PnmEncoder : public Encoder
{
public:
    PnmEncoder(QIODevice &device, PnmKind kind) : m_device(device), m_kind(kind) { }

    Encoding encodingFor(Encoding natural) const override;
    bool takesProfile() const override { return false; }
    bool writeHeader(const Picture &picture, Encoding encoding) override;
    bool writeRow(const uchar *row, const uchar *extra) override;
    bool writeEnd() override { return true; }

private:
    QIODevice &m_device;
    PnmKind m_kind;
    bool m_isWide = false; // samples of 16 bits
    std::unique_ptr<BlackRows> m_black; // for PBM
    std::vector<uchar> m_row; // as in the file, for samples of 16 bits
    size_t m_rowBytes = 0;
};

} // namespace vellum::plugin
