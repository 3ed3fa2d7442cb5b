// References on QImage's shared data, counted by hand where QImage would copy or forget.
#pragma once

#include <private/qimage_p.h>

namespace vellum::image {

/// Takes one more reference on the data of \a image.
/// \return the data; null for a null image
[[nodiscard]] inline QImageData *shareData(const QImage &image)
{
    auto *const data = const_cast<QImageData *>(QImageData::get(image));
    if (data)
        data->ref.ref();
    return data;
}

/// Drops one reference on \a data and destroys it with the last one; null is allowed.
/// \return true when it was the last
inline bool releaseData(QImageData *data)
{
    if (!data || data->ref.deref())
        return false;
    delete data;
    return true;
}

} // namespace vellum::image
