// XBM files, encoded row by row.
#pragma once

#include "bitmap/blackrows.h"

#include <QIODevice>
#include <QLoggingCategory>

#include <memory>

namespace vellum::plugin {

class XbmEncoder : public Encoder
{
public:
    XbmEncoder(QIODevice &device, const QLoggingCategory &) : m_device(device) { }

    Encoding encodingFor(Encoding natural) const override
    {
        return BlackRows::encodingFor(natural);
    }
    bool takesProfile() const override { return false; }
    bool writeHeader(const Picture &picture, Encoding encoding) override;
    bool writeRow(const uchar *row, const uchar *extra) override;
    bool writeEnd() override;

private:
    QIODevice &m_device;
    std::unique_ptr<BlackRows> m_black;
    qint64 m_bytesWritten = 0; // of pixels
    QByteArray m_text;
};

} // namespace vellum::plugin
