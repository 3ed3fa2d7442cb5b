#include "platform.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace vellum::tool::platform {

namespace {

/// SIGINT and its like, without those that whoever started us wants ignored (as nohup does).
sigset_t stopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            sigaddset(&signals, number);
    }
    return signals;
}

/// Where standard error went while somebody wants silence.
struct Redirection
{
    std::mutex mutex; // guards the others
    int users = 0;
    int standardError = -1; // a file descriptor
};

Redirection &redirection()
{
    static Redirection redirection;
    return redirection;
}

} // namespace

void watchSignals(void (*onSignal)())
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    const sigset_t signals = stopSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr); // in this thread and all that it starts
    std::thread([signals, onSignal] {
        int number = 0;
        while (sigwait(&signals, &number) == 0)
            onSignal();
    }).detach();
}

std::FILE *errorStream()
{
    static std::FILE *const stream = [] {
        const int copy = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        std::FILE *const opened = copy < 0 ? nullptr : fdopen(copy, "w");
        return opened ? opened : stderr;
    }();
    return stream;
}

Silence::Silence()
{
    errorStream(); // before it is too late
    Redirection &r = redirection();
    const std::lock_guard lock(r.mutex);
    if (r.users++ > 0)
        return;
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0)
        return;
    std::fflush(stderr);
    r.standardError = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (r.standardError >= 0)
        dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}

Silence::~Silence()
{
    Redirection &r = redirection();
    const std::lock_guard lock(r.mutex);
    if (--r.users > 0 || r.standardError < 0)
        return;
    std::fflush(stderr);
    dup2(r.standardError, STDERR_FILENO);
    close(r.standardError);
    r.standardError = -1;
}

bool isTerminal(std::FILE *file) { return isatty(fileno(file)) != 0; }

QFile::Permissions newFilePermissions()
{
    static const mode_t mask = [] { // once: between the calls other threads would see none
        const mode_t asked = umask(0); // there is no way to only ask
        umask(asked);
        return asked;
    }();
    const mode_t mode = 0666 & ~mask;
    QFile::Permissions permissions;
    const auto allow = [&](mode_t bit, QFile::Permissions flags) {
        if (mode & bit)
            permissions |= flags;
    };
    allow(S_IRUSR, QFile::ReadOwner | QFile::ReadUser);
    allow(S_IWUSR, QFile::WriteOwner | QFile::WriteUser);
    allow(S_IRGRP, QFile::ReadGroup);
    allow(S_IWGRP, QFile::WriteGroup);
    allow(S_IROTH, QFile::ReadOther);
    allow(S_IWOTH, QFile::WriteOther);
    return permissions;
}

void syncToDisk(QFile &file) { fsync(file.handle()); }

QString replaceFile(const QString &from, const QString &to)
{
    const QByteArray oldName = QFile::encodeName(from);
    const QByteArray newName = QFile::encodeName(to);
    if (std::rename(oldName.constData(), newName.constData()) == 0)
        return {};
    return QString::fromLocal8Bit(std::strerror(errno));
}

QString placeNewFile(const QString &from, const QString &to)
{
    const QByteArray oldName = QFile::encodeName(from);
    const QByteArray newName = QFile::encodeName(to);
    // Unlike rename(), link() replaces nothing. Not all file systems have it.
    if (link(oldName.constData(), newName.constData()) == 0) {
        unlink(oldName.constData());
        return {};
    }
    if (errno == EEXIST || QFile::exists(to))
        return QString::fromLocal8Bit(std::strerror(EEXIST));
    return replaceFile(from, to);
}

} // namespace vellum::tool::platform
