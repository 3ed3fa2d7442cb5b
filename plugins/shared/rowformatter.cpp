#include "shared/rowformatter.h"

#include "shared/pixelrows.h"

namespace vellum::plugin {

RowFormatter::RowFormatter(const Picture &picture, QImage::Format to, int width)
    : m_from(picture.format), m_to(to), m_width(width), m_colorTable(picture.colorTable)
{
    if (picture.inputColors != 0)
        m_colorInput.emplace(picture.inputColors, picture.format, picture.icc);
    if (isNeeded())
        m_row.resize(size_t(rowBytes(width, bitsPerPixel(to))));
}

const uchar *RowFormatter::format(const uchar *decoded)
{
    if (m_colorInput) // its formats can all be averaged, so there is nothing to look up
        m_colorInput->convert(m_row.data(), decoded, m_width);
    else if (m_from != m_to)
        lookUpColors(m_row.data(), m_to, decoded, m_from, m_width, m_colorTable);
    else
        return decoded;
    return m_row.data();
}

} // namespace vellum::plugin
