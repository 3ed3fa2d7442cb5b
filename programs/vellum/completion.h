// Scripts that teach shells to complete calls of the tool.
#pragma once

#include "definition.h"

#include <string>

namespace vellum::tool {

enum class Shell { Bash, Zsh, Fish };

/// The script that completes \a tool: commands, options, the words that options take, files and
/// folders. It runs nothing but the shell.
std::string completionScript(Shell shell, const CommandDefinition &tool);

std::string bashCompletion(const CommandDefinition &tool);
std::string zshCompletion(const CommandDefinition &tool);
std::string fishCompletion(const CommandDefinition &tool);

/// \a text as one word of a shell: in single quotes, of which it may have some.
std::string quoted(const std::string &text);

/// \a words with one space between them.
std::string joined(const std::vector<std::string> &words, const std::string &separator = " ");

} // namespace vellum::tool
