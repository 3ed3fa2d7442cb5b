// vellum thumbnail: small pictures of many.

#include "recipe.h"

namespace vellum::tool {

namespace {

constexpr int kMostSide = 32767;

} // namespace

Command thumbnailCommand(CLI::App &app)
{
    const auto options = std::make_shared<RecipeOptions>();
    FileOptions &files = options->files;
    files.kind = "png"; // keeps transparency
    CLI::App *const command = app.add_subcommand("thumbnail", "Write small pictures of many");
    command->add_option("IN", files.files, "The pictures, of any kind that can be read")
        ->required();
    const auto setSide = [options](int side) {
        options->recipe.scaling.size = QSize(side, side);
        options->recipe.scaling.onlyDown = true;
    };
    command->add_option_function<int>("-s,--size", setSide, "Pixels of the longer side, at most")
        ->required()
        ->check(CLI::Range(1, kMostSide).description(""))
        ->type_name("N");
    addFolderOptions(*command, files)->required();
    command->add_flag("--fast", options->recipe.scaling.fast,
                      "Pick pixels instead of averaging them");
    addJobsOption(*command, files);
    addWritingOptions(*command, files);
    command->footer("Of photo.jpg, DIR/photo.png is made, unless --name or --type say otherwise.\n"
                    "Smaller pictures keep their size.\n\n"
                    "Example:\n"
                    "  vellum thumbnail *.jpg -s 256 -o thumbnails");
    return recipeCommand(*command, options);
}

} // namespace vellum::tool
