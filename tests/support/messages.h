// What the library says on Qt's message stream.
#pragma once

#include <QStringList>
#include <QtGlobal>

namespace vellum::test {

/// Collects all messages, of any thread, instead of printing them, for as long as it lives.
/// One at a time.
class MessageLog
{
    Q_DISABLE_COPY(MessageLog)

public:
    MessageLog();
    ~MessageLog();

    QStringList messages() const;
    QStringList messages(QtMsgType type) const; ///< Only those of \a type.

private:
    QtMessageHandler m_previous;
};

} // namespace vellum::test
