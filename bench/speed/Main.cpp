// SPDX-License-Identifier: Apache-2.0
//
// measure_speed --fingers FOLDER [options] [--benchmark_...]: how long every work takes. Google
// Benchmark chooses the iterations and repeats them; each iteration goes through all inputs of the
// work once. The counters give nanoseconds a call: `wall` by the clock, `cpu` of this thread.

#include <benchmark/benchmark.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "bench/measured/Work.h"
#include "include/QORFPApi.h"

namespace {

using measure::Inputs;
using measure::NamedWork;
using measure::Work;

constexpr double kNanoseconds = 1e9;

double Now(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / kNanoseconds;
}

struct Seconds {
    double wall = 0;
    double cpu = 0;
};

Seconds TimeOf(const Work& work) {
    Seconds sum;
    for (int i = 0; i < work.cases; ++i) {
        work.restore(i);
        const double cpuStart = Now(CLOCK_THREAD_CPUTIME_ID);
        const double start = Now(CLOCK_MONOTONIC);
        work.run(i);
        sum.wall += Now(CLOCK_MONOTONIC) - start;
        sum.cpu += Now(CLOCK_THREAD_CPUTIME_ID) - cpuStart;
    }
    return sum;
}

// The last prepared work is kept, for its repetitions; only one, for the long lists' sake.
const Work& Prepared(const NamedWork& named) {
    static std::string name;
    static Work work;
    if (name != named.name) {
        work = Work();
        work = named.prepare();
        name = named.name;
        TimeOf(work);  // caches and pages as they are in use
    }
    return work;
}

bool hasFailed = false;

void Measure(benchmark::State& state, const NamedWork& named) {
    Seconds sum;
    double calls = 0;
    try {
        const Work& work = Prepared(named);
        for ([[maybe_unused]] auto _ : state) {
            const Seconds seconds = TimeOf(work);
            state.SetIterationTime(seconds.wall);
            sum.wall += seconds.wall;
            sum.cpu += seconds.cpu;
            calls += work.Calls();
        }
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
        hasFailed = true;
        return;
    }
    state.counters["wall"] = sum.wall / calls * kNanoseconds;
    state.counters["cpu"] = sum.cpu / calls * kNanoseconds;
}

// Takes `--name=VALUE` out of the arguments; empty when it is not there.
std::vector<std::string> TakeOption(const std::string& name, int* count, char** arguments) {
    const std::string prefix = "--" + name + "=";
    std::vector<std::string> values;
    int kept = 0;
    for (int i = 0; i < *count; ++i) {
        const std::string argument = arguments[i];
        if (argument.compare(0, prefix.size(), prefix) == 0) {
            values.push_back(argument.substr(prefix.size()));
        } else {
            arguments[kept] = arguments[i];
            ++kept;
        }
    }
    *count = kept;
    return values;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    measure::InputOptions options;
    const auto fingers = TakeOption("fingers", &argumentCount, arguments);
    const auto divisor = TakeOption("list-divisor", &argumentCount, arguments);
    options.folders = TakeOption("images", &argumentCount, arguments);
    options.fingers = fingers.empty() ? "" : fingers.back();
    options.listDivisor = divisor.empty() ? 1 : std::atoi(divisor.back().c_str());
    benchmark::Initialize(&argumentCount, arguments);
    if (options.fingers.empty() || options.listDivisor < 1 ||
        benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) {
        std::fprintf(stderr,
                     "usage: measure_speed --fingers=FOLDER [--images=FOLDER]... "
                     "[--list-divisor=N] [--benchmark_...]\n");
        return 2;
    }
    QORFP_Initial(0);
    std::printf("\n");
    Inputs inputs(options);
    const std::vector<NamedWork> works = measure::AllWorks(inputs);
    for (const NamedWork& work : works) {
        benchmark::RegisterBenchmark(work.name.c_str(), [&work](benchmark::State& state) {
            Measure(state, work);
        })->UseManualTime();
    }
    benchmark::AddCustomContext("compiler", QORFP_COMPILER);
    benchmark::RunSpecifiedBenchmarks();
    return hasFailed ? 1 : 0;
}
