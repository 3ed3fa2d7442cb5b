#include <vellum/color/parallelrows_p.h>

#include <QRunnable>
#include <QSemaphore>
#include <QThreadPool>

#include <atomic>
#include <memory>

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
    QSemaphore finished;

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

class Helper : public QRunnable
{
public:
    explicit Helper(std::shared_ptr<Work> work) : m_work(std::move(work)) { }

    void run() override
    {
        while (m_work->runChunk()) { }
        m_work->finished.release();
    }

private:
    std::shared_ptr<Work> m_work; // also keeps the semaphore until release() has returned
};

/// Starts up to \a wanted helpers. Only threads that run at once: a helper that waited in the
/// pool's queue could be waiting for the very worker that waits for it.
int startHelpers(const std::shared_ptr<Work> &work, qint64 wanted)
{
    QThreadPool *const pool = QThreadPool::globalInstance();
    int started = 0;
    while (started < wanted && started + 1 < pool->maxThreadCount()) {
        auto helper = std::make_unique<Helper>(work);
        if (!pool->tryStart(helper.get()))
            break;
        static_cast<void>(helper.release()); // the pool deletes it
        ++started;
    }
    return started;
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
    const int helpers = startHelpers(work, (work->height - 1) / rowsPerChunk);
    while (work->runChunk() && report()) { }
    work->finished.acquire(helpers);
    return !work->stop.load(std::memory_order_relaxed) && report();
}

} // namespace vellum::color
