#include "progressboard.h"

#include "messages.h"
#include "platform.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vellum::tool {

namespace {

// Five in a second, to which a few stages and the end come, and so never more than ten.
constexpr qint64 kMillisecondsBetweenUpdates = 200;
constexpr int kBarWidth = 30;
constexpr int kNameWidth = 24;

ProgressBoard::Mode resolved(ProgressBoard::Mode mode)
{
    if (mode != ProgressBoard::Mode::Auto)
        return mode;
    const bool capable = platform::isTerminal(stderr) && qgetenv("TERM") != "dumb";
    return capable ? ProgressBoard::Mode::Bar : ProgressBoard::Mode::None;
}

/// "1:05", "2:03:04"
QString clockTime(double seconds)
{
    const auto total = qint64(std::ceil(seconds));
    const QString tail = QStringLiteral("%1").arg(total % 60, 2, 10, QLatin1Char('0'));
    if (total < 3600)
        return QStringLiteral("%1:%2").arg(total / 60).arg(tail);
    return QStringLiteral("%1:%2:%3")
        .arg(total / 3600)
        .arg(total / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(tail);
}

QString shortened(QString name, int width)
{
    for (QChar &c : name) {
        if (!c.isPrint())
            c = QLatin1Char('?');
    }
    if (name.size() > width)
        name = name.left(width - 3) + QLatin1String("...");
    return name;
}

} // namespace

ProgressBoard::ProgressBoard(Mode mode, int files) : m_mode(resolved(mode)), m_files(files)
{
    m_clock.start();
}

ProgressBoard::~ProgressBoard()
{
    if (m_mode == Mode::Bar)
        removeStatus();
}

void ProgressBoard::add(Entry &entry)
{
    const std::lock_guard lock(m_mutex);
    m_entries.push_back(&entry);
}

void ProgressBoard::remove(Entry &entry)
{
    const std::lock_guard lock(m_mutex);
    m_entries.erase(std::remove(m_entries.begin(), m_entries.end(), &entry), m_entries.end());
    m_lastName = entry.name;
    ++m_done;
}

void ProgressBoard::begin(Entry &entry, const char *stage, int percent)
{
    const std::lock_guard lock(m_mutex);
    entry.stage = stage;
    entry.percent = percent;
    if (m_mode != Mode::None && (m_files == 1 || isTime()))
        show(entry);
}

void ProgressBoard::report(Entry &entry, int percent)
{
    if (m_mode == Mode::None || percent == entry.percent)
        return;
    const std::lock_guard lock(m_mutex);
    entry.percent = percent;
    if (percentOfAll() != m_shownPercent && isTime())
        show(entry);
}

void ProgressBoard::finish()
{
    const std::lock_guard lock(m_mutex);
    if (m_mode == Mode::None)
        return;
    m_done = m_files;
    Entry all {m_entries.empty() ? m_lastName : m_entries.front()->name};
    m_entries.clear();
    all.stage = "done";
    print(all, 100);
    if (m_mode == Mode::Bar)
        keepStatus();
}

bool ProgressBoard::isTime() const
{
    return m_clock.elapsed() - m_shownAt >= kMillisecondsBetweenUpdates;
}

int ProgressBoard::percentOfAll() const
{
    qint64 sum = qint64(m_done) * 100;
    for (const Entry *entry : m_entries)
        sum += entry->percent;
    return int(sum / m_files);
}

void ProgressBoard::show(const Entry &entry) { print(entry, percentOfAll()); }

void ProgressBoard::print(const Entry &entry, int percent)
{
    m_shownPercent = percent;
    m_shownAt = m_clock.elapsed();
    if (m_mode == Mode::Bar) {
        showStatus(bar(entry, percent));
    } else if (m_mode == Mode::Json) {
        // Whoever stopped listening does not want to know; the work goes on.
        const QByteArray line = jsonLine(entry, percent);
        std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
        std::fflush(stdout);
    }
}

QByteArray ProgressBoard::bar(const Entry &entry, int percent) const
{
    const int filled = percent * kBarWidth / 100;
    const QString bar =
        QString(filled, QLatin1Char('#')).leftJustified(kBarWidth, QLatin1Char('.'));
    QString time;
    if (percent >= 100)
        time = QStringLiteral("%1 s").arg(double(m_clock.elapsed()) / 1000, 0, 'f', 2);
    else if (percent > 0)
        time = QStringLiteral("ETA ") + clockTime(secondsLeft(percent));
    const QString count =
        m_files > 1 ? QStringLiteral("%1/%2 ").arg(m_done).arg(m_files) : QString();
    const QString name = shortened(QFileInfo(entry.name).fileName(), kNameWidth - count.size());
    return QStringLiteral("%1%2 %3 [%4] %5% %6")
        .arg(count, name, QString::fromLatin1(entry.stage).leftJustified(7), bar,
             QString::number(percent).rightJustified(3), time)
        .toLocal8Bit();
}

QByteArray ProgressBoard::jsonLine(const Entry &entry, int percent) const
{
    QJsonObject object {
        {QStringLiteral("file"), entry.name},
        {QStringLiteral("stage"), QString::fromLatin1(entry.stage)},
        {QStringLiteral("percent"), percent},
        {QStringLiteral("seconds"), double(m_clock.elapsed()) / 1000},
    };
    if (m_files > 1) {
        object.insert(QStringLiteral("files"), m_files);
        object.insert(QStringLiteral("filesDone"), m_done);
    }
    if (percent > 0)
        object.insert(QStringLiteral("secondsLeft"), secondsLeft(percent));
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

double ProgressBoard::secondsLeft(int percent) const
{
    return double(m_clock.elapsed()) / 1000 * (100 - percent) / percent;
}

} // namespace vellum::tool
