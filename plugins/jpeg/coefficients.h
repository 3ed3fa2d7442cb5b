// The memory of pictures that libjpeg cannot handle row by row.
#pragma once

#include "jpeg/library.h"

#include <QtGlobal>

namespace vellum::plugin {

/// \name Bytes that libjpeg takes to hold a whole picture as the coefficients of its blocks
/// It does when a file is progressive, has its colours one after the other, or is to be written
/// with optimised coding. Sizes and sampling factors must be set.
/// @{
qint64 coefficientBytes(const jpeg_decompress_struct &codec);
qint64 coefficientBytes(const jpeg_compress_struct &codec);
/// @}

/// Whether the limits allow \a bytes of coefficients. When not, a message says so; when they are
/// many, a message tells the cost.
bool mayHoldCoefficients(qint64 bytes);

} // namespace vellum::plugin
