// vellum convert: a picture into a file of another kind.

#include "command.h"
#include "failure.h"
#include "outputfile.h"
#include "reading.h"
#include "writing.h"

#include <QElapsedTimer>

#include <memory>

namespace vellum::tool {

namespace {

struct Options
{
    std::string input;
    std::string output;
    Storage storage = Storage::Auto;
    Progress::Mode progress = Progress::Mode::Auto;
};

int run(const Options &options)
{
    const QString inName = fromShell(options.input);
    const QString outName = fromShell(options.output);
    QElapsedTimer clock;
    clock.start();
    const auto tell = [&](const QString &file, const char *what, const Vellum &picture) {
        printVerbose(QStringLiteral("%1: %2, %3 in %4 s")
                         .arg(file, described(picture), QLatin1String(what))
                         .arg(double(clock.restart()) / 1000, 0, 'f', 3));
    };

    const QByteArray kind = outputKind(outName);
    PictureReader reader(inName);
    checkFits(kind, reader.header().size, outName);
    OutputFile output(outName);
    Progress progress(options.progress, inName);

    progress.begin("read", 0, 50);
    Vellum picture = reader.read(progress);
    tell(inName, "read", picture);

    progress.begin("convert", 50, 75);
    checkFits(kind, picture.size(), outName); // not every header tells the size
    picture = prepared(picture, kind, options.storage, progress, output);
    tell(outName, "converted", picture);

    progress.begin("write", 75, 100);
    writePicture(picture, kind, progress, output);
    output.commit();
    tell(outName, "written", picture);
    progress.finish();
    return Done;
}

} // namespace

Command convertCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command =
        app.add_subcommand("convert", "Write a picture as a file of another kind");
    command->add_option("IN", options->input, "The picture to read: .hrle, or any kind Qt reads")
        ->required();
    command
        ->add_option("OUT", options->output,
                     "The file to write; its ending says which kind: .hrle (8-bit grey),\n"
                     "or any kind Qt writes")
        ->required();
    addStorageOption(*command, options->storage);
    addProgressOption(*command, options->progress);
    addVerboseOption(*command);
    command->footer("OUT appears when it is complete; until then, an existing file stays as it "
                    "is.\n\n"
                    "Example:\n"
                    "  vellum convert photo.jpg photo.hrle\n"
                    "  vellum convert --storage big --progress bar mask.hrle mask.png");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
