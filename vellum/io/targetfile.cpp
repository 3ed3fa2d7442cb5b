#include <vellum/io/encoding_p.h>
#include <vellum/io/targetfile_p.h>

#include <QDir>
#include <QFileInfo>

#include <cerrno>

namespace vellum::io {

namespace {

/// Why nothing can be saved as \a target; empty when it may be tried.
SaveResult refusal(const QFileInfo &target)
{
    const auto notWritten = [](const char *reason) {
        return saveFailure(FileStatus::NotWritten, QString::fromLatin1(reason));
    };
    if (target.isDir())
        return notWritten("is a folder");
    if (target.fileName().isEmpty())
        return notWritten("not the name of a file");
    if (!target.absoluteDir().exists())
        return saveFailure(FileStatus::NotFound, QStringLiteral("its folder does not exist"));
    if (target.exists() && !target.isFile())
        return notWritten("is not a regular file");
    if (target.exists() && !target.isWritable())
        return notWritten("is write-protected");
    return {};
}

} // namespace

TargetFile::TargetFile(const QString &fileName, JobProgress &progress)
    : QSaveFile(fileName), m_progress(progress)
{
}

SaveResult TargetFile::openForWriting()
{
    const SaveResult refused = refusal(QFileInfo(fileName()));
    if (!refused || open(QIODevice::WriteOnly))
        return refused;
    return saveFailure(FileStatus::NotWritten,
                       QLatin1String("cannot be written: ") + errorString());
}

SaveResult TargetFile::finish()
{
    errno = 0;
    if (!m_failed && !flush())
        noteFailure();
    if (!m_failed) {
        if (commit())
            return {};
        noteFailure();
    }
    cancelWriting();
    return saveFailure(FileStatus::NotWritten, m_reason);
}

qint64 TargetFile::writeData(const char *data, qint64 size)
{
    if (!m_progress.poll())
        return -1;
    errno = 0;
    const qint64 written = QSaveFile::writeData(data, size);
    if (written != size)
        noteFailure();
    return written;
}

// After a write that was done in part, as on a disk that fills up, there is no reason to tell.
void TargetFile::noteFailure()
{
    if (!m_failed)
        m_reason = errno != 0 ? qt_error_string(errno) : errorString();
    m_failed = true;
}

} // namespace vellum::io
