// What differs between operating systems.
#pragma once

#include <QFile>

#include <cstdio>

namespace vellum::tool::platform {

/// Calls \a onSignal on a thread of its own, each time the user or the system asks the process to
/// stop. Call once, before any other thread is started.
///
/// From here on a full disk or a closed pipe is an error of the write, not a signal.
void watchSignals(void (*onSignal)());

bool isTerminal(std::FILE *file);

/// A stream of our own to standard error, which Silence does not close.
std::FILE *errorStream();

/// Throws away what anybody prints to standard error while it lives, except through errorStream():
/// some decoders print there, past all handlers. Several may live at a time, on any thread.
class Silence
{
    Q_DISABLE_COPY(Silence)

public:
    Silence();
    ~Silence();
};

/// The permissions that a new file gets.
QFile::Permissions newFilePermissions();

/// Returns when \a file is on the disk, not only in the system's memory.
void syncToDisk(QFile &file);

/// Renames \a from to \a to, which is replaced if it exists; at every moment \a to is the old file
/// or the new one, where the system can do that.
/// \return an empty string, or the reason of the failure
QString replaceFile(const QString &from, const QString &to);

/// Renames \a from to \a to unless that exists, however late it came into being.
/// \return an empty string, or the reason of the failure
QString placeNewFile(const QString &from, const QString &to);

} // namespace vellum::tool::platform
