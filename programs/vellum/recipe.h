// What is to become of a picture, from the area that is wanted to the format of its pixels.
#pragma once

#include "areas.h"
#include "colors.h"
#include "command.h"
#include "filejobs.h"
#include "pixelformat.h"
#include "scaling.h"

#include <QColor>
#include <QRect>

#include <memory>
#include <optional>

namespace vellum::tool {

class Pipeline;

/// The steps that commands know, in the order in which they are done. What is not set is left out.
struct Recipe
{
    QRect area; ///< in pixels of the upright picture; may reach beyond it
    bool mirrorHorizontally = false;
    bool mirrorVertically = false;
    std::optional<double> angle; ///< degrees, clockwise
    QColor fill; ///< of what a turned picture does not cover; invalid: what suits it
    ScalingOptions scaling;
    ColorOptions colors;
    FormatOptions pixels;
};

/// What a command that follows a recipe has on the command line.
struct RecipeOptions
{
    FileOptions files;
    Recipe recipe;
};

/// The command that is described by \a command and follows the recipe for every file.
Command recipeCommand(CLI::App &command, const std::shared_ptr<RecipeOptions> &options);

/// Adds the option \a name for the angle.
CLI::Option *addAngleOption(CLI::App &command, const std::string &name, Recipe &recipe);

/// Adds the option \a name for the colour around a turned picture.
CLI::Option *addFillOption(CLI::App &command, const std::string &name, Recipe &recipe);

} // namespace vellum::tool
