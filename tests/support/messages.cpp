#include <mutex>
#include <support/messages.h>
#include <vector>

namespace vellum::test {

namespace {

std::mutex mutex;
struct Message
{
    QtMsgType type;
    QString text;
};
std::vector<Message> collected;

void collect(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    const std::lock_guard lock(mutex);
    collected.push_back({type, message});
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
    QStringList texts;
    for (const Message &message : collected)
        texts.append(message.text);
    return texts;
}

QStringList MessageLog::messages(QtMsgType type) const
{
    const std::lock_guard lock(mutex);
    QStringList texts;
    for (const Message &message : collected) {
        if (message.type == type)
            texts.append(message.text);
    }
    return texts;
}

} // namespace vellum::test
