#include "definition.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <sstream>

namespace vellum::tool {

namespace {

const char kUntypedText[] = "TEXT"; // what CLI11 calls a string that has no type name

std::vector<std::string> alternatives(const std::string &typeName)
{
    std::vector<std::string> all;
    std::istringstream in(typeName);
    for (std::string one; std::getline(in, one, '|');)
        all.push_back(one);
    return all;
}

bool endsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() &&
        text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// The type name itself: CLI11 appends what its checks say, as in "N:INT in [1 - 9]". FILE and DIR
/// are kept, which are what the checks for existing ones say.
std::string typeNameOf(const CLI::Option &option)
{
    const std::string name = option.get_type_name();
    for (std::size_t i = 0; i + 1 < name.size(); ++i) {
        if (name[i] != ':' || std::isdigit(static_cast<unsigned char>(name[i + 1])) != 0)
            continue; // the colons of 4:2:0 are its own
        const std::string check = name.substr(i + 1);
        return check == "FILE" || check == "DIR" ? check : name.substr(0, i);
    }
    return name;
}

bool isPlaceholder(const std::string &name) { return std::isupper(name.front()) != 0; }

ValueKind kindOf(const std::string &typeName)
{
    ValueKind kind;
    const std::vector<std::string> names = alternatives(typeName);
    for (const std::string &name : names) {
        if (name.empty())
            continue;
        if (!isPlaceholder(name)) {
            if (names.size() > 1)
                kind.words.push_back(name);
        } else if (endsWith(name, "FILE") || name.find('.') != std::string::npos) {
            kind.files = true;
        } else if (endsWith(name, "DIR")) {
            kind.folders = true;
        }
    }
    return kind;
}

std::vector<std::string> namesOf(const CLI::Option &option)
{
    std::vector<std::string> names;
    for (const std::string &name : option.get_snames())
        names.push_back("-" + name);
    for (const std::string &name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

/// The description, with what CLI11 knows beyond it.
std::string describe(const CLI::Option &option, const std::string &groupDescription)
{
    std::string text = onOneLine(option.get_description());
    const std::string said = groupDescription + ' ' + text;
    for (const CLI::Option *needed : option.get_needs()) {
        const std::string name = needed->get_name();
        if (said.find(name) == std::string::npos)
            text += " (with " + name + ")";
    }
    if (!option.get_default_str().empty())
        text += " (" + option.get_default_str() + " is the default)";
    return text;
}

Argument argumentOf(const CLI::Option &option, const std::string &groupDescription)
{
    const bool named = option.nonpositional();
    const std::string typeName = typeNameOf(option);
    Argument argument;
    argument.names = namesOf(option);
    argument.required = option.get_required();
    argument.repeated = option.get_expected_max() >= CLI::detail::expected_max_vector_size;
    argument.description = describe(option, groupDescription);
    if (!named)
        argument.value = option.get_name(true);
    else if (option.get_items_expected_max() > 0)
        argument.value = option.get_option_text().empty() ? typeName : option.get_option_text();
    argument.kind = kindOf(typeName);
    if (!named && typeName == kUntypedText)
        argument.kind.files = true;
    return argument;
}

/// The group \a name of \a command, added if need be.
OptionGroup &groupOf(CommandDefinition &command, const std::string &name,
                     const std::string &description)
{
    const auto found = std::find_if(command.groups.begin(), command.groups.end(),
                                    [&](const OptionGroup &group) { return group.name == name; });
    if (found != command.groups.end())
        return *found;
    command.groups.push_back({name, description, {}});
    return command.groups.back();
}

/// Adds the options of \a app, which is a command, or a group of options that CLI11 keeps apart
/// because so many of them are required.
void addOptions(CommandDefinition &command, const CLI::App &app)
{
    const bool isGroup = app.get_name().empty();
    const std::string about = isGroup ? onOneLine(app.get_description()) : std::string();
    for (const CLI::Option *option : app.get_options()) {
        if (option->get_group().empty() || (isGroup && option == app.get_help_ptr()))
            continue;
        const Argument argument = argumentOf(*option, about);
        if (argument.names.empty())
            command.arguments.push_back(argument);
        else
            groupOf(command, isGroup ? app.get_group() : option->get_group(), about)
                .options.push_back(argument);
    }
}

/// What is hidden, or of no use now.
bool isLeftOut(const CLI::App &app) { return app.get_group().empty() || app.get_disabled(); }

CommandDefinition definitionBelow(const CLI::App &app, const std::string &parentPath)
{
    CommandDefinition command;
    command.name = app.get_name();
    command.path = parentPath + command.name;
    command.summary = onOneLine(app.get_description());
    command.footer = textBlocks(app.get_footer());
    addOptions(command, app);
    for (const CLI::App *below : app.get_subcommands(nullptr)) {
        if (isLeftOut(*below))
            continue;
        if (below->get_name().empty())
            addOptions(command, *below);
        else
            command.commands.push_back(definitionBelow(*below, command.path + ' '));
    }
    return command;
}

/// "--size N" or "IN..."
std::string inSynopsis(const Argument &argument)
{
    const std::string dots = argument.repeated ? "..." : "";
    if (argument.names.empty())
        return (argument.required ? argument.value : '[' + argument.value + ']') + dots;
    return argument.names.back() + (argument.isFlag() ? "" : ' ' + argument.value + dots);
}

} // namespace

std::vector<Argument> CommandDefinition::options() const
{
    std::vector<Argument> all;
    for (const OptionGroup &group : groups)
        all.insert(all.end(), group.options.begin(), group.options.end());
    return all;
}

CommandDefinition definitionOf(const CLI::App &app)
{
    std::string parents;
    for (const CLI::App *parent = app.get_parent(); parent; parent = parent->get_parent())
        parents.insert(0, parent->get_name() + ' ');
    return definitionBelow(app, parents);
}

std::vector<const CommandDefinition *> allCommands(const CommandDefinition &command)
{
    std::vector<const CommandDefinition *> all {&command};
    for (const CommandDefinition &below : command.commands) {
        const std::vector<const CommandDefinition *> others = allCommands(below);
        all.insert(all.end(), others.begin(), others.end());
    }
    return all;
}

std::vector<std::string> synopsis(const CommandDefinition &command)
{
    std::vector<std::string> parts;
    bool hasOthers = false;
    for (const Argument &option : command.options()) {
        if (option.required)
            parts.push_back(inSynopsis(option));
        else
            hasOthers = true;
    }
    if (hasOthers)
        parts.emplace_back("[OPTIONS]");
    for (const Argument &argument : command.arguments)
        parts.push_back(inSynopsis(argument));
    if (!command.commands.empty())
        parts.emplace_back("COMMAND ...");
    return parts;
}

} // namespace vellum::tool
