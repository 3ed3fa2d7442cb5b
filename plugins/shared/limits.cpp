#include "shared/limits.h"

namespace vellum::plugin {

bool isJustified(qint64 pixelBytes, qint64 fileBytes, int maxExpansion)
{
    constexpr qint64 kFew = 64 << 20;
    return pixelBytes <= kFew || fileBytes < 0 || pixelBytes / maxExpansion <= fileBytes;
}

} // namespace vellum::plugin
