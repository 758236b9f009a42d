// SPDX-License-Identifier: Apache-2.0
#include "fuzz/support/Expect.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tests/support/TestImages.h"

namespace fuzz {

namespace {

template <class Value>
void ExpectEqualLists(const std::vector<Value>& expected, const std::vector<Value>& actual,
                      const char* what) {
    ExpectEqual(static_cast<int64_t>(expected.size()), static_cast<int64_t>(actual.size()), what);
    const auto first = std::mismatch(expected.begin(), expected.end(), actual.begin());
    if (first.first != expected.end()) {
        Fail(std::string(what) + ": " + std::to_string(*first.second) + " in place of " +
             std::to_string(*first.first) + " at " +
             std::to_string(first.first - expected.begin()));
    }
}

}  // namespace

void Fail(const std::string& what) {
    std::fprintf(stderr, "FINDING: %s\n", what.c_str());
    std::abort();
}

void ExpectEqual(int64_t expected, int64_t actual, const char* what) {
    if (expected != actual) {
        Fail(std::string(what) + ": " + std::to_string(actual) + " in place of " +
             std::to_string(expected));
    }
}

void ExpectEqual(const std::vector<uint8_t>& expected, const std::vector<uint8_t>& actual,
                 const char* what) {
    ExpectEqualLists(expected, actual, what);
}

void ExpectEqual(const std::vector<int32_t>& expected, const std::vector<int32_t>& actual,
                 const char* what) {
    ExpectEqualLists(expected, actual, what);
}

void ExpectEqual(const model::Grid& expected, const model::Grid& actual, const char* what) {
    const std::string difference = testsupport::FirstDifference(expected, actual);
    if (!difference.empty()) {
        Fail(std::string(what) + ", " + std::to_string(expected.width) + " x " +
             std::to_string(expected.height) + ": " + difference);
    }
}

}  // namespace fuzz
