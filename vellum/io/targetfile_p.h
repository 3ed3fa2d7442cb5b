// A file that is replaced when its successor is complete, or not at all.
#pragma once

#include <vellum/io/jobprogress_p.h>
#include <vellum/io/saveimage.h>

#include <QSaveFile>
#include <QString>

namespace vellum::io {

/// A QSaveFile that fails every write once the job is cancelled, remembers why the first write
/// failed, and leaves alone what is no regular file.
class TargetFile : public QSaveFile
{
public:
    TargetFile(const QString &fileName, JobProgress &progress);

    [[nodiscard]] SaveResult openForWriting();

    /// Gives the file its name.
    [[nodiscard]] SaveResult finish();

    bool hasFailed() const { return m_failed; }
    QString reason() const { return m_reason; }

protected:
    qint64 writeData(const char *data, qint64 size) override;

private:
    void noteFailure();

    JobProgress &m_progress;
    bool m_failed = false;
    QString m_reason;
};

} // namespace vellum::io
