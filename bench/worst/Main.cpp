// SPDX-License-Identifier: Apache-2.0
//
// worst_cases FOLDER [--check]: how much longer the worst input of every call takes than an ordinary
// one, by processor time. FOLDER holds the example images. With --check the exit status is 1 when a
// call exceeds its bound.
//
// worst_cases FOLDER --choose FILE: also writes which inputs took the longest.
// worst_cases FOLDER --count FILE: makes each call of FILE on these and on the ordinary inputs, under
// callgrind, which writes a file of counts for each; they are named CALL|KIND|TIME RATIO|INPUT.

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_START_INSTRUMENTATION static_cast<void>(0)
#define CALLGRIND_STOP_INSTRUMENTATION static_cast<void>(0)
#define CALLGRIND_ZERO_STATS static_cast<void>(0)
#define CALLGRIND_DUMP_STATS_AT(name) static_cast<void>(name)
#endif

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <map>
#include <sstream>

#include "bench/worst/Cases.h"
#include "include/QORFPApi.h"

namespace {

using namespace worst;

constexpr int kRuns = 15;  // of what seems to be the worst, since a load only makes it slower
constexpr size_t kWorstFew = 5;
constexpr double kPatienceNs = 2e7;

double ProcessorNs() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// The shortest of some runs, in no more than about `kPatienceNs`.
double TimeOf(const Input& input, int runs) {
    const Prepared prepared = input.prepare();
    double shortest = 1e18;
    double all = 0;
    for (int i = 0; i < runs && all < kPatienceNs; ++i) {
        prepared.restore();
        const double start = ProcessorNs();
        prepared.run();
        const double time = ProcessorNs() - start;
        shortest = std::min(shortest, time);
        all += time;
    }
    return shortest;
}

struct Timed {
    const Input* input;
    double ns;
};

struct Result {
    double ordinaryNs = 0;     // the mean
    std::vector<Timed> worst;  // the worst one first
    double Ratio() const { return worst.front().ns / ordinaryNs; }
};

Result Measure(const Call& call) {
    Result result;
    int ordinary = 0;
    for (const Input& input : call.inputs) {
        if (input.isOrdinary) {
            result.ordinaryNs += TimeOf(input, kRuns);
            ++ordinary;
        } else {
            result.worst.push_back({&input, TimeOf(input, 1)});
        }
    }
    result.ordinaryNs /= ordinary;
    const auto isWorse = [](const Timed& a, const Timed& b) { return a.ns > b.ns; };
    std::sort(result.worst.begin(), result.worst.end(), isWorse);
    result.worst.resize(std::min(result.worst.size(), 4 * kWorstFew));
    for (Timed& timed : result.worst) {
        timed.ns = TimeOf(*timed.input, kRuns);
    }
    std::sort(result.worst.begin(), result.worst.end(), isWorse);
    result.worst.resize(std::min(result.worst.size(), kWorstFew));
    return result;
}

/// What is counted of a call: its ordinary inputs, and those that took the longest.
struct Choice {
    double ratio;  // of the times
    std::vector<size_t> inputs;
};

void Write(std::FILE* file, const Call& call, const Result& result) {
    std::fprintf(file, "%s|%.2f|", call.name.c_str(), result.Ratio());
    for (const Timed& timed : result.worst) {
        std::fprintf(file, "%td ", timed.input - call.inputs.data());
    }
    std::fprintf(file, "\n");
}

std::map<std::string, Choice> ReadChoices(const char* path) {
    std::map<std::string, Choice> choices;
    std::ifstream file(path);
    std::string name;
    std::string ratio;
    std::string inputs;
    while (std::getline(file, name, '|') && std::getline(file, ratio, '|') &&
           std::getline(file, inputs)) {
        Choice& choice = choices[name];
        choice.ratio = std::stod(ratio);
        std::istringstream numbers(inputs);
        for (size_t number = 0; numbers >> number;) {
            choice.inputs.push_back(number);
        }
    }
    return choices;
}

void Count(const Call& call, const Input& input, double ratio) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.2f", ratio);
    const std::string label =
        call.name + "|" + (input.isOrdinary ? "ordinary" : "worst") + "|" + text + "|" + input.name;
    const Prepared prepared = input.prepare();
    prepared.restore();
    prepared.run();  // what is calculated once
    prepared.restore();
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    prepared.run();
    CALLGRIND_STOP_INSTRUMENTATION;
    CALLGRIND_DUMP_STATS_AT(label.c_str());
}

