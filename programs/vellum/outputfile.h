// A file that appears under its name when it is complete, or not at all.
#pragma once

#include <QFile>
#include <QString>

#include <memory>

class QIODevice;

namespace vellum::tool {

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
    /// folder or a device, it or its folder is write-protected, or the folder does not exist.
    explicit OutputFile(const QString &fileName);
    ~OutputFile();

    /// Open for writing. Every write fails once the user has cancelled.
    QIODevice *device();

    /// Throws the Failure for a writer that did not finish: a cancel, or an error of the device,
    /// which tells more than \a reason, else \a reason.
    [[noreturn]] void fail(const QString &reason);

    /// Gives the file its name, and an existing target's permissions. Throws a Failure if anything
    /// could not be written.
    void commit();

private:
    class Device;

    QString m_fileName; // as the user gave it, for messages
    QString m_target; // links resolved
    QFile::Permissions m_permissions;
    std::unique_ptr<Device> m_device;
};

} // namespace vellum::tool
