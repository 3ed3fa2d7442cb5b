// What a conversion does with colours that the destination cannot show.
#pragma once

namespace vellum {

enum class RenderingIntent { // with the numbers that ICC profiles use
    Perceptual = 0,
    RelativeColorimetric = 1,
    Saturation = 2,
    AbsoluteColorimetric = 3,
};

} // namespace vellum
