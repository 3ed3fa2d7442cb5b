// Showing how far a command is.
#pragma once

#include <vellum/image/progress.h>

#include <QElapsedTimer>
#include <QString>

class Vellum;

namespace vellum::tool {

/// The progress of one command on one file, made of stages that follow each other.
///
/// Shown as a bar on standard error or as JSON lines on standard output, ten times a second at
/// most. Reporting is cheap enough for every row.
class Progress
{
    Q_DISABLE_COPY(Progress)

public:
    enum class Mode {
        Auto, ///< Bar if standard error is a terminal, else None
        Bar,
        Json,
        None,
    };

    /// \param name  what the bar says is being worked on
    Progress(Mode mode, const QString &name);
    ~Progress(); ///< Removes a bar that did not get to the end.

    /// Begins the stage \a name, in percent of the whole. Shown at once: some stages cannot
    /// tell how far they are.
    void begin(const char *name, int from, int to);

    /// \a percent of the whole is done.
    void report(int percent);

    /// \a part of \a total of the stage is done.
    void reportPart(qint64 part, qint64 total);

    /// Shows the polls of operations on \a image as the progress of this stage, and has them
    /// cancelled when the user asks to stop, as long as the guard lives.
    ProgressGuard watch(Vellum &image);

    /// All is done: shows 100 percent and the time taken.
    void finish();

private:
    void show(int percent);
    QByteArray bar(int percent) const;
    QByteArray jsonLine(int percent) const;
    double secondsLeft(int percent) const;

    Mode m_mode;
    QString m_name;
    const char *m_stage = "";
    int m_from = 0;
    int m_to = 100;
    int m_shownPercent = -1;
    qint64 m_shownAt = 0; // milliseconds of m_clock
    QElapsedTimer m_clock;
};

} // namespace vellum::tool
