// SPDX-License-Identifier: Apache-2.0
// Batches: threads take fingers one by one from a common counter.
#include "tools/synth/Batch.h"

#include <atomic>
#include <exception>
#include <filesystem>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "tools/synth/Finger.h"
#include "tools/synth/Pgm.h"

namespace qorfp::synth {
namespace {

// The work of all threads together.
class Workshop {
  public:
    Workshop(const BatchOptions& options, const ImageSink& sink, const ProgressSink& progress)
        : options_(options), sink_(sink), progress_(progress) {}

    // Body of each thread: makes fingers until none is left or one thread has failed.
    void Work() {
        for (int index = next_++; index < options_.fingers && !hasFailed_; index = next_++) {
            try {
                MakeOneFinger(options_.firstFinger + index);
            } catch (...) {
                const std::lock_guard<std::mutex> lock(mutex_);
                if (!hasFailed_) {
                    failure_ = std::current_exception();
                    hasFailed_ = true;
                }
            }
        }
    }

    void ThrowFailure() const {
        if (failure_) {
            std::rethrow_exception(failure_);
        }
    }

  private:
    void MakeOneFinger(int number) {
        std::optional<FingerClass> fingerClass;
        if (!options_.classes.empty()) {
            fingerClass =
                options_.classes[static_cast<size_t>(number - 1) % options_.classes.size()];
        }
        const Finger finger =
            MakeFinger(options_.seed, static_cast<uint32_t>(number), fingerClass, bank_);
        for (int i = 0; i < options_.impressions; ++i) {
            const int impression = options_.firstImpression + i;
            sink_(number, impression,
                  MakeImpression(finger, static_cast<uint32_t>(impression), options_.frame,
                                 options_.difficulty));
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        ++finished_;
        if (progress_) {
            progress_(finished_);
        }
    }

    const BatchOptions& options_;
    const ImageSink& sink_;
    const ProgressSink& progress_;
    const RidgeFilterBank bank_;
    std::atomic<int> next_{0};
    std::atomic<bool> hasFailed_{false};
    std::mutex mutex_;  // guards what follows
    int finished_ = 0;
    std::exception_ptr failure_;
};

}  // namespace

void MakeBatch(const BatchOptions& options, const ImageSink& sink, const ProgressSink& progress) {
    Workshop workshop(options, sink, progress);
    std::vector<std::thread> helpers;
    for (int i = 1; i < options.threads; ++i) {
        helpers.emplace_back([&workshop] { workshop.Work(); });
    }
    workshop.Work();
    for (std::thread& helper : helpers) {
        helper.join();
    }
    workshop.ThrowFailure();
}

ImageSink FolderSink(const std::string& folder, const Frame& frame) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        throw std::runtime_error("cannot make folder " + folder + ": " + error.message());
    }
    return [folder, frame](int finger, int impression, const std::vector<uint8_t>& pixels) {
        const std::string name = std::to_string(finger) + "_" + std::to_string(impression) + ".pgm";
        WriteFile((std::filesystem::path(folder) / name).string(),
                  EncodePgm(pixels, frame.width, frame.height));
    };
}

}  // namespace qorfp::synth
