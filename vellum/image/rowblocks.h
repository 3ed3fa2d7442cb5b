// The pixel store of a big image: rows spread over separately allocated blocks.
#pragma once

#include <QtGlobal>

/// Geometry and memory of the row-block store of a big image.
///
/// Row \c r of the image starts at <tt>blocks[r / rowsPerBlock] + (r % rowsPerBlock) *
/// bytesPerLine</tt>. All blocks have the same capacity, so the last one or more may be partly or
/// wholly unused. Blocks and pointer array are memory for \c free; their contents start undefined.
struct RowBlockBuffer
{
    uchar **blocks; ///< \c blockCount pointers, one per block
    int blockCount; ///< at least 8
    int rowsPerBlock; ///< capacity of every block, in rows
    int bytesPerLine; ///< from one row to the next inside a block
};
