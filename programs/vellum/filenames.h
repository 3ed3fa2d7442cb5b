// Names of the files that one picture is taken apart into.
#pragma once

#include <QSet>
#include <QString>

namespace vellum::tool {

/// \a text as a part of a file name that any system takes: without slashes, control characters and
/// others that some forbid, and not too long. Never empty.
QString safeFileName(const QString &text);

/// Gives out names of which no two are the same, not even on systems that take small letters for
/// capitals.
class UniqueNames
{
public:
    /// \a name if it was not given out yet, else with a number behind it.
    QString unique(const QString &name);

private:
    QSet<QString> m_taken; // in small letters
};

} // namespace vellum::tool
