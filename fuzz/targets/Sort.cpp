// SPDX-License-Identifier: Apache-2.0
//
// quickSort and quickSortEx == the plain form: order, where values of equal keys end, and what is
// left when the range stack overflows.
#include <algorithm>

#include "fuzz/support/ByteReader.h"
#include "fuzz/support/Expect.h"
#include "fuzz/support/FencedMemory.h"
#include "fuzz/support/Target.h"
#include "match/FPMatch.h"
#include "tests/model/ModelSort.h"
#include "tests/support/SortLists.h"
#include "tests/support/TestImages.h"

namespace {

using namespace fuzz;
using Keys = std::vector<int32_t>;

// The plain form takes time with the square of the number of equal keys: few lists are long.
constexpr size_t kMostKeys = 250;
constexpr size_t kMostKeysOfLong = 2000;
constexpr size_t kScratch = 40;

// Runs: each a number of keys that stay, climb, fall or waver.
void AddRun(ByteReader& reader, Keys& keys) {
    const uint8_t choice = reader.Byte();
    const int32_t length = 1 + reader.Byte();
    const int32_t from = choice % 2 == 0 ? reader.Byte() : reader.Signed32();
    const uint32_t step = reader.Byte() % 8u;
    testsupport::Random random(from < 0 ? 1 : 2);
    for (int32_t i = 0; i < length; ++i) {
        uint32_t key = static_cast<uint32_t>(from);
        switch (choice / 2 % 4) {
            case 0:
                key += static_cast<uint32_t>(i) * step;
                break;
            case 1:
                key -= static_cast<uint32_t>(i) * step;
                break;
            case 2:
                key += random.Next() % (step + 1);
                break;
            default:
                key ^= (static_cast<uint32_t>(i) & step) * 0x10000001u;
                break;
        }
        keys.push_back(static_cast<int32_t>(key));
    }
}

Keys ReadKeys(ByteReader& reader) {
    Keys keys;
    const uint8_t choice = reader.Byte();
    const size_t most = choice >= 248 ? kMostKeysOfLong : kMostKeys;
    if (choice % 4 == 0) {
        while (reader.Left() > 0 && keys.size() < most) {
            keys.push_back(static_cast<int8_t>(reader.Byte()));
        }
    } else if (choice % 4 == 1) {
        while (reader.Left() > 0 && keys.size() < most) {
            keys.push_back(reader.Signed32());
        }
    } else {
        if (choice % 4 == 3) {
            keys.resize(static_cast<size_t>(reader.Below(512)));
            testsupport::FillWithMedianPivots(keys, 0, keys.size());
        }
        while (reader.Left() > 0 && keys.size() < most) {
            AddRun(reader, keys);
        }
    }
    return keys;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    const Keys keys = ReadKeys(reader);
    const int32_t count = static_cast<int32_t>(keys.size());
    Keys values;
    for (int32_t i = 0; i < count; ++i) {
        values.push_back(i);
    }
    Keys expectedKeys = keys;
    Keys expectedValues = values;
    const int32_t expected = model::QuickSortEx(expectedKeys, expectedValues);
    Expect(expected == 0 || std::is_sorted(expectedKeys.begin(), expectedKeys.end()),
           "the plain form sorts");
    for (const Fence fence : {Fence::kBehind, Fence::kBefore}) {
        Output<int32_t> sorted(keys, fence);
        Output<int32_t> scratch(kScratch, fence);
        ExpectEqual(expected, quickSort(sorted.Data(), count, scratch.Data()),
                    "result of quickSort");
        ExpectEqual(expectedKeys, sorted.Take(), "keys after quickSort");
        Output<int32_t> sortedEx(keys, fence);
        Output<int32_t> moved(values, fence);
        ExpectEqual(expected, quickSortEx(sortedEx.Data(), moved.Data(), count, scratch.Data()),
                    "result of quickSortEx");
        ExpectEqual(expectedKeys, sortedEx.Take(), "keys after quickSortEx");
        ExpectEqual(expectedValues, moved.Take(), "values after quickSortEx");
        scratch.Take();
    }
    return 0;
}
