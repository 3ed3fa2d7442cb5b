// The row loop of every read: from a decoder, through what was asked for, into an image.
#pragma once

#include "shared/decoder.h"
#include "shared/readplan.h"
#include "shared/rowstage.h"

#include <memory>
#include <vector>

namespace vellum::plugin {

enum class ReadResult {
    Complete,
    Damaged, ///< rows are missing; those that arrived are in the image
    Stopped, ///< by the user
    Refused, ///< nothing was read: no memory, or more claimed than the file can hold
};

/// Reads the pixels of one picture, after its header. One object per read.
class RowReader
{
    Q_DISABLE_COPY(RowReader)

public:
    /// \param picture    as the decoder's readHeader() filled it; must outlive the reader
    /// \param fileBytes  size of the file; -1 when it is not known
    RowReader(Decoder &decoder, const Picture &picture, const ReadRequest &request,
              qint64 fileBytes);

    /// The format of the result; invalid when there will be none.
    QImage::Format plan();

    /// Whether the rows of the result will be asked for one after the other, when all that stands
    /// beside them is on the image. After plan(); \a picture is the one that the reader has.
    bool comesRowByRow(Picture &picture) const;

    /// Gives \a target the size and format of the result and all that stands beside the pixels,
    /// then the pixels.
    [[nodiscard]] ReadResult read(ReadTarget &target);

    /// Rows of the result that are complete, counted in the order of the file. Interlaced rows
    /// are complete when all of them are.
    int rowsRead() const { return m_rowsRead; }

    QString problem() const { return m_problem; } ///< In English; why a read was refused.

private:
    ReadResult refuse(const char *problem);
    ReadResult readInto(ReadTarget &target);
    bool isClaimJustified(int bits) const;
    std::unique_ptr<RowStage> makeStage(RowOutput &output);
    ReadResult readRows(RowOutput &output);
    ReadResult decodeRows(RowStage &stage);
    ReadResult readLattices(RowOutput &output);
    template <typename RowAt>
    ReadResult decodeLattices(const RowOutput &output, const QRect &area, RowAt rowAt);
    void blank(uchar *row) const;
    size_t roomForRow(int bits) const;

    Decoder &m_decoder;
    const Picture &m_picture;
    ReadPlan m_plan;
    qint64 m_fileBytes;
    bool m_keepDamaged;

    QRect m_wanted; // pixels that are needed
    QRect m_delivered; // pixels that come
    int m_outputWidth = 0;
    bool m_scales = false;
    std::unique_ptr<RowFormatter> m_formatter;
    std::vector<uchar> m_decoded; // a row as the decoder gives it
    std::vector<uchar> m_extra; // its extra channels
    int m_rowsRead = 0;
    QString m_problem;
};

} // namespace vellum::plugin
