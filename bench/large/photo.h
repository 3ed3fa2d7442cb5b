// A picture to measure with: what matters about a photograph to codecs and colour conversion.
#pragma once

class Vellum;

namespace vellum::bench {

/// Fills \a image, which is RGB888, with shapes of all sizes, slowly changing colours and a little
/// grain. The same for the same size.
void fillWithPhoto(Vellum &image);

} // namespace vellum::bench
