// SPDX-License-Identifier: Apache-2.0
//
// The probe's keys as sets: one set for each bucket of the planes, and for each b and c value that a
// stored slot can have. Expectations come from looking at every key.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "engine/Work.h"
#include "match/FPMatch.h"
#include "match/ProbeSets.h"
#include "tests/model/ModelTriIndex.h"
#include "tests/support/TestImages.h"
#include "tests/support/WorkBuffer.h"

namespace {

using model::IndexKey;
using testsupport::Random;

class ProbeSetsTest : public testing::Test {
  protected:
    /// Files the keys and makes their sets.
    bool Make(const std::vector<IndexKey>& keys) {
        keys_ = keys;
        qorfp::IndexWorkspace& index = Index();
        index.keyCount = static_cast<int32_t>(keys.size());
        for (size_t k = 0; k < keys.size(); ++k) {
            std::copy(keys[k].a.begin(), keys[k].a.end(), index.keys[k].a);
            std::copy(keys[k].b.begin(), keys[k].b.end(), index.keys[k].b);
            std::copy(keys[k].c.begin(), keys[k].c.end(), index.keys[k].c);
        }
        CreateTri(buffer_.Bytes());
        return qorfp::MakeProbeSets(index, &index.score.sets);
    }

    qorfp::IndexWorkspace& Index() {
        return *qorfp::WorkAt<qorfp::IndexWorkspace>(buffer_.Bytes());
    }

    /// The set of all keys that `isMember` names.
    template <class IsMember>
    uint32_t SetOf(IsMember isMember) const {
        uint32_t set = 0;
        for (size_t k = 0; k < keys_.size(); ++k) {
            set |= isMember(keys_[k]) ? uint32_t{1} << k : 0;
        }
        return set;
    }

    void CompareBuckets() {
        for (int32_t plane = 0; plane < 3; ++plane) {
            for (int32_t packed = 0; packed < 1024; ++packed) {
                uint32_t expected = 0;
                if (packed % 32 < 30 && packed / 32 < 30) {
                    for (const int32_t key :
                         model::KeysInBucket(keys_, plane, packed % 32, packed / 32)) {
                        expected |= uint32_t{1} << key;
                    }
                }
                ASSERT_EQ(Index().score.sets.bucket[packed].plane[plane], expected)
                    << "plane " << plane << ", " << packed % 32 << ' ' << packed / 32;
            }
        }
    }

    void CompareValues() {
        for (int32_t plane = 0; plane < 3; ++plane) {
            for (size_t i = 0; i < 2; ++i) {
                const size_t slot = model::SlotsOfPlane(plane)[i];
                for (int32_t value = 0; value < 16; ++value) {
                    const qorfp::ProbeSets& sets = Index().score.sets;
                    EXPECT_EQ(sets.distant[i][value].plane[plane], SetOf([&](const IndexKey& key) {
                                  return std::abs(key.c[slot] - value) <= 1;
                              }));
                    for (int32_t storedSlot = 0; storedSlot < 3; ++storedSlot) {
                        const int32_t shift = 7 * (static_cast<int32_t>(slot) - storedSlot);
                        EXPECT_EQ(sets.placed[i][storedSlot][value].plane[plane],
                                  SetOf([&](const IndexKey& key) {
                                      return std::abs(key.b[slot] + shift - value) <= 2;
                                  }));
                    }
                }
            }
        }
    }

    std::vector<IndexKey> keys_;
    testsupport::WorkBuffer buffer_;
};

TEST_F(ProbeSetsTest, HoldTheKeysNearEachValue) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (const size_t count : {size_t{0}, size_t{1}, size_t{7}, size_t{29}, size_t{30}}) {
        std::vector<IndexKey> keys(count);
        for (IndexKey& key : keys) {
            for (size_t s = 0; s < 3; ++s) {
                key.a[s] = static_cast<uint8_t>(random.Below(30));
                key.b[s] = static_cast<uint8_t>(random.Below(16));
                key.c[s] = static_cast<uint8_t>(random.Below(16));
            }
        }
        testsupport::WithEachFill(buffer_, [&](testsupport::WorkBuffer&) {
            ASSERT_TRUE(Make(keys));
            CompareBuckets();
            CompareValues();
        });
        EXPECT_TRUE(buffer_.GuardsIntact());
    }
}

TEST_F(ProbeSetsTest, TheFourthLaneIsEmpty) {
    std::vector<IndexKey> keys(30);
    ASSERT_TRUE(Make(keys));
    for (const qorfp::PlaneSets& bucket : Index().score.sets.bucket) {
        ASSERT_EQ(bucket.plane[3], 0U);
    }
}

TEST_F(ProbeSetsTest, RefuseKeysAndBucketsThatCannotBe) {
    ASSERT_TRUE(Make({IndexKey{}}));
    Index().keys[0].a[2] = 30;
    EXPECT_FALSE(qorfp::MakeProbeSets(Index(), &Index().score.sets));

    ASSERT_TRUE(Make({IndexKey{}}));
    Index().planes[2].entries[0] = 1;
    EXPECT_FALSE(qorfp::MakeProbeSets(Index(), &Index().score.sets));
    Index().planes[2].entries[0] = 0;
    EXPECT_TRUE(qorfp::MakeProbeSets(Index(), &Index().score.sets));

    // A key in a bucket that it is not near, and one that is missing.
    IndexKey far;
    far.a = {10, 10, 10};
    ASSERT_TRUE(Make({IndexKey{}, far}));
    Index().planes[1].entries[0] = 1;
    EXPECT_FALSE(qorfp::MakeProbeSets(Index(), &Index().score.sets));
    ASSERT_TRUE(Make({IndexKey{}, far}));
    Index().planes[1].size[0] = 0;
    EXPECT_FALSE(qorfp::MakeProbeSets(Index(), &Index().score.sets));
}

}  // namespace
