// SPDX-License-Identifier: Apache-2.0
//
// The probe's keys as sets, by every a, b and c value that a stored slot can have, and the check of
// the planes that they are made with. Expectations come from looking at every key.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "engine/Work.h"
#include "match/FPMatch.h"
#include "match/ProbeSets.h"
#include "tests/model/ModelIndexKeys.h"
#include "tests/support/TestImages.h"
#include "tests/support/WorkBuffer.h"

namespace {

using model::IndexKey;
using testsupport::Random;

/// The probe slots whose sets a stored slot's rows have: those that stand for the first or the second
/// slot of the pairs 0 1, 0 2 and 1 2.
const int32_t kSlotAt[3][3] = {{0, 0, 1}, {0, 1, 2}, {1, 2, 2}};

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

    void CompareRows() {
        const qorfp::ProbeSets& sets = Index().score.sets;
        for (int32_t storedSlot = 0; storedSlot < 3; ++storedSlot) {
            for (int32_t place = 0; place < 3; ++place) {
                const int32_t slot = kSlotAt[storedSlot][place];
                SCOPED_TRACE(testing::Message() << "slots " << storedSlot << ' ' << slot);
                const size_t s = static_cast<size_t>(slot);
                for (int32_t value = 0; value < 32; ++value) {
                    EXPECT_EQ(sets.turned[storedSlot][value].set[place],
                              SetOf([&](const IndexKey& key) {
                                  const int32_t difference = std::abs(key.a[s] - value);
                                  return value < 30 && (difference <= 2 || difference >= 28);
                              }));
                }
                for (int32_t value = 0; value < 16; ++value) {
                    EXPECT_EQ(sets.placed[storedSlot][value].set[place],
                              SetOf([&](const IndexKey& key) {
                                  const int32_t shifted = key.b[s] + 7 * (slot - storedSlot);
                                  return std::abs(shifted - value) <= 2;
                              }));
                    EXPECT_EQ(sets.distant[storedSlot][value].set[place],
                              SetOf([&](const IndexKey& key) {
                                  return std::abs(key.c[s] - value) <= 1;
                              }));
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
            CompareRows();
        });
        EXPECT_TRUE(buffer_.GuardsIntact());
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
