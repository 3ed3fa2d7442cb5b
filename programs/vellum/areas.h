// Areas of pictures, inside them or around them.
#pragma once

#include <vellum/vellum.h>

#include <QRect>

#include <string>

namespace CLI {
class App;
}

namespace vellum::tool {

class Progress;

/// The area "X,Y,W,H", with a width and height of at least 1. Throws a CLI::ValidationError in the
/// name of \a option if it is none.
QRect parsedArea(const std::string &option, const std::string &text);

/// Adds the option \a name for an area.
void addAreaOption(CLI::App &command, const std::string &name, QRect &area,
                   const std::string &description);

/// The \a area of \a picture, with its metadata, on \a storage. What lies outside is filled as by
/// Vellum::copyEx(). Null when memory runs out or the user cancels.
Vellum cropped(const Vellum &picture, const QRect &area, vellum::Storage storage,
               Progress &progress);

} // namespace vellum::tool
