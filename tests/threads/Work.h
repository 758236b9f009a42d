// SPDX-License-Identifier: Apache-2.0
//
// Pieces of work for threads: calls with data of their own, each reduced to the bytes of its
// result, so that what a thread gets among others can be compared with what it gets alone.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace threadtest {

using Bytes = std::vector<uint8_t>;

struct Operation {
    std::string name;
    int64_t expectedCode;        ///< result code or score that the call must give when alone
    std::function<Bytes()> run;  ///< returns the code, 4 bytes, and every output
};

/// The bytes of a result: its code and its outputs.
class ResultBytes {
  public:
    explicit ResultBytes(int64_t code) { Add(code); }

    ResultBytes& Add(int64_t number) {
        for (uint32_t shift = 0; shift < 32; shift += 8) {
            bytes_.push_back(static_cast<uint8_t>(static_cast<uint64_t>(number) >> shift & 255U));
        }
        return *this;
    }
    ResultBytes& Add(const Bytes& output) {
        bytes_.insert(bytes_.end(), output.begin(), output.end());
        return *this;
    }
    operator Bytes() const { return bytes_; }

  private:
    Bytes bytes_;
};

/// Every exported call that may run in any thread, on data that depend on `seed` and belong to
/// these operations alone.
std::vector<Operation> ExportedCalls(uint64_t seed);

/// Engine functions in a work buffer that belongs to these operations alone. They must run one at
/// a time, in any order.
std::vector<Operation> EngineFunctions(uint64_t seed);

}  // namespace threadtest
