// Manual pages.
#pragma once

#include "definition.h"

#include <string>

namespace vellum::tool {

/// The manual page of \a command, a part of \a tool, in the macros of man(7). The same text for
/// the same definition and version, whenever and wherever it is made. Only ASCII: characters beyond
/// are written as escapes.
std::string manualPage(const CommandDefinition &command, const CommandDefinition &tool);

/// "vellum-pages-split" for "vellum pages split".
std::string manualName(const CommandDefinition &command);

} // namespace vellum::tool
