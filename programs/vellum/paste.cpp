// vellum paste: a picture put onto another one.

#include "cancel.h"
#include "command.h"
#include "failure.h"
#include "pipeline.h"
#include "rows.h"

#include <memory>

namespace vellum::tool {

namespace {

// Keeps the far edges of everything within int, for pictures of up to this size.
constexpr int kFarthest = 1 << 30;

struct Options
{
    FileOptions files;
    std::string base; // the picture below
    std::string upper;
    std::string output;
    int x = 0;
    int y = 0;
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
        base.mergerImage(upper, QRect(QPoint(options.x, options.y), upper.size()));
    }
    if (cancelFlag())
        throw cancelled(pipeline.inputName());
    upper = Vellum();
    base = pipeline.finished(base, "pasted");
    pipeline.write(base);
}

int run(Options &options)
{
    options.files.files = {options.base, options.output};
    return runJobs(options.files, [&](Pipeline &pipeline) { paste(options, pipeline); });
}

} // namespace

Command pasteCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command = app.add_subcommand("paste", "Put a picture onto another one");
    addInput(*command, "BASE", options->base, "The picture below: .hrle, or any kind Qt reads");
    addInput(*command, "IN", options->upper, "The picture to put onto it");
    command
        ->add_option("OUT", options->output,
                     "The file to write; its ending says which kind of file it is")
        ->required();
    addWritingOptions(*command, options->files);
    const auto addNumber = [command](const char *name, int &value, const char *description) {
        command->add_option(name, value, description)
            ->required()
            ->check(CLI::Range(-kFarthest, kFarthest).description(""))
            ->type_name("INT");
    };
    addNumber("X", options->x, "Where in BASE the left edge of IN goes, in pixels");
    addNumber("Y", options->y, "Where its upper edge goes");
    command->footer(
        "OUT has the size and pixel format of BASE (true colour, if it has a palette). Pixels are\n"
        "replaced, the transparent ones too: nothing is blended. What of IN lies outside is left\n"
        "out.\n\n"
        "Example:\n"
        "  vellum paste wall.jpg poster.png wall-with-poster.jpg 1200 300");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
