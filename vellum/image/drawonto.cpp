// Drawing in tiles, past the coordinates and the storage that QPainter knows.

#include <vellum/image/derived_p.h>
#include <vellum/image/drawable_p.h>
#include <vellum/image/imagedraw.h>
#include <vellum/image/pixelrect_p.h>
#include <vellum/image/vellum.h>
#include <vellum/scale/sampler_p.h>

namespace {

/// Well inside QPainter's coordinates, and a whole number of bytes in every format.
constexpr int kTileSide = 16384;
constexpr qint64 kTilePixels = 1 << 20;

/// The pixels of the image that is drawn on.
class Device
{
public:
    explicit Device(QImage &image) : m_image(image), m_big(Vellum::getVellum(&image))
    {
        if (m_big && !m_big->isBigImage())
            m_big = nullptr;
        if (!m_big)
            m_bits = image.bits(); // makes the image the only holder
    }

    /// What can be drawn on: a store may have narrower rows than the image.
    QRect rect() const
    {
        const qint64 stored = m_big ? m_big->storedBytesPerLine() : m_image.bytesPerLine();
        const qint64 width = qMin<qint64>(m_image.width(), stored * 8 / m_image.depth());
        return {0, 0, int(width), m_image.height()};
    }

    uchar *row(int y) const
    {
        return m_big ? m_big->scanLineEx(y) : m_bits + qptrdiff(y) * m_image.bytesPerLine();
    }

    bool isAt(const uchar *firstRow) const { return row(0) == firstRow; }

    /// How many of \a most rows from \a y on lie at the same distance from each other.
    int evenRows(int y, int most, qptrdiff &stride) const
    {
        stride = m_image.bytesPerLine();
        if (!m_big)
            return most;
        int count = 1;
        for (; count < most; ++count) {
            const uchar *const next = row(y + count);
            const qptrdiff step = next - row(y + count - 1);
            if (count == 1 && next && step >= m_big->storedBytesPerLine() && step < kMostStride)
                stride = step;
            if (!next || step != stride)
                break;
        }
        return count;
    }

    /// A QImage over the pixels of \a rect, whose left edge must start a byte.
    QImage over(const QRect &rect, qptrdiff stride) const
    {
        uchar *const start = row(rect.top()) + qint64(rect.left()) * m_image.depth() / 8;
        QImage image(start, rect.width(), rect.height(), int(stride), m_image.format());
        if (m_image.colorCount() > 0)
            image.setColorTable(m_image.colorTable());
        return image;
    }

private:
    static constexpr qptrdiff kMostStride = 0x7fffffff;

    QImage &m_image;
    Vellum *m_big; // null for a plain image
    uchar *m_bits = nullptr;
};

/// What is drawn, and how.
struct Picture
{
    const Vellum &image;
    QRect source; // in pixels of image
    QRect target; // in pixels of the device
    qreal opacity;
    QPainter::CompositionMode mode;
    Qt::ImageConversionFlags flags;

    /// Draws the part that lies in \a area of the device, over which \a tile is laid.
    bool draw(QImage &tile, const QPoint &tileTopLeft, const QRect &area) const
    {
        using namespace vellum::scale;
        Vellum piece(area.width(), area.height(), image.format());
        if (piece.isNull())
            return false;
        if (!vellum::image::isComplete(image))
            piece.fill(0U);
        if (image.colorCount() > 0)
            piece.setColorTable(image.colorTable());
        vellum::image::completeColorTable(piece);
        const auto order = vellum::image::bitOrderOf(image.format());
        const QRect part = area.translated(-target.topLeft());
        if (!sample(piece, image, {source, target.size(), part, QSize(0, 0), order}))
            return false;

        QPainter painter;
        if (!painter.begin(&tile))
            return false;
        painter.setOpacity(opacity);
        painter.setCompositionMode(mode);
        painter.drawImage(area.topLeft() - tileTopLeft, piece, piece.rect(), flags);
        return painter.end();
    }
};

/// Draws on the columns \a left to \a right, the first of which starts a byte, of all rows.
bool drawColumns(const Device &device, const Picture &picture, int left, int right)
{
    const QRect visible = picture.target & device.rect();
    const int rowsPerTile = int(qMin<qint64>(kTileSide, kTilePixels / (right - left + 1)));
    int rows = 1;
    for (int top = visible.top(); top <= visible.bottom(); top += rows) {
        rows = 1;
        if (!device.row(top))
            continue;
        qptrdiff stride = 0;
        rows = device.evenRows(top, qMin(rowsPerTile, visible.bottom() - top + 1), stride);
        const QRect rect(QPoint(left, top), QPoint(right, top + rows - 1));
        QImage tile = device.over(rect, stride);
        if (tile.isNull() || !picture.draw(tile, rect.topLeft(), rect & visible))
            return false;
    }
    return true;
}

} // namespace

bool vellum::drawOnto(QImage &device, const QRectF &target, const Vellum &image,
                      const QRectF &source, qreal opacity, QPainter::CompositionMode mode,
                      Qt::ImageConversionFlags flags)
{
    if (image.isNull() || device.isNull() || device.format() == QImage::Format_Indexed8)
        return false;
    Vellum kept = image; // in case it is the device; and without a callback
    const Device onto(device);
    if (device.isNull())
        return false;
    if (onto.isAt(std::as_const(kept).scanLineEx(0)))
        kept = kept.copyEx();
    if (kept.isNull())
        return false;

    const Picture picture = {
        kept, image::sourcePixels(source, kept.size()), image::toPixels(target), opacity, mode,
        flags};
    const QRect visible = picture.target & onto.rect();
    if (picture.source.isEmpty() || picture.target.isEmpty() || visible.isEmpty())
        return true;
    for (int left = visible.left() / kTileSide * kTileSide; left <= visible.right();
         left += kTileSide) {
        const int right = qMin(left + kTileSide - 1, visible.right());
        if (!drawColumns(onto, picture, left, right))
            return false;
    }
    return true;
}
