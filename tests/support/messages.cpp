#include <mutex>
#include <support/messages.h>

namespace vellum::test {

namespace {

std::mutex mutex;
QStringList collected;

void collect(QtMsgType, const QMessageLogContext &, const QString &message)
{
    const std::lock_guard lock(mutex);
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
    const std::lock_guard lock(mutex);
    return collected;
}

} // namespace vellum::test
