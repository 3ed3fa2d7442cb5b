#include "filejobs.h"

#include "cancel.h"
#include "command.h"
#include "failure.h"
#include "messages.h"
#include "pipeline.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QHash>
#include <QImageWriter>
#include <QPair>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <optional>
#include <thread>

namespace vellum::tool {

namespace {

constexpr int kMostJobs = 256;

/// The same for all names of a file.
QString identity(const QString &fileName)
{
    const QFileInfo info(fileName);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : canonical;
}

bool isWritable(const QString &kind)
{
    return kind == QLatin1String("hrle") ||
        QImageWriter::supportedImageFormats().contains(kind.toLatin1());
}

/// The ending of the file that \a input becomes.
QString endingFor(const QString &input, const std::string &kind)
{
    if (!kind.empty())
        return fromShell(kind);
    const QString own = QFileInfo(input).suffix();
    return isWritable(own.toLower()) ? own : QStringLiteral("png");
}

/// \a pattern with its fields filled in for file \a number, from 1 on, of \a count.
QString filledIn(const QString &pattern, const QString &input, const std::string &kind, int number,
                 int count)
{
    static const QRegularExpression field(QStringLiteral("\\{([^{}]*)\\}"));
    QString name;
    int from = 0;
    for (auto matches = field.globalMatch(pattern); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        name += pattern.mid(from, match.capturedStart() - from);
        from = match.capturedEnd();
        if (match.captured(1) == QLatin1String("name"))
            name += QFileInfo(input).completeBaseName();
        else if (match.captured(1) == QLatin1String("ext"))
            name += endingFor(input, kind);
        else if (match.captured(1) == QLatin1String("n"))
            name += QString::number(number).rightJustified(QString::number(count).size(),
                                                           QLatin1Char('0'));
        else
            throw Failure(UsageError, match.captured(),
                          QStringLiteral("not one of {name}, {ext} and {n}, which --name knows"));
    }
    name += pattern.mid(from);
    if (name.isEmpty() || name.contains(QLatin1Char('/')))
        throw Failure(UsageError, pattern, QStringLiteral("--name names files, not folders"));
    return name;
}

/// Drops what is there twice.
void dropRepeated(std::vector<FileJob> &jobs)
{
    QSet<QPair<QString, QString>> known;
    const auto isKnown = [&](const FileJob &job) {
        const auto way = qMakePair(identity(job.input), identity(job.output));
        const bool was = known.contains(way);
        known.insert(way);
        return was;
    };
    jobs.erase(std::remove_if(jobs.begin(), jobs.end(), isKnown), jobs.end());
}

/// Throws a Failure if one of \a jobs would write over a picture that is read, or two the same.
void checkOutputs(const std::vector<FileJob> &jobs)
{
    QHash<QString, QString> inputs; // as they are called, by identity, as is the next
    QHash<QString, QString> writers;
    for (const FileJob &job : jobs)
        inputs.insert(identity(job.input), job.input);
    for (const FileJob &job : jobs) {
        const QString output = identity(job.output);
        const QString replaced = inputs.value(output);
        if (!replaced.isNull()) {
            throw Failure(UsageError, replaced,
                          QStringLiteral("would be replaced; --in-place says that it may"));
        }
        const QString other = writers.value(output);
        if (!other.isNull()) {
            throw Failure(UsageError, job.input,
                          QStringLiteral("would be written to the same file as ") + other);
        }
        writers.insert(output, job.input);
    }
}

std::vector<FileJob> jobsIntoFolder(const FileOptions &options)
{
    const QDir folder(fromShell(options.folder));
    const QString pattern =
        options.name.empty() ? QStringLiteral("{name}.{ext}") : fromShell(options.name);
    if (!options.kind.empty() && !isWritable(fromShell(options.kind))) {
        throw Failure(UsageError, fromShell(options.kind),
                      QStringLiteral("unknown kind of file for --type"));
    }
    std::vector<FileJob> jobs;
    for (const std::string &file : options.files) {
        const QString input = fromShell(file);
        const QString name =
            filledIn(pattern, input, options.kind, int(jobs.size()) + 1, int(options.files.size()));
        jobs.push_back({input, folder.filePath(name)});
    }
    return jobs;
}

/// What became of the jobs.
class Tally
{
public:
    void addDone(bool whole)
    {
        const std::lock_guard lock(m_mutex);
        ++(whole ? m_done : m_damaged);
    }

