// For systems without POSIX: standard C++ and Qt only.

#include "platform.h"

#include <chrono>
#include <csignal>
#include <thread>

namespace vellum::tool::platform {

namespace {

// A signal handler may do little more than this; a thread looks at it ten times a second.
volatile std::sig_atomic_t signalsSeen = 0;

extern "C" void countSignal(int number)
{
    signalsSeen = signalsSeen + 1;
    std::signal(number, countSignal);
}

} // namespace

void watchSignals(void (*onSignal)())
{
    std::signal(SIGINT, countSignal);
    std::signal(SIGTERM, countSignal);
    std::thread([onSignal] {
        for (std::sig_atomic_t handled = 0;;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            if (handled != signalsSeen) {
                handled = signalsSeen;
                onSignal();
            }
        }
    }).detach();
}

bool isTerminal(std::FILE *) { return false; }

std::FILE *errorStream() { return stderr; }

Silence::Silence() = default;

Silence::~Silence() = default;

QFile::Permissions newFilePermissions()
{
    return QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser |
        QFile::ReadGroup | QFile::ReadOther;
}

void syncToDisk(QFile &) { }

QString replaceFile(const QString &from, const QString &to)
{
    QFile file(from);
    if (QFile::exists(to) && !QFile::remove(to))
        return QStringLiteral("the existing file cannot be replaced");
    return file.rename(to) ? QString() : file.errorString();
}

QString placeNewFile(const QString &from, const QString &to)
{
    QFile file(from);
    return file.rename(to) ? QString() : file.errorString(); // replaces nothing
}

} // namespace vellum::tool::platform
