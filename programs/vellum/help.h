// What --help shows.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace vellum::tool {

/// Writes the help of a command in lines of at most 80 columns, save where a footer has longer
/// ones. For CLI::App::formatter(), of the application before it gets its commands.
class HelpFormatter : public CLI::FormatterBase
{
public:
    std::string make_help(const CLI::App *app, std::string name,
                          CLI::AppFormatMode mode) const override;
};

} // namespace vellum::tool
