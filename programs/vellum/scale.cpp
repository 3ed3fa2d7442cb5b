// vellum scale: a picture in another size.

#include "recipe.h"

namespace vellum::tool {

Command scaleCommand(CLI::App &app)
{
    const auto options = std::make_shared<RecipeOptions>();
    CLI::App *const command = app.add_subcommand("scale", "Write a picture in another size");
    addFiles(*command, options->files);
    addScalingOptions(*command, options->recipe.scaling, true);
    addAreaOption(*command, "--crop", options->recipe.scaling.crop,
                  "Write this area only, in pixels of the scaled picture");
    command->footer("Example:\n"
                    "  vellum scale --width 1600 photo.jpg small.jpg\n"
                    "  vellum scale --size 600x600 --fill photo.jpg square.png\n"
                    "  vellum scale --percent 400 --fast --crop 800,600,640,480 photo.jpg eye.png\n"
                    "  vellum scale --width 1600 --jobs 2 -o small *.tif");
    return recipeCommand(*command, options);
}

} // namespace vellum::tool
