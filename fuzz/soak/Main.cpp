// SPDX-License-Identifier: Apache-2.0
//
// soak CALLS [SEED]: makes that many calls of all kinds on good and hostile inputs, and then the same
// calls again, with the work buffer filled in other ways before each. Prints how often each call gave
// each result, the digests of both rounds, and the memory that the process took. Exit status 1 when
// the digests differ, a call never gave one of its usual results, or memory has grown.
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "fuzz/soak/Calls.h"
#include "fuzz/support/WorkMemory.h"
#include "include/QORFPApi.h"

namespace {

using namespace soak;

constexpr int64_t kMostCalls = 1000000000;
constexpr int64_t kEnoughForAllResults = 3000;
constexpr int64_t kMostGrowthKib =
    512;  // of blocks that change their places; one leak a call is more
// Of the second round, by when malloc keeps all freed blocks that it is going to keep.
constexpr int64_t kMostBytesMore = 8192;

// Memory that the process has in use, in KiB; -1 where the system does not tell.
int64_t ResidentKib() {
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr) {
        return -1;
    }
    long all = 0;
    long resident = 0;
    const int fields = std::fscanf(file, "%ld %ld", &all, &resident);
    std::fclose(file);
    return fields == 2 ? int64_t{resident} * sysconf(_SC_PAGESIZE) / 1024 : -1;
}

// A sanitizer keeps what has been freed.
bool HasOwnAllocator() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer) || \
    __has_feature(thread_sanitizer)
    return true;
#else
    return false;
#endif
#else
    return false;
#endif
}

// An emulator's memory, with the code that it has translated so far, counts as the program's.
bool IsEmulated() {
#ifdef SOAK_IN_EMULATOR
    return true;
#else
    return false;
#endif
}

// Bytes that malloc has given and not got back; 0 where it does not tell.
int64_t AllocatedBytes() {
    int64_t bytes = 0;
#ifdef __GLIBC__
#if __GLIBC_PREREQ(2, 33)
    if (!HasOwnAllocator()) {
        const struct mallinfo2 info = mallinfo2();
        bytes = static_cast<int64_t>(info.uordblks + info.hblkhd);
    }
#endif
#endif
    return bytes;
}

struct Round {
    uint64_t digest = 0;
    int64_t earlyKib = 0;  ///< after a twentieth of the calls
    int64_t lateKib = 0;
    int64_t earlyBytes = 0;  ///< allocated
    int64_t lateBytes = 0;
    Calls::Tally results;
};

Round Run(int64_t calls, uint64_t seed, std::initializer_list<fuzz::Fill> fills) {
    Round round;
    Calls all(seed);
    for (int64_t i = 0; i < calls; ++i) {
        if (i == calls / 20) {
            round.earlyKib = ResidentKib();
            round.earlyBytes = AllocatedBytes();
        }
        fuzz::FillEngineBuffer(fills.begin()[static_cast<size_t>(i) % fills.size()]);
        all.Next();
    }
    round.lateKib = ResidentKib();
    round.lateBytes = AllocatedBytes();
    round.digest = all.Digest();
    round.results = all.Results();
    return round;
}

