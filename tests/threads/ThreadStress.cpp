// SPDX-License-Identifier: Apache-2.0
//
// Eight threads that call exported calls at random for a number of seconds, then eight that use
// engine functions in work buffers of their own for as long. Each result must be the one that the
// same call gives alone. Meant to run under a thread checker, see scripts/threads.sh.
//
//   thread_stress [SECONDS]        default 2; exit status 0, 1 for a wrong result, 2 for bad usage
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "include/QORFPApi.h"
#include "tests/support/TestImages.h"
#include "tests/threads/Work.h"

namespace {

using threadtest::Bytes;
using threadtest::Operation;
using threadtest::ResultBytes;

constexpr size_t kThreads = 8;
constexpr int32_t kDefaultSeconds = 2;
constexpr int32_t kMostSeconds = 86400;

/// One thread's operations, what they give alone, and what came of them among others.
struct Worker {
    std::vector<Operation> operations;
    std::vector<Bytes> alone;
    uint64_t seed = 0;
    uint64_t runs = 0;
    std::string failure;  ///< name of the first operation that gave something else

    void RunAmongOthers(const std::atomic<bool>& isOver) {
        testsupport::Random random(seed);
        do {
            const size_t k =
                static_cast<size_t>(random.Below(static_cast<int32_t>(operations.size())));
            if (operations[k].run() != alone[k]) {
                failure = operations[k].name;
            }
            ++runs;
        } while (failure.empty() && !isOver.load(std::memory_order_relaxed));
    }
};

/// False when an operation does not even give its expected code, or not the same twice.
bool RunAlone(Worker* worker) {
    for (const Operation& operation : worker->operations) {
        const Bytes result = operation.run();
        const Bytes code = ResultBytes(operation.expectedCode);
        if (!std::equal(code.begin(), code.end(), result.begin())) {
            std::fprintf(stderr, "%s (seed %llu): code %d alone, expected %lld\n",
                         operation.name.c_str(), static_cast<unsigned long long>(worker->seed),
                         int{result[0]}, static_cast<long long>(operation.expectedCode));
            return false;
        }
        if (operation.run() != result) {
            std::fprintf(stderr, "%s: two runs differ\n", operation.name.c_str());
            return false;
        }
        worker->alone.push_back(result);
    }
    return true;
}

using MakeOperations = std::vector<Operation> (*)(uint64_t seed);

/// True when every thread ran something and got what it gets alone.
bool Report(const char* kind, const std::vector<Worker>& workers, int32_t seconds) {
    uint64_t runs = 0;
    for (size_t k = 0; k < workers.size(); ++k) {
        runs += workers[k].runs;
        if (!workers[k].failure.empty() || workers[k].runs == 0) {
            std::fprintf(stderr, "thread %d: wrong result of \"%s\" after %llu runs, SEED=%llu\n",
                         static_cast<int>(k), workers[k].failure.c_str(),
                         static_cast<unsigned long long>(workers[k].runs),
                         static_cast<unsigned long long>(testsupport::Seed()));
            return false;
        }
    }
    std::fprintf(stderr, "%s: %llu by %d threads in %d s, each result as when alone\n", kind,
                 static_cast<unsigned long long>(runs), static_cast<int>(workers.size()),
                 static_cast<int>(seconds));
    return true;
}

bool RunRound(const char* kind, MakeOperations makeOperations, int32_t seconds) {
    std::vector<Worker> workers(kThreads);
    for (size_t k = 0; k < workers.size(); ++k) {
        workers[k].seed = testsupport::Seed() + k;
        workers[k].operations = makeOperations(workers[k].seed);
        if (!RunAlone(&workers[k])) {
            return false;
        }
    }
    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
    for (Worker& worker : workers) {
        threads.emplace_back([&worker, &isOver] { worker.RunAmongOthers(isOver); });
    }
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    return Report(kind, workers, seconds);
}

/// The library's log lines on invalid templates are of no interest here.
void SilenceStandardOutput() {
    const int null = open("/dev/null", O_WRONLY);
    if (null >= 0) {
        dup2(null, STDOUT_FILENO);
        close(null);
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    char* end = nullptr;
    const long wanted =
        argumentCount > 1 ? std::strtol(arguments[1], &end, 10) : long{kDefaultSeconds};
    if (argumentCount > 2 || (end != nullptr && *end != '\0') || wanted < 1 ||
        wanted > kMostSeconds) {
        std::fprintf(stderr, "usage: thread_stress [SECONDS]\n");
        return 2;
    }
    const int32_t seconds = static_cast<int32_t>(wanted);
    SilenceStandardOutput();
    QORFP_Initial(0);
    const bool isGood = RunRound("exported calls", threadtest::ExportedCalls, seconds) &&
                        RunRound("engine functions", threadtest::EngineFunctions, seconds);
    return isGood ? 0 : 1;
}
