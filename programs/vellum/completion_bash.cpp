// The script for bash: two functions of tables, and one that finds its way through the words.

#include "completion.h"

namespace vellum::tool {

namespace {

const char kHeader[] = R"(# bash completion for vellum, made by "vellum --completion bash"
)";

const char kValueHead[] = R"(
# What can stand for the value of an option, or for an argument: sets words, and kind to what
# compgen calls files or folders. Fails if the option takes no value.
_vellum_value()
{
    words='' kind=''
    case $1 in
)";

const char kCommandHead[] = R"(
# The commands and options of a command: sets commands and options.
_vellum_command()
{
    commands='' options=''
    case $1 in
)";

const char kMain[] = R"(
# Sets typed to the words of the line up to the cursor; bash takes them apart at "=" and ":".
_vellum_typed()
{
    typed=("${COMP_WORDS[@]:0:COMP_CWORD+1}")
    [[ -n $COMP_LINE ]] || return
    local rest=${COMP_LINE:0:COMP_POINT} blanks part
    local -a parts=("${typed[@]}")
    typed=()
    for part in "${parts[@]}"; do
        blanks=${rest%%[![:blank:]]*}
        rest=${rest#"$blanks"}
        rest=${rest#"$part"}
        if [[ -n $blanks || ${#typed[@]} -eq 0 ]]; then
            typed+=("$part")
        else
            typed[${#typed[@]}-1]+=$part
        fi
    done
}

_vellum()
{
    local path=vellum option='' place=0 ended='' word words kind commands options
    local -a typed
    _vellum_typed
    local -i last=${#typed[@]}-1 i
    _vellum_command "$path"
    for ((i = 1; i < last; i++)); do
        word=${typed[i]}
        if [[ -n $option ]]; then
            option=''
        elif [[ -z $ended && $word == -- ]]; then
            ended=1
        elif [[ -z $ended && $word == -* && $word != -[0-9]* ]]; then
            [[ $word != *=* ]] && _vellum_value "$path $word" && option=$word
        elif [[ $place == 0 && " $commands " == *" $word "* ]]; then
            path+=" $word"
            _vellum_command "$path"
        else
            ((place++))
        fi
    done

    local current=${typed[last]} head='' candidate
    if [[ -z $option && -z $ended && $current == --*=* ]]; then
        option=${current%%=*}
        head=$option=
        current=${current#"$head"}
    fi
    words='' kind=''
    if [[ -n $option ]]; then
        _vellum_value "$path $option"
    elif [[ -z $ended && $current == -* ]]; then
        words=$options
    else
        _vellum_value "$path $place"
        [[ $place != 0 ]] || words+=" $commands"
    fi

    # Of a word that bash has taken apart, it replaces the last part only.
    local breaks='' kept=''
    [[ $COMP_WORDBREAKS != *=* ]] || breaks+='='
    [[ $COMP_WORDBREAKS != *:* ]] || breaks+=':'
    [[ -z $breaks ]] || kept=$head$current kept=${kept%"${kept##*["$breaks"]}"}
    COMPREPLY=()
    while IFS= read -r candidate; do
        candidate=$head$candidate
        COMPREPLY+=("${candidate#"$kept"}")
    done < <(
        [[ -z $words ]] || compgen -W "$words" -- "$current"
        [[ -z $kind ]] || compgen "$kind" -- "$current"
    )
    [[ -z $kind ]] || compopt -o filenames 2>/dev/null
}

complete -F _vellum vellum
)";

const char kTail[] = R"(    esac
}
)";

std::string valueCase(const std::string &pattern, const ValueKind &kind)
{
    std::string set;
    if (!kind.words.empty())
        set += " words=" + quoted(joined(kind.words));
    if (kind.files || kind.folders)
        set += std::string(" kind=") + (kind.files ? "-f" : "-d");
    return "    " + pattern + ")" + (set.empty() ? " :" : set) + " ;;\n";
}

/// Arguments are known by their place, counted from 0; the first that may be repeated stands for
/// all that follow.
std::string argumentCases(const CommandDefinition &command)
{
    std::string cases;
    int place = 0;
    for (const Argument &argument : command.arguments) {
        if (argument.repeated)
            return cases + valueCase(quoted(command.path + ' ') + "[0-9]*", argument.kind);
        cases += valueCase(quoted(command.path + ' ' + std::to_string(place++)), argument.kind);
    }
    return cases;
}

std::string optionCases(const CommandDefinition &command)
{
    std::string cases;
    for (const Argument &option : command.options()) {
        if (option.isFlag())
            continue;
        std::vector<std::string> patterns;
        for (const std::string &name : option.names)
            patterns.push_back(quoted(command.path + ' ' + name));
        cases += valueCase(joined(patterns, " | "), option.kind);
    }
    return cases;
}

std::string commandCase(const CommandDefinition &command)
{
    std::vector<std::string> commands;
    for (const CommandDefinition &below : command.commands)
        commands.push_back(below.name);
    std::vector<std::string> options;
    for (const Argument &option : command.options())
        options.insert(options.end(), option.names.begin(), option.names.end());
    return "    " + quoted(command.path) + ")\n        commands=" + quoted(joined(commands)) +
        "\n        options=" + quoted(joined(options)) + " ;;\n";
}

} // namespace

std::string bashCompletion(const CommandDefinition &tool)
{
    std::string values;
    std::string commands;
    for (const CommandDefinition *command : allCommands(tool)) {
        values += argumentCases(*command) + optionCases(*command);
        commands += commandCase(*command);
    }
    return kHeader + (kCommandHead + commands + kTail) + kValueHead + values +
        "    *) return 1 ;;\n" + kTail + kMain;
}

} // namespace vellum::tool
