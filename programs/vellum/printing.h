// What a command says on standard output.
#pragma once

#include <QByteArray>

namespace vellum::tool {

/// Prints \a text at once. Throws a Failure when standard output cannot be written.
void printOut(const QByteArray &text);

} // namespace vellum::tool
