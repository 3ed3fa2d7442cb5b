// The commands of the tool, and the options that several of them have.
#pragma once

#include "messages.h"
#include "progress.h"
#include "storage.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace vellum::tool {

/// A command as main() knows it. Each lives in a file of its own, and describes its options to
/// CLI11 there.
struct Command
{
    CLI::App *options;
    std::function<int()> run; ///< returns an ExitCode or throws a Failure
};

Command infoCommand(CLI::App &app);
Command convertCommand(CLI::App &app);
Command profileCommand(CLI::App &app);
Command rotateCommand(CLI::App &app);
Command mirrorCommand(CLI::App &app);
Command cropCommand(CLI::App &app);
Command pasteCommand(CLI::App &app);
Command scaleCommand(CLI::App &app);
Command thumbnailCommand(CLI::App &app);
Command compareCommand(CLI::App &app);
Command channelsCommand(CLI::App &app);
Command pagesCommand(CLI::App &app);

inline void addVerboseOption(CLI::App &command)
{
    command.add_flag_function(
        "-v,--verbose", [](std::int64_t) { setVerbose(true); },
        "Show what is done, and what the libraries say");
}

/// Adds an option whose value is one of \a names. Written out in the help as "auto|plain|big".
template <typename Value>
CLI::Option *addChoice(CLI::App &command, const std::string &option, Value &value,
                       std::initializer_list<std::pair<const char *, Value>> names,
                       const std::string &description)
{
    std::string choices;
    for (const auto &name : names)
        choices += (choices.empty() ? "" : "|") + std::string(name.first);
    const std::vector<std::pair<const char *, Value>> known(names);
    const auto choose = [&value, known, option, choices](const std::string &text) {
        for (const auto &[name, meaning] : known) {
            if (text == name) {
                value = meaning;
                return;
            }
        }
        throw CLI::ValidationError(option, "'" + text + "' is none of " + choices);
    };
    return command.add_option_function<std::string>(option, choose, description)
        ->type_name(choices);
}

inline void addStorageOption(CLI::App &command, Storage &storage)
{
    addChoice(command, "--storage", storage,
              {{"auto", Storage::Auto}, {"plain", Storage::Plain}, {"big", Storage::Big}},
              "Where the pixels live: plain (one buffer), big (many blocks), or\n"
              "auto: big from 1 GiB of pixels (the default)");
}

inline void addProgressOption(CLI::App &command, Progress::Mode &mode)
{
    using Mode = Progress::Mode;
    addChoice(
        command, "--progress", mode,
        {{"auto", Mode::Auto}, {"bar", Mode::Bar}, {"json", Mode::Json}, {"none", Mode::None}},
        "bar (on standard error), json (one object per line on standard\n"
        "output), none, or auto: bar on a terminal, else none (the default)");
}

/// A file name as it came from the command line.
inline QString fromShell(const std::string &name) { return QString::fromLocal8Bit(name.c_str()); }

} // namespace vellum::tool
