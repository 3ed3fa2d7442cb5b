// vellum convert: a picture into a file of another kind.

#include "command.h"
#include "failure.h"
#include "outputfile.h"
#include "reading.h"
#include "rows.h"

#include <QDataStream>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QImageWriter>

#include <memory>

namespace vellum::tool {

namespace {

constexpr qint64 kMostHrlePixels = 1073741824; // its readers refuse more
constexpr int kWidestHrleRow = 16777212; // a run's length has 24 bits, and rows are padded to 4

struct Options
{
    std::string input;
    std::string output;
    Storage storage = Storage::Auto;
    Progress::Mode progress = Progress::Mode::Auto;
};

/// The kind of file that \a fileName asks for, as QImageWriter calls it; empty for HRLE.
QByteArray outputKind(const QString &fileName)
{
    if (isHrleName(fileName))
        return {};
    const QFileInfo info(fileName);
    if (info.isDir())
        throw Failure(OutputError, fileName, QStringLiteral("is a folder"));
    const QList<QByteArray> known = QImageWriter::supportedImageFormats();
    const QByteArray kind = info.suffix().toLower().toLatin1();
    if (!known.contains(kind)) {
        throw Failure(OutputError, fileName,
                      QStringLiteral("unknown kind of file, known are .hrle .") +
                          QString::fromLatin1(known.join(" .")));
    }
    return kind;
}

void checkFitsHrle(const QSize &size, const QString &fileName)
{
    const qint64 pixels = qint64(size.width()) * size.height();
    if (pixels > kMostHrlePixels) {
        throw Failure(OutputError, fileName,
                      QStringLiteral("%1 x %2 pixels are more than the %3 that .hrle can hold")
                          .arg(size.width())
                          .arg(size.height())
                          .arg(kMostHrlePixels));
    }
    if (size.width() > kWidestHrleRow) {
        throw Failure(
            OutputError, fileName,
            QStringLiteral("%1 pixels are more than a row of .hrle can hold").arg(size.width()));
    }
}

/// \a picture as the writer needs it; throws where arranged() gives a null image.
Vellum prepared(const Vellum &picture, QImage::Format format, Storage storage, Progress &progress,
                OutputFile &output)
{
    Vellum result = arranged(picture, format, storage, progress);
    if (result.isNull())
        output.fail(QStringLiteral("not enough memory for the picture"));
    return result;
}

void writeHrle(Vellum &picture, Progress &progress, OutputFile &output)
{
    clearPadding(picture);
    const ProgressGuard guard = progress.watch(picture);
    QDataStream stream(output.device());
    if (!HrleHandler().writeStream(stream, picture) || stream.status() != QDataStream::Ok)
        output.fail(QStringLiteral("the picture cannot be written"));
}

void writeOther(const Vellum &picture, const QByteArray &kind, OutputFile &output)
{
    const WarningLog log;
    QImageWriter writer(output.device(), kind);
    if (!writer.write(picture))
        output.fail(writer.errorString());
}

QString described(const Vellum &picture)
{
    return QStringLiteral("%1 x %2 %3, %4")
        .arg(picture.width())
        .arg(picture.height())
        .arg(formatName(picture.format()),
             QLatin1String(storageName(picture.isBigImage() ? Storage::Big : Storage::Plain)));
}

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
    if (kind.isEmpty())
        checkFitsHrle(reader.header().size, outName);
    OutputFile output(outName);
    Progress progress(options.progress, inName);

    progress.begin("read", 0, 50);
    Vellum picture = reader.read(progress);
    tell(inName, "read", picture);

    progress.begin("convert", 50, 75);
    if (kind.isEmpty())
        checkFitsHrle(picture.size(), outName); // not every header tells the size
    const QImage::Format format = kind.isEmpty() ? QImage::Format_Grayscale8 : picture.format();
    picture = prepared(picture, format, options.storage, progress, output);
    tell(outName, "converted", picture);

    progress.begin("write", 75, 100);
    if (kind.isEmpty()) {
        writeHrle(picture, progress, output);
    } else {
        // Qt's writers know nothing of row blocks.
        picture = prepared(picture, format, Storage::Plain, progress, output);
        writeOther(picture, kind, output);
    }
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
