// Images made after the pattern of another one.
#pragma once

#include <vellum/image/storage.h>
#include <vellum/image/vellum.h>

namespace vellum::image {

/// Gives \a to what describes the picture in \a from: colour table, QImage offset, resolution,
/// device pixel ratio, text, colour space, CMYK-origin flag and ICC profile.
///
/// Neither may be null. \a to must be fresh: nobody else may share its data.
void carryDescription(Vellum &to, const Vellum &from);

/// An image of \a w x \a h pixels with the format and description of \a from; undefined content.
/// \return null when the size is below 1 or not representable, or memory runs out
[[nodiscard]] Vellum createLike(const Vellum &from, qint64 w, qint64 h, Storage storage);

/// Where the rows of \a image lie.
[[nodiscard]] inline Storage storageOf(const Vellum &image)
{
    return image.isBigImage() ? Storage::Big : Storage::Plain;
}

/// True when every row of \a image can be read to its last byte: false for an image whose store
/// was made narrower or shorter than the image.
[[nodiscard]] bool isComplete(const Vellum &image);

} // namespace vellum::image
