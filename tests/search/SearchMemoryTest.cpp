// SPDX-License-Identifier: Apache-2.0
//
// The memory of both searches: two arrays of four bytes an entry, allocated before the engine is
// locked, given back on every path; and what happens when there is none.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "include/QORFPApi.h"
#include "tests/search/AllocationWatch.h"
#include "tests/search/CandidatePool.h"
#include "tests/search/EngineLockState.h"
#include "tests/support/CapturedOutput.h"

namespace {

using searchtest::Allocation;
using searchtest::AllocationWatch;
using searchtest::Pool;
using searchtest::TemplateBytes;

constexpr uint32_t kUnwrittenIndex = 0xA5A5A5A5u;
constexpr int32_t kUnwrittenScore = -0x5A5A5A5A;

/// Arguments of one call, good ones unless changed: the probe itself, `entries` times.
struct Arguments {
    explicit Arguments(uint32_t entries) : templates(entries, Pool().probe), count(entries) {}

    TemplateBytes probe = Pool().probe;
    std::vector<TemplateBytes> templates;
    uint32_t count;
    uint32_t level = 3;
    bool hasNullProbe = false;
    bool hasNullList = false;
};

struct Watched {
    uint32_t result = 0;
    uint32_t index = kUnwrittenIndex;
    int32_t score = kUnwrittenScore;
    std::vector<Allocation> allocations;
    std::string output;

