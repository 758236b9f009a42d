// SPDX-License-Identifier: Apache-2.0
//
// The triangle index: a probe's keys filed by the directions of each pair of their neighbours.

#include <string.h>

#include "match/FPMatch.h"

namespace {

using namespace qorfp;

// Calls `use(bucket)` for the 25 buckets around a key's two values, both counted circularly.
template <class Use>
void ForEachBucket(int32_t first, int32_t second, Use use) {
    for (int32_t i = -kTurnReach; i <= kTurnReach; ++i) {
        const int32_t u = (first + i + kTurnLevels) % kTurnLevels;
        for (int32_t j = -kTurnReach; j <= kTurnReach; ++j) {
            use(u * kTurnLevels + (second + j + kTurnLevels) % kTurnLevels);
        }
    }
}

void BuildPlane(const WorkKey* keys, int32_t keyCount, int32_t s, int32_t t, Plane* plane) {
    memset(plane->size, 0, sizeof(plane->size));
    for (int32_t k = 0; k < keyCount; ++k) {
        ForEachBucket(keys[k].a[s], keys[k].a[t], [&](int32_t bucket) { ++plane->size[bucket]; });
    }
    uint16_t start = 0;
    for (int32_t bucket = 0; bucket < kBuckets; ++bucket) {
        plane->start[bucket] = start;
        start = static_cast<uint16_t>(start + plane->size[bucket]);
        plane->size[bucket] = 0;
    }
    for (int32_t k = 0; k < keyCount; ++k) {
        ForEachBucket(keys[k].a[s], keys[k].a[t], [&](int32_t bucket) {
            plane->entries[plane->start[bucket] + plane->size[bucket]] = static_cast<uint8_t>(k);
            ++plane->size[bucket];
        });
    }
}

}  // namespace

int32_t CreateTri(uint8_t* work) {
    IndexWorkspace* index = WorkAt<IndexWorkspace>(work);
    // CreateIndex leaves at most 30 keys; a buffer that something else has used may say anything.
    const bool isSound = index->keyCount >= 0 && index->keyCount <= kMaxWorkKeys;
    const int32_t keyCount = isSound ? index->keyCount : 0;
    for (int32_t plane = 0; plane < kPlanes; ++plane) {
        BuildPlane(index->keys, keyCount, kPlaneSlots[plane][0], kPlaneSlots[plane][1],
                   &index->planes[plane]);
    }
    return 0;
}
