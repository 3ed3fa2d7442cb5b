// The script for zsh: one function per command, whose options _arguments knows how to complete.

#include "completion.h"

#include <algorithm>

namespace vellum::tool {

namespace {

std::string functionName(const CommandDefinition &command)
{
    std::string name = '_' + command.path;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

/// \a text with a backslash before each of \a special.
std::string escaped(const std::string &text, const std::string &special)
{
    std::string out;
    for (const char c : text) {
        if (c == '\\' || special.find(c) != std::string::npos)
            out += '\\';
        out += c;
    }
    return out;
}

/// ":message:action", for which _arguments calls \a kind.
std::string valueSpec(const std::string &name, const ValueKind &kind)
{
    const std::string message = ':' + escaped(name, ":") + ':';
    const std::string files = kind.files ? "_files" : kind.folders ? "_files -/" : "";
    const std::string words =
        kind.words.empty() ? "" : '(' + escaped(joined(kind.words), ":") + ')';
    if (words.empty() && files.empty())
        return message + ' ';
    if (words.empty() || files.empty())
        return message + words + files;
    return message + "{_alternative " + quoted(escaped("words:word:" + words, ":")) + ' ' +
        quoted(escaped("files:file:" + files, ":")) + '}';
}

std::string optionSpecs(const Argument &option)
{
    const bool several = option.names.size() > 1;
    std::string specs;
    for (const std::string &name : option.names) {
        const bool isLong = name.compare(0, 2, "--") == 0;
        std::string spec = option.repeated ? "*" : several ? '(' + joined(option.names) + ')' : "";
        spec += name + (option.isFlag() ? "" : isLong ? "=" : "+");
        spec += '[' + escaped(firstSentence(option.description), "[]") + ']';
        if (!option.isFlag())
            spec += valueSpec(option.value, option.kind);
        specs += " \\\n    " + quoted(spec);
    }
    return specs;
}

std::string argumentSpecs(const CommandDefinition &command)
{
    std::string specs;
    int place = 1;
    for (const Argument &argument : command.arguments) {
        const std::string where = argument.repeated ? "*" : std::to_string(place++);
        specs += " \\\n    " + quoted(where + valueSpec(argument.value, argument.kind));
        if (argument.repeated) // what comes behind has no place of its own
            break;
    }
    return specs;
}

/// The part that offers the commands below \a command, and goes on in the function of one.
std::string dispatch(const CommandDefinition &command)
{
    std::string offers;
    std::string calls;
    for (const CommandDefinition &below : command.commands) {
        offers +=
            "      " + quoted(escaped(below.name, ":") + ':' + firstSentence(below.summary)) + '\n';
        calls += "        " + below.name + ") " + functionName(below) + " ;;\n";
    }
    return "\n  case $state in\n"
           "    command)\n"
           "      offers=(\n" +
        offers +
        "      )\n"
        "      _describe -t commands command offers ;;\n"
        "    arguments)\n"
        "      curcontext=\"${curcontext%:*:*}:vellum-$words[1]:\"\n"
        "      case $words[1] in\n" +
        calls +
        "      esac ;;\n"
        "  esac\n";
}

std::string function(const CommandDefinition &command)
{
    std::string specs;
    for (const Argument &option : command.options())
        specs += optionSpecs(option);
    std::string body = functionName(command) + "()\n{\n";
    if (command.commands.empty())
        return body + "  _arguments -s" + specs + argumentSpecs(command) + "\n}\n\n";
    body += "  local curcontext=$curcontext state line\n"
            "  local -A opt_args\n"
            "  local -a offers\n"
            "  _arguments -C -s" +
        specs + " \\\n    '1: :->command' \\\n    '*:: :->arguments' && return\n";
    return body + dispatch(command) + "}\n\n";
}

} // namespace

std::string zshCompletion(const CommandDefinition &tool)
{
    std::string script = "#compdef vellum\n"
                         "# zsh completion for vellum, made by \"vellum --completion zsh\"\n\n";
    for (const CommandDefinition *command : allCommands(tool))
        script += function(*command);
    // Found as a file of fpath, this is the body of the function; sourced, it is not.
    return script +
        "if [[ $funcstack[1] == _vellum ]]; then\n"
        "  _vellum \"$@\"\n"
        "else\n"
        "  compdef _vellum vellum\n"
        "fi\n";
}

} // namespace vellum::tool
