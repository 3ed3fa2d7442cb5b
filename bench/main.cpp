// Runs the comparisons and prints their ratios, of medians over interleaved repetitions.
//
// Usage: vellum_bench [TEXT...] [--benchmark_...]    only comparisons whose name contains a TEXT

#include <QCoreApplication>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <comparison.h>
#include <cstdio>
#include <map>
#include <utility>

using vellum::bench::Comparison;

namespace {

struct Entry
{
    std::string name;
    std::function<Comparison()> make;
};

std::vector<Entry> &entries()
{
    static std::vector<Entry> all;
    return all;
}

/// In seconds. Processor time is that of all threads.
struct Times
{
    double real = 0;
    double processor = 0;
};

/// Keeps the medians of every benchmark.
class MedianReporter : public benchmark::ConsoleReporter
{
public:
    std::map<std::string, Times> medians;

    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.aggregate_name == "median") {
                const double unit = benchmark::GetTimeUnitMultiplier(run.time_unit);
                medians[run.run_name.function_name] = {run.GetAdjustedRealTime() / unit,
                                                       run.GetAdjustedCPUTime() / unit};
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

void add(const std::string &name, const std::function<void()> &run, double bytes)
{
    benchmark::RegisterBenchmark(name.c_str(),
                                 [run, bytes](benchmark::State &state) {
                                     // Once untimed: a virtual machine may have to get memory
                                     // that was free for a while from its host, which takes many
                                     // times as long as the operation.
                                     run();
                                     for ([[maybe_unused]] auto _ : state)
                                         run();
                                     state.SetBytesProcessed(
                                         int64_t(bytes * double(state.iterations())));
                                 })
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime()
        ->UseRealTime();
}

struct Ratio
{
    std::string text;
    bool reached;
};

std::vector<Ratio> runComparison(const Entry &entry)
{
    const Comparison comparison = entry.make();
    const auto nameOf = [&](const std::string &what) { return entry.name + "#" + what; };
    add(nameOf("vellum"), comparison.ours, comparison.bytes);
    for (const auto &peer : comparison.peers)
        add(nameOf(peer.name), peer.run, comparison.bytes);
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::ClearRegisteredBenchmarks();

    std::vector<Ratio> ratios;
    for (const auto &peer : comparison.peers) {
        const Times &ours = reporter.medians[nameOf("vellum")];
        const Times &theirs = reporter.medians[nameOf(peer.name)];
        const double speed = theirs.real / ours.real;
        char text[200];
        // On a busy machine the processor time is the better measure, for equally many threads.
        std::snprintf(text, sizeof text, "%-46s %6.2f times as fast (%.2f of processor time) as %s",
                      entry.name.c_str(), speed, theirs.processor / ours.processor,
                      peer.name.c_str());
        ratios.push_back({text, speed >= peer.leastSpeed});
        if (peer.leastSpeed > 0) {
            std::snprintf(text, sizeof text, " (%.2f asked)%s", peer.leastSpeed,
                          ratios.back().reached ? "" : "  MISSED");
            ratios.back().text += text;
        }
    }
    return ratios;
}

} // namespace

vellum::bench::Register::Register(std::string name, std::function<Comparison()> make)
{
    entries().push_back({std::move(name), std::move(make)});
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv); // whose folder holds the colour profiles
    std::vector<char *> args(argv, argv + argc);
    // Interleaved, so that a busy moment of a shared machine does not hit one side only.
    char defaults[][48] = {"--benchmark_repetitions=9",
                           "--benchmark_enable_random_interleaving=true",
                           "--benchmark_report_aggregates_only=true", "--benchmark_min_time=0.05"};
    int at = 1;
    for (char *const option : defaults)
        args.insert(args.begin() + at++, option);
    int count = int(args.size());
    benchmark::Initialize(&count, args.data());

    const std::vector<std::string> wanted(args.begin() + 1, args.begin() + count);
    const auto isWanted = [&](const std::string &name) {
        return wanted.empty() || std::any_of(wanted.begin(), wanted.end(), [&](const auto &text) {
                   return name.find(text) != std::string::npos;
               });
    };
    std::sort(entries().begin(), entries().end(),
              [](const Entry &a, const Entry &b) { return a.name < b.name; });
    std::vector<Ratio> ratios;
    for (const Entry &entry : entries()) {
        if (!isWanted(entry.name))
            continue;
        const auto added = runComparison(entry);
        ratios.insert(ratios.end(), added.begin(), added.end());
    }

    std::printf("\nRatios of medians\n");
    for (const Ratio &ratio : ratios)
        std::printf("%s\n", ratio.text.c_str());
    return ratios.empty() ? 1 : 0;
}
