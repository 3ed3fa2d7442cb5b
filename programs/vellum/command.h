// The commands of the tool, and the options that several of them have.
#pragma once

#include "messages.h"
#include "progress.h"
#include "storage.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <map>
#include <string>

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

inline void addVerboseOption(CLI::App &command)
{
    command.add_flag_function(
        "-v,--verbose", [](std::int64_t) { setVerbose(true); },
        "Show what is done, and what the libraries say");
}

inline void addStorageOption(CLI::App &command, Storage &storage)
{
    static const std::map<std::string, Storage> names {
        {"auto", Storage::Auto}, {"plain", Storage::Plain}, {"big", Storage::Big}};
    command
        .add_option("--storage", storage,
                    "Where the pixels live: plain (one buffer), big (many blocks), or\n"
                    "auto: big from 1 GiB of pixels (the default)")
        ->transform(CLI::CheckedTransformer(names))
        ->type_name("auto|plain|big");
}

inline void addProgressOption(CLI::App &command, Progress::Mode &mode)
{
    using Mode = Progress::Mode;
    static const std::map<std::string, Mode> names {
        {"auto", Mode::Auto}, {"bar", Mode::Bar}, {"json", Mode::Json}, {"none", Mode::None}};
    command
        .add_option("--progress", mode,
                    "bar (on standard error), json (one object per line on standard\n"
                    "output), none, or auto: bar on a terminal, else none (the default)")
        ->transform(CLI::CheckedTransformer(names))
        ->type_name("auto|bar|json|none");
}

/// A file name as it came from the command line.
inline QString fromShell(const std::string &name) { return QString::fromLocal8Bit(name.c_str()); }

} // namespace vellum::tool
