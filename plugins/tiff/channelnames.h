// Names of extra channels, as image-editing programs keep them in a block of resources.
#pragma once

#include <QByteArray>
#include <QStringList>

namespace vellum::plugin::tiff {

/// The names in a block of resources ("8BIM" records): those in Unicode (1045), else the short
/// ones (1006). Empty when it has none or is damaged.
QStringList channelNamesOf(const QByteArray &resources);

/// A block of resources with \a names in both forms.
QByteArray resourcesWith(const QStringList &names);

} // namespace vellum::plugin::tiff
