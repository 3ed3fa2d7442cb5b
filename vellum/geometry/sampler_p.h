// How the pixels of a turned image are taken from its source.
#pragma once

#include <QImage>

namespace vellum::geometry {

/// A run of result pixels in one row, and where in the source they are taken from.
///
/// Positions are in 1/1024 of a pixel; a pixel's own position is that of its top left corner.
struct SampleRun
{
    uchar *out; ///< start of the result row
    int column; ///< of the first result pixel
    int count;
    const uchar *const *rows; ///< of the source
    qptrdiff stride; ///< from one to the next, where drawEven is called
    int width; ///< of the source, in pixels that can be read
    int height;
    qint64 x; ///< position of the first sample
    qint64 y;
    int stepX; ///< from one sample to the next
    int stepY;
};

/// A way of sampling, for one layout of pixels.
struct Sampler
{
    using Draw = void (*)(const SampleRun &run);

    /// How far beyond the left and top edge positions still show something, in 1/1024.
    int margin = 0;
    /// Pixels that drawInner may read beside and including the one at the position; the row below
    /// as well. It is given only positions where they all exist.
    int reach = 1;
    Draw draw = nullptr; ///< null when pixels of this layout are not drawn
    Draw drawInner = nullptr; ///< faster form for the inside; null when there is none
    /// Still faster form where all rows that the run touches are at the same distance from each
    /// other, and positions, in 1/1024, and bytes from its first pixel to all others are numbers
    /// of 32 bits; null when there is none.
    Draw drawEven = nullptr;
    /// Sets one-bit pixels outside the source; null to leave them clear.
    void (*drawOutside)(uchar *row, int from, int to) = nullptr;
};

/// The sampler of Vellum::rotated(), by depth alone: nearest pixel for 1 and 8 bits, bilinear by
/// bytes for 24 and 32, none for 16 and 64.
[[nodiscard]] Sampler samplerForDepth(int depth) noexcept;

/// The sampler that suits what the pixels of \a format are made of: nearest for one-bit and
/// indexed ones, else bilinear by channels.
[[nodiscard]] Sampler samplerForFormat(QImage::Format format) noexcept;

/// \name Pixels outside a one-bit image, where the fill value is all bits
/// @{
void setBitsMsbFirst(uchar *row, int from, int to);
void setBitsLsbFirst(uchar *row, int from, int to);
/// @}

/// \name The vector forms of drawInner and, by AVX2, drawEven, for the functions above only
/// @{
void drawBilinear24Sse41(const SampleRun &run); ///< reads 8 bytes: a reach of 3
void drawBilinear24Avx2(const SampleRun &run); ///< likewise
void drawBilinear32Sse41(const SampleRun &run); ///< a reach of 2, as all the others
void drawBilinear32Avx2(const SampleRun &run);
void drawBilinear64Sse41(const SampleRun &run);
void drawBilinearGrey8Sse41(const SampleRun &run);
void drawBilinearGrey16Sse41(const SampleRun &run);
void drawBilinear565Sse41(const SampleRun &run);
void drawBilinear555Sse41(const SampleRun &run);
void drawBilinear444Sse41(const SampleRun &run);
void drawBilinear4444Sse41(const SampleRun &run);
/// @}

} // namespace vellum::geometry
