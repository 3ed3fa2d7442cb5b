// vellum crop: an area of a picture, inside it or around it.

#include "failure.h"
#include "recipe.h"

namespace vellum::tool {

namespace {

constexpr int kNumbers = 4; // of an area

/// Takes the area off the end of the files, if it was not given as an option.
void takeArea(RecipeOptions &options)
{
    if (!options.recipe.area.isNull())
        return;
    try {
        options.recipe.area = parsedArea("X Y W H", takenNumbers(options.files.files, kNumbers));
    } catch (const CLI::ValidationError &error) {
        throw Failure(UsageError, {}, fromShell(error.what()) + " (see vellum crop --help)");
    }
}

} // namespace

Command cropCommand(CLI::App &app)
{
    const auto options = std::make_shared<RecipeOptions>();
    CLI::App *const command = app.add_subcommand("crop", "Cut an area out of a picture");
    addFiles(*command, options->files);
    addAreaOption(*command, "--area", options->recipe.area,
                  "The area: left edge, upper edge, width and height, in pixels. Or the\n"
                  "four numbers follow the files");
    command->footer("The area may reach beyond the picture. What lies outside is filled:\n"
                    "transparent in pictures of 32 bits per pixel (black, if they know no\n"
                    "transparency), white in others, and the first transparent or else the first\n"
                    "colour of a palette.\n\n"
                    "Example:\n"
                    "  vellum crop scan.png detail.png 1200 800 640 480\n"
                    "  vellum crop photo.png framed.png -20 -20 1320 1020\n"
                    "  vellum crop --area 0,0,640,480 -o corners *.tif");
    const Command cropping = recipeCommand(*command, options);
    return {command, [options, cropping] {
                takeArea(*options);
                return cropping.run();
            }};
}

} // namespace vellum::tool
