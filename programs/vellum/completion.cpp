#include "completion.h"

namespace vellum::tool {

std::string completionScript(Shell shell, const CommandDefinition &tool)
{
    switch (shell) {
    case Shell::Bash:
        return bashCompletion(tool);
    case Shell::Zsh:
        return zshCompletion(tool);
    case Shell::Fish:
        return fishCompletion(tool);
    }
    return {};
}

std::string quoted(const std::string &text)
{
    std::string out = "'";
    for (const char c : text) {
        if (c == '\'')
            out += "'\\''";
        else
            out += c;
    }
    return out + "'";
}

std::string joined(const std::vector<std::string> &words, const std::string &separator)
{
    std::string out;
    for (const std::string &word : words)
        out += (out.empty() ? "" : separator) + word;
    return out;
}

} // namespace vellum::tool
