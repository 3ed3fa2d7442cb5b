#include "filenames.h"

namespace vellum::tool {

namespace {

constexpr int kLongest = 60; // of UTF-16 units: 180 bytes of UTF-8, where names may have 255

bool isForbidden(QChar c)
{
    return !(c.isPrint() || c.isSurrogate()) || QStringLiteral("/\\:*?\"<>|").contains(c);
}

} // namespace

QString safeFileName(const QString &text)
{
    QString name = text.left(kLongest);
    if (!name.isEmpty() && name.at(name.size() - 1).isHighSurrogate())
        name.chop(1); // of a character that was cut in two
    for (QChar &c : name) {
        if (isForbidden(c))
            c = QLatin1Char('_');
    }
    name = name.trimmed();
    while (name.startsWith(QLatin1Char('.')))
        name.remove(0, 1);
    while (name.endsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char(' ')))
        name.chop(1);
    name = name.trimmed();
    return name.isEmpty() ? QStringLiteral("_") : name;
}

QString UniqueNames::unique(const QString &name)
{
    QString candidate = name;
    for (int number = 2; m_taken.contains(candidate.toCaseFolded()); ++number)
        candidate = name + QLatin1Char(' ') + QString::number(number);
    m_taken.insert(candidate.toCaseFolded());
    return candidate;
}

} // namespace vellum::tool
