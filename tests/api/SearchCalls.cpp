// SPDX-License-Identifier: Apache-2.0
//
// Searches and list entries, see SearchCalls.h.
#include "tests/api/SearchCalls.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "include/QORFPApi.h"
#include "tests/api/FencedBytes.h"
#include "tests/api/GuardedBytes.h"

namespace apitest {

namespace {

// One call, given the places of its outputs.
template <class Call>
Found FindWith(const Call& call) {
    GuardedNumber index;
    GuardedNumber score;
    uint32_t place = static_cast<uint32_t>(GuardedNumber::kFill);
    Found found;
    found.result = call(&place, &score.value);
    index.value = static_cast<int32_t>(place);
    EXPECT_TRUE(score.GuardsIntact());
    found.isWritten = !score.Untouched();
    EXPECT_EQ(found.isWritten, !index.Untouched());
    EXPECT_EQ(found.isWritten, found.result == QORFP_OK);
    found.index = place;
    found.score = score.value;
    return found;
}

}  // namespace

Found Find(const Bytes& probe, const std::vector<Bytes>& list, uint32_t level) {
    const uint32_t count = static_cast<uint32_t>(list.size());
    Bytes joined;
    std::vector<const uint8_t*> pointers;
    for (const Bytes& entry : list) {
        joined.insert(joined.end(), entry.begin(), entry.end());
        pointers.push_back(entry.data());
    }
    const FencedBytes fencedProbe(probe);
    const FencedBytes fencedList(joined);
    const Found searched = FindWith([&](uint32_t* index, int32_t* score) {
        return QORFP_Search(fencedProbe.Data(), fencedList.Data(), count, level, index, score);
    });
    const uint8_t* const none = nullptr;  // an empty list has an address all the same
    const Found identified = FindWith([&](uint32_t* index, int32_t* score) {
        return QORFP_Identify(fencedProbe.Data(), pointers.empty() ? &none : pointers.data(), count,
                              level, index, score);
    });
    EXPECT_EQ(searched.result, identified.result);
    EXPECT_EQ(searched.index, identified.index);
    EXPECT_EQ(searched.score, identified.score);
    return searched;
}

Bytes Indexed(const Minutiae& minutiae) {
    Bytes bytes = WriteTemplate(minutiae, "300");
    int32_t converted = 0;
    EXPECT_EQ(QORFP_CheckFeature(bytes.data(), &converted), QORFP_OK);
    EXPECT_EQ(converted, 1);
    return bytes;
}

Bytes WithKeys(Bytes entry, const Bytes& probe, int32_t keys) {
    EXPECT_LE(keys, KeyCount(probe));
    const auto area = entry.begin() + static_cast<std::ptrdiff_t>(kKeyCountByte);
    std::fill(area, area + 140, uint8_t{0});
    *area = static_cast<uint8_t>(keys);
    const auto from = probe.begin() + static_cast<std::ptrdiff_t>(kFirstKey);
    std::copy(from, from + keys * static_cast<std::ptrdiff_t>(kKeyBytes), area + 2);
    WriteByteSum(entry);
    return entry;
}

int32_t KeyCount(const Bytes& bytes) {
    return bytes.at(kKeyCountByte);
}

Bytes Nobody() {
    Minutiae minutiae(6);
    for (size_t k = 0; k < minutiae.size(); ++k) {
        minutiae[k].x = -250 + 201 * static_cast<int32_t>(k % 3);
        minutiae[k].y = -250 + 201 * static_cast<int32_t>(k / 3);
        minutiae[k].direction = 40 * static_cast<int32_t>(k);
    }
    return WriteTemplate(minutiae);
}

}  // namespace apitest
