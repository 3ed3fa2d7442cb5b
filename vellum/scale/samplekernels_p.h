// Picking bytes of a row by shuffling windows of it.
//
// Only declarations here: files built for a newer processor include this header, and an inline
// function that they share with others could reach an older one.
#pragma once

#include <QtGlobal>

namespace vellum::scale {

/// Where the bytes of a result row are in a source row, for each run of 16 of them: in one window
/// of 16 source bytes, or in two side by side.
struct SampleWindows
{
    const int *starts; ///< per run: first byte of its first window; all bytes of windows exist
    const uchar *orders; ///< per window: which of its bytes each result byte is, or 128 for none
    int runs;
    int perRun; ///< windows per run: 1 or 2
};

#ifdef VELLUM_HAVE_SSE41
/// Writes the runs of a result row that are in \a in. Meanwhile fetches what the same windows need
/// of \a next.
void sampleWindowsSse41(uchar *out, const uchar *in, const uchar *next,
                        const SampleWindows &windows);
#endif

} // namespace vellum::scale
