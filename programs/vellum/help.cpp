#include "help.h"

#include "definition.h"
#include "exitcodes.h"

#include <algorithm>
#include <utility>

namespace vellum::tool {

namespace {

constexpr std::size_t kColumns = 80;
constexpr std::size_t kIndent = 2; // of names, and between them and their descriptions
constexpr std::size_t kWidestName = 24; // longer ones have their description below

using Entry = std::pair<std::string, std::string>; // name, description

std::string indented(const std::vector<std::string> &lines, std::size_t by)
{
    std::string text;
    for (const std::string &line : lines)
        text += (line.empty() ? "" : std::string(by, ' ') + line) + '\n';
    return text;
}

std::size_t nameColumns(const std::vector<Entry> &entries)
{
    std::size_t columns = 0;
    for (const Entry &entry : entries) {
        const std::size_t width = characters(entry.first);
        if (width <= kWidestName)
            columns = std::max(columns, width);
    }
    return columns == 0 ? kWidestName : columns;
}

std::string entryText(const Entry &entry, std::size_t columns)
{
    const auto &[name, description] = entry;
    const std::size_t start = kIndent + columns + kIndent;
    std::vector<std::string> lines = wrapped(description, kColumns - start);
    std::string first = std::string(kIndent, ' ') + name;
    if (characters(name) <= columns && !lines.empty()) {
        first += std::string(start - characters(first), ' ') + lines.front();
        lines.erase(lines.begin());
    }
    return first + '\n' + indented(lines, start);
}

std::string section(const std::string &title, const std::vector<Entry> &entries)
{
    if (entries.empty())
        return {};
    std::string text = title + ":\n";
    const std::size_t columns = nameColumns(entries);
    for (const Entry &entry : entries)
        text += entryText(entry, columns);
    return text;
}

/// "-s, --size N"
std::string shownName(const Argument &argument)
{
    std::string name;
    for (const std::string &one : argument.names)
        name += (name.empty() ? "" : ", ") + one;
    if (!argument.isFlag())
        name += (name.empty() ? "" : " ") + argument.value;
    return name + (argument.repeated ? "..." : "");
}

std::vector<Entry> entriesOf(const std::vector<Argument> &arguments)
{
    std::vector<Entry> entries;
    for (const Argument &argument : arguments)
        entries.emplace_back(shownName(argument), argument.description);
    return entries;
}

std::string usage(const CommandDefinition &command)
{
    const std::string start = "Usage: " + command.path + ' ';
    std::string parts;
    for (const std::string &part : synopsis(command))
        parts += part + ' ';
    return indented(wrapped(parts, kColumns - start.size()), start.size())
        .replace(0, start.size(), start);
}

std::string blockText(const TextBlock &block)
{
    const std::string heading = block.heading.empty() ? "" : block.heading + ":\n";
    return indented(wrapped(block.prose, kColumns), 0) + heading + indented(block.lines, kIndent);
}

std::string exitCodes()
{
    std::string text = "Exit codes:";
    const char *separator = " ";
    for (const ExitMeaning &exit : kExitMeanings) {
        text += separator + std::to_string(exit.code) + ' ' + exit.shortly;
        separator = ", ";
    }
    return indented(wrapped(text + '.', kColumns), 0);
}

std::vector<Entry> commandsOf(const CommandDefinition &command)
{
    std::vector<Entry> commands;
    for (const CommandDefinition &below : command.commands)
        commands.emplace_back(below.name, below.summary);
    return commands;
}

std::string introduction(const CommandDefinition &command)
{
    return indented(wrapped(command.summary, kColumns), 0) + usage(command);
}

/// On one screen: nothing but the first sentence on options, and no empty lines.
std::string toolHelp(const CommandDefinition &tool)
{
    std::string text = introduction(tool) + section("Commands", commandsOf(tool));
    for (const OptionGroup &group : tool.groups) {
        std::vector<Entry> options = entriesOf(group.options);
        for (Entry &option : options)
            option.second = firstSentence(option.second);
        text += section(group.name, options);
    }
    for (const TextBlock &block : tool.footer)
        text += blockText(block);
    return text + exitCodes();
}

std::string commandHelp(const CommandDefinition &command)
{
    std::vector<std::string> parts {introduction(command), section("Commands", commandsOf(command)),
                                    section("Arguments", entriesOf(command.arguments))};
    for (const OptionGroup &group : command.groups) {
        const std::string about = group.description.empty() ? "" : ": " + group.description;
        parts.push_back(section(group.name + about, entriesOf(group.options)));
    }
    for (const TextBlock &block : command.footer)
        parts.push_back(blockText(block));
    std::string text;
    for (const std::string &part : parts)
        text += (text.empty() || part.empty() ? "" : "\n") + part;
    return text;
}

} // namespace

std::string HelpFormatter::make_help(const CLI::App *app, std::string /*name*/,
                                     CLI::AppFormatMode /*mode*/) const
{
    const CommandDefinition command = definitionOf(*app);
    return app->get_parent() ? commandHelp(command) : toolHelp(command);
}

} // namespace vellum::tool
