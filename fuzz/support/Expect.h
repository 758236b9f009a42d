// SPDX-License-Identifier: Apache-2.0
//
// What fuzz targets assert. A failure is told on standard error and aborts, which is a finding.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/model/ModelTypes.h"

namespace fuzz {

[[noreturn]] void Fail(const std::string& what);

inline void Expect(bool isTrue, const char* what) {
    if (!isTrue) {
        Fail(what);
    }
}

void ExpectEqual(int64_t expected, int64_t actual, const char* what);
void ExpectEqual(const std::vector<uint8_t>& expected, const std::vector<uint8_t>& actual,
                 const char* what);
void ExpectEqual(const std::vector<int32_t>& expected, const std::vector<int32_t>& actual,
                 const char* what);
void ExpectEqual(const model::Grid& expected, const model::Grid& actual, const char* what);

}  // namespace fuzz
