// What a picture is called in the source text of C.
#pragma once

#include <QByteArray>
#include <QIODevice>

namespace vellum::plugin {

/// The name of \a device's file without its ending, as C allows it; "image" when it has none.
QByteArray cNameFor(const QIODevice &device);

} // namespace vellum::plugin
