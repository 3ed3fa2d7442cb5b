// Help texts: prose, and lines that stay as they are.
#pragma once

#include <string>
#include <vector>

namespace vellum::tool {

/// A paragraph, or lines with what is said about them.
struct TextBlock
{
    std::string heading; ///< above the lines, such as "Example"; may be empty
    std::string prose; ///< one line, to be broken anywhere; empty if there are lines
    std::vector<std::string> lines; ///< without the indentation that all have

    bool isExample() const { return heading == "Example" || heading == "Examples"; }
};

/// The blocks of \a text. Empty lines separate paragraphs. Indented lines stay as they are, and a
/// line before them that ends with a colon is their heading.
std::vector<TextBlock> textBlocks(const std::string &text);

/// \a text with every run of white space as one space.
std::string onOneLine(const std::string &text);

/// \a text up to its first full stop, and without it.
std::string firstSentence(const std::string &text);

/// \a text in lines of at most \a columns characters, where its words allow.
std::vector<std::string> wrapped(const std::string &text, std::size_t columns);

/// Characters of \a text, which is UTF-8.
std::size_t characters(const std::string &text);

} // namespace vellum::tool
