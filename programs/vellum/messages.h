// The one place that writes to standard error.
#pragma once

#include "platform.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace vellum::tool {

struct Failure;

/// Sends what Qt and the library say through here: shown with \c -v, else dropped, so that an
/// error stays one line. Call before anything else of Qt's.
void takeOverMessages();

void setVerbose(bool verbose);

/// Prints \a text as a line of its own if \c -v was given.
void printVerbose(const QString &text);

/// Prints \a text as a line of its own.
void printNotice(const QString &text);

/// Prints "vellum: FILE: reason", as exactly one line whatever a file is called.
void printError(const Failure &failure);

/// Shows \a line as the last line, in place of an earlier status. The next line printed
/// removes it.
void showStatus(const QByteArray &line);

void keepStatus(); ///< Leaves the status where it is; what follows is written below it.
void removeStatus();

/// Collects the warnings that Qt's decoders and encoders give on this thread while it lives, and
/// throws away what they print past Qt unless \c -v was given.
class WarningLog
{
    Q_DISABLE_COPY(WarningLog)

public:
    WarningLog();
    ~WarningLog();
    const QStringList &warnings() const;

private:
    QStringList m_warnings;
    std::optional<platform::Silence> m_silence;
};

} // namespace vellum::tool
