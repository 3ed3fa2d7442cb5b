#include "shared/rowstage.h"

#include "shared/pixelrows.h"

#include <cstring>
#include <vector>

namespace vellum::plugin {

namespace {

class DirectStage : public RowStage
{
public:
    DirectStage(RowOutput &output, QImage::Format format, size_t extraBytes)
        : m_output(output), m_format(format), m_extraBytes(extraBytes)
    {
    }

    uchar *room() override { return m_row = m_output.row(); }

    bool put(const uchar *extra) override
    {
        clearUnusedBits(m_row, m_output.width(), m_format);
        if (uchar *const kept = m_output.extra())
            std::memcpy(kept, extra, m_extraBytes);
        m_output.next();
        return true;
    }

    void abandon() override
    {
        std::memset(m_row, 0, size_t(rowBytes(m_output.width(), bitsPerPixel(m_format))));
    }

private:
    RowOutput &m_output;
    QImage::Format m_format;
    size_t m_extraBytes;
    uchar *m_row = nullptr; // of the image
};

class CropStage : public RowStage
{
public:
    CropStage(RowOutput &output, const DecodedRows &rows, int first)
        : m_output(output), m_rows(rows), m_first(first)
    {
    }

    uchar *room() override { return m_rows.room; }

    bool put(const uchar *extra) override
    {
        uchar *const out = m_output.row();
        if (!out)
            return false;
        const QImage::Format format = m_rows.formatter.format();
        copyPixels(out, m_rows.formatter.format(m_rows.room), m_first, m_output.width(),
                   bitsPerPixel(format), format == QImage::Format_MonoLSB);
        clearUnusedBits(out, m_output.width(), format);
        if (uchar *const kept = m_output.extra()) {
            std::memcpy(kept, extra + qint64(m_first) * m_rows.extraPixelBytes,
                        size_t(m_output.width()) * size_t(m_rows.extraPixelBytes));
        }
        m_output.next();
        return true;
    }

private:
    RowOutput &m_output;
    DecodedRows m_rows;
    int m_first;
};

class ScaleStage : public RowStage
{
public:
    ScaleStage(RowOutput &output, const DecodedRows &rows, std::unique_ptr<RowScaler> pixels,
               std::unique_ptr<RowScaler> extra)
        : m_output(output), m_rows(rows), m_pixels(std::move(pixels)), m_extra(std::move(extra))
    {
    }

    uchar *room() override { return m_rows.room; }

    bool put(const uchar *extra) override
    {
        m_pixels->add(m_rows.formatter.format(m_rows.room));
        if (m_extra)
            m_extra->add(extra);
        while (m_pixels->hasRow()) {
            uchar *const out = m_output.row();
            if (!out)
                return false;
            m_pixels->take(out);
            if (m_extra)
                m_extra->take(m_output.extra());
            m_output.next();
        }
        return true;
    }

private:
    RowOutput &m_output;
    DecodedRows m_rows;
    std::unique_ptr<RowScaler> m_pixels;
    std::unique_ptr<RowScaler> m_extra;
};

} // namespace

std::unique_ptr<RowStage> makeDirectStage(RowOutput &output, QImage::Format format,
                                          size_t extraBytes)
{
    return std::make_unique<DirectStage>(output, format, extraBytes);
}

std::unique_ptr<RowStage> makeCropStage(RowOutput &output, const DecodedRows &rows, int first)
{
    return std::make_unique<CropStage>(output, rows, first);
}

std::unique_ptr<RowStage> makeScaleStage(RowOutput &output, const DecodedRows &rows,
                                         std::unique_ptr<RowScaler> pixels,
                                         std::unique_ptr<RowScaler> extra)
{
    return std::make_unique<ScaleStage>(output, rows, std::move(pixels), std::move(extra));
}

} // namespace vellum::plugin
