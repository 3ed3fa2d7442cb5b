// The commands and their options as data, for all that is made of them: help, manual, completion.
//
// Read from what the commands have told CLI11, so that a new command or option is everywhere at
// once. What is in the group "" is hidden, as in CLI11's own help.
#pragma once

#include "textblocks.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace vellum::tool {

/// What can be written in a place of the command line.
///
/// A type name such as "auto|plain|big" gives the words, one such as "FILE|srgb|cmyk" words and
/// files. FILE and names with a suffix (OUT.icc) stand for files, DIR for folders; an argument
/// known by its place is a file unless it has got a type name.
struct ValueKind
{
    std::vector<std::string> words;
    bool files = false;
    bool folders = false;
};

/// An option, or an argument that is known by its place.
struct Argument
{
    std::vector<std::string> names; ///< {"-s", "--size"}; empty for an argument
    std::string value; ///< "N", "auto|plain|big"; the name of an argument; empty for a flag
    ValueKind kind;
    bool required = false;
    bool repeated = false; ///< takes any number of values
    std::string description; ///< one line

    bool isFlag() const { return value.empty(); }
};

struct OptionGroup
{
    std::string name; ///< "Options"
    std::string description; ///< one line, such as "At least one of"; may be empty
    std::vector<Argument> options;
};

struct CommandDefinition
{
    std::string name; ///< "split"
    std::string path; ///< "vellum pages split"
    std::string summary; ///< one line
    std::vector<Argument> arguments;
    std::vector<OptionGroup> groups;
    std::vector<CommandDefinition> commands;
    std::vector<TextBlock> footer;

    std::vector<Argument> options() const; ///< of all groups
};

/// What \a app says of itself and of its commands.
CommandDefinition definitionOf(const CLI::App &app);

/// \a command and all commands below it, each before its own.
std::vector<const CommandDefinition *> allCommands(const CommandDefinition &command);

/// How a call of \a command looks, after its path: "--angle DEGREES [OPTIONS] IN OUT".
std::vector<std::string> synopsis(const CommandDefinition &command);

} // namespace vellum::tool
