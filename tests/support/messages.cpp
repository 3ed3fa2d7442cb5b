#include <QMutex>

#include <support/messages.h>

namespace vellum::test {

namespace {

QMutex mutex;
QStringList collected;

void collect(QtMsgType, const QMessageLogContext &, const QString &message)
{
    const QMutexLocker lock(&mutex);
    collected.append(message);
}

} // namespace

MessageLog::MessageLog()
{
    collected.clear();
    m_previous = qInstallMessageHandler(collect);
}

MessageLog::~MessageLog() { qInstallMessageHandler(m_previous); }

QStringList MessageLog::messages() const
{
    const QMutexLocker lock(&mutex);
    return collected;
}

} // namespace vellum::test
