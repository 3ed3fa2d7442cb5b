// The colours that the user asks for, and how pictures get there.
#pragma once

#include <vellum/vellum.h>

#include <QByteArray>

#include <string>

namespace CLI {
class App;
}

namespace vellum::tool {

class Pipeline;

/// As it stands on the command line.
struct ColorOptions
{
    std::string toProfile; ///< "srgb", "cmyk" or a file; empty: the colours stay as they are
    ColorConversion conversion;
};

/// Adds \c --to-profile, \c --intent and \c --black-point.
void addColorOptions(CLI::App &command, ColorOptions &options);

/// The colours to convert to.
struct TargetColors
{
    QByteArray profile; ///< empty: none are asked for
    bool cmyk = false; ///< those of a press, which only files have
};

/// What \a options name. Throws a Failure if it is no whole profile.
TargetColors targetColors(const ColorOptions &options);

} // namespace vellum::tool
