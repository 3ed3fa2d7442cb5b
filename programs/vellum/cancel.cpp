#include "cancel.h"

#include "failure.h"
#include "messages.h"
#include "platform.h"

#include <QFile>
#include <QSet>

#include <cstdlib>
#include <thread>

namespace vellum::tool {

namespace {

struct State
{
    std::atomic<bool> requested {false};
    std::mutex mutex; // guards what follows
    QSet<QString> unfinished;
    QString current;
};

// Never destroyed: the thread that listens lives longer than main().
State &state()
{
    static auto *const state = new State;
    return *state;
}

void requestCancel()
{
    State &s = state();
    s.requested = true;
    std::this_thread::sleep_for(kGracePeriod);

    const std::lock_guard lock(s.mutex);
    for (const QString &fileName : std::as_const(s.unfinished))
        QFile::remove(fileName);
    printError(cancelled(s.current));
    std::_Exit(WasCancelled);
}

} // namespace

void watchForCancel()
{
    state();
    platform::watchSignals(requestCancel);
}

const std::atomic<bool> &cancelFlag() { return state().requested; }

NoForcedEnd::NoForcedEnd() : m_lock(state().mutex) { }

void NoForcedEnd::addUnfinishedFile(const QString &fileName)
{
    state().unfinished.insert(fileName);
}

void NoForcedEnd::forgetUnfinishedFile(const QString &fileName)
{
    state().unfinished.remove(fileName);
}

void NoForcedEnd::setCurrentFile(const QString &fileName) { state().current = fileName; }

void NoForcedEnd::untilTheEnd() { m_lock.release(); }

} // namespace vellum::tool
