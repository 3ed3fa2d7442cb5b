// Showing how far a job is.
#pragma once

#include "progressboard.h"
#include <vellum/image/progress.h>

#include <QElapsedTimer>
#include <QString>

#include <memory>

class Vellum;

namespace vellum::tool {

/// The progress on one file, made of stages that follow each other. Shown on a board, which has
/// other files besides if the job has.
///
/// Reporting is cheap enough for every row. For one thread at a time.
class Progress
{
    Q_DISABLE_COPY(Progress)

public:
    using Mode = ProgressBoard::Mode;

    /// On a board of its own, for a job of one file.
    /// \param name  what the board says is being worked on
    Progress(Mode mode, const QString &name);
    /// On \a board, which must outlive it.
    Progress(ProgressBoard &board, const QString &name);
    ~Progress();

    /// Begins the stage \a name, in percent of the whole. Shown at once: some stages cannot
    /// tell how far they are. Several in a row with the same name count as one.
    void begin(const char *name, int from, int to);

    /// \a percent of the whole is done.
    void report(int percent);

    /// \a part of \a total of the stage is done.
    void reportPart(qint64 part, qint64 total);

    /// Shows the polls of operations on \a image as the progress of this stage, and has them
    /// cancelled when the user asks to stop, as long as the guard lives.
    ProgressGuard watch(Vellum &image,
                        ProgressGuard::Positions positions = ProgressGuard::Positions::Rows);

    /// All is done: finishes a board of its own.
    void finish();

private:
    std::unique_ptr<ProgressBoard> m_ownBoard; // or null
    ProgressBoard &m_board;
    ProgressBoard::Entry m_entry;
    int m_from = 0;
    int m_to = 100;
};

} // namespace vellum::tool
