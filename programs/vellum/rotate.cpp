// vellum rotate: a picture turned by any angle.

#include "recipe.h"

namespace vellum::tool {

Command rotateCommand(CLI::App &app)
{
    const auto options = std::make_shared<RecipeOptions>();
    CLI::App *const command = app.add_subcommand("rotate", "Turn a picture by any angle");
    addFiles(*command, options->files);
    addAngleOption(*command, "--angle", options->recipe)->required();
    addFillOption(*command, "--fill", options->recipe);
    command->footer("Example:\n"
                    "  vellum rotate --angle 90 scan.png upright.png\n"
                    "  vellum rotate --angle -2.5 --fill white page.jpg straight.jpg");
    return recipeCommand(*command, options);
}

} // namespace vellum::tool
