// vellum crop: an area of a picture, inside it or around it.

#include "cancel.h"
#include "command.h"
#include "failure.h"
#include "pipeline.h"
#include "rows.h"

#include <cstring>
#include <memory>

namespace vellum::tool {

namespace {

// Keeps the far edges of every area within int.
constexpr int kFarthest = 1 << 30;

constexpr qint64 kBandBytes = 1 << 20;

struct Options
{
    FileOptions files;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// Vellum::copyEx() band by band: it reports no progress, and knows no big results.
Vellum cropped(const Vellum &picture, const Options &options, vellum::Storage storage,
               Progress &progress)
{
    Vellum result;
    const auto create = storage == vellum::Storage::Big ? Vellum::createBig : Vellum::create;
    if (!create(result, options.width, options.height, picture.format()))
        return {};
    copyMetadata(result, picture);

    const qint64 bytes = (qint64(options.width) * picture.depth() + 7) / 8;
    const int rowsPerBand = int(qBound<qint64>(1, kBandBytes / bytes, options.height));
    for (int top = 0; top < options.height; top += rowsPerBand) {
        const int rows = qMin(rowsPerBand, options.height - top);
        const Vellum band = picture.copyEx(options.x, options.y + top, options.width, rows);
        if (cancelFlag() || band.isNull())
            return {};
        for (int y = 0; y < rows; ++y)
            std::memcpy(result.scanLineEx(top + y), band.scanLineEx(y), size_t(bytes));
        progress.reportPart(top + rows, options.height);
    }
    return result;
}

int run(const Options &options)
{
    const QSize size(options.width, options.height);
    Pipeline pipeline(options.files);
    pipeline.checkFits(size);
    Vellum picture = pipeline.read();

    pipeline.begin("crop", 55);
    pipeline.move(picture);
    Progress &progress = pipeline.begin("crop");
    const vellum::Storage storage = pipeline.storageFor(size, picture.format());
    picture = pipeline.finished(cropped(picture, options, storage, progress), "cropped");
    pipeline.write(picture);
    return Done;
}

} // namespace

Command cropCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command = app.add_subcommand("crop", "Cut an area out of a picture");
    addFiles(*command, options->files);
    const auto addNumber = [command](const char *name, int &value, int least,
                                     const char *description) {
        command->add_option(name, value, description)
            ->required()
            ->check(CLI::Range(least, kFarthest).description(""))
            ->type_name("INT");
    };
    addNumber("X", options->x, -kFarthest, "The left edge of the area, in pixels");
    addNumber("Y", options->y, -kFarthest, "Its upper edge");
    addNumber("W", options->width, 1, "Its width");
    addNumber("H", options->height, 1, "Its height");
    command->footer(
        "The area may reach beyond the picture. What lies outside is filled: transparent in\n"
        "pictures of 32 bits per pixel (black, if they know no transparency), white in others,\n"
        "and the first transparent or else the first colour of a palette.\n\n"
        "Example:\n"
        "  vellum crop scan.png detail.png 1200 800 640 480\n"
        "  vellum crop photo.png framed.png -20 -20 1320 1020");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
