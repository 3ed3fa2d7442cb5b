// vellum mirror: a picture with its sides exchanged.

#include "recipe.h"

namespace vellum::tool {

Command mirrorCommand(CLI::App &app)
{
    const auto options = std::make_shared<RecipeOptions>();
    CLI::App *const command = app.add_subcommand("mirror", "Exchange the sides of a picture");
    addFiles(*command, options->files);
    CLI::Option_group *const axes = command->add_option_group("Sides", "At least one of");
    axes->add_flag("--horizontal", options->recipe.mirrorHorizontally, "Exchange left and right");
    axes->add_flag("--vertical", options->recipe.mirrorVertically, "Exchange top and bottom");
    axes->require_option(1, 2);
    command->footer("Example:\n"
                    "  vellum mirror --horizontal photo.jpg mirrored.jpg");
    return recipeCommand(*command, options);
}

} // namespace vellum::tool
