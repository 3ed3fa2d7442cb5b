// How much memory the size of a file justifies.
#pragma once

#include <QtGlobal>

namespace vellum::plugin {

/// Whether a file may be believed that claims \a pixelBytes bytes of pixels.
///
/// It may when they are few, or when the file is large enough to hold them at the best ratio of
/// its compression.
/// \param fileBytes     size of the file; -1 when it is not known, and then the claim is believed:
///                      memory costs nothing until rows arrive to fill it
/// \param maxExpansion  see Decoder::maxExpansion()
bool isJustified(qint64 pixelBytes, qint64 fileBytes, int maxExpansion);

} // namespace vellum::plugin
