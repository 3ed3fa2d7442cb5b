// The script for fish: conditions that know which command is being typed, and a line per option.

#include "completion.h"

namespace vellum::tool {

namespace {

const char kHeader[] = R"(# fish completion for vellum, made by "vellum --completion fish"

)";

const char kStateHead[] =
    R"(# Whether the words before the cursor belong to the command PATH and, if a PLACE is given, whether
# an argument with this number comes next, counted from 0; with "on", one with it or a later one.
function __vellum_at --argument-names path place on
    set -l here vellum
    set -l option ''
    set -l ended ''
    set -l count 0
    set -l words (commandline -opc)
    for word in $words[2..-1]
        if test -n "$option"
            set option ''
            continue
        end
        if test -z "$ended" -a "$word" = --
            set ended 1
            continue
        end
        if test -z "$ended"; and string match -qr '^-[^0-9]' -- $word
            switch "$here $word"
)";

const char kCommandsHead[] = R"(            end
            continue
        end
        switch "$count $here $word"
)";

const char kStateTail[] = R"(            case '*'
                set count (math $count + 1)
        end
    end
    test "$here" = "$path"; or return 1
    test -n "$place"; or return 0
    test $count -eq $place; or test -n "$on" -a $count -gt $place
end

complete -c vellum -f
)";

/// \a text in quotes; backslashes escape inside them, too.
std::string fishQuoted(const std::string &text)
{
    std::string out = "'";
    for (const char c : text) {
        if (c == '\'' || c == '\\')
            out += '\\';
        out += c;
    }
    return out + "'";
}

/// Lines of __vellum_at() that find the options with a value.
std::string valueCases(const CommandDefinition &command)
{
    std::string cases;
    for (const Argument &option : command.options()) {
        if (option.isFlag())
            continue;
        for (const std::string &name : option.names)
            cases += ' ' + fishQuoted(command.path + ' ' + name);
    }
    return cases.empty()
        ? ""
        : "                case" + cases + "\n                    set option $word\n";
}

/// Lines of __vellum_at() that find the commands below \a command.
std::string commandCases(const CommandDefinition &command)
{
    std::string cases;
    for (const CommandDefinition &below : command.commands)
        cases += ' ' + fishQuoted("0 " + below.path);
    return cases.empty()
        ? ""
        : "            case" + cases + "\n                set here \"$here $word\"\n";
}

/// What \c complete is told about a value.
std::string valueFlags(const ValueKind &kind)
{
    std::string words = joined(kind.words);
    if (kind.folders)
        words += (words.empty() ? "" : " ") + std::string("(__fish_complete_directories)");
    return std::string(kind.files ? " -F" : "") + (words.empty() ? "" : " -a " + fishQuoted(words));
}

std::string completeLine(const CommandDefinition &command, const std::string &more)
{
    return "complete -c vellum -n " + fishQuoted("__vellum_at '" + command.path + '\'' + more);
}

std::string optionLine(const CommandDefinition &command, const Argument &option)
{
    std::string line = completeLine(command, "");
    for (const std::string &name : option.names) {
        const bool isLong = name.compare(0, 2, "--") == 0;
        line += isLong ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    if (!option.isFlag())
        line += (option.kind.files ? " -r" : " -x") + valueFlags(option.kind);
    return line + " -d " + fishQuoted(firstSentence(option.description)) + '\n';
}

std::string argumentLines(const CommandDefinition &command)
{
    std::string lines;
    int place = 0;
    for (const Argument &argument : command.arguments) {
        const std::string where = ' ' + std::to_string(place++) + (argument.repeated ? " on" : "");
        const std::string flags = valueFlags(argument.kind);
        if (!flags.empty())
            lines += completeLine(command, where) + flags + '\n';
        if (argument.repeated)
            break;
    }
    return lines;
}

std::string linesFor(const CommandDefinition &command)
{
    std::string lines = '\n' + argumentLines(command);
    for (const CommandDefinition &below : command.commands) {
        lines += completeLine(command, " 0") + " -a " + fishQuoted(below.name) + " -d " +
            fishQuoted(firstSentence(below.summary)) + '\n';
    }
    for (const Argument &option : command.options())
        lines += optionLine(command, option);
    return lines;
}

} // namespace

std::string fishCompletion(const CommandDefinition &tool)
{
    std::string values;
    std::string commands;
    std::string lines;
    for (const CommandDefinition *command : allCommands(tool)) {
        values += valueCases(*command);
        commands += commandCases(*command);
        lines += linesFor(*command);
    }
    return kHeader + (kStateHead + values) + kCommandsHead + commands + kStateTail + lines;
}

} // namespace vellum::tool