    bool HasWritten() const { return index != kUnwrittenIndex || score != kUnwrittenScore; }
};

enum class Call { kIdentify, kSearch };
constexpr Call kBothCalls[] = {Call::kIdentify, Call::kSearch};

std::string NameOf(Call call) {
    return call == Call::kIdentify ? "QORFP_Identify" : "QORFP_Search";
}

/// Makes the call under a watch, and expects that it leaks nothing, frees nothing else, allocates
/// only while the engine is free, and leaves the engine free.
Watched Watch(Call call, const Arguments& arguments, const AllocationWatch::Plan& plan = {}) {
    std::vector<uint8_t> contiguous = {0};  // not null when the list is empty
    std::vector<const uint8_t*> pointers = {nullptr};
    if (!arguments.templates.empty()) {
        contiguous.clear();
        pointers.clear();
    }
    for (const TemplateBytes& bytes : arguments.templates) {
        contiguous.insert(contiguous.end(), bytes.begin(), bytes.end());
        pointers.push_back(bytes.empty() ? nullptr : bytes.data());
    }
    const uint8_t* const probe = arguments.hasNullProbe ? nullptr : arguments.probe.data();
    const uint8_t* const list = arguments.hasNullList ? nullptr : contiguous.data();
    const uint8_t* const* const refs = arguments.hasNullList ? nullptr : pointers.data();
    Watched watched;
    watched.output = testsupport::OutputOf([&] {
        AllocationWatch watch(plan);
        watched.result = call == Call::kSearch
                             ? QORFP_Search(probe, list, arguments.count, arguments.level,
                                            &watched.index, &watched.score)
                             : QORFP_Identify(probe, refs, arguments.count, arguments.level,
                                              &watched.index, &watched.score);
        watch.Stop();
        EXPECT_EQ(watch.Leaked(), 0U);
        EXPECT_EQ(watch.FreedAmiss(), 0U);
        for (size_t n = 0; n < watch.Count(); ++n) {
            watched.allocations.push_back(watch.At(n));
            EXPECT_TRUE(watch.At(n).wasEngineFree) << "allocation " << n << " under the mutex";
        }
    });
    EXPECT_TRUE(searchtest::IsEngineFree());
    return watched;
}

void ExpectTwoArrays(const Watched& watched, uint64_t entries) {
    ASSERT_EQ(watched.allocations.size(), 2U);
    for (const Allocation& allocation : watched.allocations) {
        EXPECT_EQ(uint64_t{allocation.bytes}, 4 * entries);
        EXPECT_NE(allocation.block, nullptr);
    }
}

struct Path {
    std::string name;
    Arguments arguments;
    uint32_t identifyResult;
    uint32_t searchResult;
};

Arguments With(Arguments arguments, void (*change)(Arguments*)) {
    change(&arguments);
    return arguments;
}

/// Every way out of a search.
std::vector<Path> AllPaths() {
    const Arguments good(4);
    return {
        {"found at once", good, 0, 0},
        {"found in a long list", Arguments(300), 0, 0},
        {"not found",
         With(good,
              [](Arguments* a) {
                  a->templates.assign(4, Pool().TemplateOf({Pool().strangers[0], 0}));
              }),
         1, 1},
        {"undecodable probe", With(good, [](Arguments* a) { a->probe[3] = 2; }), 1, 1},
        {"undecodable entries",
         With(good,
              [](Arguments* a) {
                  a->templates.assign(4, Pool().TemplateOf({Pool().undecodable[0], 0}));
              }),
         1, 1},
        {"null probe", With(good, [](Arguments* a) { a->hasNullProbe = true; }), 5, 5},
        {"null list", With(good, [](Arguments* a) { a->hasNullList = true; }), 5, 5},
        {"level 0", With(good, [](Arguments* a) { a->level = 0; }), 5, 5},
        {"level 6", With(good, [](Arguments* a) { a->level = 6; }), 5, 5},
        {"bad probe", With(good, [](Arguments* a) { a->probe[2] = '0'; }), 8, 8},
        {"bad first entry", With(good, [](Arguments* a) { a->templates[0][0] = 0; }), 8, 8},
        {"bad last entry", With(good, [](Arguments* a) { a->templates[3][3] = 61; }), 8, 8},
    };
}

TEST(SearchMemory, TwoArraysOfFourBytesAnEntry) {
    for (const uint32_t count : {1U, 2U, 199U, 220U, 5000U}) {
        SCOPED_TRACE(count);
        for (const Call call : kBothCalls) {
            SCOPED_TRACE(NameOf(call));
            const Watched watched = Watch(call, Arguments(count));
            EXPECT_EQ(watched.result, 0U);
            ExpectTwoArrays(watched, count);
        }
    }
}

TEST(SearchMemory, GivenBackOnEveryPath) {
    for (const Path& path : AllPaths()) {
        SCOPED_TRACE(path.name);
        for (const Call call : kBothCalls) {
            SCOPED_TRACE(NameOf(call));
            const Watched watched = Watch(call, path.arguments);
            EXPECT_EQ(watched.result,
                      call == Call::kIdentify ? path.identifyResult : path.searchResult);
            ExpectTwoArrays(watched, path.arguments.count);
        }
    }
}

TEST(SearchMemory, GivenBackAfterANullEntry) {
    for (const size_t position : {0U, 2U, 3U}) {
        Arguments arguments(4);
        arguments.templates[position].clear();
        const Watched watched = Watch(Call::kIdentify, arguments);
        EXPECT_EQ(watched.result, 5U);
        ExpectTwoArrays(watched, 4);
    }
}

// The test for memory comes before that of any argument, and nothing is printed.
TEST(SearchMemory, NoMemoryComesFirst) {
    for (const Path& path : AllPaths()) {
        SCOPED_TRACE(path.name);
        for (const uint32_t failing : {1U, 2U, 3U, AllocationWatch::kAllFail}) {
            SCOPED_TRACE("failing allocations: bits " + std::to_string(failing));
            for (const Call call : kBothCalls) {
                SCOPED_TRACE(NameOf(call));
                AllocationWatch::Plan plan;
                plan.failing = failing;
                const Watched watched = Watch(call, path.arguments, plan);
                EXPECT_EQ(watched.result, 2U);
                EXPECT_EQ(watched.output, "");
                EXPECT_FALSE(watched.HasWritten());
                EXPECT_LE(watched.allocations.size(), 2U);
            }
        }
    }
    for (const Call call : kBothCalls) {  // and the next call works
        EXPECT_EQ(Watch(call, Arguments(3)).result, 0U);
    }
}

// An empty list needs no memory, whether or not the C library gives any for zero bytes.
TEST(SearchMemory, AnEmptyListIsNoFailure) {
    for (const bool zeroGivesNull : {false, true}) {
        for (const uint32_t failing : {0U, AllocationWatch::kAllFail}) {
            AllocationWatch::Plan plan;
            plan.zeroGivesNull = zeroGivesNull;
            plan.failing = failing;
            Arguments arguments(0);
            for (const Call call : kBothCalls) {
                SCOPED_TRACE(NameOf(call));
                EXPECT_EQ(Watch(call, arguments, plan).result, 5U);
            }
            arguments.probe[0] = '4';
            for (const Call call : kBothCalls) {
                SCOPED_TRACE(NameOf(call));
                EXPECT_EQ(Watch(call, arguments, plan).result, 8U);
            }
        }
    }
}

// The longest lists that positions of 32 bits can name. Their arrays are not touched before the
// arguments have been tested.
TEST(SearchMemory, HugeCounts) {
    constexpr uint32_t kMostEntries = 0x7FFFFFFFu;
    Arguments arguments(1);
    arguments.hasNullProbe = true;
    arguments.count = kMostEntries;
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        const Watched watched = Watch(call, arguments);
        if (sizeof(size_t) > 4) {
            EXPECT_EQ(watched.result, 5U);
            ASSERT_EQ(watched.allocations.size(), 2U);
            EXPECT_EQ(uint64_t{watched.allocations[0].bytes}, uint64_t{4} * kMostEntries);
            EXPECT_EQ(uint64_t{watched.allocations[1].bytes}, uint64_t{4} * kMostEntries);
        } else {  // more bytes than there are addresses
            EXPECT_EQ(watched.result, 2U);
        }
    }
    AllocationWatch::Plan plan;
    plan.failing = AllocationWatch::kAllFail;
    for (const uint32_t count : {0x40000000U, 0x40000001U, 0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(count);
        arguments.count = count;
        for (const Call call : kBothCalls) {
            SCOPED_TRACE(NameOf(call));
            EXPECT_EQ(Watch(call, arguments, plan).result, 2U);
        }
    }
}

}  // namespace
