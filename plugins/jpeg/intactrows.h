// What damage does to the rows of a picture.
#pragma once

#include "jpeg/library.h"

#include <limits>

namespace vellum::plugin {

/// Watches a decompressor: how many rows have really arrived when a file breaks off, which libjpeg
/// fills with grey instead, and whether anything within them is wrong.
class IntactRows
{
public:
    /// Takes note of a warning. \param hasEnded  whether the file has
    void noteWarning(const jpeg_decompress_struct &codec, int code, bool hasEnded);

    /// Takes note of the scan that is being read. Called between any two steps of reading a file
    /// whose scans come one after the other, before its first row.
    void noteScan(const jpeg_decompress_struct &codec);

    /// Takes note of the end of the last scan, where there are several.
    void noteEndOfScans(const jpeg_decompress_struct &codec, bool hasEnded);

    /// Rows of the decompressor's output, from the top of the picture, that have arrived.
    unsigned int count() const { return m_count; }

    /// Whether pixels are wrong or missing, within those rows or below.
    bool isDamaged() const { return m_isDamaged; }

private:
    void breakOff(const jpeg_decompress_struct &codec);
    void limitTo(unsigned int rows);

    unsigned int m_count = std::numeric_limits<unsigned int>::max();
    bool m_isDamaged = false;

    // Of files with several scans: sets of components, one bit for each.
    int m_scan = 0; // the one that is being read; 0 for a file with one
    unsigned int m_begun = 0; // components that first come in this scan
    unsigned int m_complete = 0; // components that came in scans before
};

} // namespace vellum::plugin
