#include <vellum/image/rowstore_p.h>
#include <vellum/image/rowwindow_p.h>

#include <private/qimage_p.h>

namespace vellum::image {

RowWindow::RowWindow() = default;
RowWindow::~RowWindow() = default;

bool RowWindow::make(const QSize &size, QImage::Format format, int rows)
{
    m_store.reset();
    const bool known = format > QImage::Format_Invalid && format < QImage::NImageFormats;
    if (size.isEmpty() || !known)
        return false;
    const auto nominal = QImageData::calculateImageParameters(size.width(), size.height(),
                                                              qt_depthForFormat(format));
    if (!nominal.isValid())
        return false;
    m_size = size;
    m_format = format;
    m_store = RowStore::allocateWindow(nominal.bytesPerLine, size.height(), rows);
    return m_store != nullptr;
}

bool RowWindow::show(Vellum &image) const
{
    Vellum shown = Vellum::withoutRows(m_size.width(), m_size.height(), m_format);
    if (!shown.isNull())
        shown.m_rowBlocks = m_store;
    image = shown;
    return !image.isNull();
}

int RowWindow::rows() const
{
    return m_store ? int(qMin<qint64>(m_store->windowRows(), m_size.height())) : 0;
}

int RowWindow::rowsInOnePiece() const { return m_store ? m_store->rowsPerBlock : 0; }

} // namespace vellum::image
