// What reading and writing of PBM, PGM and PPM files have in common.
#pragma once

#include <QByteArray>
#include <QIODevice>

#include <optional>

namespace vellum::plugin {

enum class PnmKind { Bits, Greys, Colors };

/// Keys, suffixes and sub-types, in the order of PnmKind.
constexpr const char *kPnmKeys[] = {"pbm", "pgm", "ppm"};

inline QByteArray keyOf(PnmKind kind) { return kPnmKeys[int(kind)]; }

/// The kind of the file that \a device goes on with; nothing for other files. Only peeks.
std::optional<PnmKind> pnmKind(QIODevice &device);

} // namespace vellum::plugin
