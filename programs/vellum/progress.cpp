#include "progress.h"

#include "cancel.h"
#include "messages.h"
#include "platform.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <cstdio>

namespace vellum::tool {

namespace {

// Five in a second, to which a few stages and the end come, and so never more than ten.
constexpr qint64 kMillisecondsBetweenUpdates = 200;
constexpr int kBarWidth = 30;
constexpr int kNameWidth = 24;

Progress::Mode resolved(Progress::Mode mode)
{
    if (mode != Progress::Mode::Auto)
        return mode;
    const bool capable = platform::isTerminal(stderr) && qgetenv("TERM") != "dumb";
    return capable ? Progress::Mode::Bar : Progress::Mode::None;
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

QString shortened(QString name)
{
    for (QChar &c : name) {
        if (!c.isPrint())
            c = QLatin1Char('?');
    }
    if (name.size() > kNameWidth)
        name = name.left(kNameWidth - 3) + QLatin1String("...");
    return name;
}

} // namespace

Progress::Progress(Mode mode, const QString &name) : m_mode(resolved(mode)), m_name(name)
{
    m_clock.start();
}

Progress::~Progress()
{
    if (m_mode == Mode::Bar)
        removeStatus();
}

void Progress::begin(const char *name, int from, int to)
{
    m_stage = name;
    m_from = from;
    m_to = to;
    show(from);
}

void Progress::report(int percent)
{
    if (percent == m_shownPercent || m_mode == Mode::None)
        return;
    if (m_clock.elapsed() - m_shownAt >= kMillisecondsBetweenUpdates)
        show(qBound(0, percent, 100));
}

void Progress::reportPart(qint64 part, qint64 total)
{
    if (total > 0)
        report(m_from + int(double(part) / double(total) * (m_to - m_from)));
}

ProgressGuard Progress::watch(Vellum &image)
{
    const auto report = [this](int percent) {
        this->report(percent);
        return true;
    };
    return ProgressGuard(image, report, &cancelFlag(), m_from, (m_to - m_from) / 100.0);
}

void Progress::finish()
{
    m_stage = "done";
    show(100);
    if (m_mode == Mode::Bar)
        keepStatus();
}

void Progress::show(int percent)
{
    m_shownPercent = percent;
    m_shownAt = m_clock.elapsed();
    if (m_mode == Mode::Bar) {
        showStatus(bar(percent));
    } else if (m_mode == Mode::Json) {
        // Whoever stopped listening does not want to know; the work goes on.
        const QByteArray line = jsonLine(percent);
        std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
        std::fflush(stdout);
    }
}

QByteArray Progress::bar(int percent) const
{
    const int filled = percent * kBarWidth / 100;
    const QString bar =
        QString(filled, QLatin1Char('#')).leftJustified(kBarWidth, QLatin1Char('.'));
    QString time;
    if (percent >= 100)
        time = QStringLiteral("%1 s").arg(double(m_clock.elapsed()) / 1000, 0, 'f', 2);
    else if (percent > 0)
        time = QStringLiteral("ETA ") + clockTime(secondsLeft(percent));
    return QStringLiteral("%1 %2 [%3] %4% %5")
        .arg(shortened(QFileInfo(m_name).fileName()), QString::fromLatin1(m_stage).leftJustified(7),
             bar, QString::number(percent).rightJustified(3), time)
        .toLocal8Bit();
}

QByteArray Progress::jsonLine(int percent) const
{
    QJsonObject object {
        {QStringLiteral("file"), m_name},
        {QStringLiteral("stage"), QString::fromLatin1(m_stage)},
        {QStringLiteral("percent"), percent},
        {QStringLiteral("seconds"), double(m_clock.elapsed()) / 1000},
    };
    if (percent > 0)
        object.insert(QStringLiteral("secondsLeft"), secondsLeft(percent));
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

double Progress::secondsLeft(int percent) const
{
    return double(m_clock.elapsed()) / 1000 * (100 - percent) / percent;
}

} // namespace vellum::tool
