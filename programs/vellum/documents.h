// What the tool tells about itself beside its help: versions, manual pages, completion.
#pragma once

#include <CLI/CLI.hpp>

namespace vellum::tool {

/// Adds --version, --completion and --man to \a app, and --man to its commands, where it is not
/// listed. To be called when all commands are known.
void addDocumentOptions(CLI::App &app);

} // namespace vellum::tool
