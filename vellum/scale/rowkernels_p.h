// What the smooth scaler does to whole rows: one table of functions per pixel layout and
// instruction set. All give the same bytes for the same layout.
//
// Only declarations here: files built for a newer processor include this header, and an inline
// function that they share with others could reach an older one.
#pragma once

#include <vellum/scale/span_p.h>

#include <QtGlobal>

namespace vellum::scale {

/// The source pixels under each result column, along an axis that shrinks.
struct AreaColumns
{
    const Span *spans; ///< starts count from the first pixel of the source row; last always exists
    int count;
    int whole; ///< weight of each middle pixel

    /// For forms with RowKernels::usesPairs, otherwise 0: in pairs of neighbouring pixels, all
    /// columns alike. 0 also when they are too many; every middle is at least 4 then.
    int pairs;
    const int *pairStarts; ///< first pixel; all 2 * pairs pixels from there exist
    const quint32 *pairWeights; ///< pairs per column; first pixel's weight in the low 16 bits
};

/// The two source pixels under each result column, along an axis that grows. Both always exist.
struct BlendColumns
{
    const int *starts; ///< the first of the two
    const quint16 *weights; ///< of the second, 0 to 255; the first has the rest of 256
    int count;
};

/// Source rows whose weighted sum is to be taken. \c count is 2 or 4; a weight may be 0.
struct RowGroup
{
    static constexpr int kMost = 4;
    const uchar *rows[kMost];
    int weights[kMost];
    int count;
    bool add; ///< adds to the sums that are there
};

/// Kernels for one pixel layout. Area weights are in 1/16384, blend weights in 1/256; everything
/// truncates. "Sums" are rows of channel sums, as many bytes per pixel as sumBytes says; what is
/// in them is the kernels' own affair.
struct RowKernels
{
    int pixelBytes;
    int sumBytes;
    bool usesPairs;

    /// Both axes shrink: averages \a count rows along, 1 to RowGroup::kMost, and adds them, times
    /// \a weight, to \a sums.
    void (*addArea)(void *sums, const uchar *const *rows, int count, const AreaColumns &columns,
                    int weight);

    /// The same for the last row under result row \a out, which it writes; \a row is then the
    /// first of the next result row, with \a nextWeight.
    void (*finishArea)(uchar *out, void *sums, const uchar *row, const AreaColumns &columns,
                       int weight, int nextWeight);

    /// Both axes shrink to one half: the averages of 2 x 2 pixels of \a above and \a below.
    void (*halve)(uchar *out, const uchar *above, const uchar *below, int count);

    /// Only the width shrinks: sums of \a row along the row.
    void (*sumColumns)(void *sums, const uchar *row, const AreaColumns &columns);
    /// Blends two rows of sums.
    void (*blendSumRows)(uchar *out, const void *above, const void *below, int weight, int count);

    /// Only the height shrinks: sums of \a count pixels down the columns.
    void (*sumRows)(void *sums, const RowGroup &group, int count);
    /// Blends neighbouring sums.
    void (*blendSumColumns)(uchar *out, const void *sums, const BlendColumns &columns);

    /// Both axes grow: blends two rows of \a count pixels.
    void (*blendRows)(uchar *out, const uchar *above, const uchar *below, int weight, int count);
    /// Blends neighbouring pixels.
    void (*blendColumns)(uchar *out, const uchar *row, const BlendColumns &columns);
};

extern const RowKernels scaleAARGBA; ///< 32 bits with alpha, averaged like the colours
extern const RowKernels scaleAARGB; ///< 32 bits; bits 24 to 31 come out as 255
extern const RowKernels scaleRgba64; ///< four channels of 16 bits
extern const RowKernels scaleAAGray8; ///< one channel of 8 bits

#ifdef VELLUM_HAVE_SSE41
extern const RowKernels scaleAARGBASse41;
extern const RowKernels scaleAARGBSse41;
#endif

} // namespace vellum::scale
