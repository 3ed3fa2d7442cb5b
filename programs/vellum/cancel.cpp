#include "cancel.h"

#include "failure.h"
#include "messages.h"
#include "platform.h"

#include <QFile>

#include <cstdlib>
#include <thread>

namespace vellum::tool {

namespace {

struct State
{
    std::atomic<bool> requested {false};
    std::mutex mutex; // guards what follows
    QString unfinished;
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
    if (!s.unfinished.isEmpty())
        QFile::remove(s.unfinished);
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

void NoForcedEnd::setUnfinishedFile(const QString &fileName) { state().unfinished = fileName; }

void NoForcedEnd::setCurrentFile(const QString &fileName) { state().current = fileName; }

void NoForcedEnd::untilTheEnd() { m_lock.release(); }

} // namespace vellum::tool
