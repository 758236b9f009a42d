// SPDX-License-Identifier: Apache-2.0
//
// The probe's bucket tables: in which buckets of the three planes a key is filed, and how the
// buckets lie in their pools. Keys are written by hand or at random into the index workspace.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <utility>
#include <vector>

#include "engine/FPEngine.h"
#include "engine/Work.h"
#include "match/FPMatch.h"
#include "tests/model/ModelIndexKeys.h"
#include "tests/model/ModelTriIndex.h"
#include "tests/support/TestMinutiae.h"
#include "tests/support/WorkBuffer.h"

namespace {

using model::IndexKey;
using testsupport::Random;
using testsupport::WorkBuffer;

IndexKey KeyWith(uint8_t a0, uint8_t a1, uint8_t a2) {
    IndexKey key;
    key.a = {a0, a1, a2};
    return key;
}

class TriIndexTest : public testing::Test {
  protected:
    qorfp::IndexWorkspace& Workspace() {
        return *qorfp::WorkAt<qorfp::IndexWorkspace>(buffer_.Bytes());
    }

    void File(const std::vector<IndexKey>& keys) {
        Workspace().keyCount = static_cast<int32_t>(keys.size());
        for (size_t k = 0; k < keys.size(); ++k) {
            qorfp::WorkKey& key = Workspace().keys[k];
            for (size_t s = 0; s < 3; ++s) {
                key.a[s] = keys[k].a[s];
                key.b[s] = keys[k].b[s];
                key.c[s] = keys[k].c[s];
            }
            key.index = keys[k].index;
            key.direction = keys[k].direction;
        }
        EXPECT_EQ(CreateTri(buffer_.Bytes()), 0);
    }

    std::vector<int32_t> Bucket(int32_t plane, int32_t first, int32_t second) {
        const qorfp::Plane& table = Workspace().planes[plane];
        const int32_t bucket = 30 * first + second;
        std::vector<int32_t> keys;
        for (int32_t i = 0; i < table.size[bucket]; ++i) {
            EXPECT_LT(table.start[bucket] + i, 750);
            keys.push_back(table.entries[table.start[bucket] + i]);
        }
        return keys;
    }

    WorkBuffer buffer_;
};

TEST_F(TriIndexTest, WithoutKeysEveryBucketIsEmpty) {
    testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
        File({});
        for (int32_t plane = 0; plane < 3; ++plane) {
            for (int32_t bucket = 0; bucket < 900; ++bucket) {
                ASSERT_EQ(Workspace().planes[plane].size[bucket], 0);
            }
        }
    });
}

TEST_F(TriIndexTest, AKeyIsFiledTwoLevelsRoundItsValuesAcrossTheWrap) {
    const IndexKey key = KeyWith(0, 29, 13);
    const std::set<int32_t> near0 = {28, 29, 0, 1, 2};
    const std::set<int32_t> near29 = {27, 28, 29, 0, 1};
    const std::set<int32_t> near13 = {11, 12, 13, 14, 15};
    const std::pair<std::set<int32_t>, std::set<int32_t>> expected[3] = {
        {near0, near29}, {near0, near13}, {near29, near13}};
    testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
        File({key});
        for (int32_t plane = 0; plane < 3; ++plane) {
            int32_t filed = 0;
            for (int32_t first = 0; first < 30; ++first) {
                for (int32_t second = 0; second < 30; ++second) {
                    const bool isNear = expected[plane].first.count(first) != 0 &&
                                        expected[plane].second.count(second) != 0;
                    const std::vector<int32_t> keys = Bucket(plane, first, second);
                    ASSERT_EQ(keys, isNear ? std::vector<int32_t>{0} : std::vector<int32_t>{})
                        << "plane " << plane << " bucket " << first << ',' << second;
                    filed += static_cast<int32_t>(keys.size());
                }
            }
            EXPECT_EQ(filed, 25);
        }
    });
}

TEST_F(TriIndexTest, EveryWrappingValueHasFiveNeighbours) {
    for (uint8_t level = 0; level < 30; ++level) {
        File({KeyWith(level, 15, 15)});
        std::set<int32_t> filed;
        for (int32_t first = 0; first < 30; ++first) {
            if (!Bucket(0, first, 15).empty()) {
                filed.insert(first);
            }
        }
        const std::set<int32_t> expected = {(level + 28) % 30, (level + 29) % 30, level,
                                            (level + 1) % 30, (level + 2) % 30};
        EXPECT_EQ(filed, expected) << "level " << int32_t{level};
    }
}

