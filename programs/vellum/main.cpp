#include "cancel.h"
#include "command.h"
#include "datafolder.h"
#include "documents.h"
#include "failure.h"
#include "help.h"
#include "messages.h"
#include <vellum/io/limits.h>
#include <vellum/io/plugins.h>

#include <QCoreApplication>

#include <new>

using namespace vellum::tool;

namespace {

/// Ends with the help or version that was asked for, or with one line that says what is wrong.
int explain(const CLI::App &app, const CLI::ParseError &error)
{
    if (error.get_exit_code() == int(CLI::ExitCodes::Success))
        return app.exit(error);
    const QString hint = QStringLiteral(" (see vellum --help)");
    printError({UsageError, {}, QString::fromLocal8Bit(error.what()) + hint});
    return UsageError;
}

void addLimitOption(CLI::App &app)
{
    const auto limit = [](const std::string &text) {
        const auto limits = vellum::parsedLimits(QLatin1String("memory=") + fromShell(text),
                                                 vellum::defaultLimits());
        if (!limits)
            throw CLI::ValidationError("--memory-limit", "'" + text + "' is not like 800M or 4G");
        vellum::setDefaultLimits(*limits);
    };
    app.add_option_function<std::string>(
           "--memory-limit", limit,
           "Most memory for a picture's pixels, such as 4G, or none. Half of what the machine\n"
           "has is the default, and VELLUM_LIMITS sets another (memory=4G)")
        ->type_name("SIZE");
}

int runCommand(int argc, char **argv)
{
    CLI::App app("Very large pictures: look at them, convert, scale, turn and cut them.", "vellum");
    app.formatter(std::make_shared<HelpFormatter>());
    app.require_subcommand(0, 1); // that one is needed is said below, in plainer words
    addLimitOption(app);
    app.footer("Example:\n"
               "  vellum convert photo.jpg photo.hrle");
    const Command commands[] = {infoCommand(app),      convertCommand(app),  scaleCommand(app),
                                thumbnailCommand(app), profileCommand(app),  rotateCommand(app),
                                mirrorCommand(app),    cropCommand(app),     pasteCommand(app),
                                compareCommand(app),   channelsCommand(app), pagesCommand(app)};
    addDocumentOptions(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return explain(app, error);
    }
    for (const Command &command : commands) {
        if (command.options->parsed())
            return command.run();
    }
    throw Failure(UsageError, {}, QStringLiteral("no command given (see vellum --help)"));
}

int endWith(const Failure &failure)
{
    NoForcedEnd().untilTheEnd();
    printError(failure);
    return failure.code;
}

} // namespace

int main(int argc, char **argv)
{
    takeOverMessages();
    watchForCancel();
    const QCoreApplication qt(argc, argv);
    setUpDataFolder();
    vellum::registerPlugins();
    try {
        const int code = runCommand(argc, argv);
        NoForcedEnd().untilTheEnd();
        return code;
    } catch (const Failure &failure) {
        return endWith(failure);
    } catch (const std::bad_alloc &) {
        return endWith({InputError, {}, QStringLiteral("out of memory")});
    }
}
