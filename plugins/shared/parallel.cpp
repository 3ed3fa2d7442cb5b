#include "shared/parallel.h"

#include <QRunnable>
#include <QThreadPool>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace vellum::plugin {

namespace {

struct Work
{
    const std::function<void(int task, int worker)> &function;
    int count;
    int workers;
    std::atomic<int> next {0};
    // Not QSemaphore, whose waiting a ThreadSanitizer cannot see.
    std::mutex mutex {};
    std::condition_variable finished {};
    int helpers = 0; // at work; guarded by mutex once they have started

    void runAll(int worker)
    {
        for (int i = next++; i < count; i = next++)
            function(i, worker);
    }
};

/// Held while helpers are made and started. They pass through it before anything else: that Qt's
/// pool orders their making before their running is nothing that a ThreadSanitizer sees.
std::mutex startMutex;

class Helper : public QRunnable
{
public:
    Helper(Work &work, int worker) : m_work(work), m_worker(worker) { }

    void run() override
    {
        {
            const std::lock_guard started(startMutex);
        }
        m_work.runAll(m_worker);
        // Notified under the lock: the work is gone as soon as its owner has seen the last end.
        const std::lock_guard lock(m_work.mutex);
        if (--m_work.helpers == 0)
            m_work.finished.notify_one();
    }

private:
    Work &m_work;
    int m_worker;
};

void startHelpers(Work &work)
{
    QThreadPool *const pool = QThreadPool::globalInstance();
    const int wanted = qMin(work.count, work.workers) - 1;
    const std::lock_guard lock(startMutex);
    while (work.helpers < wanted) {
        auto helper = std::make_unique<Helper>(work, work.helpers + 1);
        if (!pool->tryStart(helper.get()))
            break;
        static_cast<void>(helper.release()); // the pool deletes it
        ++work.helpers; // none ends before all have started
    }
}

} // namespace

int mostWorkers() { return qMax(1, QThreadPool::globalInstance()->maxThreadCount()); }

void forAllInParallel(int count, int workers, const std::function<void(int task, int worker)> &work)
{
    Work shared {work, count, workers};
    startHelpers(shared);
    shared.runAll(0);
    std::unique_lock lock(shared.mutex);
    shared.finished.wait(lock, [&shared] { return shared.helpers == 0; });
}

} // namespace vellum::plugin
