// vellum thumbnail: small pictures of many.

#include "command.h"
#include "failure.h"
#include "outputfile.h"
#include "reading.h"
#include "rows.h"
#include "scaling.h"
#include "writing.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <map>
#include <memory>

namespace vellum::tool {

namespace {

struct Options
{
    std::vector<std::string> inputs;
    std::string folder;
    int size = 0;
    bool fast = false;
    Storage storage = Storage::Auto;
    Progress::Mode progress = Progress::Mode::Auto;
};

const QByteArray kKind = QByteArrayLiteral("png"); // keeps transparency

/// The files to write, by those to read; each another, and none that is read.
std::map<QString, QString> outputNames(const Options &options)
{
    const QDir folder(fromShell(options.folder));
    std::map<QString, QString> names; // output by input
    std::map<QString, QString> origins; // input by output
    for (const std::string &input : options.inputs) {
        const QString in = fromShell(input);
        const QString out =
            folder.filePath(QFileInfo(in).completeBaseName() + QStringLiteral(".png"));
        const auto [origin, isNew] = origins.emplace(out, in);
        if (!isNew && origin->second != in) {
            throw Failure(UsageError, in,
                          QStringLiteral("would have the same thumbnail as ") + origin->second);
        }
        names[in] = out;
    }
    for (const auto &[in, out] : names) {
        const QString existing = QFileInfo(out).canonicalFilePath();
        for (const auto &other : names) {
            if (!existing.isEmpty() && existing == QFileInfo(other.first).canonicalFilePath())
                throw Failure(UsageError, other.first,
                              QStringLiteral("would be replaced by a thumbnail"));
        }
    }
    return names;
}

QSize thumbnailSize(const QSize &source, int side)
{
    if (source.width() <= side && source.height() <= side)
        return source;
    return source.scaled(side, side, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

void makeThumbnail(const QString &inName, const QString &outName, const Options &options)
{
    QElapsedTimer clock;
    clock.start();
    PictureReader reader(inName);
    OutputFile output(outName);
    Progress progress(options.progress, inName);

    progress.begin("read", 0, 80);
    Vellum picture = reader.read(progress);
    if (options.storage != Storage::Auto)
        picture = arranged(picture, picture.format(), options.storage, progress);
    if (picture.isNull())
        output.fail(QStringLiteral("not enough memory for the picture"));

    progress.begin("scale", 80, 98);
    const QSize size = thumbnailSize(picture.size(), options.size);
    if (size != picture.size()) {
        picture = scaledPicture(picture, {size, QRect(QPoint(0, 0), size)}, options.fast,
                                Storage::Plain, progress, output);
    }

    progress.begin("write", 98, 100);
    writePicture(picture, {}, kKind, false, progress, output);
    output.commit();
    progress.finish();
    printVerbose(QStringLiteral("%1: %2, written in %3 s")
                     .arg(outName, described(picture))
                     .arg(double(clock.elapsed()) / 1000, 0, 'f', 3));
}

int run(const Options &options)
{
    const std::map<QString, QString> names = outputNames(options);
    const QString folder = fromShell(options.folder);
    if (!QDir().mkpath(folder))
        throw Failure(OutputError, folder, QStringLiteral("the folder cannot be created"));
    for (const std::string &input : options.inputs) {
        const QString in = fromShell(input);
        makeThumbnail(in, names.at(in), options);
    }
    return Done;
}

} // namespace

Command thumbnailCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command = app.add_subcommand("thumbnail", "Write small PNG pictures of many");
    command->add_option("IN", options->inputs, "The pictures: .hrle, or any kind Qt reads")
        ->required();
    command->add_option("-s,--size", options->size, "Pixels of the longer side, at most")
        ->required()
        ->check(CLI::Range(1, 32767))
        ->type_name("N");
    command
        ->add_option("-o,--output", options->folder,
                     "The folder to write to; it is created if need be")
        ->required()
        ->type_name("DIR");
    command->add_flag("--fast", options->fast, "Pick pixels instead of averaging them");
    addStorageOption(*command, options->storage);
    addProgressOption(*command, options->progress);
    addVerboseOption(*command);
    command->footer(
        "Of photo.jpg, DIR/photo.png is made. Smaller pictures keep their size. Ends at "
        "the first\npicture that cannot be read.\n\n"
        "Example:\n"
        "  vellum thumbnail *.jpg -s 256 -o thumbnails");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
