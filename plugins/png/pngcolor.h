// The profile that a PNG file's gamma and primaries amount to.
#pragma once

#include <QByteArray>

#include <optional>

namespace vellum::plugin {

/// Chromaticities, as in the chunk cHRM.
struct PngPrimaries
{
    double whiteX, whiteY, redX, redY, greenX, greenY, blueX, blueY;
};

/// What the chunks gAMA and cHRM say.
struct PngColors
{
    double gamma = 0; ///< of the encoding, such as 0.45455; 0 when the file does not tell
    std::optional<PngPrimaries> primaries;

    /// True for the values that stand in for sRGB where a reader does not know it.
    bool areSrgb() const;
};

/// An ICC profile of \a colors, grey or RGB; missing primaries are those of sRGB. Empty when the
/// file tells nothing or the values make no profile.
QByteArray profileOf(const PngColors &colors, bool isGrey);

/// A profile for RGB pixels that hold the levels of grey pixels in \a grey: the same tone curve.
/// Empty when \a grey has none.
QByteArray rgbProfileOf(const QByteArray &grey);

} // namespace vellum::plugin
