// Processes and what they took.
#pragma once

#include <string>
#include <vector>

namespace vellum::bench {

struct Cost
{
    bool done = false; ///< the program was there and ended with 0
    double processorSeconds = 0; ///< of all its threads, in user and kernel mode
    double realSeconds = 0;
    double peakMebibytes = 0; ///< resident
};

/// Runs \a command, found as a shell finds it, to its end. What it prints is thrown away.
Cost runProcess(const std::vector<std::string> &command);

} // namespace vellum::bench
