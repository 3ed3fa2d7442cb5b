// The colours of XPM files.
#pragma once

#include <QByteArray>
#include <QRgb>

#include <optional>

namespace vellum::plugin {

/// The colour that \a definition has for the best kind of screen: pairs of a kind (c for colour,
/// g and g4 for greys, m for black and white, s for a name) and a value, which may be several
/// words. Unknown names are black; nothing when there is no value.
std::optional<QRgb> xpmColor(const QByteArray &definition);

} // namespace vellum::plugin
