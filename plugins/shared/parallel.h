// Work shared out over Qt's thread pool.
#pragma once

#include <functional>

namespace vellum::plugin {

/// Calls \a work(task, worker) for tasks 0 to \a count - 1, each once, in any order: on the calling
/// thread, as worker 0, and on those that the global pool has free at once, as workers 1 to
/// \a workers - 1. Returns when all have been done.
///
/// A write may itself run in that pool: nothing here waits for a thread to become free.
/// \param work  called on several threads at a time; throws nothing
void forAllInParallel(int count, int workers,
                      const std::function<void(int task, int worker)> &work);

/// How many workers the global pool is set up for; at least 1.
int mostWorkers();

} // namespace vellum::plugin
