// SPDX-License-Identifier: Apache-2.0
#include "fuzz/support/WorkMemory.h"

#include <algorithm>
#include <cstring>

#include "api/State.h"
#include "engine/FPEngine.h"
#include "fuzz/support/Expect.h"
#include "tests/support/TestMinutiae.h"

namespace fuzz {

namespace {

static_assert(WorkMemory::kBytes == qorfp::kWorkBytes, "the same buffer");

// An extraction, with a search and a match over it: image, maps, planes, bars.
std::vector<uint8_t> MakeLeftovers() {
    constexpr int32_t kWidth = 240;
    constexpr int32_t kHeight = 320;
    testsupport::Random random(1);
    WorkMemory work;
    work.Reset(Fill::kPattern);
    work.Put(0, testsupport::StripeImage(kWidth, kHeight, 9.0, 25, 20, 230));
    std::vector<uint8_t> bytes(512, 0);
    int32_t quality = 0;
    ICreateTemplate(work.Bytes(), kWidth, kHeight, bytes.data(), &quality);
    const model::MinutiaSet set = testsupport::RandomSet(random, testsupport::Layout::kSpread, 40);
    const std::vector<uint8_t> probe = testsupport::FinishedTemplate(set);
    int32_t score = 0;
    ISetIndex(work.Bytes(), probe.data());
    IGetScoreA(work.Bytes(), probe.data(), 1, &score);
    IMatch(work.Bytes(), probe.data(), probe.data(), &score);
    return std::vector<uint8_t>(work.Bytes(), work.Bytes() + WorkMemory::kBytes);
}

void FillBytes(uint8_t* bytes, Fill fill) {
    if (fill == Fill::kLeftovers) {
        static const std::vector<uint8_t> leftovers = MakeLeftovers();
        std::memcpy(bytes, leftovers.data(), leftovers.size());
    } else {
        std::memset(bytes, fill == Fill::kZeros ? 0x00 : 0xA5, WorkMemory::kBytes);
    }
}

}  // namespace

void FillEngineBuffer(Fill fill) {
    FillBytes(g_bFPEngineBuffer, fill);
}

void WorkMemory::Reset(Fill fill) {
    FillBytes(Bytes(), fill);
}

void WorkMemory::Put(size_t offset, const model::Grid& grid) {
    Expect(offset + grid.cells.size() <= size_t{kBytes}, "the test case fits the work buffer");
    std::copy(grid.cells.begin(), grid.cells.end(), Bytes() + offset);
}

model::Grid WorkMemory::Take(size_t offset, int32_t width, int32_t height) {
    model::Grid grid(width, height);
    Expect(offset + grid.cells.size() <= size_t{kBytes}, "the test case fits the work buffer");
    std::copy_n(Bytes() + offset, grid.cells.size(), grid.cells.begin());
    return grid;
}

void ExpectEqual(const Outcome& expected, const Outcome& actual, const char* what) {
    ExpectEqual(int64_t{expected.code}, int64_t{actual.code}, what);
    ExpectEqual(expected.numbers, actual.numbers, what);
    ExpectEqual(expected.bytes, actual.bytes, what);
}

}  // namespace fuzz
