// vellum convert: a picture into a file of another kind, with all common steps at once.

#include "recipe.h"

namespace vellum::tool {

Command convertCommand(CLI::App &app)
{
    const auto options = std::make_shared<RecipeOptions>();
    Recipe &recipe = options->recipe;
    CLI::App *const command =
        app.add_subcommand("convert", "Write a picture as a file of another kind");
    addFiles(*command, options->files);
    addAreaOption(*command, "--region", recipe.area,
                  "Take this area only, in pixels of the upright picture. It may reach\n"
                  "beyond it");
    addAngleOption(*command, "--rotate", recipe);
    addFillOption(*command, "--background", recipe);
    addScalingOptions(*command, recipe.scaling, false);
    addColorOptions(*command, recipe.colors);
    addFormatOptions(*command, recipe.pixels);
    command->footer("Steps are done in this order, whatever the order of options: region, turning\n"
                    "upright as the file says, rotate, scale, colours, format.\n\n"
                    "Formats:\n" +
                    formatNames() +
                    "\n\n"
                    "Example:\n"
                    "  vellum convert photo.jpg photo.hrle\n"
                    "  vellum convert --type tif -o press --to-profile cmyk *.jpg\n"
                    "  vellum convert --rotate -2.5 --width 3000 scan.tif page.png\n"
                    "  vellum convert --format mono --dither ordered photo.jpg print.png");
    return recipeCommand(*command, options);
}

} // namespace vellum::tool
