// What stands behind the pixels of a PNG file, read ahead of them.
#pragma once

#include <QByteArray>
#include <QIODevice>

#include <optional>

namespace vellum::plugin {

/// Texts and EXIF data that follow the pixels, in the form of a PNG file that breaks off where its
/// pixels would begin; empty when there are none, or when the file ends in a way that has them
/// passed over. \a device stands behind the head of the first chunk of pixels, and does so
/// afterwards.
/// \param mostBytes   of such chunks, and \a mostChunks: with more there is no answer
/// \return nothing when that cannot be told
std::optional<QByteArray> lateChunks(QIODevice &device, qint64 mostBytes, int mostChunks);

} // namespace vellum::plugin
