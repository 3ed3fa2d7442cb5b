// Pictures in another size.
#pragma once

#include "storage.h"
#include <vellum/vellum.h>

namespace vellum::tool {

class OutputFile;
class Progress;

/// What of a picture in another size is wanted.
struct Target
{
    QSize size; ///< of the whole picture; both sides at least 1
    QRect part; ///< of that; at least one pixel, inside it
};

/// The part of \a picture that \a target says, with its metadata, on \a storage.
///
/// \param fast  picks pixels instead of averaging them
///
/// Shows progress and cancels between bands of rows. Throws a Failure if memory runs out or the
/// user cancels.
Vellum scaledPicture(Vellum &picture, const Target &target, bool fast, Storage storage,
                     Progress &progress, OutputFile &output);

} // namespace vellum::tool