    void addSkipped()
    {
        const std::lock_guard lock(m_mutex);
        ++m_skipped;
    }

    void addFailed(const Failure &failure)
    {
        const std::lock_guard lock(m_mutex);
        ++m_failed;
        if (!m_code)
            m_code = failure.code;
        else if (*m_code != failure.code)
            m_code = Partial;
    }

    ExitCode code() const
    {
        if (m_failed == 0)
            return m_damaged > 0 ? Partial : Done;
        return m_done + m_damaged + m_skipped > 0 ? Partial : *m_code;
    }

    QString summary(double seconds) const
    {
        QStringList parts {QStringLiteral("%1 done").arg(m_done)};
        const auto add = [&](int count, const char *what) {
            if (count > 0)
                parts += QStringLiteral("%1 %2").arg(count).arg(QLatin1String(what));
        };
        add(m_damaged, "damaged and written in part");
        add(m_skipped, "skipped, as they exist already");
        add(m_failed, "failed");
        return QStringLiteral("%1, in %2 s")
            .arg(parts.join(QStringLiteral(", ")))
            .arg(seconds, 0, 'f', 1);
    }

private:
    std::mutex m_mutex;
    int m_done = 0;
    int m_damaged = 0;
    int m_skipped = 0;
    int m_failed = 0;
    std::optional<ExitCode> m_code; // of all that failed, or Partial when they differ
};

class Runner
{
public:
    Runner(const FileOptions &options, std::vector<FileJob> jobs,
           const std::function<void(Pipeline &)> &work)
        : m_options(options), m_jobs(std::move(jobs)), m_work(work),
          m_board(options.progress, int(m_jobs.size()))
    {
    }

    int run()
    {
        if (m_jobs.size() == 1) {
            runOne(m_jobs.front());
            m_board.finish();
            return m_tally.code();
        }
        runAll();
        if (cancelFlag())
            throw cancelled({});
        m_board.finish();
        printNotice(m_tally.summary(double(m_clock.elapsed()) / 1000));
        return m_tally.code();
    }

private:
    void runAll()
    {
        m_clock.start();
        std::vector<std::thread> others;
        const int threads = qMin(m_options.jobs, int(m_jobs.size()));
        for (int i = 1; i < threads; ++i)
            others.emplace_back([this] { takeJobs(); });
        takeJobs();
        for (std::thread &other : others)
            other.join();
    }

    void takeJobs()
    {
        for (size_t i = m_next++; i < m_jobs.size() && !cancelFlag(); i = m_next++) {
            try {
                runOne(m_jobs[i]);
            } catch (const Failure &failure) {
                note(failure);
            } catch (const std::bad_alloc &) {
                note({InputError, m_jobs[i].input, QStringLiteral("out of memory")});
            }
        }
    }

    void note(const Failure &failure)
    {
        if (failure.code == WasCancelled)
            return; // said once, for all
        printError(failure);
        m_tally.addFailed(failure);
    }

    void runOne(const FileJob &job)
    {
        if (m_options.existing == Existing::Keep && QFileInfo::exists(job.output)) {
            const QString notice = job.output + QLatin1String(": exists already, skipped");
            if (m_jobs.size() == 1)
                printNotice(notice);
            else
                printVerbose(notice);
            m_tally.addSkipped();
            return;
        }
        Pipeline pipeline(m_options, job, m_board);
        m_work(pipeline);
        m_tally.addDone(pipeline.isWhole());
    }

