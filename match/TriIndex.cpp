// SPDX-License-Identifier: Apache-2.0
//
// The triangle index: a probe's keys filed by the directions of each pair of their neighbours.

#include "engine/StageMemory.h"
#include "match/FPMatch.h"
#include "match/NearTurns.h"

namespace {

using namespace qorfp;

// A bucket holds the keys near both of its values. Every key is in 25 of them.
void BuildPlane(const KeySet nearFirst[kTurnLevels], const KeySet nearSecond[kTurnLevels],
                Plane* plane) {
    int32_t end = 0;
    for (int32_t first = 0; first < kTurnLevels; ++first) {
        for (int32_t second = 0; second < kTurnLevels; ++second) {
            const int32_t bucket = first * kTurnLevels + second;
            const int32_t start = end;
            for (KeySet keys = nearFirst[first] & nearSecond[second]; keys != 0; keys &= keys - 1) {
                plane->entries[end] = static_cast<uint8_t>(__builtin_ctz(keys));
                ++end;
            }
            plane->start[bucket] = static_cast<uint16_t>(start);
            plane->size[bucket] = static_cast<uint8_t>(end - start);
        }
    }
}

}  // namespace

int32_t CreateTri(uint8_t* work) {
    constexpr int64_t kPlanesAt = offsetof(IndexWorkspace, planes);
    const StageMemory memory(
        work, {Held(0, kPlanesAt), Scratch(kPlanesAt, sizeof(IndexWorkspace::planes))});
    IndexWorkspace* index = WorkAt<IndexWorkspace>(work);
    // CreateIndex leaves at most 30 keys; a buffer that something else has used may say anything.
    const bool isSound = index->keyCount >= 0 && index->keyCount <= kMaxWorkKeys;
    const NearTurns near = FindNearTurns(index->keys, isSound ? index->keyCount : 0);
    for (int32_t plane = 0; plane < kPlanes; ++plane) {
        BuildPlane(near.slot[kPlaneSlots[plane][0]], near.slot[kPlaneSlots[plane][1]],
                   &index->planes[plane]);
    }
    return 0;
}
