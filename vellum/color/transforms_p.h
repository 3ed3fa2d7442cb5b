// Transforms between file colours and the display's, and their use on rows.
#pragma once

#include <vellum/color/convertcolors.h>
#include <vellum/color/owners_p.h>
#include <vellum/image/vellum.h>

namespace vellum::color {

/// Transform from \a icc to sRGB, perceptual intent. Input of the Lab formats TYPE_Lab_8 and
/// TYPE_Lab_16 is taken as Lab of D50 white, whatever \a icc holds.
/// \return null when \a icc is needed and cannot be read, or lcms2 cannot join the two formats
[[nodiscard]] Transform makeReadTransform(unsigned int inFormat, unsigned int outFormat,
                                          const QByteArray &icc);

/// Transform from sRGB to \a icc, perceptual intent with black-point compensation.
/// \return null as makeReadTransform() does; also when \a icc is empty, which leaves sRGB alone
[[nodiscard]] Transform makeSaveTransform(unsigned int inFormat, unsigned int outFormat,
                                          const QByteArray &icc);

/// lcms2's number for intent and treatment of black; below 0 when they do not go together.
[[nodiscard]] int intentNumber(const ColorConversion &conversion);

/// The parameters of lcms2's line-stride call, as codecs pass them.
struct Lines
{
    const void *in;
    void *out;
    unsigned int pixelsPerLine;
    unsigned int lineCount;
    unsigned int bytesPerLineIn;
    unsigned int bytesPerLineOut;
};

/// Runs \a transform; does nothing when it is null.
void transformLines(void *transform, const Lines &lines);

/// Pixels of a row of \a image that the row really holds: width(), or fewer when the store of a
/// big image was made narrower.
[[nodiscard]] int storedPixelsPerLine(const Vellum &image);

/// Converts \a image in place from \a icc to sRGB, keeping the format; does nothing when there is
/// no such transform.
void convertToSrgb(Vellum &image, const QByteArray &icc);

} // namespace vellum::color
