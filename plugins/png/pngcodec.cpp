#include "png/pngcodec.h"

namespace vellum::plugin {

void PngCodec::fail(png_structp png, png_const_charp message)
{
    warn(png, message);
    png_longjmp(png, 1);
}

void PngCodec::warn(png_structp png, png_const_charp message)
{
    const auto &codec = *static_cast<PngCodec *>(png_get_error_ptr(png));
    qCWarning(codec.m_category, "%s", message);
}

} // namespace vellum::plugin
