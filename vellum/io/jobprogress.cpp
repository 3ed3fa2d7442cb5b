#include <vellum/io/jobprogress_p.h>

#include <utility>

namespace vellum::io {

JobProgress::JobProgress(ProgressGuard::Report report, const std::atomic<bool> *cancel,
                         const Vellum &image)
    : m_report(std::move(report)), m_cancel(cancel), m_caller(1, 100, QImage::Format_Mono)
{
    m_caller.copyCallback(image);
}

void JobProgress::beginStage(int to) { m_from = std::exchange(m_to, to); }

bool JobProgress::poll(double fraction)
{
    if (m_cancelled)
        return false;
    m_percent = qMax(m_percent, m_from + int(qBound(0.0, fraction, 1.0) * (m_to - m_from)));
    m_cancelled = (m_cancel && *m_cancel) || (m_report && !m_report(m_percent)) ||
        !m_caller.set_progress(m_percent);
    return !m_cancelled;
}

ProgressGuard JobProgress::watch(Vellum &image, ProgressGuard::Positions positions, int part,
                                 int parts)
{
    if (m_gate && positions == ProgressGuard::Positions::Rows)
        return watchRows(image, m_rows);
    const auto report = [=](int percent) { return poll((part + percent / 100.0) / parts); };
    return ProgressGuard(image, report, nullptr, 0, 1.0, positions);
}

ProgressGuard JobProgress::watchRows(Vellum &image, int &rows)
{
    const int height = image.height();
    // What is asked for as a percentage arrives as it was handed over: as a number of rows.
    return ProgressGuard(
        image,
        [this, height, &rows](int row) {
            if (row > 0)
                rows = qMax(rows, row - 1);
            if (m_gate && !m_gate(row))
                return false;
            return poll(height > 0 ? double(row) / height : 0);
        },
        nullptr, 0, 1.0, ProgressGuard::Positions::Percent);
}

} // namespace vellum::io
