// Turning pictures as their files say.
#pragma once

#include <vellum/image/vellum.h>
#include <vellum/io/jobprogress_p.h>
#include <vellum/io/picturefile.h>

#include <QImageIOHandler>
#include <QRect>

namespace vellum::io {

/// Applies \a steps to \a image: mirroring first, then the turn by 90 degrees. Exact in every
/// format, on the storage of \a image, with all that describes it.
/// \return false, with \a image null, when memory runs out or the job is cancelled
[[nodiscard]] bool turnUpright(Vellum &image, QImageIOHandler::Transformations steps,
                               JobProgress &progress);

/// The size of a picture of \a size once it is upright; as it goes both ways, also the reverse.
[[nodiscard]] QSize uprightSize(const QSize &size, QImageIOHandler::Transformations steps);

/// \a info of a picture as it is stored, with the size that it has once it is upright.
[[nodiscard]] PictureInfo uprightInfo(PictureInfo info);

/// Where the part \a region of the upright picture lies in the picture of \a size as it is stored.
[[nodiscard]] QRect storedRegion(const QRect &region, const QSize &size,
                                 QImageIOHandler::Transformations steps);

} // namespace vellum::io
