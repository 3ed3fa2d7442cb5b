#include "manual.h"

#include "exitcodes.h"

#include <QString>
#include <QVector>

#include <algorithm>
#include <cctype>

namespace vellum::tool {

namespace {

struct Variable
{
    const char *name;
    const char *meaning;
};

constexpr Variable kVariables[] = {
    {"VELLUM_LIMITS",
     "The largest pictures that are read, such as pixels=400M,memory=4G. Each is a whole number, "
     "which K, M, G or T multiplies by a power of 1024, or none. Without it, the pixels of a "
     "picture may take half of the memory that there is. --memory-limit has precedence."},
    {"VELLUM_DATA_DIR",
     "The folder that holds share/color/icc with the colour profiles, in place of that which was "
     "installed with the program."},
    {"QT_PLUGIN_PATH",
     "Folders with plugins for more kinds of files, each with a folder imageformats in it; "
     "separated by colons. The program's own plugins come first."},
    {"QT_NO_CPU_FEATURE",
     "Vector instructions that are not to be used, such as sse4.1. Pictures come out the same, "
     "later."},
};

/// Characters that roff takes for its own, or shows as another.
void appendEscaped(std::string &out, uint c, bool literal)
{
    switch (c) {
    case '\\':
        out += "\\e";
        return;
    case '"':
        out += "\\(dq";
        return;
    case '^':
        out += "\\(ha";
        return;
    case '~':
        out += "\\(ti";
        return;
    case '`':
        out += "\\(ga";
        return;
    case '-':
        out += literal ? "\\-" : "-";
        return;
    case '\'':
        out += literal ? "\\(aq" : "'";
        return;
    default:
        break;
    }
    const QString digits = QString::number(c, 16).toUpper().rightJustified(4, QLatin1Char('0'));
    if (c < 0x80)
        out += char(c);
    else
        out += "\\[u" + digits.toStdString() + ']';
}

/// \a text for a place where it is to be typed as it stands, or for prose, where only options are.
std::string escaped(const std::string &text, bool literal)
{
    std::string out;
    bool isOption = false;
    uint before = ' ';
    for (const uint c : QString::fromStdString(text).toUcs4()) {
        if (c == ' ')
            isOption = false;
        else if (c == '-' && (before == ' ' || before == '('))
            isOption = true;
        appendEscaped(out, c, literal || isOption);
        before = c;
    }
    if (!out.empty() && (out.front() == '.' || out.front() == '\''))
        out.insert(0, "\\&"); // a line that starts so is a request
    return out;
}

std::string literal(const std::string &text) { return escaped(text, true); }
std::string prose(const std::string &text) { return escaped(text, false); }
std::string bold(const std::string &text) { return "\\fB" + literal(text) + "\\fR"; }
std::string italic(const std::string &text) { return "\\fI" + literal(text) + "\\fR"; }

std::string inCapitals(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::toupper(c)); });
    return text;
}

/// "read pictures" for "Read pictures", as lists of manual pages have it.
std::string asPhrase(std::string text)
{
    if (text.size() > 1 && std::islower(static_cast<unsigned char>(text[1])))
        text[0] = char(std::tolower(static_cast<unsigned char>(text[0])));
    if (!text.empty() && text.back() == '.')
        text.pop_back();
    return text;
}

std::string asSentence(const std::string &text)
{
    return text.empty() || text.back() == '.' ? text : text + '.';
}

std::string section(const std::string &title)
{
    return ".SH \"" + prose(inCapitals(title)) + "\"\n";
}

std::string paragraph(const std::string &text) { return ".PP\n" + prose(text) + '\n'; }

std::string item(const std::string &tag, const std::string &text)
{
    return ".TP\n" + tag + '\n' + (text.empty() ? "\\&" : prose(text)) + '\n';
}

std::string unfilled(const std::vector<std::string> &lines)
{
    std::string text = ".PP\n.nf\n";
    for (const std::string &line : lines)
        text += (line.empty() ? "\\&" : literal(line)) + '\n';
    return text + ".fi\n";
}

std::string reference(const CommandDefinition &command)
{
    return "\\fB" + literal(manualName(command)) + "\\fR(1)";
}

