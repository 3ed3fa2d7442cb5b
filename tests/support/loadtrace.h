// The debug lines of Vellum::load.
#pragma once

#include <QDebug>
#include <QRegularExpression>
#include <QStringList>
#include <QTime>

#include <gtest/gtest.h>

#include <cstdlib>
#include <support/messages.h>

namespace vellum::test {

/// \a text as it stands at the end of a debug line.
inline QString printed(const QString &text)
{
    QString line;
    QDebug(&line).nospace() << text;
    return line;
}

/// \a line without the time that it begins with, which must be that of a moment ago.
inline QString withoutStamp(const QString &line)
{
    static const QRegularExpression stamped(
        QStringLiteral("^(\"?)(\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d)\\1 (.*)$"));
    const QRegularExpressionMatch match = stamped.match(line);
    if (!match.hasMatch())
        return QStringLiteral("no stamp: ") + line;
    const QTime time = QTime::fromString(match.captured(2), QStringLiteral("hh:mm:ss.zzz"));
    const int ago = time.msecsTo(QTime::currentTime());
    EXPECT_TRUE(time.isValid());
    EXPECT_TRUE((ago >= 0 && ago < 60000) || ago < -86000000) << qPrintable(line); // midnight
    return match.captured(3);
}

/// Expects that \a log has the stamped lines \a texts, each with \a fileName, and no others.
inline void expectTrace(const MessageLog &log, const QStringList &texts, const QString &fileName)
{
    QStringList expected;
    for (const QString &text : texts)
        expected.append(text + QLatin1Char(' ') + printed(fileName));
    QStringList lines;
    const QStringList messages = log.messages();
    for (const QString &message : messages)
        lines.append(withoutStamp(message));
    EXPECT_EQ(lines, expected) << qPrintable(lines.join(QLatin1Char('\n')));
    EXPECT_EQ(log.messages(QtDebugMsg), messages); // of no other level
}

} // namespace vellum::test
