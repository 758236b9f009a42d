// SPDX-License-Identifier: Apache-2.0
//
// No call's result depends on the calls before it, though all of them work in the same buffer.
#include <gtest/gtest.h>

#include <set>

#include "tests/api/Operations.h"
#include "tests/support/TestImages.h"

namespace {

using apitest::Bytes;
using apitest::Operation;

TEST(Independence, OfTheCallRightBefore) {
    const std::vector<Operation> operations = apitest::MakeOperations(1);
    const std::vector<Bytes> expected = apitest::RunEach(operations);
    for (size_t before = 0; before < operations.size(); ++before) {
        for (size_t k = 0; k < operations.size(); ++k) {
            operations[before].run();
            ASSERT_EQ(operations[k].run(), expected[k])
                << operations[k].name << " after " << operations[before].name;
        }
    }
}

TEST(Independence, OfALongHistory) {
    const std::vector<Operation> operations = apitest::MakeOperations(2);
    const std::vector<Bytes> expected = apitest::RunEach(operations);
    testsupport::Random random(5);
    for (int32_t round = 0; round < 200; ++round) {
        const size_t k = static_cast<size_t>(random.Below(static_cast<int32_t>(operations.size())));
        ASSERT_EQ(operations[k].run(), expected[k]) << operations[k].name << " in round " << round;
    }
}

// The operations are not all alike, or the tests above would show nothing.
TEST(Independence, OperationsDiffer) {
    std::set<Bytes> results;
    for (const Bytes& result : apitest::RunEach(apitest::MakeOperations(1))) {
        results.insert(result);
    }
    EXPECT_GE(results.size(), 10u);
}

}  // namespace
