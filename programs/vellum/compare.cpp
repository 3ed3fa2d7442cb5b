// vellum compare: whether two pictures are the same, and how much they differ.

#include "cancel.h"
#include "command.h"
#include "comparereport.h"
#include "difference.h"
#include "differencemap.h"
#include "emptypicture.h"
#include "failure.h"
#include "filejobs.h"
#include "labcolors.h"
#include "outputfile.h"
#include "pixelcolors.h"
#include "printing.h"
#include "reading.h"
#include "writing.h"

#include <cmath>
#include <memory>

namespace vellum::tool {

namespace {

/// What is compared.
enum class By {
    Auto, ///< Color when the pictures' profiles differ, else Numbers
    Numbers,
    Color,
};

struct Options
{
    std::string files[2];
    By by = By::Auto;
    double tolerance = 0;
    bool json = false;
    std::string map; // empty: none
    Storage storage = Storage::Auto;
    Progress::Mode progress = Progress::Mode::Auto;
};

double parsedTolerance(const std::string &text)
{
    bool isNumber = false;
    const double tolerance = fromShell(text).toDouble(&isNumber);
    if (!isNumber || !std::isfinite(tolerance) || tolerance < 0)
        throw CLI::ValidationError("--tolerance", "'" + text + "' is no difference such as 1.5");
    return tolerance;
}

ComparedFile readPicture(const std::string &name, const Options &options, Progress &progress)
{
    ComparedFile picture;
    picture.file = fromShell(name);
    PictureReader reader(picture.file);
    picture.pixels = reader.read(progress, wholeOn(options.storage));
    picture.profile = pixelProfile(picture.pixels);
    return picture;
}

/// Throws a Failure if colours of \a picture cannot be told.
void checkProfile(const ComparedFile &picture)
{
    const bool fits = LabColors(picture.profile).isValid() &&
        formatForProfile(picture.pixels, picture.profile) != QImage::Format_Invalid;
    if (!fits) {
        throw Failure(InputError, picture.file,
                      QStringLiteral("its colour profile is damaged or does not fit its pixels; "
                                     "--numbers compares without it"));
    }
}

/// Compares pictures of the same size, and fills \a map if it is not null.
Difference measured(const ComparedFile &a, const ComparedFile &b, const Measure &measure,
                    Vellum *map, Progress &progress)
{
    const auto report = [&progress](int percent) {
        progress.reportPart(percent, 100);
        return !cancelFlag();
    };
    const auto difference =
        differenceOf({a.pixels, a.profile}, {b.pixels, b.profile}, measure, map, report);
    if (cancelFlag())
        throw cancelled(a.file);
    if (!difference)
        throw Failure(InputError, a.file, QStringLiteral("not enough memory to compare it"));
    return *difference;
}

/// The picture of the differences.
class Map
{
    Q_DISABLE_COPY(Map)

public:
    explicit Map(const Options &options)
        : m_file(fromShell(options.map)), m_kind(outputKind(m_file)), m_storage(options.storage),
          m_output(m_file)
    {
    }

    /// What differenceOf() fills.
    Vellum &makeAmounts(const QSize &size)
    {
        checkFits(m_kind, size, m_file);
        m_amounts = emptyPicture(size, QImage::Format_Grayscale16, m_storage);
        if (m_amounts.isNull())
            m_output.fail(kNoMemory);
        return m_amounts;
    }

    void write(Progress &progress)
    {
        Vellum map = visibleMap(m_amounts, m_storage, [](int) { return !cancelFlag(); });
        if (map.isNull())
            m_output.fail(kNoMemory);
        m_amounts = Vellum();
        map = prepared(map, m_kind, m_storage, progress, m_output);
        writePicture(map, {}, m_kind, progress, m_output);
        m_output.commit();
    }

private:
    const QString kNoMemory = QStringLiteral("not enough memory for the map");

    QString m_file;
    QByteArray m_kind;
    Storage m_storage;
    OutputFile m_output;
    Vellum m_amounts;
};

int run(const Options &options)
{
    std::optional<Map> map;
    for (const std::string &file : options.files) {
        if (!options.map.empty())
            refuseInput(fromShell(options.map), fromShell(file));
    }
    if (!options.map.empty())
        map.emplace(options);
    Progress progress(options.progress, fromShell(options.files[0]));
    progress.begin("read", 0, 25);
    const ComparedFile a = readPicture(options.files[0], options, progress);
    progress.begin("read", 25, 50);
    const ComparedFile b = readPicture(options.files[1], options, progress);

    Comparison comparison;
    comparison.sameSize = a.pixels.size() == b.pixels.size();
    comparison.sameColors = meanSameColors(a.profile, b.profile);
    comparison.measure.tolerance = options.tolerance;
    comparison.measure.byColor =
        options.by == By::Color || (options.by == By::Auto && !comparison.sameColors);
    if (comparison.sameSize) {
        if (comparison.measure.byColor) {
            checkProfile(a);
            checkProfile(b);
        }
        progress.begin("compare", 50, map ? 90 : 100);
        Vellum *const amounts = map ? &map->makeAmounts(a.pixels.size()) : nullptr;
        comparison.difference = measured(a, b, comparison.measure, amounts, progress);
        if (map) {
            progress.begin("write", 90, 100);
            map->write(progress);
        }
    }
    progress.finish();
    printOut((options.json ? asJson : asText)(a, b, comparison));
    return comparison.isEqual() ? Done : Different;
}

} // namespace

Command compareCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command =
        app.add_subcommand("compare", "Tell whether two pictures are the same, or how they differ");
    command->add_option("A", options->files[0], "A picture: .hrle, or any kind Qt reads")
        ->required();
    command->add_option("B", options->files[1], "The picture to compare it with")->required();
    Options &wanted = *options;
    CLI::Option *const numbers = command->add_flag_function(
        "--numbers", [&wanted](std::int64_t) { wanted.by = By::Numbers; },
        "Compare the numbers in the pixels, whatever colours they mean. The\n"
        "default, unless the profiles of the pictures differ");
    command
        ->add_flag_function(
            "--delta-e", [&wanted](std::int64_t) { wanted.by = By::Color; },
            "Compare the colours that the pixels mean, as dE00 (CIEDE2000; an eye\n"
            "can tell 1), each through its picture's profile, or sRGB without one.\n"
            "The default when the profiles of the pictures differ")
        ->excludes(numbers);
    command
        ->add_option_function<std::string>(
            "--tolerance",
            [&wanted](const std::string &text) { wanted.tolerance = parsedTolerance(text); },
            "Pixels differ when a channel does by more than this many of 255 steps,\n"
            "or, compared by colour, by more dE00 or percent of alpha. 0 is the\n"
            "default")
        ->type_name("T");
    command
        ->add_option("--map", options->map,
                     "Write a grey picture: black where nothing differs, else the brighter\n"
                     "the more, with white for the largest difference. None is written when\n"
                     "the sizes differ")
        ->type_name("OUT");
    command->add_flag("--json", options->json, "Print a JSON object");
    addStorageOption(*command, options->storage);
    addProgressOption(*command, options->progress);
    addVerboseOption(*command);
    command->footer(
        "Pixel formats may differ: palettes are compared by their colours, and 8 bits\n"
        "with 16 as 257 times the number. Transparency counts. CMYK files are compared\n"
        "in the sRGB that they are read as. Extra channels are not looked at.\n\n"
        "Exit codes: 0 equal, 6 different, also in size.\n\n"
        "Example:\n"
        "  vellum compare scan.tif again.png\n"
        "  vellum compare --delta-e --tolerance 2 --map where.png photo.tif photo.jpg");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