void CountCall(const Call& call, const Choice& choice) {
    for (const Input& input : call.inputs) {
        if (input.isOrdinary) {
            Count(call, input, 1);
        }
    }
    for (const size_t number : choice.inputs) {
        Count(call, call.inputs.at(number), choice.ratio);
    }
}

/// The library's log lines are of no interest here.
void SilenceLog() {
    std::fflush(stdout);
    const int kept = dup(STDOUT_FILENO);
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    QORFP_Initial(0);
    std::fflush(stdout);
    dup2(kept, STDOUT_FILENO);
    close(null);
    close(kept);
}

std::vector<Call> AllCalls(const Captures& captures) {
    std::vector<Call> calls = ImageCalls(captures);
    for (const auto& some : {TemplateCalls(captures), SearchCalls(captures), SortCalls()}) {
        calls.insert(calls.end(), some.begin(), some.end());
    }
    return calls;
}

// True when every call is within its bound.
bool MeasureAll(const std::vector<Call>& calls, bool isChecking, std::FILE* chosen) {
    bool isGood = true;
    for (const Call& call : calls) {
        if (isChecking && call.bound == 0) {
            continue;
        }
        Result result = Measure(call);
        // A bound is far above what was found: one look may be wrong on a busy machine, three not.
        for (int again = 0; isChecking && result.Ratio() > call.bound && again < 2; ++again) {
            result = Measure(call);
        }
        std::printf("%-36s %10.1f us %10.1f us %6.2f  %s\n", call.name.c_str(),
                    result.ordinaryNs / 1e3, result.worst.front().ns / 1e3, result.Ratio(),
                    result.worst.front().input->name.c_str());
        std::fflush(stdout);
        isGood = isGood && result.Ratio() <= call.bound;
        if (chosen != nullptr) {
            Write(chosen, call, result);
        }
    }
    return isGood;
}

int Run(const char* folder, const std::string& option, const char* path) {
    const Captures captures(folder);
    const std::vector<Call> calls = AllCalls(captures);
    if (option == "--count") {
        const std::map<std::string, Choice> choices = ReadChoices(path);
        for (const Call& call : calls) {
            const auto found = choices.find(call.name);
            if (found != choices.end()) {
                CountCall(call, found->second);
            }
        }
        return 0;
    }
    const bool isChecking = option == "--check";
    std::FILE* const chosen = option == "--choose" ? std::fopen(path, "w") : nullptr;
    const bool isGood = MeasureAll(calls, isChecking, chosen);
    if (chosen != nullptr) {
        std::fclose(chosen);
    }
    return isChecking && !isGood ? 1 : 0;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const std::string option = argumentCount > 2 ? arguments[2] : "";
    const bool hasFile = option == "--choose" || option == "--count";
    const bool isKnown = option.empty() || option == "--check" || hasFile;
    if (argumentCount < 2 || !isKnown || argumentCount > (hasFile ? 4 : 3) ||
        (hasFile && argumentCount < 4)) {
        std::fprintf(stderr,
                     "usage: worst_cases FOLDER [--check | --choose FILE | --count FILE]\n");
        return 2;
    }
    try {
        SilenceLog();
        return Run(arguments[1], option, hasFile ? arguments[3] : nullptr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "worst_cases: %s\n", error.what());
        return 2;
    }
}