TEST_F(TriIndexTest, KeysOfABucketComeInAscendingOrder) {
    File({KeyWith(5, 5, 5), KeyWith(20, 20, 20), KeyWith(7, 3, 6), KeyWith(6, 6, 4)});
    EXPECT_EQ(Bucket(0, 5, 5), (std::vector<int32_t>{0, 2, 3}));
    EXPECT_EQ(Bucket(0, 5, 7), (std::vector<int32_t>{0, 3}));
    EXPECT_EQ(Bucket(1, 9, 4), (std::vector<int32_t>{2}));
    EXPECT_EQ(Bucket(2, 20, 20), (std::vector<int32_t>{1}));
    EXPECT_EQ(Bucket(2, 1, 8), (std::vector<int32_t>{2}));
}

TEST_F(TriIndexTest, ThirtyEqualKeysFillTheirBuckets) {
    std::vector<int32_t> all;
    for (int32_t k = 0; k < 30; ++k) {
        all.push_back(k);
    }
    testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
        File(std::vector<IndexKey>(30, KeyWith(29, 0, 1)));
        EXPECT_EQ(Bucket(0, 27, 28), all);
        EXPECT_EQ(Bucket(1, 1, 3), all);
        EXPECT_EQ(Bucket(2, 2, 29), all);
        EXPECT_TRUE(Bucket(0, 26, 0).empty());
    });
}

TEST_F(TriIndexTest, BucketsLieOneAfterTheOtherInBucketOrder) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    std::vector<IndexKey> keys;
    for (int32_t k = 0; k < 30; ++k) {
        keys.push_back(KeyWith(static_cast<uint8_t>(random.Below(30)),
                               static_cast<uint8_t>(random.Below(30)),
                               static_cast<uint8_t>(random.Below(30))));
    }
    File(keys);
    for (int32_t plane = 0; plane < 3; ++plane) {
        int32_t running = 0;
        for (int32_t bucket = 0; bucket < 900; ++bucket) {
            ASSERT_EQ(Workspace().planes[plane].start[bucket], running) << bucket;
            running += Workspace().planes[plane].size[bucket];
        }
        EXPECT_EQ(running, 750);
    }
}

TEST_F(TriIndexTest, TheKeysThemselvesStay) {
    IndexKey key = KeyWith(3, 14, 25);
    key.b = {1, 2, 3};
    key.c = {4, 5, 6};
    key.index = 7;
    key.direction = 200;
    File({key, key});
    qorfp::WorkKey expected = {{3, 14, 25}, {1, 2, 3}, {4, 5, 6}, 7, 200};
    EXPECT_EQ(Workspace().keyCount, 2);
    EXPECT_EQ(std::memcmp(&Workspace().keys[1], &expected, sizeof(expected)), 0);
}

TEST_F(TriIndexTest, AgreesWithTheModelOnRandomKeys) {
    const uint64_t seed = testsupport::Seed() + 1;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 6; ++round) {
        std::vector<IndexKey> keys;
        const int32_t reach = round % 2 == 0 ? 30 : 4;
        for (int32_t k = random.Between(1, 30); k > 0; --k) {
            const auto level = [&] {
                return static_cast<uint8_t>((28 + random.Below(reach)) % 30);
            };
            keys.push_back(KeyWith(level(), level(), level()));
        }
        buffer_.Reset(testsupport::Fill::kRandom);
        File(keys);
        for (int32_t plane = 0; plane < 3; ++plane) {
            for (int32_t first = 0; first < 30; ++first) {
                for (int32_t second = 0; second < 30; ++second) {
                    ASSERT_EQ(Bucket(plane, first, second),
                              model::KeysInBucket(keys, plane, first, second))
                        << "round " << round << " plane " << plane << ": " << first << ','
                        << second;
                }
            }
        }
        EXPECT_TRUE(buffer_.GuardsIntact());
    }
}

TEST_F(TriIndexTest, TheEngineCallFilesTheKeysOfATemplate) {
    const uint64_t seed = testsupport::Seed() + 2;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    const testsupport::TemplateBytes bytes = testsupport::FinishedTemplate(
        testsupport::RandomSet(random, testsupport::Layout::kSpread, 45));
    std::vector<IndexKey> keys;
    ASSERT_EQ(model::CreateIndexForProbe(bytes, keys), 0);
    ASSERT_GE(keys.size(), 10U);
    testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
        ASSERT_EQ(ISetIndex(buffer_.Bytes(), bytes.data()), 0);
        ASSERT_EQ(Workspace().keyCount, static_cast<int32_t>(keys.size()));
        for (size_t k = 0; k < keys.size(); ++k) {
            const std::vector<int32_t> found = Bucket(1, keys[k].a[0], keys[k].a[2]);
            EXPECT_EQ(found, model::KeysInBucket(keys, 1, keys[k].a[0], keys[k].a[2]));
        }
    });
}

}  // namespace