/// \a words of a value in bold, placeholders in italics.
std::string value(const std::string &text)
{
    std::string out;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find('|', start), text.size());
        const std::string one = text.substr(start, end - start);
        const bool isWord = text.find('|') != std::string::npos && !one.empty() &&
            std::isupper(static_cast<unsigned char>(one.front())) == 0;
        out += (start > 0 ? "|" : "") + (isWord ? bold(one) : italic(one));
        start = end + 1;
    }
    return out;
}

std::string tag(const Argument &argument)
{
    std::string text;
    for (const std::string &name : argument.names)
        text += (text.empty() ? "" : ", ") + bold(name);
    if (!argument.isFlag())
        text += (text.empty() ? "" : " ") + value(argument.value);
    return text + (argument.repeated ? "..." : "");
}

std::string header(const CommandDefinition &command)
{
    return ".TH \"" + prose(inCapitals(manualName(command))) +
        "\" \"1\" \"" VELLUM_RELEASE_DATE "\" \"vellum " VELLUM_VERSION "\" \"User Commands\"\n"
        ".nh\n.ad l\n"; // justified, lines with long options would have holes
}

std::string synopsisSection(const CommandDefinition &command)
{
    std::string text = section("Synopsis") + ".B " + literal(command.path) + '\n';
    for (const std::string &part : synopsis(command))
        text += literal(part) + '\n';
    return text;
}

std::string descriptionSection(const CommandDefinition &command)
{
    std::string text = section("Description") + prose(asSentence(command.summary)) + '\n';
    for (const TextBlock &block : command.footer) {
        if (!block.prose.empty())
            text += paragraph(block.prose);
        else if (block.heading.empty())
            text += unfilled(block.lines);
    }
    return text;
}

std::string argumentsSection(const CommandDefinition &command)
{
    std::string text;
    for (const Argument &argument : command.arguments)
        text += item(tag(argument), argument.description);
    return text.empty() ? text : section("Arguments") + text;
}

std::string commandsSection(const CommandDefinition &command)
{
    if (command.commands.empty())
        return {};
    std::string text = section("Commands");
    for (const CommandDefinition &below : command.commands)
        text += item(bold(below.name),
                     asSentence(below.summary) + " See " + manualName(below) + "(1).");
    return text;
}

std::string optionsSections(const CommandDefinition &command)
{
    std::string text;
    for (const OptionGroup &group : command.groups) {
        text += text.empty() ? section("Options") : "";
        if (group.name != "Options")
            text += ".SS \"" + prose(group.name) + "\"\n";
        if (!group.description.empty())
            text += prose(group.description + ':') + '\n';
        for (const Argument &option : group.options)
            text += item(tag(option), option.description);
    }
    return text;
}

std::string footerSections(const CommandDefinition &command)
{
    std::string others;
    std::string examples;
    for (const TextBlock &block : command.footer) {
        if (block.isExample())
            examples += unfilled(block.lines);
        else if (!block.heading.empty())
            others += section(block.heading) + unfilled(block.lines);
    }
    return others + (examples.empty() ? "" : section("Examples") + examples);
}

std::string exitSection()
{
    std::string text = section("Exit status");
    for (const ExitMeaning &exit : kExitMeanings)
        text += item(bold(std::to_string(exit.code)), exit.meaning);
    return text;
}

std::string environmentSection()
{
    std::string text = section("Environment");
    for (const Variable &variable : kVariables)
        text += item(bold(variable.name), variable.meaning);
    return text;
}

std::string seeAlsoSection(const CommandDefinition &command, const CommandDefinition &tool)
{
    std::string text;
    for (const CommandDefinition *other : allCommands(tool)) {
        if (other != &command && other->path != command.path)
            text += (text.empty() ? "" : ",\n") + reference(*other);
    }
    return text.empty() ? text : section("See also") + text + '\n';
}

} // namespace

std::string manualName(const CommandDefinition &command)
{
    std::string name = command.path;
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

std::string manualPage(const CommandDefinition &command, const CommandDefinition &tool)
{
    return header(command) + section("Name") + literal(manualName(command)) + " \\- " +
        prose(asPhrase(command.summary)) + '\n' + synopsisSection(command) +
        descriptionSection(command) + argumentsSection(command) + commandsSection(command) +
        optionsSections(command) + footerSections(command) + exitSection() + environmentSection() +
        seeAlsoSection(command, tool);
}

} // namespace vellum::tool
