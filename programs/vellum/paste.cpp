// vellum paste: a picture put onto another one.

#include "areas.h"
#include "cancel.h"
#include "command.h"
#include "failure.h"
#include "pipeline.h"
#include "rows.h"

#include <memory>
#include <optional>

namespace vellum::tool {

namespace {

constexpr int kNumbers = 2; // of a point
struct Options
{
    FileOptions files;
    std::string upper;
    std::optional<QPoint> at; // in pixels of the picture below
};

/// The format to paste in. Pixels of a palette mean nothing outside their picture.
QImage::Format commonFormat(const Vellum &base, const Vellum &upper)
{
    const bool samePalette =
        base.format() == upper.format() && base.colorTable() == upper.colorTable();
    const bool hasPalette = base.depth() == 1 || base.format() == QImage::Format_Indexed8;
    if (!hasPalette || (base.depth() == 8 && samePalette))
        return base.format();
    const bool alpha = base.hasAlphaChannel() || upper.hasAlphaChannel();
    return alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32;
}

Vellum inFormat(const Vellum &picture, QImage::Format format, Pipeline &pipeline,
                Progress &progress)
{
    const Storage same = picture.isBigImage() ? Storage::Big : Storage::Plain;
    return pipeline.finished(arranged(picture, format, same, progress), "prepared");
}

void paste(const Options &options, Pipeline &pipeline)
{
    PictureReader upperReader(fromShell(options.upper));
    pipeline.expectStages(4);
    pipeline.checkFits(pipeline.header().size);
    Vellum base = pipeline.read();
    Vellum upper = upperReader.read(pipeline.begin("read"));

    Progress &progress = pipeline.begin("paste");
    pipeline.move(base);
    const QImage::Format format = commonFormat(base, upper);
    base = inFormat(base, format, pipeline, progress);
    upper = inFormat(upper, format, pipeline, pipeline.begin("paste"));
    {
        const ProgressGuard guard = pipeline.begin("paste").watch(upper);
        base.mergerImage(upper, QRect(*options.at, upper.size()));
    }
    if (cancelFlag())
        throw cancelled(pipeline.inputName());
    upper = Vellum();
    base = pipeline.finished(base, "pasted");
    pipeline.write(base);
}

/// Tells the picture to put onto the others from the files beside it: the last one, but for OUT.
void sortOut(Options &options)
{
    std::vector<std::string> &files = options.files.files;
    try {
        if (!options.at)
            options.at = parsedPoint("X Y", takenNumbers(files, kNumbers));
    } catch (const CLI::ValidationError &error) {
        throw Failure(UsageError, {}, fromShell(error.what()) + " (see vellum paste --help)");
    }
    const bool hasOut = options.files.folder.empty() && !options.files.inPlace;
    if (hasOut ? files.size() != 3 : files.size() < 2) {
        throw Failure(UsageError, {},
                      QStringLiteral("needs BASE, IN and OUT, or BASE... and IN with -o or "
                                     "--in-place (see vellum paste --help)"));
    }
    const auto upper = files.end() - (hasOut ? 2 : 1);
    options.upper = *upper;
    files.erase(upper);
}

int run(Options &options)
{
    sortOut(options);
    return runJobs(options.files, [&](Pipeline &pipeline) { paste(options, pipeline); });
}

} // namespace

Command pasteCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command = app.add_subcommand("paste", "Put a picture onto another one");
    addFiles(*command, options->files,
             "BASE, the picture below; IN, the one to put onto it; and OUT. Or with\n"
             "-o or --in-place, BASE... and IN");
    command
        ->add_option_function<std::string>(
            "--at", [options](const std::string &text) { options->at = parsedPoint("--at", text); },
            "Where in BASE the upper left corner of IN goes, in pixels. Or the two\n"
            "numbers follow the files")
        ->type_name("X,Y");
    command->footer(
        "OUT has the size and pixel format of BASE (true colour, if it has a palette). Pixels are\n"
        "replaced, the transparent ones too: nothing is blended. What of IN lies outside is left\n"
        "out.\n\n"
        "Example:\n"
        "  vellum paste wall.jpg poster.png wall-with-poster.jpg 1200 300\n"
        "  vellum paste --at 20,20 -o marked *.tif mark.png");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
