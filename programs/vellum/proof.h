// What a picture will look like in print, on the screen.
#pragma once

#include <vellum/vellum.h>

#include <QByteArray>

namespace vellum::tool {

/// How a proof shows the press.
enum class ProofWhite {
    Screen, ///< relative colorimetric with black point compensation: paper is the screen's white
    Paper, ///< absolute colorimetric: paper has its own colour, and black ink is as light as it is
};

/// \a picture as a press prints it, in sRGB: its colours go to the press, by \a toPress, and back.
///
/// \param source   profile of the pixels of \a picture, which are RGB or grey; empty for sRGB, or
///                 grey with sRGB's tone curve
/// \param press    bytes of a CMYK profile
/// \param storage  where the result lies
/// \param report   gets the percentage done, and answers true to go on
/// \return a picture with the description of \a picture and sRGB as its profile, in RGB32, or in
///         ARGB32 when \a picture has alpha, which stays; in RGBA64, with all bits of alpha, when
///         that has 16. Colours of 16 bits go to the press as they are, but inks have 8 bits, and
///         so have the colours of the result. Null when \a report answered false, memory runs out,
///         or a profile is damaged or does not fit
Vellum proofed(const Vellum &picture, const QByteArray &source, const QByteArray &press,
               const ColorConversion &toPress, ProofWhite white, vellum::Storage storage,
               const ProgressGuard::Report &report);

} // namespace vellum::tool
