#include <vellum/color/parallelrows_p.h>

#include <QRunnable>
#include <QThreadPool>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace vellum::color {

namespace {

struct Work
{
    RowsOperation operation;
    qint64 height;
    qint64 rowsPerChunk;
    std::atomic<qint64> next {0};
    std::atomic<qint64> done {0};
    std::atomic<bool> stop {false};
    // Not QSemaphore, whose waiting a ThreadSanitizer cannot see.
    std::mutex mutex;
    std::condition_variable changed;
    int helpers = 0; // at work; guarded by mutex once they have started

    /// \return false when there is nothing left to do
    bool runChunk()
    {
        if (stop.load(std::memory_order_relaxed))
            return false;
        const qint64 first = next.fetch_add(rowsPerChunk, std::memory_order_relaxed);
        if (first >= height)
            return false;
        const qint64 last = qMin(first + rowsPerChunk, height);
        if (!operation(int(first), int(last)))
            stop.store(true, std::memory_order_relaxed);
        done.fetch_add(last - first, std::memory_order_relaxed);
        return true;
    }
};

/// Held while helpers are made and started. They pass through it before anything else: that Qt's
/// pool orders their making before their running is nothing that a ThreadSanitizer sees.
std::mutex startMutex;

class Helper : public QRunnable
{
public:
    explicit Helper(std::shared_ptr<Work> work) : m_work(std::move(work)) { }

    void run() override
    {
        {
            const std::lock_guard started(startMutex);
        }
        while (m_work->runChunk()) { }
        const std::lock_guard lock(m_work->mutex);
        --m_work->helpers;
        m_work->changed.notify_one();
    }

private:
    std::shared_ptr<Work> m_work; // whoever lets go last destroys it
};

/// Starts up to \a wanted helpers. Only threads that run at once: a helper that waited in the
/// pool's queue could be waiting for the very worker that waits for it.
void startHelpers(const std::shared_ptr<Work> &work, qint64 wanted)
{
    QThreadPool *const pool = QThreadPool::globalInstance();
    const std::lock_guard lock(startMutex);
    while (work->helpers < wanted && work->helpers + 1 < pool->maxThreadCount()) {
        auto helper = std::make_unique<Helper>(work);
        if (!pool->tryStart(helper.get()))
            break;
        static_cast<void>(helper.release()); // the pool deletes it
        ++work->helpers; // none ends before all have started
    }
}

void waitForHelpers(Work &work)
{
    std::unique_lock lock(work.mutex);
    work.changed.wait(lock, [&work] { return work.helpers == 0; });
}

} // namespace

bool forRowsInParallel(const Vellum &image, int rowsPerChunk, const RowsOperation &operation)
{
    const auto work = std::make_shared<Work>();
    work->operation = operation;
    work->height = image.height();
    work->rowsPerChunk = rowsPerChunk;
    const auto report = [&] {
        if (!image.set_progress(int(work->done.load(std::memory_order_relaxed))))
            work->stop.store(true, std::memory_order_relaxed);
        return !work->stop.load(std::memory_order_relaxed);
    };
    if (!report())
        return false;
    startHelpers(work, (work->height - 1) / rowsPerChunk);
    while (work->runChunk() && report()) { }
    waitForHelpers(*work);
    return !work->stop.load(std::memory_order_relaxed) && report();
}

} // namespace vellum::color
