#include "process.h"

#include <chrono>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace vellum::bench {

namespace {

double seconds(const timeval &time) { return double(time.tv_sec) + double(time.tv_usec) * 1e-6; }

} // namespace

Cost runProcess(const std::vector<std::string> &command)
{
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const auto start = std::chrono::steady_clock::now();
    pid_t process = 0;
    const int error =
        posix_spawnp(&process, arguments[0], &files, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    int status = 0;
    rusage usage {};
    if (error != 0 || wait4(process, &status, 0, &usage) != process)
        return {};
    const std::chrono::duration<double> real = std::chrono::steady_clock::now() - start;
    return {WIFEXITED(status) && WEXITSTATUS(status) == 0,
            seconds(usage.ru_utime) + seconds(usage.ru_stime), real.count(),
            double(usage.ru_maxrss) / 1024};
}

} // namespace vellum::bench
