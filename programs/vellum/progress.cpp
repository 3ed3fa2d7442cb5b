#include "progress.h"

#include "cancel.h"

namespace vellum::tool {

Progress::Progress(Mode mode, const QString &name)
    : m_ownBoard(std::make_unique<ProgressBoard>(mode)), m_board(*m_ownBoard), m_entry {name}
{
    m_board.add(m_entry);
}

Progress::Progress(ProgressBoard &board, const QString &name) : m_board(board), m_entry {name}
{
    m_board.add(m_entry);
}

Progress::~Progress() { m_board.remove(m_entry); }

void Progress::begin(const char *name, int from, int to)
{
    const bool continues = qstrcmp(m_entry.stage, name) == 0;
    m_from = from;
    m_to = to;
    if (!continues)
        m_board.begin(m_entry, name, from);
}

void Progress::report(int percent) { m_board.report(m_entry, qBound(0, percent, 100)); }

void Progress::reportPart(qint64 part, qint64 total)
{
    if (total > 0)
        report(m_from + int(double(part) / double(total) * (m_to - m_from)));
}

ProgressGuard Progress::watch(Vellum &image, ProgressGuard::Positions positions)
{
    const auto report = [this](int percent) {
        this->report(percent);
        return true;
    };
    return ProgressGuard(image, report, &cancelFlag(), m_from, (m_to - m_from) / 100.0, positions);
}

void Progress::finish()
{
    if (m_ownBoard)
        m_ownBoard->finish();
}

} // namespace vellum::tool
