#include "strips.h"

#include <vellum/convert/convert.h>

namespace vellum::tool {

Vellum strip(const Vellum &picture, int y, int count, QImage::Format format)
{
    return converted(picture.copyEx(0, y, picture.width(), count), format);
}

} // namespace vellum::tool
