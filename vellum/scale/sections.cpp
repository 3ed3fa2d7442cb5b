#include <vellum/scale/sections_p.h>

#include <QRunnable>
#include <QSemaphore>
#include <QThread>
#include <QThreadPool>

#include <atomic>
#include <memory>
#include <new>

namespace vellum::scale {

namespace {

/// Never below 8, also where there are fewer processors: equal parts then even out cores of
/// different speed and load.
int threadBudget()
{
    static std::atomic<int> budget {0};
    if (budget < 1)
        budget = qMax(QThread::idealThreadCount(), 8);
    return budget;
}

class Job : public QRunnable
{
public:
    Job(const Section &section, int yStart, int yEnd, QSemaphore &done)
        : m_section(section), m_yStart(yStart), m_yEnd(yEnd), m_done(done)
    {
        setAutoDelete(false);
    }

    void run() override
    {
        m_section(m_yStart, m_yEnd);
        m_done.release(1);
    }

private:
    const Section &m_section;
    int m_yStart;
    int m_yEnd;
    QSemaphore &m_done;
};

/// Hands \a job to the pool, or runs it here when there is no memory to queue it.
void start(QThreadPool &pool, Job &job)
{
    try {
        pool.start(&job, 0);
    } catch (const std::bad_alloc &) {
        job.run();
    }
}

} // namespace

void runScaleSections(int sw, int ry, int rh, const Section &section)
{
    const qint64 worthwhile = qMin<qint64>(qint64(sw) * rh / 65536, rh);
    const int segments = int(qMin<qint64>(worthwhile, threadBudget()));
    QThreadPool *const pool = QThreadPool::globalInstance();
    // Owned here and not by the pool: a job that could not be queued must still be run.
    const std::unique_ptr<std::unique_ptr<Job>[]> jobs(
        segments > 1 ? new (std::nothrow) std::unique_ptr<Job>[size_t(segments)] : nullptr);
    if (!jobs || !pool || pool->contains(QThread::currentThread()))
        return section(ry, ry + rh);

    QSemaphore done;
    int y = 0;
    for (int i = 0; i < segments; ++i) {
        const int rows = (rh - y) / (segments - i);
        jobs[size_t(i)].reset(new (std::nothrow) Job(section, ry + y, ry + y + rows, done));
        if (Job *const job = jobs[size_t(i)].get()) {
            start(*pool, *job);
        } else {
            section(ry + y, ry + y + rows);
            done.release(1);
        }
        y += rows;
    }
    done.acquire(segments);
}

} // namespace vellum::scale