    const FileOptions &m_options;
    const std::vector<FileJob> m_jobs;
    const std::function<void(Pipeline &)> &m_work;
    ProgressBoard m_board;
    Tally m_tally;
    QElapsedTimer m_clock;
    std::atomic<size_t> m_next {0};
};

} // namespace

void refuseInput(const QString &output, const QString &input)
{
    if (identity(output) == identity(input))
        throw Failure(UsageError, input, QStringLiteral("would be replaced"));
}

CLI::Option *addFolderOptions(CLI::App &command, FileOptions &options)
{
    CLI::Option *const folder =
        command
            .add_option("-o,--output", options.folder,
                        "Write into this folder, which is created if need be")
            ->type_name("DIR");
    command
        .add_option("--name", options.name,
                    "With -o: how the files are called. {name} is that of the\n"
                    "input without its ending, {ext} the ending, {n} a number.\n"
                    "{name}.{ext} is the default")
        ->needs(folder)
        ->type_name("TEMPLATE");
    command
        .add_option("--type", options.kind,
                    "With -o: the kind of file to write, such as png; that of the\n"
                    "input is the default, or png where that cannot be written")
        ->needs(folder)
        ->type_name("KIND");
    return folder;
}

void addJobsOption(CLI::App &command, FileOptions &options)
{
    command
        .add_option("--jobs", options.jobs,
                    "Pictures to work on at a time (1 is the default). Each may take\n"
                    "as much memory as --memory-limit says")
        ->check(CLI::Range(1, kMostJobs))
        ->type_name("N");
}

void addExistingOptions(CLI::App &command, Existing &existing)
{
    CLI::Option *const keep = command.add_flag_function(
        "--no-clobber", [&existing](std::int64_t) { existing = Existing::Keep; },
        "Leave files alone that exist already, and skip their pictures");
    command
        .add_flag_function(
            "--force", [&existing](std::int64_t) { existing = Existing::ReplaceProtected; },
            "Replace write-protected files too")
        ->excludes(keep);
}

void addWritingOptions(CLI::App &command, FileOptions &options)
{
    command
        .add_option("--quality", options.encoding.quality,
                    "Of formats that lose something, 0 to 100 (as JPEG)")
        ->check(CLI::Range(0, 100).description(""))
        ->type_name("N");
    command
        .add_option("--compression", options.encoding.compression,
                    "How hard PNG and TIFF files are packed: 0 (fast, large) to 100")
        ->check(CLI::Range(0, 100).description(""))
        ->type_name("N");
    command
        .add_option("--subtype", options.encoding.subType,
                    "JPEG: 444, 422, 420 and so on; TIFF: none, packbits, lzw, deflate,\n"
                    "zstd, followed by -tiled, -big or -tiled-big")
        ->type_name("NAME");
    command.add_flag("--progressive", options.encoding.progressive,
                     "JPEG that shows itself bit by bit while it is loaded");
    addExistingOptions(command, options.existing);
    command.add_flag("--keep-going", options.keepGoing,
                     "Write what could be read of a damaged picture, say how much that\n"
                     "is, and exit with 5");
    addStorageOption(command, options.storage);
    addProgressOption(command, options.progress);
    addVerboseOption(command);
}

void addFiles(CLI::App &command, FileOptions &options, const std::string &description)
{
    command.add_option("FILES", options.files, description)->required();
    CLI::Option *const folder = addFolderOptions(command, options);
    command
        .add_flag("--in-place", options.inPlace,
                  "Write over the pictures that are read, when the result is complete")
        ->excludes(folder);
    addJobsOption(command, options);
    addWritingOptions(command, options);
}

std::vector<FileJob> plannedJobs(const FileOptions &options)
{
    std::vector<FileJob> jobs;
    if (options.inPlace) {
        if (options.existing == Existing::Keep)
            throw Failure(UsageError, {}, QStringLiteral("--in-place excludes --no-clobber"));
        for (const std::string &file : options.files)
            jobs.push_back({fromShell(file), fromShell(file)});
        dropRepeated(jobs);
        return jobs;
    }
    if (!options.folder.empty()) {
        jobs = jobsIntoFolder(options);
    } else if (options.files.size() == 2) {
        jobs.push_back({fromShell(options.files[0]), fromShell(options.files[1])});
    } else {
        throw Failure(UsageError, {},
                      QStringLiteral("needs IN and OUT, or pictures and -o DIR (see vellum "
                                     "--help)"));
    }
    dropRepeated(jobs);
    checkOutputs(jobs);
    return jobs;
}

int runJobs(const FileOptions &options, const std::function<void(Pipeline &)> &work)
{
    std::vector<FileJob> jobs = plannedJobs(options);
    const QString folder = fromShell(options.folder);
    if (!folder.isEmpty() && !QDir().mkpath(folder))
        throw Failure(OutputError, folder, QStringLiteral("the folder cannot be created"));
    return Runner(options, std::move(jobs), work).run();
}

} // namespace vellum::tool
