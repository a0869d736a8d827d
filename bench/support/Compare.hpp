#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <utility>

namespace Bench
{
/// Does a piece of work so many times. The set-up is done before.
using Work = std::function<void(long times)>;

/// Work that wants something prepared before each of its turns, which is not measured.
struct Side
{
    template <class Function>
    Side(Function function) : work(std::move(function))
    {
    }
    Side(Work theWork, std::function<void()> thePreparation, long theTimes = 0)
        : work(std::move(theWork)), prepare(std::move(thePreparation)), times(theTimes)
    {
    }

    Work work;
    std::function<void()> prepare; ///< may be null
    long times = 0;                ///< in each turn; 0: as many as take some milliseconds
};

/// Runs work and its rival in turns, a few milliseconds each, and reports the counters "ratio" (the median of the ratios of
/// their processor times, of all threads), "ours_ns" and "rival_ns" (medians, a piece of work). The benchmark's own time means
/// nothing. With `pieces`, the work done once counts as so many pieces.
void compare(benchmark::State& state, const Side& ours, const Side& rival, int pieces = 1);

/// As above without a rival: reports "ours_ns" alone.
void measure(benchmark::State& state, const Side& ours, int pieces = 1);

/// Enters a benchmark that does all of its rounds in one iteration. To be called from a row's registration.
void add(const std::string& name, std::function<void(benchmark::State&)> function);

/// Registers a row's benchmarks when the command line has been read.
///
///     const Bench::Row kRow([] { Bench::add("row06/idle", idleFrame); });
class Row
{
public:
    explicit Row(void (*registerBenchmarks)());
};
/// Called by main().
void registerRows();

/// Processor time of the calling thread.
[[nodiscard]] double threadSeconds();
/// Processor time of all threads of the process.
[[nodiscard]] double processSeconds();
}
