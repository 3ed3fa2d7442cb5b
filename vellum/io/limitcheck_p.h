// Pictures against limits.
#pragma once

#include <vellum/io/limits.h>

#include <QImage>
#include <QSize>
#include <QString>

namespace vellum::io {

/// Which limit a picture of \a size and \a format exceeds, what it needs, and what raises the
/// limit: one clause for a person. Empty when it exceeds none, or is unknown.
[[nodiscard]] QString limitFault(const QSize &size, QImage::Format format, const Limits &limits);

} // namespace vellum::io
