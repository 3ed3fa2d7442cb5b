// vellum pages: files of several pictures, taken apart, put together and looked at.

#include "cancel.h"
#include "command.h"
#include "failure.h"
#include "filejobs.h"
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

struct SplitOptions
{
    std::string file;
    std::string folder;
    std::string kind = "tif";
    Existing existing = Existing::Replace;
    Storage storage = Storage::Auto;
    Progress::Mode progress = Progress::Mode::Auto;
};

struct JoinOptions
{
    std::vector<std::string> files; ///< to read, and last the one to write
    bool force = false; ///< replaces that one, which may have been meant as one to read
    Storage storage = Storage::Auto;
    Progress::Mode progress = Progress::Mode::Auto;
};

struct ListOptions
{
    std::string file;
    bool json = false;
};

/// Says that colours are not what they were, as TIFF files of CMYK would have it.
void tellOfConversion(const QString &fileName, int page, const Vellum &picture)
{
    if (picture.isOrgFileCmyk()) {
        printNotice(QStringLiteral("%1: page %2 was CMYK and has been converted to sRGB")
                        .arg(fileName, QString::number(page + 1)));
    }
}

/// The part of a stage from \a from to \a to percent that ends before step \a i of \a count.
int percentBefore(int i, int count, int from, int to)
{
    return from + int(qint64(to - from) * i / qMax(1, count));
}

/// Writes \a page in a stage from \a begin to \a end percent.
void writePage(Vellum &page, const QString &fileName, Existing existing, Progress &progress,
               int begin, int end)
{
    const QByteArray kind = outputKind(fileName);
    checkFits(kind, page.size(), fileName);
    OutputFile output(fileName, existing);
    progress.begin("write", begin, end);
    WriteWishes wishes;
    wishes.exif = takeExif(page);
    writePicture(page, wishes, kind, progress, output);
    output.commit();
}

int split(const SplitOptions &options)
{
    const QString fileName = fromShell(options.file);
    const QString kind = fromShell(options.kind);
    const QString folder = fromShell(options.folder);
    outputKind(QStringLiteral("page.") + kind); // known, before anything is made
    PictureReader reader(fileName);
    if (!QDir().mkpath(folder))
        throw Failure(OutputError, folder, QStringLiteral("the folder cannot be created"));
    Progress progress(options.progress, fileName);
    const int count = reader.pages();
    const int digits = QString::number(count).size();
    for (int i = 0; i < count; ++i) {
        const QString number = QString::number(i + 1).rightJustified(digits, QLatin1Char('0'));
        const QString name =
            QStringLiteral("%1-%2.%3").arg(QFileInfo(fileName).completeBaseName(), number, kind);
        const QString file = QDir(folder).filePath(name);
        refuseInput(file, fileName);
        if (options.existing == Existing::Keep && QFileInfo::exists(file))
            continue;
        const int begin = percentBefore(i, count, 0, 100);
        const int end = percentBefore(i + 1, count, 0, 100);
        const int read = (begin + end) / 2;
        progress.begin("read", begin, read);
        Vellum page;
        const ReleasedAttachments released(page);
        reader.readPage(i, page, progress, wholeOn(options.storage));
        tellOfConversion(fileName, i, page);
        writePage(page, file, options.existing, progress, read, end);
    }
    progress.finish();
    return Done;
}

/// Pages with what is attached to them.
class Chain
{
    Q_DISABLE_COPY(Chain)

public:
    Chain() = default;
    ~Chain()
    {
        for (int i = 0; i < m_pages.count(); ++i)
            const ReleasedAttachments released(m_pages.page(i));
    }

    /// Adds all pages of a file, in that part of the stage that shows "read".
    void addFile(const QString &fileName, Storage storage, Progress &progress, int from, int to)
    {
        PictureReader reader(fileName);
        const int count = reader.pages();
        for (int i = 0; i < count; ++i) {
            progress.begin("read", percentBefore(i, count, from, to),
                           percentBefore(i + 1, count, from, to));
            Vellum &page = m_pages.append(Vellum());
            reader.readPage(i, page, progress, wholeOn(storage), m_limits);
            tellOfConversion(fileName, i, page);
            if (m_limits.memory != Limits::kNone)
                m_limits.memory -= pixelBytes(page.size(), page.format());
        }
    }

    const PageChain &pages() const { return m_pages; }

private:
    PageChain m_pages;
    Limits m_limits = defaultLimits(); // what is left of the memory, for all pages together
};

/// Throws a Failure for a kind of file that holds one picture only.
QByteArray chainKind(const QString &fileName)
{
    const QByteArray kind = outputKind(fileName);
    if (kind != "tif" && kind != "tiff")
        throw Failure(OutputError, fileName, QStringLiteral("only .tif files hold several pages"));
    return kind;
}

void writeChain(const PageChain &pages, const QByteArray &kind, Progress &progress,
                OutputFile &output)
{
    const WarningLog log;
    const SaveResult result = savePages(pages, *output.device(), saveOptions({}, kind, progress));
    if (!result)
        output.fail(result.message);
}

