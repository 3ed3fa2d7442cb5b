// A file that appears under its name when it is complete, or not at all.
#pragma once

#include "failure.h"
#include <vellum/io/saveimage.h>

#include <QFile>
#include <QString>

#include <memory>

class QIODevice;

namespace vellum::tool {

/// What becomes of a file that has the name already.
enum class Existing {
    Replace, ///< as far as its permissions allow
    ReplaceProtected, ///< a write-protected one too
    Keep, ///< then nothing is written
};

/// Writes to a temporary file in the folder of the target and renames it at the end.
///
/// Until commit() has succeeded an existing target is untouched; if it never does, because of an
/// error, an exception or a cancel, the temporary file is removed. A symbolic link is followed: it
/// stays, and what it points to is replaced.
class OutputFile
{
    Q_DISABLE_COPY(OutputFile)

public:
    /// Creates the temporary file. Throws a Failure if the target cannot be written: it is a
    /// folder or a device, it or its folder is write-protected, the folder does not exist, or it
    /// exists and is to be kept.
    explicit OutputFile(const QString &fileName, Existing existing = Existing::Replace);
    ~OutputFile();

    /// Open for writing. Every write fails once the user has cancelled.
    QIODevice *device();

    /// Throws the Failure for a writer that did not finish: a cancel, or an error of the device,
    /// which tells more than \a reason, else \a reason.
    [[noreturn]] void fail(const QString &reason, ExitCode code = OutputError);
    [[noreturn]] void fail(const SaveResult &result); ///< \overload

    /// Gives the file its name, and an existing target's permissions. Throws a Failure if anything
    /// could not be written.
    void commit();

private:
    class Device;

    QString m_fileName; // as the user gave it, for messages
    QString m_target; // links resolved
    Existing m_existing;
    QFile::Permissions m_permissions;
    std::unique_ptr<Device> m_device;
};

} // namespace vellum::tool
