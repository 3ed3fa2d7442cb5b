// Rows of an image by runs at one stride, for loops whose work per row is small.
#pragma once

#include <vellum/image/rowstore_p.h>
#include <vellum/image/vellum.h>

#include <cstring>

namespace vellum::image {

enum class Walk { Down, Up };

/// Some rows of an image, in the order of a walk.
template <typename Byte>
struct RowRun
{
    Byte *first; ///< null when the image does not hold the row
    qptrdiff stride; ///< from each row to the next of the walk, in bytes
    int count; ///< rows, at least 1; 1 for a row that the image does not hold
};

/// What loops over rows ask an image that scanLineEx() and set_progress() would tell row by row.
class RowRuns
{
public:
    /// The longest run that begins with row \a y, which must exist in the image. The mutable form
    /// copies the pixels of a plain image that is shared, as scanLineEx() does.
    static RowRun<uchar> from(Vellum &image, int y, Walk walk)
    {
        return run(image, image.scanLineEx(y), y, walk);
    }
    static RowRun<const uchar> from(const Vellum &image, int y, Walk walk) ///< \overload
    {
        return run(image, image.scanLineEx(y), y, walk);
    }

    /// True when set_progress() of \a image calls somebody.
    static bool areWatched(const Vellum &image)
    {
        return image.m_progressCallback && image.m_progressUserData;
    }

private:
    template <typename Byte>
    static RowRun<Byte> run(const Vellum &image, Byte *first, int y, Walk walk)
    {
        if (!first)
            return {nullptr, 0, 1};
        qptrdiff stride = image.m_detachBits ? image.m_detachBytesPerLine : image.bytesPerLine();
        int above = y;
        int below = image.height() - 1 - y;
        if (const RowStore *const store = image.m_rowBlocks.data()) {
            stride = store->bytesPerLine;
            above = y % store->rowsPerBlock;
            below = qMin(below, store->rowsBelow(y));
        }
        if (walk == Walk::Up)
            return {first, -stride, above + 1};
        return {first, stride, below + 1};
    }
};

/// Calls runOp(out, in, count) for all rows of \a from, top to bottom, that both images hold: \a
/// count rows of two runs, at most \a most. \a walk says which rows of \a to they go to: from its
/// first one down, or from its last one up.
///
/// Calls report(rows) with the number of rows done after every run.
/// \return false as soon as \a report does
template <typename RunOp, typename Report>
bool moveRuns(Vellum &to, Walk walk, const Vellum &from, int most, RunOp runOp, Report report)
{
    const int height = from.height();
    for (int y = 0; y < height;) {
        const auto in = RowRuns::from(from, y, Walk::Down);
        const auto out = RowRuns::from(to, walk == Walk::Down ? y : height - 1 - y, walk);
        const int count = qMin(most, qMin(in.count, out.count));
        if (in.first && out.first)
            runOp(out, in, count);
        y += count;
        if (!report(y))
            return false;
    }
    return true;
}

/// Calls rowOp(out, in) for all rows as moveRuns() finds them.
///
/// Calls report(rows) with the number of rows done: after every row when \a from is watched.
/// \return false as soon as \a report does
template <typename RowOp, typename Report>
bool moveRows(Vellum &to, Walk walk, const Vellum &from, RowOp rowOp, Report report)
{
    const auto eachRow = [&rowOp](RowRun<uchar> out, RowRun<const uchar> in, int count) {
        for (int i = 0; i < count; ++i)
            rowOp(out.first + i * out.stride, in.first + i * in.stride);
    };
    const int most = RowRuns::areWatched(from) ? 1 : from.height();
    return moveRuns(to, walk, from, most, eachRow, report);
}

/// Copies the first \a bytes of every row of \a from that both images hold; tells nobody. What a
/// row of \a to has behind them is undefined.
inline void copyRows(Vellum &to, const Vellum &from, size_t bytes)
{
    const auto copy = [bytes](RowRun<uchar> out, RowRun<const uchar> in, int count) {
        if (out.stride == in.stride) {
            std::memcpy(out.first, in.first, size_t(count - 1) * size_t(in.stride) + bytes);
            return;
        }
        for (int i = 0; i < count; ++i)
            std::memcpy(out.first + i * out.stride, in.first + i * in.stride, bytes);
    };
    moveRuns(to, Walk::Down, from, from.height(), copy, [](int) { return true; });
}

} // namespace vellum::image
