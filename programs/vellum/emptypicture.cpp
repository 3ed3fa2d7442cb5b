#include "emptypicture.h"

#include <vellum/io/picturefile.h>

namespace vellum::tool {

Vellum emptyPicture(const QSize &size, QImage::Format format, Storage storage)
{
    const bool big = chooseStorage(storage, pixelBytes(size, format)) == Storage::Big;
    const auto create = big ? Vellum::createBig : Vellum::create;
    Vellum picture;
    return create(picture, size.width(), size.height(), format) ? picture : Vellum();
}

} // namespace vellum::tool