// Calls and the results that a run of some length must have met.
const struct {
    const char* call;
    std::initializer_list<uint32_t> codes;
} kUsual[] = {
    {"QORFP_Initial", {QORFP_OK}},
    {"QORFP_Version", {QORFP_OK}},
    {"QORFP_BuildTime", {QORFP_OK}},
    {"QORFP_Extract", {QORFP_OK, QORFP_FAILED, QORFP_BAD_ARGUMENT}},
    {"QORFP_CheckFinger", {QORFP_OK, QORFP_BAD_ARGUMENT, QORFP_NO_FINGER}},
    {"QORFP_Verify", {QORFP_OK, QORFP_FAILED, QORFP_BAD_ARGUMENT, QORFP_BAD_TEMPLATE}},
    {"QORFP_Enroll", {QORFP_OK, QORFP_FAILED, QORFP_BAD_ARGUMENT}},
    {"QORFP_Improve", {QORFP_OK, QORFP_FAILED, QORFP_BAD_ARGUMENT, QORFP_BAD_TEMPLATE}},
    {"QORFP_CheckFeature", {QORFP_OK, QORFP_BAD_ARGUMENT, QORFP_BAD_TEMPLATE}},
    {"QORFP_Identify", {QORFP_OK, QORFP_FAILED, QORFP_BAD_ARGUMENT, QORFP_BAD_TEMPLATE}},
    {"QORFP_Search", {QORFP_OK, QORFP_FAILED, QORFP_BAD_ARGUMENT, QORFP_BAD_TEMPLATE}},
    {"quickSort", {1}},
    {"quickSortEx", {1}},
};

bool HasMetUsualResults(const Calls::Tally& results) {
    bool hasMet = true;
    for (const auto& usual : kUsual) {
        const auto found = results.find(usual.call);
        for (const uint32_t code : usual.codes) {
            if (found == results.end() || found->second.count(code) == 0) {
                std::fprintf(stderr, "%s has never returned %u\n", usual.call, code);
                hasMet = false;
            }
        }
    }
    return hasMet;
}

void Print(const Round& first, const Round& second) {
    for (const auto& call : first.results) {
        std::fprintf(stderr, "%-18s", call.first.c_str());
        for (const auto& result : call.second) {
            std::fprintf(stderr, "  %u: %llu", result.first,
                         static_cast<unsigned long long>(result.second));
        }
        std::fprintf(stderr, "\n");
    }
    std::fprintf(stderr, "digests %016llx and %016llx\n",
                 static_cast<unsigned long long>(first.digest),
                 static_cast<unsigned long long>(second.digest));
    for (const Round* round : {&first, &second}) {
        std::fprintf(
            stderr, "memory %lld KiB after a twentieth of the calls, %lld KiB at the end\n",
            static_cast<long long>(round->earlyKib), static_cast<long long>(round->lateKib));
        std::fprintf(stderr, "allocated %lld bytes then, %lld at the end\n",
                     static_cast<long long>(round->earlyBytes),
                     static_cast<long long>(round->lateBytes));
    }
}

/// The library's log lines are of no interest here.
void SilenceStandardOutput() {
    const int null = open("/dev/null", O_WRONLY);
    if (null >= 0) {
        dup2(null, STDOUT_FILENO);
        close(null);
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const int64_t calls = argumentCount > 1 ? std::strtoll(arguments[1], nullptr, 10) : 0;
    const uint64_t seed = argumentCount > 2 ? std::strtoull(arguments[2], nullptr, 10) : 1;
    if (argumentCount > 3 || calls < 1 || calls > kMostCalls) {
        std::fprintf(stderr, "usage: soak CALLS [SEED]\n");
        return 2;
    }
    SilenceStandardOutput();
    QORFP_Initial(0);
    using fuzz::Fill;
    const Round first = Run(calls, seed, {Fill::kZeros});
    const Round second = Run(calls, seed, {Fill::kPattern, Fill::kLeftovers});
    Print(first, second);
    bool isGood = calls < kEnoughForAllResults || HasMetUsualResults(first.results);
    if (first.digest != second.digest) {
        std::fprintf(stderr, "the results depend on what was in the work buffer\n");
        isGood = false;
    }
    const auto hasGrown = [](const Round& round) {
        return !IsEmulated() && round.lateKib > round.earlyKib + kMostGrowthKib;
    };
    if (!HasOwnAllocator() && (hasGrown(first) || hasGrown(second) ||
                               second.lateBytes > second.earlyBytes + kMostBytesMore)) {
        std::fprintf(stderr, "memory has grown\n");
        isGood = false;
    }
    return isGood ? 0 : 1;
}
