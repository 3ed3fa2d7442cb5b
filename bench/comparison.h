// Benchmarks here compare: our operation beside its peers and the memory limit, in one run.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vellum::bench {

/// Something that our operation is measured against.
struct Peer
{
    std::string name; ///< such as "memcpy"
    std::function<void()> run;
    double leastSpeed; ///< we should be at least this many times as fast; 0 when for information
};

/// One operation with its peers. The inputs live in the closures.
struct Comparison
{
    std::function<void()> ours;
    std::vector<Peer> peers;
    double bytes; ///< moved by one call, for the throughput column
};

/// Adds a comparison to the program. \a name is "subject/operation", with sizes and formats as
/// further parts. \a make builds the inputs right before the comparison runs, and what it built is
/// destroyed right after it, so that only one comparison's inputs are in memory at a time.
class Register
{
public:
    Register(std::string name, std::function<Comparison()> make);
};

} // namespace vellum::bench
