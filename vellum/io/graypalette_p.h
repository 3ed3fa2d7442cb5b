// Palette files that are grey pictures.
#pragma once

class Vellum;

namespace vellum::io {

/// Makes \a image, if it is Indexed8 and every colour of its table is an opaque grey, a Grayscale8
/// image, in place.
///
/// A pixel becomes (11 red + 16 green + 5 blue) >> 5 of its colour; one whose index lies beyond the
/// table keeps its value, so that without a table no pixel changes.
void makeGrayIfPaletteIs(Vellum &image);

} // namespace vellum::io
