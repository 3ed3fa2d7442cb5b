#include "textblocks.h"

#include <algorithm>
#include <sstream>

namespace vellum::tool {

namespace {

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

bool isBlank(const std::string &line) { return line.find_first_not_of(' ') == std::string::npos; }
bool isIndented(const std::string &line) { return line.front() == ' '; }

void removeIndentation(std::vector<std::string> &lines)
{
    std::size_t common = std::string::npos;
    for (const std::string &line : lines)
        common = std::min(common, line.find_first_not_of(' '));
    for (std::string &line : lines)
        line.erase(0, common);
}

/// Adds the indented \a lines, under the prose before them if that is their heading.
void addLines(std::vector<TextBlock> &blocks, std::vector<std::string> lines, bool follows)
{
    removeIndentation(lines);
    constexpr std::size_t kLongestHeading = 40;
    if (follows && blocks.back().prose.back() == ':' &&
        blocks.back().prose.size() <= kLongestHeading) {
        blocks.back().heading = blocks.back().prose.substr(0, blocks.back().prose.size() - 1);
        blocks.back().prose.clear();
        blocks.back().lines = std::move(lines);
    } else {
        blocks.push_back({{}, {}, std::move(lines)});
    }
}

} // namespace

std::vector<TextBlock> textBlocks(const std::string &text)
{
    std::vector<TextBlock> blocks;
    bool follows = false; // prose, without an empty line between
    const std::vector<std::string> lines = linesOf(text);
    for (auto line = lines.begin(); line != lines.end();) {
        if (isBlank(*line)) {
            follows = false;
            ++line;
            continue;
        }
        const bool indented = isIndented(*line);
        const auto end = std::find_if(line, lines.end(), [indented](const std::string &other) {
            return isBlank(other) || isIndented(other) != indented;
        });
        if (indented) {
            addLines(blocks, {line, end}, follows);
        } else {
            std::string prose;
            for (auto part = line; part != end; ++part)
                prose += *part + ' ';
            blocks.push_back({{}, onOneLine(prose), {}});
        }
        follows = !indented;
        line = end;
    }
    return blocks;
}

std::string onOneLine(const std::string &text)
{
    std::string line;
    std::istringstream in(text);
    for (std::string word; in >> word;)
        line += (line.empty() ? "" : " ") + word;
    return line;
}

std::string firstSentence(const std::string &text)
{
    const std::string sentence = text.substr(0, text.find(". "));
    return !sentence.empty() && sentence.back() == '.' ? sentence.substr(0, sentence.size() - 1)
                                                       : sentence;
}

std::vector<std::string> wrapped(const std::string &text, std::size_t columns)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string word; in >> word;) {
        if (lines.empty() || characters(lines.back()) + 1 + characters(word) > columns)
            lines.push_back(word);
        else
            lines.back() += ' ' + word;
    }
    return lines;
}

std::size_t characters(const std::string &text)
{
    return std::size_t(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
    }));
}

} // namespace vellum::tool
