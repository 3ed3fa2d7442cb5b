// vellum scale: a picture in another size.

#include "command.h"
#include "failure.h"
#include "pipeline.h"
#include "scaling.h"

#include <QRegularExpression>

#include <cmath>
#include <memory>

namespace vellum::tool {

namespace {

constexpr int kMostSide = 10000000; // there are tables with an entry for every column and row

enum class Fitting { Fit, Fill, Stretch };

struct Options
{
    FileOptions files;
    QSize size; // empty if not given, like the next three
    int width = 0;
    int height = 0;
    double percent = 0;
    Fitting fitting = Fitting::Fit;
    QRect crop; // QRect() if not given
    bool fast = false;
};

QSize parsedSize(const std::string &text)
{
    static const QRegularExpression form(QStringLiteral("^(\\d{1,9})x(\\d{1,9})$"));
    const QRegularExpressionMatch match = form.match(fromShell(text));
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    if (size.isEmpty())
        throw CLI::ValidationError("--size", "'" + text + "' is no size such as 640x480");
    return size;
}

QRect parsedCrop(const std::string &text)
{
    static const QRegularExpression form(
        QStringLiteral("^(\\d{1,9}),(\\d{1,9}),(\\d{1,9}),(\\d{1,9})$"));
    const QRegularExpressionMatch match = form.match(fromShell(text));
    const auto number = [&](int i) { return match.captured(i).toInt(); };
    const QRect crop(number(1), number(2), number(3), number(4));
    if (crop.isEmpty())
        throw CLI::ValidationError("--crop", "'" + text + "' is no area such as 10,20,300,200");
    return crop;
}

/// What is too large comes out as one more than kMostSide.
int rounded(double side) { return int(qBound(1.0, std::round(side), kMostSide + 1.0)); }

/// What is wanted of a picture of the size \a source.
Target targetFor(const Options &options, const QSize &source)
{
    QSize size;
    QRect part;
    const double aspect = double(source.width()) / source.height();
    if (!options.size.isEmpty()) {
        constexpr Qt::AspectRatioMode kModes[] = {
            Qt::KeepAspectRatio, Qt::KeepAspectRatioByExpanding, Qt::IgnoreAspectRatio};
        size = source.scaled(options.size, kModes[int(options.fitting)]).expandedTo(QSize(1, 1));
        part = QRect(QPoint(0, 0), size);
        if (options.fitting == Fitting::Fill) {
            part = QRect((size.width() - options.size.width()) / 2,
                         (size.height() - options.size.height()) / 2, options.size.width(),
                         options.size.height());
        }
    } else if (options.width > 0) {
        size = QSize(options.width, rounded(options.width / aspect));
    } else if (options.height > 0) {
        size = QSize(rounded(options.height * aspect), options.height);
    } else {
        size = QSize(rounded(source.width() * options.percent / 100),
                     rounded(source.height() * options.percent / 100));
    }
    if (part.isNull())
        part = QRect(QPoint(0, 0), size);
    if (options.crop.isNull())
        return {size, part};
    return {size, options.crop.translated(part.topLeft()) & part};
}

int run(const Options &options)
{
    Pipeline pipeline(options.files);
    Vellum picture = pipeline.read();

    const Target target = targetFor(options, picture.size());
    const QString inName = fromShell(options.files.input);
    if (target.part.isEmpty()) {
        throw Failure(UsageError, inName,
                      QStringLiteral("nothing of the scaled picture lies in the area of --crop"));
    }
    if (target.size.width() > kMostSide || target.size.height() > kMostSide) {
        throw Failure(UsageError, inName,
                      QStringLiteral("a side of the scaled picture would have more than %1 pixels")
                          .arg(kMostSide));
    }
    pipeline.checkFits(target.part.size());

    pipeline.begin("scale", 55);
    pipeline.move(picture);
    Progress &progress = pipeline.begin("scale");
    picture = pipeline.finished(scaledPicture(picture, target, options.fast, options.files.storage,
                                              progress, pipeline.output()),
                                "scaled");
    pipeline.write(picture, "write");
    return Done;
}

void addSizeOptions(CLI::App &command, const std::shared_ptr<Options> &options)
{
    CLI::Option_group *const sizes = command.add_option_group("Size", "The new size; one of");
    CLI::Option *const size = sizes->add_option_function<std::string>(
        "--size", [options](const std::string &text) { options->size = parsedSize(text); },
        "Width and height in pixels");
    size->type_name("WxH");
    sizes->add_option("--width", options->width, "Width; the height follows")
        ->check(CLI::Range(1, kMostSide))
        ->type_name("N");
    sizes->add_option("--height", options->height, "Height; the width follows")
        ->check(CLI::Range(1, kMostSide))
        ->type_name("N");
    sizes->add_option("--percent", options->percent, "Of the size it has")
        ->check(CLI::Range(0.001, 1e6))
        ->type_name("P");
    sizes->require_option(1);

    CLI::Option_group *const fittings = command.add_option_group("Fitting", "With --size");
    const auto addFitting = [&](const char *name, Fitting fitting, const char *description) {
        fittings
            ->add_flag_function(
                name, [options, fitting](std::int64_t) { options->fitting = fitting; }, description)
            ->needs(size);
    };
    addFitting("--fit", Fitting::Fit, "Keep the proportions and fit into the size (the default)");
    addFitting("--fill", Fitting::Fill,
               "Keep the proportions, fill the size and cut off what is over, equally on\n"
               "both sides");
    addFitting("--stretch", Fitting::Stretch, "Give up the proportions");
    fittings->require_option(0, 1);
}

} // namespace

Command scaleCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command = app.add_subcommand("scale", "Write a picture in another size");
    addFiles(*command, options->files);
    addSizeOptions(*command, options);
    command
        ->add_option_function<std::string>(
            "--crop", [options](const std::string &text) { options->crop = parsedCrop(text); },
            "Write this area only, in pixels of the scaled picture")
        ->type_name("X,Y,W,H");
    command->add_flag("--fast", options->fast,
                      "Pick pixels instead of averaging them; keeps palettes");
    command->footer("Examples:\n"
                    "  vellum scale --width 1600 photo.jpg small.jpg\n"
                    "  vellum scale --size 600x600 --fill photo.jpg square.png\n"
                    "  vellum scale --percent 400 --fast --crop 800,600,640,480 photo.jpg eye.png");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
