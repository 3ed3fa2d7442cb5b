// The memory of the machine, of the container and of the process.

#include <vellum/io/machinememory_p.h>

#include <QByteArray>
#include <QFile>

#include <limits>
#include <sys/resource.h>
#include <unistd.h>

namespace vellum::io {

namespace {

constexpr qint64 kUnknown = std::numeric_limits<qint64>::max();

qint64 physicalMemory()
{
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long bytes = sysconf(_SC_PAGESIZE);
    return pages > 0 && bytes > 0 ? qint64(pages) * bytes : kUnknown;
}

qint64 addressSpace()
{
    rlimit limit = {};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur >= rlim_t(kUnknown))
        return kUnknown; // RLIM_INFINITY too
    return qint64(limit.rlim_cur);
}

/// What Linux lets a container have, as one sees it from inside; "max" for everything.
qint64 containerMemory()
{
    for (const char *path :
         {"/sys/fs/cgroup/memory.max", "/sys/fs/cgroup/memory/memory.limit_in_bytes"}) {
        QFile file(QString::fromLatin1(path));
        bool isNumber = false;
        const qint64 bytes =
            file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toLongLong(&isNumber) : 0;
        if (isNumber && bytes > 0)
            return bytes;
    }
    return kUnknown;
}

} // namespace

qint64 machineMemory() { return qMin(physicalMemory(), qMin(addressSpace(), containerMemory())); }

} // namespace vellum::io
