#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <support/process.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vellum::test {

namespace {

struct Pages
{
    qint64 mapped = 0;
    qint64 resident = 0;
};

Pages pages()
{
    Pages pages;
    std::ifstream("/proc/self/statm") >> pages.mapped >> pages.resident;
    return pages;
}

} // namespace

qint64 residentBytes() { return pages().resident * sysconf(_SC_PAGESIZE); }

qint64 reservedBytes() { return pages().mapped * sysconf(_SC_PAGESIZE); }

bool passesWithinAddressSpace(qint64 bytes, const std::function<void()> &body)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0)
        return false;
    if (child == 0) {
        const auto limit = rlim_t(reservedBytes() + bytes);
        const rlimit limits {limit, limit};
        const bool limited = setrlimit(RLIMIT_AS, &limits) == 0;
        body();
        std::fflush(nullptr);
        _exit(limited && !testing::Test::HasFailure() ? 0 : 1);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace vellum::test
