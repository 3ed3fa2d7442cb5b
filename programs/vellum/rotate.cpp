// vellum rotate: a picture turned by any angle.

#include "command.h"
#include "failure.h"
#include "pipeline.h"

#include <QColor>
#include <QTransform>

#include <cmath>
#include <memory>
#include <optional>

namespace vellum::tool {

namespace {

struct Options
{
    FileOptions files;
    double angle = 0; // degrees, clockwise
    QColor fill; // invalid: what suits the picture
};

double parsedAngle(const std::string &text)
{
    bool isNumber = false;
    const double angle = fromShell(text).toDouble(&isNumber);
    if (!isNumber || !std::isfinite(angle))
        throw CLI::ValidationError("--angle", "'" + text + "' is no number of degrees");
    return angle;
}

QColor parsedColor(const std::string &text)
{
    const QColor color(fromShell(text));
    if (!color.isValid()) {
        throw CLI::ValidationError(
            "--fill", "'" + text + "' is no colour such as white, #ff8000 or transparent");
    }
    return color;
}

Vellum rotated(Vellum &picture, const Options &options, vellum::Storage storage, Progress &progress)
{
    const ProgressGuard guard = progress.watch(picture, ProgressGuard::Positions::Percent);
    if (options.fill.isValid())
        return freeRotated(picture, options.angle, options.fill, storage);
    bool transparent = false;
    const uint fill = getFillColorForRotate(picture, transparent);
    return freeRotated(picture, options.angle, fill, storage);
}

int run(const Options &options)
{
    Pipeline pipeline(options.files);
    Vellum picture = pipeline.read();

    pipeline.begin("rotate", 55);
    pipeline.move(picture);
    Progress &progress = pipeline.begin("rotate");
    const QSize size = QTransform().rotate(options.angle).mapRect(picture.rect()).size();
    const vellum::Storage storage = pipeline.storageFor(size, picture.format());
    picture = pipeline.finished(rotated(picture, options, storage, progress), "rotated");
    pipeline.write(picture);
    return Done;
}

} // namespace

Command rotateCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command = app.add_subcommand("rotate", "Turn a picture by any angle");
    addFiles(*command, options->files);
    command
        ->add_option_function<std::string>(
            "--angle", [options](const std::string &text) { options->angle = parsedAngle(text); },
            "Degrees, clockwise; negative ones turn the other way. Multiples of 90\n"
            "are exact, all else is sampled and makes the picture larger")
        ->required()
        ->type_name("DEGREES");
    command
        ->add_option_function<std::string>(
            "--fill", [options](const std::string &text) { options->fill = parsedColor(text); },
            "What the picture does not cover: a name, #RRGGBB, #AARRGGBB or\n"
            "transparent. Without it, pictures of 32 bits per pixel get transparent\n"
            "(black, if they know no transparency), others white, and those with a\n"
            "palette its first transparent colour, or its first")
        ->type_name("COLOUR");
    command->footer("Example:\n"
                    "  vellum rotate --angle 90 scan.png upright.png\n"
                    "  vellum rotate --angle -2.5 --fill white page.jpg straight.jpg");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
