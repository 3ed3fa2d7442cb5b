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
    std::string proof; ///< "cmyk" or a file; empty: no proof
    bool inkReport = false;
};

/// Adds \c --to-profile, \c --intent, \c --black-point, \c --proof and \c --ink-report.
void addColorOptions(CLI::App &command, ColorOptions &options);

/// The colours to convert to.
struct TargetColors
{
    QByteArray profile; ///< empty: none are asked for
    bool cmyk = false; ///< those of a press, which only files have
    QByteArray proof; ///< the press to show; empty: none is asked for
    QByteArray measured; ///< the press whose inks are to be reported; empty: none
};

/// What \a options name. Throws a Failure if it is no whole profile.
TargetColors targetColors(const ColorOptions &options);

} // namespace vellum::tool
