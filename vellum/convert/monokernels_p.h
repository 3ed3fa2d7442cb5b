// Row kernels of one-bit dithering, each in a portable and an SSE4.1 form.
#pragma once

namespace vellum::convert {

/// Greys, 0 to 255, of \a width pixels 0xAARRGGBB: (11 R + 16 G + 5 B) >> 5.
void greysOfPixelsPortable(unsigned char *greys, const unsigned char *pixels, int width);
void greysOfPixelsSse41(unsigned char *greys, const unsigned char *pixels, int width);

/// 255 - alpha of \a width pixels 0xAARRGGBB.
void transparenciesOfPixelsPortable(unsigned char *out, const unsigned char *pixels, int width);
void transparenciesOfPixelsSse41(unsigned char *out, const unsigned char *pixels, int width);

/// Sets bit x when values[x] < thresholds[x & 15]; (width + 7) / 8 bytes are written, with zeros
/// behind the last pixel.
void packBelowPortable(unsigned char *bits, const unsigned char *values,
                       const unsigned char *thresholds, int width, bool lsbFirst);
void packBelowSse41(unsigned char *bits, const unsigned char *values,
                    const unsigned char *thresholds, int width, bool lsbFirst);

/// A group of rows to diffuse, top to bottom.
struct DiffuseRows
{
    const unsigned char *values; ///< of the first row; kDiffusePad zeros before and behind a row
    long long stride; ///< from row to row
    short *errors; ///< \c width entries: of the row above, replaced by those of the last row
    unsigned char *scratch; ///< width + 2 * kDiffusePad bytes
    unsigned char *const *bits; ///< results as of packBelow
    int width;
    bool lsbFirst;
};

constexpr int kDiffuseRows = 8; ///< rows that the vector form works on at once
constexpr int kDiffusePad = 32; ///< it reaches this far beyond the ends of rows

/// Diffuses errors (Floyd-Steinberg in integers) over \a count rows, 1 to kDiffuseRows.
///
/// The SSE4.1 form wants exactly kDiffuseRows.
void diffuseRowsPortable(const DiffuseRows &rows, int count);
void diffuseRowsSse41(const DiffuseRows &rows, int count);

} // namespace vellum::convert
