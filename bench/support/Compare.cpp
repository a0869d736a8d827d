#include "Compare.hpp"

#include "Options.hpp"

#include <algorithm>
#include <ctime>
#include <exception>
#include <vector>

namespace Bench
{
namespace
{
/// Long enough for the clock, short enough for the two to meet the same load of the machine.
constexpr double kBlockSeconds = 0.004;

std::vector<void (*)()>& rows()
{
    static std::vector<void (*)()> instance;
    return instance;
}

double clockSeconds(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double secondsOf(const Side& side, long times)
{
    if (side.prepare)
        side.prepare();
    const double begin = processSeconds();
    side.work(times);
    return processSeconds() - begin;
}

/// How often a work is done in a block. Warms up caches on the way.
long timesInBlock(const Side& side)
{
    if (side.times > 0)
        return side.times;
    if (options().isSmoke)
        return 1;
    long times = 1;
    while (true) {
        const double seconds = secondsOf(side, times);
        if (seconds >= kBlockSeconds)
            return times;
        times = seconds <= 0.0 ? times * 10
                               : std::max(times + 1, long(double(times) * std::min(10.0, 1.3 * kBlockSeconds / seconds)));
    }
}

/// Fewer than asked for where a round takes long.
int roundsOf(double secondsOfRound)
{
    constexpr double kLongRoundSeconds = 0.5;
    return secondsOfRound > kLongRoundSeconds ? std::min(options().rounds, 5) : options().rounds;
}
}

Options& options()
{
    static Options instance;
    return instance;
}

double threadSeconds()
{
    return clockSeconds(CLOCK_THREAD_CPUTIME_ID);
}

double processSeconds()
{
    return clockSeconds(CLOCK_PROCESS_CPUTIME_ID);
}

void compare(benchmark::State& state, const Side& ours, const Side& rival, int pieces)
{
    const long oursTimes = timesInBlock(ours);
    const long rivalTimes = timesInBlock(rival);
    std::vector<double> ratios;
    std::vector<double> oursSeconds;
    std::vector<double> rivalSeconds;
    const double begin = threadSeconds();
    for (auto _ : state) {
        for (int round = 0; round == 0 || round < roundsOf((threadSeconds() - begin) / round); ++round) {
            oursSeconds.push_back(secondsOf(ours, oursTimes) / double(oursTimes));
            rivalSeconds.push_back(secondsOf(rival, rivalTimes) / double(rivalTimes));
            ratios.push_back(oursSeconds.back() / std::max(rivalSeconds.back(), 1e-12));
        }
    }
    state.counters["ratio"] = median(ratios);
    state.counters["ours_ns"] = median(oursSeconds) * 1e9 / pieces;
    state.counters["rival_ns"] = median(rivalSeconds) * 1e9 / pieces;
}

void measure(benchmark::State& state, const Side& ours, int pieces)
{
    const long times = timesInBlock(ours);
    std::vector<double> seconds;
    for (auto _ : state)
        for (int round = 0; round < options().rounds; ++round)
            seconds.push_back(secondsOf(ours, times) / double(times));
    state.counters["ours_ns"] = median(seconds) * 1e9 / pieces;
}

void add(const std::string& name, std::function<void(benchmark::State&)> function)
{
    // A figure that cannot be measured costs that figure alone.
    const auto guarded = [function = std::move(function)](benchmark::State& state) {
        try {
            function(state);
        } catch (const std::exception& failure) {
            state.SkipWithError(failure.what());
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), guarded)->Iterations(1);
}

Row::Row(void (*registerBenchmarks)())
{
    rows().push_back(registerBenchmarks);
}

void registerRows()
{
    for (const auto& registerBenchmarks : rows())
        registerBenchmarks();
}
}
