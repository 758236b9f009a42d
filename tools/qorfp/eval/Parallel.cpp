// SPDX-License-Identifier: Apache-2.0
//
// The threads take step after step until none is left, or one has failed.
#include "tools/qorfp/eval/Parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "tools/qorfp/ProgressBar.h"

namespace qorfp::cli {
namespace {

class Workers {
  public:
    Workers(const std::string& label, size_t count, const Step& step, size_t total,
            const std::function<size_t(size_t)>& weight)
        : count_(count), step_(step), weight_(weight), bar_(label, total) {}

    void Run(int threads) {
        std::vector<std::thread> helpers;
        const size_t useful = std::min(static_cast<size_t>(threads), count_);
        for (size_t i = 1; i < useful; ++i) {
            helpers.emplace_back([this] { Work(); });
        }
        Work();
        for (std::thread& helper : helpers) {
            helper.join();
        }
        if (failure_) {
            std::rethrow_exception(failure_);
        }
    }

  private:
    void Work() {
        try {
            WorkEngine engine;
            for (size_t i = next_++; i < count_ && !hasFailed_; i = next_++) {
                step_(engine, i);
                const std::lock_guard<std::mutex> lock(mutex_);
                bar_.Advance(weight_(i));
            }
        } catch (...) {
            const std::lock_guard<std::mutex> lock(mutex_);
            hasFailed_ = true;
            failure_ = std::current_exception();
        }
    }

    const size_t count_;
    const Step& step_;
    const std::function<size_t(size_t)>& weight_;
    std::atomic<size_t> next_{0};
    std::atomic<bool> hasFailed_{false};
    std::mutex mutex_;  // guards what follows
    ProgressBar bar_;
    std::exception_ptr failure_;
};

}  // namespace

void RunSteps(const std::string& label, size_t count, int threads, const Step& step) {
    RunSteps(label, count, threads, step, count, [](size_t) { return size_t{1}; });
}

void RunSteps(const std::string& label, size_t count, int threads, const Step& step, size_t total,
              const std::function<size_t(size_t)>& weight) {
    Workers(label, count, step, total, weight).Run(threads);
}

}  // namespace qorfp::cli
