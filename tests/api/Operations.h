// SPDX-License-Identifier: Apache-2.0
//
// Ready-made calls with data of their own, each reduced to the bytes of its result, for tests that
// run them in any order and from several threads.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/api/HandTemplate.h"

namespace apitest {

struct Operation {
    std::string name;
    /// Makes the call and returns its result code and every output byte. Reports nothing itself,
    /// so it may run in any thread.
    std::function<Bytes()> run;
};

/// Every exported call that works on data, with good, failing and refused arguments. The data
/// depend on `seed` and belong to these operations alone.
std::vector<Operation> MakeOperations(uint64_t seed);

/// The results of the operations, run once each in order.
std::vector<Bytes> RunEach(const std::vector<Operation>& operations);

}  // namespace apitest
