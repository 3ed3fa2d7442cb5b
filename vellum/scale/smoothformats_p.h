// Which formats the averaging scaler takes.
#pragma once

#include <vellum/image/vellum.h>

namespace vellum::scale {

/// True when qSmoothScaleCropVellum() takes the format of \a image as it is.
[[nodiscard]] inline bool averagesAsStored(const Vellum &image)
{
    return image.depth() == 32 || image.depth() == 64 ||
        image.format() == QImage::Format_Grayscale8;
}

} // namespace vellum::scale
