#include "messages.h"

#include "failure.h"
#include "platform.h"

#include <QStringList>

#include <atomic>
#include <cstdio>
#include <mutex>

namespace vellum::tool {

namespace {

// Never destroyed: the watcher of signals may still print while main() returns.
std::mutex &outputMutex()
{
    static auto *const mutex = new std::mutex;
    return *mutex;
}

std::atomic<bool> verbose {false};
bool statusShown = false; // guarded by outputMutex()
thread_local QStringList *collectedWarnings = nullptr;

void write(const QByteArray &text)
{
    std::FILE *const stream = platform::errorStream();
    std::fwrite(text.constData(), 1, size_t(text.size()), stream);
    std::fflush(stream);
}

void removeShownStatus()
{
    if (statusShown)
        write("\r\033[K");
    statusShown = false;
}

void printLine(QString text)
{
    // File names may hold anything; a control character must not break or fake a line.
    for (QChar &c : text) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            c = QLatin1Char(' ');
    }
    const std::lock_guard lock(outputMutex());
    removeShownStatus();
    write(text.trimmed().toLocal8Bit() + '\n');
}

void handleMessage(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (collectedWarnings && type == QtWarningMsg)
        collectedWarnings->append(message);
    if (verbose || type == QtFatalMsg)
        printLine(message);
}

} // namespace

void takeOverMessages() { qInstallMessageHandler(handleMessage); }

void setVerbose(bool on) { verbose = on; }

void printVerbose(const QString &text)
{
    if (verbose)
        printLine(text);
}

void printNotice(const QString &text) { printLine(QLatin1String("vellum: ") + text); }

void printError(const Failure &failure)
{
    QStringList parts {QStringLiteral("vellum")};
    if (!failure.file.isEmpty())
        parts += failure.file;
    parts += failure.reason;
    printLine(parts.join(QLatin1String(": ")));
}

void showStatus(const QByteArray &line)
{
    const std::lock_guard lock(outputMutex());
    write("\r" + line + "\033[K");
    statusShown = true;
}

void keepStatus()
{
    const std::lock_guard lock(outputMutex());
    if (statusShown)
        write("\n");
    statusShown = false;
}

void removeStatus()
{
    const std::lock_guard lock(outputMutex());
    removeShownStatus();
}

WarningLog::WarningLog()
{
    collectedWarnings = &m_warnings;
    if (!verbose)
        m_silence.emplace();
}

WarningLog::~WarningLog() { collectedWarnings = nullptr; }

const QStringList &WarningLog::warnings() const { return m_warnings; }

} // namespace vellum::tool
