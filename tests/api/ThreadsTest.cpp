// SPDX-License-Identifier: Apache-2.0
//
// Calls from several threads at once, each on data of its own, give what they give alone. Number
// of threads and seconds can be set with QORFP_TEST_THREADS and QORFP_TEST_SECONDS, for longer
// runs under a thread checker.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "tests/api/Operations.h"
#include "tests/support/TestImages.h"

namespace {

using apitest::Bytes;
using apitest::Operation;
using Clock = std::chrono::steady_clock;

int32_t Setting(const char* name, int32_t usual) {
    const char* const text = std::getenv(name);
    return text != nullptr && *text != '\0' ? std::atoi(text) : usual;
}

struct Worker {
    std::vector<Operation> operations;
    std::vector<Bytes> expected;
    int64_t calls = 0;
    std::string failure;  // empty while all results are the expected ones

    void RunUntil(Clock::time_point end, uint64_t seed) {
        testsupport::Random random(seed);
        while (failure.empty() && Clock::now() < end) {
            const size_t k =
                static_cast<size_t>(random.Below(static_cast<int32_t>(operations.size())));
            if (operations[k].run() != expected[k]) {
                failure = operations[k].name;
            }
            ++calls;
        }
    }
};

TEST(Threads, EachGetsWhatItGetsAlone) {
    const int32_t threadCount = Setting("QORFP_TEST_THREADS", 4);
    std::vector<Worker> workers(static_cast<size_t>(threadCount));
    for (size_t k = 0; k < workers.size(); ++k) {
        workers[k].operations = apitest::MakeOperations(10 * k + 1);
        workers[k].expected = apitest::RunEach(workers[k].operations);
    }
    const auto end = Clock::now() + std::chrono::seconds(Setting("QORFP_TEST_SECONDS", 2));
    std::vector<std::thread> threads;
    for (size_t k = 0; k < workers.size(); ++k) {
        threads.emplace_back([&worker = workers[k], end, k] { worker.RunUntil(end, k); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const Worker& worker : workers) {
        EXPECT_EQ(worker.failure, "");
        EXPECT_GT(worker.calls, 0);
    }
}

}  // namespace
