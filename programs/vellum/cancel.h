// Stopping when the user asks for it, at whatever moment, without leaving half a file behind.
//
// A request sets a flag. What polls it (row loops through vellum::ProgressGuard, the reading and
// writing of files) ends in good order. What has not ended kGracePeriod later, such as a decoder
// that does not come back, ends with the process, after its unfinished file has been removed.
#pragma once

#include <QString>

#include <atomic>
#include <chrono>
#include <mutex>

namespace vellum::tool {

constexpr std::chrono::milliseconds kGracePeriod {100};

/// Starts listening. Call once, first in main().
void watchForCancel();

/// True once the user has asked to stop.
const std::atomic<bool> &cancelFlag();

/// Holds off the end by force, so that a file comes into being or gets its name at once with what
/// is known about it here.
class NoForcedEnd
{
    Q_DISABLE_COPY(NoForcedEnd)

public:
    NoForcedEnd();

    /// A file that is to be removed if it comes to that, until forgetUnfinishedFile().
    void addUnfinishedFile(const QString &fileName);
    void forgetUnfinishedFile(const QString &fileName);

    /// The file that the message is to name: of several at a time, the last one begun.
    void setCurrentFile(const QString &fileName);

    /// From now on main() decides how the process ends.
    void untilTheEnd();

private:
    std::unique_lock<std::mutex> m_lock;
};

} // namespace vellum::tool
