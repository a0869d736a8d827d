// Runs the rows of this program: benchmarks of Google Benchmark, whose figures are their counters.

#include "Compare.hpp"
#include "Options.hpp"

#include <QApplication>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace
{
/// The number after `name` when `argument` begins with it; -1 otherwise.
long numberOf(std::string_view argument, std::string_view name)
{
    if (argument.substr(0, name.size()) != name)
        return -1;
    return std::max(0L, std::strtol(argument.data() + name.size(), nullptr, 10));
}

bool readOption(std::string_view argument)
{
    Bench::Options& options = Bench::options();
    if (argument == "--smoke") {
        options.isSmoke = true;
        options.rounds = 1;
        return true;
    }
    const long rounds = numberOf(argument, "--rounds=");
    const long seed = numberOf(argument, "--seed=");
    const long size = numberOf(argument, "--size=");
    if (rounds > 0)
        options.rounds = int(rounds);
    if (seed >= 0)
        options.seed = unsigned(seed);
    if (size > 0)
        options.size = int(size);
    return rounds > 0 || seed >= 0 || size > 0;
}
}

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    argc = int(std::remove_if(argv + 1, argv + argc, [](const char* argument) { return readOption(argument); }) - argv);
    if (argc > 1) {
        std::fprintf(stderr, "%s: unknown option %s (own options: --smoke, --rounds=N, --seed=N, --size=N)\n", argv[0], argv[1]);
        return 2;
    }
    Bench::registerRows();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
