// How a command ends when it cannot do what it was asked.
#pragma once

#include <QString>

#include <utility>

namespace vellum::tool {

/// What the shell sees. Scripts rely on the values.
enum ExitCode {
    Done = 0,
    UsageError = 1,
    InputError = 2, ///< the input cannot be read
    OutputError = 3, ///< the output cannot be written
    OverLimit = 4, ///< the picture is larger than the memory limit
    Partial =
        5, ///< some of several pictures failed, or a damaged one was written as far as it went
    Different = 6, ///< the pictures that were compared are not equal
    WasCancelled = 130, ///< 128 + SIGINT, as shells have it
};

/// Thrown by whatever a command calls; main() prints it as one line and exits with its code.
struct Failure
{
    Failure(ExitCode exitCode, QString fileName, QString why)
        : code(exitCode), file(std::move(fileName)), reason(std::move(why))
    {
    }

    ExitCode code;
    QString file; ///< what was worked on; may be empty
    QString reason; ///< one phrase, without a full stop
};

/// The user has asked to stop while \a file was being worked on.
inline Failure cancelled(const QString &file) { return {WasCancelled, file, "cancelled"}; }

} // namespace vellum::tool
