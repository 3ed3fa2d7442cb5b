#include "documents.h"

#include "command.h"
#include "completion.h"
#include "failure.h"
#include "manual.h"
#include "printing.h"
#include <vellum/version.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace vellum::tool {

namespace {

/// Has \a parse end well, with nothing more to do.
[[noreturn]] void endParsing() { throw CLI::Success(); }

void print(const std::string &text) { printOut(QByteArray::fromStdString(text)); }

std::string versions()
{
    const QStringList vectors = vectorInstructions();
    QString text = QStringLiteral("vellum " VELLUM_VERSION "\n");
    if (libraryVersion() != QLatin1String(VELLUM_VERSION))
        text += QStringLiteral("library %1\n").arg(libraryVersion());
    for (const Component &component : components())
        text += component.name + QLatin1Char(' ') + component.version + QLatin1Char('\n');
    text += QStringLiteral("vector instructions: ") +
        (vectors.isEmpty() ? QStringLiteral("none") : vectors.join(QStringLiteral(", ")));
    return text.toStdString() + '\n';
}

void write(const QString &fileName, const std::string &text)
{
    QFile file(fileName);
    const bool written = QDir().mkpath(QFileInfo(fileName).path()) &&
        file.open(QIODevice::WriteOnly) && file.write(text.data(), qint64(text.size())) >= 0 &&
        file.flush();
    if (!written)
        throw Failure(OutputError, fileName, file.errorString());
}

/// Writes all that is installed, where shells and man look for it below \a folder.
void writeAll(const QString &folder, const CommandDefinition &tool)
{
    const auto completion = [&](const char *name, Shell shell) {
        write(folder + QLatin1String(name), completionScript(shell, tool));
    };
    completion("/bash-completion/completions/vellum", Shell::Bash);
    completion("/zsh/site-functions/_vellum", Shell::Zsh);
    completion("/fish/vendor_completions.d/vellum.fish", Shell::Fish);
    for (const CommandDefinition *command : allCommands(tool)) {
        const QString name = QString::fromStdString(manualName(*command));
        write(folder + QStringLiteral("/man/man1/%1.1").arg(name), manualPage(*command, tool));
    }
}

/// Adds --man to \a command and those below it. Like --help, it may stand alone where a command
/// has to have arguments.
void addManualOption(CLI::App &tool, CLI::App &command)
{
    CLI::Option *const option = command.add_flag_function(
        "--man",
        [&tool, &command](std::int64_t) {
            print(manualPage(definitionOf(command), definitionOf(tool)));
            endParsing();
        },
        "Print the manual page (try: vellum --man | man -l -). After a command, print that of the "
        "command");
    option->trigger_on_parse();
    if (&command != &tool)
        option->group("");
    for (CLI::App *below : command.get_subcommands([](CLI::App *) { return true; })) {
        if (!below->get_name().empty())
            addManualOption(tool, *below);
    }
}

void addCompletionOption(CLI::App &app)
{
    const std::vector<std::pair<std::string, Shell>> shells {
        {"bash", Shell::Bash}, {"zsh", Shell::Zsh}, {"fish", Shell::Fish}};
    const auto printScript = [&app, shells](const std::string &name) {
        for (const auto &[known, shell] : shells) {
            if (name == known) {
                print(completionScript(shell, definitionOf(app)));
                endParsing();
            }
        }
        throw CLI::ValidationError("--completion", "'" + name + "' is none of bash|zsh|fish");
    };
    app.add_option_function<std::string>("--completion", printScript,
                                         "Print the completion script of bash, zsh or fish")
        ->type_name("bash|zsh|fish")
        ->option_text("SHELL")
        ->trigger_on_parse();
}

/// For the build, which installs what it writes.
void addWritingOption(CLI::App &app)
{
    app.add_option_function<std::string>(
           "--write-documents",
           [&app](const std::string &folder) {
               writeAll(fromShell(folder), definitionOf(app));
               endParsing();
           },
           "Write manual pages and completion scripts to this folder")
        ->type_name("DIR")
        ->group("")
        ->trigger_on_parse();
}

} // namespace

void addDocumentOptions(CLI::App &app)
{
    app.add_flag_function(
           "--version",
           [](std::int64_t) {
               print(versions());
               endParsing();
           },
           "Print the version, and those of the libraries in use")
        ->trigger_on_parse();
    addManualOption(app, app);
    addCompletionOption(app);
    addWritingOption(app);
}

} // namespace vellum::tool
