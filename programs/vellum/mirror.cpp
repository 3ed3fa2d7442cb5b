// vellum mirror: a picture with its sides exchanged.

#include "command.h"
#include "failure.h"
#include "pipeline.h"

#include <memory>

namespace vellum::tool {

namespace {

struct Options
{
    FileOptions files;
    bool horizontal = false;
    bool vertical = false;
};

Vellum mirrorImage(Vellum &picture, const Options &options, Progress &progress)
{
    const ProgressGuard guard = progress.watch(picture, ProgressGuard::Positions::Percent);
    return mirrored(picture, options.horizontal, options.vertical);
}

int run(const Options &options)
{
    Pipeline pipeline(options.files);
    pipeline.checkFits(pipeline.header().size);
    Vellum picture = pipeline.read();

    pipeline.begin("mirror", 55);
    pipeline.move(picture);
    Progress &progress = pipeline.begin("mirror");
    picture = pipeline.finished(mirrorImage(picture, options, progress), "mirrored");
    pipeline.write(picture);
    return Done;
}

} // namespace

Command mirrorCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command = app.add_subcommand("mirror", "Exchange the sides of a picture");
    addFiles(*command, options->files);
    CLI::Option_group *const axes = command->add_option_group("Sides", "At least one of");
    axes->add_flag("--horizontal", options->horizontal, "Exchange left and right");
    axes->add_flag("--vertical", options->vertical, "Exchange top and bottom");
    axes->require_option(1, 2);
    command->footer("Example:\n"
                    "  vellum mirror --horizontal photo.jpg mirrored.jpg");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
