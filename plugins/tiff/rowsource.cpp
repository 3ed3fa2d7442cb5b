#include "tiff/rowsource.h"

#include "tiff/clumps.h"

namespace vellum::plugin::tiff {

namespace {

/// Strips, decoded row by row, however high they are.
class ScanlineSource : public RowSource
{
public:
    ScanlineSource(const Directory &directory, const Layout &layout)
        : m_directory(directory), m_layout(layout)
    {
    }

    bool start(const QRect &wanted) override
    {
        // A handle keeps the state of one codec: with several, planes are decoded side by side.
        for (int plane = 0; plane < m_layout.planes(); ++plane) {
            m_handles.push_back(m_directory.open());
            if (!m_handles.back())
                return false;
            const tmsize_t bytes = TIFFScanlineSize(m_handles.back().get());
            if (bytes <= 0)
                return false;
            m_rows.emplace_back(size_t(bytes));
            m_segments.push_back({{m_rows.back().data(), wanted.x(), wanted.width()}});
        }
        m_y = wanted.y();
        // Only what is not compressed can be entered in the middle of a strip.
        const bool canSkip = m_layout.compression == COMPRESSION_NONE;
        for (int y = canSkip ? m_y : m_y - m_y % m_layout.block.height(); y < m_y; ++y) {
            if (!read(y)) {
                m_isBroken = true;
                break;
            }
        }
        return true;
    }

    bool next() override { return !m_isBroken && read(m_y++); }

private:
    bool read(int y)
    {
        for (int plane = 0; plane < m_layout.planes(); ++plane) {
            uchar *const row = m_rows[size_t(plane)].data();
            TIFF *const tiff = m_handles[size_t(plane)].get();
            if (TIFFReadScanline(tiff, row, quint32(y), quint16(plane)) != 1)
                return false;
        }
        return true;
    }

    const Directory m_directory;
    const Layout m_layout;
    std::vector<Handle> m_handles; // by plane
    std::vector<std::vector<uchar>> m_rows; // by plane
    bool m_isBroken = false; // above the rows that are wanted
    int m_y = 0;
};

/// Tiles, and strips of codecs that decode no less than a strip: a row of them at a time.
class BlockSource : public RowSource
{
public:
    BlockSource(const Directory &directory, const Layout &layout)
        : m_directory(directory), m_layout(layout)
    {
    }

    bool start(const QRect &wanted) override
    {
        m_handle = m_directory.open();
        if (!m_handle)
            return false;
        TIFF *const tiff = m_handle.get();
        m_blockBytes = m_layout.tiled ? TIFFTileSize(tiff) : TIFFStripSize(tiff);
        m_rowBytes = m_layout.isClumped() ? tmsize_t(m_layout.block.width()) * 3
            : m_layout.tiled              ? TIFFTileRowSize(tiff)
                                          : TIFFScanlineSize(tiff);
        if (m_blockBytes <= 0 || m_rowBytes <= 0)
            return false;
        const int width = m_layout.block.width();
        m_wanted = wanted;
        m_firstColumn = wanted.left() / width;
        m_columns = wanted.right() / width - m_firstColumn + 1;
        m_decoded.resize(size_t(m_blockBytes));
        const tmsize_t kept =
            m_layout.isClumped() ? m_rowBytes * m_layout.block.height() : m_blockBytes;
        m_blocks.assign(size_t(m_columns) * size_t(m_layout.planes()),
                        std::vector<uchar>(size_t(kept)));
        m_y = wanted.y();
        return true;
    }

    bool next() override
    {
        const int band = m_y / m_layout.block.height();
        if (band != m_band && !decode(band))
            return false;
        m_band = band;
        m_segments.assign(size_t(m_layout.planes()), {});
        const int width = m_layout.block.width();
        const qptrdiff offset = qptrdiff(m_y % m_layout.block.height()) * m_rowBytes;
        for (int plane = 0; plane < m_layout.planes(); ++plane) {
            for (int column = 0; column < m_columns; ++column) {
                const int x = (m_firstColumn + column) * width;
                const int from = qMax(x, m_wanted.left());
                const int to = qMin(x + width, m_wanted.right() + 1);
                m_segments[size_t(plane)].push_back(
                    {block(plane, column).data() + offset, from - x, to - from});
            }
        }
        ++m_y;
        return true;
    }

private:
    std::vector<uchar> &block(int plane, int column)
    {
        return m_blocks[size_t(plane) * size_t(m_columns) + size_t(column)];
    }

    bool decode(int band)
    {
        const quint32 y = quint32(band) * quint32(m_layout.block.height());
        const int rows = qMin(m_layout.block.height(), m_layout.size.height() - int(y));
        for (int plane = 0; plane < m_layout.planes(); ++plane) {
            for (int column = 0; column < m_columns; ++column) {
                auto &out = block(plane, column);
                auto &raw = m_layout.isClumped() ? m_decoded : out;
                if (!decodeBlock(raw, y, column, plane, rows))
                    return false;
                if (m_layout.isClumped()) {
                    spreadClumps(
                        out.data(), raw.data(),
                        {m_layout.block.width(), m_layout.tiled ? m_layout.block.height() : rows},
                        m_layout.clump);
                }
            }
        }
        return true;
    }

    bool decodeBlock(std::vector<uchar> &out, quint32 y, int column, int plane, int rows)
    {
        TIFF *const tiff = m_handle.get();
        const auto sample = quint16(plane);
        if (m_layout.tiled) {
            const auto x = quint32((m_firstColumn + column) * m_layout.block.width());
            const auto tile = TIFFComputeTile(tiff, x, y, 0, sample);
            return TIFFReadEncodedTile(tiff, tile, out.data(), m_blockBytes) == m_blockBytes;
        }
        const auto strip = TIFFComputeStrip(tiff, y, sample);
        const tmsize_t bytes = TIFFVStripSize(tiff, quint32(rows));
        return bytes > 0 && bytes <= m_blockBytes &&
            TIFFReadEncodedStrip(tiff, strip, out.data(), bytes) == bytes;
    }

    const Directory m_directory;
    const Layout m_layout;
    Handle m_handle;
    tmsize_t m_blockBytes = 0; // as decoded
    tmsize_t m_rowBytes = 0; // of a row in a block that is kept
    QRect m_wanted;
    int m_firstColumn = 0;
    int m_columns = 0;
    std::vector<uchar> m_decoded; // clumps
    std::vector<std::vector<uchar>> m_blocks;
    int m_band = -1;
    int m_y = 0;
};

} // namespace

Handle Directory::open() const
{
    Handle handle = openToRead(device, start);
    if (!handle || !TIFFSetSubDirectory(handle.get(), offset))
        return nullptr;
    letCodecsConvert(handle.get());
    return handle;
}

std::unique_ptr<RowSource> makeRowSource(const Directory &directory, const Layout &layout)
{
    const bool givesRows = !layout.tiled && !layout.isClumped() &&
        layout.compression != COMPRESSION_JBIG && layout.compression != COMPRESSION_OJPEG;
    if (givesRows)
        return std::make_unique<ScanlineSource>(directory, layout);
    return std::make_unique<BlockSource>(directory, layout);
}

} // namespace vellum::plugin::tiff
