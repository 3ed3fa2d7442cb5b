#include "outputfile.h"

#include "cancel.h"
#include "platform.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryFile>

#include <cerrno>

namespace vellum::tool {

namespace {

const char *const kExists = "exists already";

QString resolved(const QString &fileName)
{
    const QFileInfo info(fileName);
    if (!info.isSymLink())
        return fileName;
    return info.exists() ? info.canonicalFilePath() : info.symLinkTarget();
}

} // namespace

/// Remembers the first failure: some of Qt's writers go on after one and report success.
class OutputFile::Device : public QTemporaryFile
{
public:
    using QTemporaryFile::QTemporaryFile;

    bool hasFailed() const { return m_failed; }
    QString reason() const { return m_reason; }

    bool finish()
    {
        errno = 0;
        const bool flushed = flush();
        if (!flushed)
            noteFailure();
        return flushed && !m_failed;
    }

protected:
    qint64 writeData(const char *data, qint64 size) override
    {
        errno = 0;
        const qint64 written = cancelFlag() ? -1 : QTemporaryFile::writeData(data, size);
        if (written != size)
            noteFailure();
        return written;
    }

private:
    // After a write that was done in part, as on a disk that fills up, QFile has no reason to tell.
    void noteFailure()
    {
        if (!m_failed)
            m_reason = errno != 0 ? qt_error_string(errno) : errorString();
        m_failed = true;
    }

    bool m_failed = false;
    QString m_reason;
};

OutputFile::OutputFile(const QString &fileName, Existing existing)
    : m_fileName(fileName), m_target(resolved(fileName)), m_existing(existing),
      m_permissions(platform::newFilePermissions())
{
    const QFileInfo target(m_target);
    const auto refuse = [&](const char *reason) {
        throw Failure(OutputError, fileName, QString::fromLatin1(reason));
    };
    if (target.isDir())
        refuse("is a folder");
    if (target.fileName().isEmpty())
        refuse("not the name of a file");
    if (!target.absoluteDir().exists())
        refuse("its folder does not exist");
    if (target.exists()) {
        if (!target.isFile())
            refuse("is not a regular file");
        if (existing == Existing::Keep)
            refuse(kExists);
        if (existing != Existing::ReplaceProtected && !target.isWritable())
            refuse("is write-protected (--force replaces it)");
        // "User" is whoever runs this; set together with the owner's, it would add to them.
        const auto user = QFile::ReadUser | QFile::WriteUser | QFile::ExeUser;
        m_permissions = target.permissions() & ~user;
    }

    // Short, so that it is valid wherever the target's name is.
    m_device = std::make_unique<Device>(target.absolutePath() + QLatin1String("/.vellum-XXXXXX"));
    NoForcedEnd guard;
    if (!m_device->open()) {
        throw Failure(OutputError, fileName,
                      QLatin1String("cannot be written: ") + m_device->errorString());
    }
    guard.addUnfinishedFile(m_device->fileName());
}

OutputFile::~OutputFile()
{
    NoForcedEnd guard;
    guard.forgetUnfinishedFile(m_device->fileName());
    m_device.reset(); // removes the file unless it was renamed
}

QIODevice *OutputFile::device() { return m_device.get(); }

void OutputFile::fail(const QString &reason, ExitCode code)
{
    if (cancelFlag())
        throw cancelled(m_fileName);
    // A writer that flushed the file itself has seen an error that is not noted yet: once more.
    const bool deviceFailed = m_device->hasFailed() || !m_device->finish();
    if (deviceFailed)
        throw Failure(OutputError, m_fileName, m_device->reason());
    throw Failure(code, m_fileName, reason);
}

void OutputFile::fail(const SaveResult &result)
{
    fail(result.message, result.status == FileStatus::OverLimit ? OverLimit : OutputError);
}

void OutputFile::commit()
{
    if (!m_device->finish())
        fail(QString());
    if (!m_device->setPermissions(m_permissions))
        fail(m_device->errorString());
    platform::syncToDisk(*m_device);

    NoForcedEnd guard;
    if (cancelFlag())
        fail(QString());
    const auto place =
        m_existing == Existing::Keep ? platform::placeNewFile : platform::replaceFile;
    const QString error = place(m_device->fileName(), m_target);
    if (!error.isEmpty())
        fail(error);
    m_device->setAutoRemove(false);
    guard.forgetUnfinishedFile(m_device->fileName());
}

} // namespace vellum::tool
