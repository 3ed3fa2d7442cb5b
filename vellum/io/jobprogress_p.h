// The progress of one job, made of stages that follow each other.
#pragma once

#include <vellum/image/progress.h>
#include <vellum/image/vellum.h>

#include <atomic>
#include <functional>
#include <utility>

namespace vellum::io {

/// Turns what operations report of themselves into percentages of the whole job that never fall,
/// and remembers that somebody has said "stop".
class JobProgress
{
    Q_DISABLE_COPY(JobProgress)

public:
    /// \param report  asked at every poll; may be empty
    /// \param cancel  looked at in every poll; may be null
    /// \param image   its callback is asked like \a report
    JobProgress(ProgressGuard::Report report, const std::atomic<bool> *cancel, const Vellum &image);

    /// What follows is the part of the job that ends at \a to percent; it begins where the stage
    /// before ended.
    void beginStage(int to);

    /// Has \a gate asked at every poll of rows by watch() and watchRows(), before anybody else,
    /// with the number of rows that are done when the row asked for is. It may take its time, and
    /// answers true to go on; with false the operation ends, but the job is not cancelled. For
    /// jobs of one picture.
    void gateRows(std::function<bool(int rows)> gate) { m_gate = std::move(gate); }

    /// \a fraction of the stage is done, 0 to 1.
    /// \return false when the job is to stop
    bool poll(double fraction = 0);

    /// Polls for operations on \a image, which hand over what \a positions says. They are the
    /// part \a part of \a parts equal ones of the stage.
    [[nodiscard]] ProgressGuard
    watch(Vellum &image, ProgressGuard::Positions positions = ProgressGuard::Positions::Rows,
          int part = 0, int parts = 1);

    /// The same for an operation that polls rows, and keeps count of them: \a rows becomes the
    /// largest number of rows that were done when the next one was asked for.
    [[nodiscard]] ProgressGuard watchRows(Vellum &image, int &rows);

    bool isCancelled() const { return m_cancelled; }

private:
    ProgressGuard::Report m_report;
    const std::atomic<bool> *m_cancel;
    std::function<bool(int rows)> m_gate; // empty for none
    int m_rows = 0; // that the gate let through
    Vellum m_caller; // 100 rows, so that its callback gets percentages
    int m_from = 0;
    int m_to = 0;
    int m_percent = 0;
    bool m_cancelled = false;
};

} // namespace vellum::io
