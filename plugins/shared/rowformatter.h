// Decoded rows in the format of the image: inks to RGB, indices to colours.
#pragma once

#include "shared/colorinput.h"
#include "shared/picture.h"

#include <optional>
#include <vector>

namespace vellum::plugin {

class RowFormatter
{
public:
    /// \param to     picture.format, or what averagedFormat() answers for it
    /// \param width  pixels per row
    RowFormatter(const Picture &picture, QImage::Format to, int width);

    /// Whether rows change at all.
    bool isNeeded() const { return m_colorInput || m_from != m_to; }

    QImage::Format format() const { return m_to; }

    /// \a decoded in format(): the row itself, or one that is valid until the next call.
    const uchar *format(const uchar *decoded);

private:
    std::optional<ColorInput> m_colorInput;
    QImage::Format m_from;
    QImage::Format m_to;
    int m_width;
    QVector<QRgb> m_colorTable;
    std::vector<uchar> m_row;
};

} // namespace vellum::plugin
