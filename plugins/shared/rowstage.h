// What becomes of a decoded row: the last step of the row loop of a read.
#pragma once

#include "shared/rowformatter.h"
#include "shared/rowoutput.h"
#include "shared/rowscaler.h"

#include <memory>

namespace vellum::plugin {

class RowStage
{
    Q_DISABLE_COPY(RowStage)

public:
    RowStage() = default;
    virtual ~RowStage() = default;

    /// Where the next row is to be decoded to; null means stop.
    virtual uchar *room() = 0;

    /// Takes the row that was decoded to room(), with its extra channels if they are kept.
    /// \return false for stop
    [[nodiscard]] virtual bool put(const uchar *extra) = 0;

    /// The row of room() cannot be decoded: what came of it is not kept.
    virtual void abandon() { }
};

/// Rows that are decoded right into the image.
/// \param extraBytes  of a row of extra channels
std::unique_ptr<RowStage> makeDirectStage(RowOutput &output, QImage::Format format,
                                          size_t extraBytes);

/// What crop and scale stages know of decoded rows.
struct DecodedRows
{
    RowFormatter &formatter;
    uchar *room; ///< for a row
    int extraPixelBytes; ///< of extra channels
};

/// Rows of which the pixels from \a first on are wanted.
std::unique_ptr<RowStage> makeCropStage(RowOutput &output, const DecodedRows &rows, int first);

/// Rows that are averaged; \a extra averages their extra channels and may be null.
std::unique_ptr<RowStage> makeScaleStage(RowOutput &output, const DecodedRows &rows,
                                         std::unique_ptr<RowScaler> pixels,
                                         std::unique_ptr<RowScaler> extra);

} // namespace vellum::plugin
