// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Identify and QORFP_Search take memory for two numbers an entry: the failure of either
// allocation is reported before anything else is looked at, and every path gives the memory back.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

#include "include/QORFPApi.h"
#include "tests/api/ChildProcess.h"
#include "tests/api/SearchCalls.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QORFP_TEST_HAS_OWN_ALLOCATOR 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QORFP_TEST_HAS_OWN_ALLOCATOR 1
#endif

namespace {

using apitest::Bytes;

constexpr uint32_t kManyEntries = 12u << 20;  // 48 MiB an array
constexpr rlim_t kArrayBytes = rlim_t{kManyEntries} * 4;

// The size of this process's address space in bytes; 0 where the system does not tell.
rlim_t AddressSpace() {
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr) {
        return 0;
    }
    unsigned long pages = 0;
    const int fields = std::fscanf(file, "%lu", &pages);
    std::fclose(file);
    return fields == 1 ? rlim_t{pages} * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) : 0;
}

bool AllowMore(rlim_t bytes) {
    rlimit limit;
    if (getrlimit(RLIMIT_AS, &limit) != 0) {
        return false;
    }
    limit.rlim_cur = AddressSpace() + bytes;
    return setrlimit(RLIMIT_AS, &limit) == 0;
}

// Emulators of other machines report that they have set a limit, and allocate beyond it.
bool LimitsHaveAnEffect() {
    const auto outcome = apitest::RunInChild([] {
        const bool isLimited = AllowMore(kArrayBytes / 2);
        void* const pages =
            mmap(nullptr, kArrayBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        return isLimited && pages == MAP_FAILED ? 1 : 0;
    });
    return outcome.status == 1;
}

class Allocation : public ::testing::Test {
  protected:
    void SetUp() override {
#ifdef QORFP_TEST_HAS_OWN_ALLOCATOR
        GTEST_SKIP() << "the checker's allocator takes no limit of the address space";
#endif
        if (AddressSpace() == 0) {
            GTEST_SKIP() << "no /proc/self/statm";
        }
        if (!LimitsHaveAnEffect()) {
            GTEST_SKIP() << "the system allocates beyond the limit of the address space";
        }
    }

    // In a child that may take `spare` bytes more: the first of the calls whose result is not the
    // expected one, counted from 1; 20 where memory has been kept, 0 where all is well.
    static int FailingCall(rlim_t spare, uint32_t expected, const Bytes& probe, const Bytes& list) {
        const uint8_t* const pointers[] = {list.data(), nullptr};
        const auto outcome = apitest::RunInChild([&] {
            if (!AllowMore(spare)) {
                return 30;
            }
            const rlim_t before = AddressSpace();
            const uint32_t results[] = {
                QORFP_Search(probe.data(), list.data(), kManyEntries, 3, nullptr, nullptr),
                QORFP_Identify(probe.data(), pointers, kManyEntries, 3, nullptr, nullptr),
                QORFP_Search(probe.data(), list.data(), kManyEntries, 9, nullptr, nullptr),
            };
            for (int k = 0; k < 3; ++k) {
                if (results[k] != expected) {
                    return k + 1;
                }
            }
            return AddressSpace() < before + kArrayBytes / 2 ? 0 : 20;
        });
        EXPECT_TRUE(outcome.exited);
        return outcome.status;
    }
};

TEST_F(Allocation, FailsWithoutMemoryForEither) {
    const Bytes bad(apitest::kTemplateBytes, 0);
    EXPECT_EQ(FailingCall(kArrayBytes / 2, QORFP_NO_MEMORY, bad, bad), 0);
}

TEST_F(Allocation, FailsWithoutMemoryForTheSecondAndGivesTheFirstBack) {
    const Bytes bad(apitest::kTemplateBytes, 0);
    EXPECT_EQ(FailingCall(kArrayBytes * 3 / 2, QORFP_NO_MEMORY, bad, bad), 0);
}

// With enough for one call, but not for the next had the first kept any.
TEST_F(Allocation, GivesBackWhatARefusedCallTook) {
    const Bytes good = apitest::Indexed(apitest::Scatter(1, 20, 200));
    const Bytes bad(apitest::kTemplateBytes, 0);
    EXPECT_EQ(FailingCall(kArrayBytes * 9 / 4, QORFP_BAD_TEMPLATE, bad, good), 0);
    EXPECT_EQ(FailingCall(kArrayBytes * 9 / 4, QORFP_BAD_TEMPLATE, good, bad), 0);
}

TEST_F(Allocation, IsTestedBeforeTheArguments) {
    const Bytes good = apitest::Indexed(apitest::Scatter(1, 20, 200));
    const auto outcome = apitest::RunInChild([&good] {
        if (!AllowMore(kArrayBytes / 2)) {
            return 30;
        }
        uint32_t index = 77;
        int32_t score = 78;
        const bool isRight =
            QORFP_Search(nullptr, nullptr, kManyEntries, 9, &index, &score) == QORFP_NO_MEMORY &&
            QORFP_Identify(nullptr, nullptr, kManyEntries, 9, &index, &score) == QORFP_NO_MEMORY &&
            QORFP_Search(good.data(), nullptr, 0xFFFFFFFFu, 3, &index, &score) == QORFP_NO_MEMORY &&
            index == 77 && score == 78;
        return isRight ? 0 : 1;
    });
    EXPECT_TRUE(outcome.exited);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "");  // nothing is logged
}

TEST_F(Allocation, GivesBackWhatASearchTook) {
    const Bytes good = apitest::Indexed(apitest::Scatter(2, 45, 230));
    std::vector<Bytes> entries;  // of different rank: the sort is slow where many are equal
    for (int32_t keys = 0; keys <= apitest::KeyCount(good); ++keys) {
        entries.push_back(apitest::WithKeys(good, good, keys));
    }
    std::vector<const uint8_t*> list;  // 400 kB an array
    for (size_t k = 0; k < 100000; ++k) {
        list.push_back(entries[k * 7 % entries.size()].data());
    }
    const auto outcome = apitest::RunInChild([&] {
        uint32_t result = QORFP_OK;
        const auto search = [&](uint32_t level) {
            return QORFP_Identify(good.data(), list.data(), static_cast<uint32_t>(list.size()),
                                  level, nullptr, nullptr);
        };
        const rlim_t before = AddressSpace();
        for (int k = 0; k < 3 && result == QORFP_OK; ++k) {
            result = search(3);
        }
        if (result != QORFP_OK || search(9) != QORFP_BAD_ARGUMENT) {
            return 1;
        }
        list.back() = nullptr;
        for (int k = 0; k < 3; ++k) {
            if (search(3) != QORFP_BAD_ARGUMENT) {
                return 2;
            }
        }
        return AddressSpace() < before + 2000000 ? 0 : 20;
    });
    EXPECT_TRUE(outcome.exited);
    EXPECT_EQ(outcome.status, 0);
}

}  // namespace