int join(const JoinOptions &options)
{
    constexpr int kReadEnd = 60; // percent
    const auto inputs = int(options.files.size()) - 1;
    const QString outName = fromShell(options.files.back());
    const QByteArray kind = chainKind(outName);
    for (int i = 0; i < inputs; ++i)
        refuseInput(outName, fromShell(options.files[size_t(i)]));
    if (!options.force && QFileInfo::exists(outName))
        throw Failure(OutputError, outName, QStringLiteral("exists already; --force replaces it"));
    OutputFile output(outName, options.force ? Existing::ReplaceProtected : Existing::Keep);
    Progress progress(options.progress, outName);
    Chain chain;
    for (int i = 0; i < inputs; ++i) {
        chain.addFile(fromShell(options.files[size_t(i)]), options.storage, progress,
                      percentBefore(i, inputs, 0, kReadEnd),
                      percentBefore(i + 1, inputs, 0, kReadEnd));
    }
    progress.begin("write", kReadEnd, 100);
    writeChain(chain.pages(), kind, progress, output);
    output.commit();
    progress.finish();
    return Done;
}

int list(const ListOptions &options)
{
    const QString fileName = fromShell(options.file);
    PictureReader reader(fileName);
    const int count = reader.pages();
    QString text = QStringLiteral("%1\n  pages       %2\n").arg(fileName, QString::number(count));
    QJsonArray pages;
    for (int i = 0; i < count; ++i) {
        const PictureHeader page = reader.lookAt(i);
        const bool isFormatKnown = page.format != QImage::Format_Invalid;
        const QString format = isFormatKnown ? formatName(page.format) : QString();
        const int depth = isFormatKnown ? formatDepth(page.format) : 0;
        text += QStringLiteral("  %1 %2 x %3 pixels, %4\n")
                    .arg(i + 1, -11)
                    .arg(page.size.width())
                    .arg(page.size.height())
                    .arg(isFormatKnown ? format : QStringLiteral("format not stated"));
        pages.append(QJsonObject {{QStringLiteral("page"), i + 1},
                                  {QStringLiteral("width"), page.size.width()},
                                  {QStringLiteral("height"), page.size.height()},
                                  {QStringLiteral("format"), format},
                                  {QStringLiteral("depth"), depth}});
    }
    if (options.json) {
        const QJsonObject object {{QStringLiteral("file"), fileName},
                                  {QStringLiteral("pages"), pages}};
        printOut(QJsonDocument(object).toJson());
    } else {
        printOut(text.toLocal8Bit());
    }
    return Done;
}

CLI::App *addSplit(CLI::App &pages, SplitOptions &options)
{
    CLI::App *const command =
        pages.add_subcommand("split", "Write every page of a file as a file of its own");
    command->add_option("IN", options.file, "The file of several pages")->required();
    command
        ->add_option("-o,--output", options.folder,
                     "The folder to write to; it is created if need be")
        ->required()
        ->type_name("DIR");
    command
        ->add_option("--type", options.kind,
                     "The kind of the files: tif (the default), png, jpg or any other\n"
                     "that can be written")
        ->type_name("KIND");
    addExistingOptions(*command, options.existing);
    addStorageOption(*command, options.storage);
    addProgressOption(*command, options.progress);
    addVerboseOption(*command);
    command->footer(
        "Of fax.tif, DIR/fax-1.tif and so on are made, with as many digits as the last\n"
        "number has. One page is in memory at a time. Profile, EXIF data, resolution,\n"
        "texts and extra channels go along where the kind of file holds them. Ends at\n"
        "the first page that cannot be read.\n\n"
        "Example:\n"
        "  vellum pages split fax.tif -o sheets --type png");
    return command;
}

CLI::App *addJoin(CLI::App &pages, JoinOptions &options)
{
    CLI::App *const command =
        pages.add_subcommand("join", "Write pictures as the pages of one TIFF file");
    command
        ->add_option("FILE", options.files,
                     "The pictures, of any size and kind, of which all pages are taken;\n"
                     "and last the TIFF file to write")
        ->required()
        ->expected(2, CLI::detail::expected_max_vector_size)
        ->type_name("IN... OUT");
    command->add_flag("--force", options.force,
                      "Replace OUT if it exists, which else is refused: the last of *.tif\n"
                      "is easily taken for it");
    addStorageOption(*command, options.storage);
    addProgressOption(*command, options.progress);
    addVerboseOption(*command);
    command->footer("OUT appears when it is complete. All pages are in memory together.\n\n"
                    "Example:\n"
                    "  vellum pages join cover.jpg inside.tif back.png book.tif");
    return command;
}

CLI::App *addList(CLI::App &pages, ListOptions &options)
{
    CLI::App *const command = pages.add_subcommand("list", "Tell the pages of a file");
    command->add_option("IN", options.file, "A picture file")->required();
    command->add_flag("--json", options.json, "Print a JSON object with the pages");
    addVerboseOption(*command);
    command->footer("Example:\n"
                    "  vellum pages list fax.tif");
    return command;
}

} // namespace

Command pagesCommand(CLI::App &app)
{
    struct Options
    {
        SplitOptions split;
        JoinOptions join;
        ListOptions list;
    };
    const auto options = std::make_shared<Options>();
    CLI::App *const command =
        app.add_subcommand("pages", "Split, join and list files of several pages");
    CLI::App *const splitting = addSplit(*command, options->split);
    CLI::App *const joining = addJoin(*command, options->join);
    addList(*command, options->list);
    command->require_subcommand(1);
    command->footer("Example:\n"
                    "  vellum pages list fax.tif\n"
                    "  vellum pages split fax.tif -o sheets\n"
                    "  vellum pages join cover.jpg inside.tif book.tif");
    return {command, [options, splitting, joining] {
                if (splitting->parsed())
                    return split(options->split);
                return joining->parsed() ? join(options->join) : list(options->list);
            }};
}

} // namespace vellum::tool
