// vellum channels: what a picture has in channels, spot colours above all, as pictures.

#include "cancel.h"
#include "channelpictures.h"
#include "command.h"
#include "failure.h"
#include "filejobs.h"
#include "filenames.h"
#include "outputfile.h"
#include "printing.h"
#include "reading.h"
#include "writing.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <memory>

namespace vellum::tool {

namespace {

struct Options
{
    std::string file;
    std::string folder;
    std::string kind = "tif";
    bool list = false;
    bool all = false;
    bool json = false;
    Existing existing = Existing::Replace;
    Storage storage = Storage::Auto;
    Progress::Mode progress = Progress::Mode::Auto;
};

/// A channel, and the file that it is written to, if it is.
struct Output
{
    Channel channel;
    QString file;
};

QVector<Output> outputsOf(const Vellum &picture, const QString &fileName, const Options &options)
{
    QVector<Channel> channels = extraChannels(picture);
    if (options.all)
        channels = colorChannels(picture) + channels;
    if (channels.isEmpty())
        throw Failure(InputError, fileName, QStringLiteral("has no extra channels"));
    const QDir folder(fromShell(options.folder));
    const QString base = QFileInfo(fileName).completeBaseName();
    UniqueNames names;
    QVector<Output> outputs;
    for (const Channel &channel : channels) {
        QString file;
        if (!options.list) {
            const QString name = names.unique(safeFileName(channel.name));
            file = folder.filePath(
                QStringLiteral("%1-%2.%3").arg(base, name, fromShell(options.kind)));
        }
        outputs.append({channel, file});
    }
    return outputs;
}

/// Writes a channel in a stage from \a begin to \a end percent.
void writeChannel(const Vellum &picture, const Output &output, const Options &options,
                  Progress &progress, int begin, int end)
{
    const QByteArray kind = outputKind(output.file);
    checkFits(kind, picture.size(), output.file);
    refuseInput(output.file, fromShell(options.file));
    OutputFile file(output.file, options.existing);
    progress.begin("write", begin, end);
    Vellum channel =
        channelPicture(picture, output.channel, options.storage, [](int) { return !cancelFlag(); });
    if (channel.isNull())
        file.fail(QStringLiteral("not enough memory for the channel"));
    writePicture(channel, {}, kind, progress, file);
    file.commit();
}

void writeChannels(const Vellum &picture, const QVector<Output> &outputs, const Options &options,
                   Progress &progress)
{
    const QString folder = fromShell(options.folder);
    if (!QDir().mkpath(folder))
        throw Failure(OutputError, folder, QStringLiteral("the folder cannot be created"));
    constexpr int kFrom = 50; // percent
    const auto percentBefore = [&](int i) { return kFrom + (100 - kFrom) * i / outputs.size(); };
    for (int i = 0; i < outputs.size(); ++i) {
        if (options.existing == Existing::Keep && QFileInfo::exists(outputs.at(i).file))
            continue;
        writeChannel(picture, outputs.at(i), options, progress, percentBefore(i),
                     percentBefore(i + 1));
    }
}

QByteArray asJson(const QString &fileName, const Vellum &picture, const QVector<Output> &outputs)
{
    QJsonArray channels;
    for (const auto &[channel, file] : outputs) {
        QJsonObject object {{QStringLiteral("name"), channel.name},
                            {QStringLiteral("bits"), channel.bits},
                            {QStringLiteral("extra"), channel.isExtra}};
        if (!file.isEmpty())
            object.insert(QStringLiteral("output"), file);
        channels.append(object);
    }
    return QJsonDocument(
               QJsonObject {{QStringLiteral("file"), fileName},
                            {QStringLiteral("convertedFromCmyk"), picture.isOrgFileCmyk()},
                            {QStringLiteral("channels"), channels}})
        .toJson();
}

/// \a name as a part of one line.
QString onOneLine(QString name)
{
    for (QChar &c : name) {
        if (!c.isPrint() && !c.isSurrogate())
            c = QLatin1Char(' ');
    }
    return name;
}

QByteArray asText(const QString &fileName, const QVector<Output> &outputs)
{
    QString text =
        QStringLiteral("%1\n  channels    %2\n").arg(fileName, QString::number(outputs.size()));
    for (const Output &output : outputs) {
        text += QStringLiteral("  %1 bits     %2\n")
                    .arg(output.channel.bits, 2)
                    .arg(onOneLine(output.channel.name));
    }
    return text.toLocal8Bit();
}

int run(const Options &options)
{
    const QString fileName = fromShell(options.file);
    PictureReader reader(fileName);
    Progress progress(options.progress, fileName);
    progress.begin("read", 0, options.list ? 100 : 50);
    Vellum picture;
    const ReleasedAttachments released(picture);
    reader.readPage(0, picture, progress, wholeOn(options.storage));

    const QVector<Output> outputs = outputsOf(picture, fileName, options);
    if (options.all && picture.isOrgFileCmyk()) {
        printNotice(fileName +
                    QLatin1String(": was CMYK and has been converted: red, green and blue are "
                                  "those of sRGB"));
    }
    if (!options.list)
        writeChannels(picture, outputs, options, progress);
    progress.finish();
    if (options.json)
        printOut(asJson(fileName, picture, outputs));
    else if (options.list)
        printOut(asText(fileName, outputs));
    return Done;
}

} // namespace

Command channelsCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command =
        app.add_subcommand("channels", "Write the extra channels of a picture as grey pictures");
    command->add_option("IN", options->file, "The picture, such as a TIFF file with spot colours")
        ->required();
    CLI::Option *const folder = command
                                    ->add_option("-o,--output", options->folder,
                                                 "The folder to write to; it is created if need be")
                                    ->type_name("DIR");
    CLI::Option *const list =
        command->add_flag("--list", options->list, "Only tell which channels there are");
    list->excludes(folder);
    command
        ->add_option("--type", options->kind,
                     "The kind of file to write: tif (the default), png or another that\n"
                     "holds grey pictures")
        ->type_name("KIND")
        ->excludes(list);
    command->add_flag("--all", options->all,
                      "The colours too: grey, or red, green and blue, and alpha. A CMYK\n"
                      "picture has been converted to sRGB by then, which is said");
    command->add_flag("--json", options->json, "Print a JSON object with the channels");
    addExistingOptions(*command, options->existing);
    addStorageOption(*command, options->storage);
    addProgressOption(*command, options->progress);
    addVerboseOption(*command);
    command->callback([folder, list] {
        if (folder->count() + list->count() == 0)
            throw CLI::RequiredError("-o DIR or --list");
    });
    command->footer("Channels keep their 8 or 16 bits. The channel Gold of label.tif becomes\n"
                    "DIR/label-Gold.tif; what file names cannot hold is replaced by _.\n\n"
                    "Example:\n"
                    "  vellum channels --list label.tif\n"
                    "  vellum channels label.tif -o separations --type png");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
