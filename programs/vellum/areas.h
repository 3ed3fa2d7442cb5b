// Areas of pictures, inside them or around them.
#pragma once

#include <vellum/vellum.h>

#include <QPoint>
#include <QRect>

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace vellum::tool {

class Progress;

/// The area "X,Y,W,H", with a width and height of at least 1. Throws a CLI::ValidationError in the
/// name of \a option if it is none.
QRect parsedArea(const std::string &option, const std::string &text);

/// The point "X,Y". Throws as parsedArea() does.
QPoint parsedPoint(const std::string &option, const std::string &text);

/// Takes \a count numbers off the end of \a words, which are left as they are if they have fewer.
/// \return them with commas between, as the functions above have it
std::string takenNumbers(std::vector<std::string> &words, int count);

/// Adds the option \a name for an area.
void addAreaOption(CLI::App &command, const std::string &name, QRect &area,
                   const std::string &description);

/// The \a area of \a picture, with its metadata, on \a storage. What lies outside is filled as by
/// Vellum::copyEx(). Null when memory runs out or the user cancels.
Vellum cropped(const Vellum &picture, const QRect &area, vellum::Storage storage,
               Progress &progress);

} // namespace vellum::tool
