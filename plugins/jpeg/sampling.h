// How finely a JPEG file holds its colours, by the names that people use.
#pragma once

#include "jpeg/library.h"

#include <QByteArray>
#include <QList>

namespace vellum::plugin {

/// The sub-types of JPEG: "444", one colour for every pixel; "440", for two pixels one above the
/// other; "422", for two side by side; "420", for four in a square; "411", for four side by side.
QList<QByteArray> samplingNames();

bool isSampling(const QByteArray &name);

/// The name of what \a codec reads; empty for grey and when there is none.
QByteArray samplingOf(const jpeg_decompress_struct &codec);

/// Sets what \a name says; its colour space must be set. \a name must be one of samplingNames().
void setSampling(jpeg_compress_struct &codec, const QByteArray &name);

} // namespace vellum::plugin
