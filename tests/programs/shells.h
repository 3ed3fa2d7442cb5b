// Shells that complete a command line, as if a user had pressed the tabulator key.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace vellum::test {

enum class CompletingShell { Bash, Zsh, Fish };

/// False where the shell is not installed.
bool isInstalled(CompletingShell shell);

/// The name by which vellum --completion knows it.
QString nameOf(CompletingShell shell);

/// What \a shell offers, once it has read \a script, for the last word of \a line, in \a folder:
/// sorted, each once. Of "--option=value" the value; folders without the slash at their end.
QStringList completions(CompletingShell shell, const QByteArray &script, const QString &line,
                        const QString &folder);

} // namespace vellum::test
