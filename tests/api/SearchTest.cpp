// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Identify and QORFP_Search: which entry is found, which score is reported, how many entries
// are matched in full, and when the search ends. The order in which entries are matched is set by
// the keys that they carry (see SearchCalls.h).
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "include/QORFPApi.h"
#include "tests/api/KnownScores.h"
#include "tests/api/SearchCalls.h"
#include "tests/api/TestFingers.h"
#include "tests/support/TestImages.h"

namespace {

using apitest::Bytes;
using apitest::Find;
using apitest::Found;
using apitest::HandMinutia;
using apitest::kThresholds;
using apitest::Minutiae;
using apitest::Nobody;
using apitest::WithKeys;

void ExpectFound(const Found& found, uint32_t index, int32_t score) {
    EXPECT_EQ(found.result, QORFP_OK);
    EXPECT_EQ(found.index, index);
    EXPECT_EQ(found.score, score);
}

// A probe of six minutiae with known scores, and with three keys at least.
class KnownProbe {
  public:
    KnownProbe() {
        uint64_t seed = 0;
        do {
            minutiae_ = apitest::UnmistakableSet(6, seed + 1, &seed);
            bytes_ = apitest::Indexed(minutiae_);
        } while (apitest::KeyCount(bytes_) < 3);
    }

    const Bytes& Get() const { return bytes_; }

    /// An entry that scores so much and ranks by the number of its keys.
    Bytes Entry(int32_t score, int32_t keys) const {
        return WithKeys(apitest::WriteTemplate(apitest::CopyScoring(minutiae_, score)), bytes_,
                        keys);
    }

    Bytes NoMatch(int32_t keys) const { return WithKeys(Nobody(), bytes_, keys); }

    /// An entry that does not decode (five minutiae).
    Bytes Undecodable(int32_t keys) const {
        Bytes bytes = WithKeys(bytes_, bytes_, keys);
        bytes[apitest::kCountByte] = 5;
        return bytes;
    }

  private:
    Minutiae minutiae_;
    Bytes bytes_;
};

// Entries for longer lists: the probe has nineteen keys.
class LargeProbe {
  public:
    LargeProbe() : minutiae_(apitest::Scatter(2, 45, 230)), bytes_(apitest::Indexed(minutiae_)) {
        EXPECT_EQ(apitest::KeyCount(bytes_), 19);
    }

    const Bytes& Get() const { return bytes_; }

    /// The probe's minutiae with attributes changed so much that scores lie around the thresholds.
    Bytes Similar(testsupport::Random& random, int32_t keys) const {
        Minutiae copy = minutiae_;
        const int32_t least = random.Between(16, 19);
        for (HandMinutia& minutia : copy) {
            minutia.density += random.Between(least, 19);
            minutia.disorder += random.Between(0, 12);
        }
        return WithKeys(apitest::WriteTemplate(copy), bytes_, keys);
    }

    Bytes Same(int32_t keys) const { return WithKeys(bytes_, bytes_, keys); }
    Bytes NoMatch(int32_t keys) const { return WithKeys(Nobody(), bytes_, keys); }

  private:
    Minutiae minutiae_;
    Bytes bytes_;
};

int32_t ScoreOf(const Bytes& first, const Bytes& second) {
    int32_t score = -1;
    QORFP_Verify(first.data(), second.data(), 1, &score);
    return score;
}

TEST(Search, OneEntryIsVerified) {
    const KnownProbe probe;
    for (uint32_t level = 1; level <= 5; ++level) {
        const int32_t threshold = kThresholds[level];
        ExpectFound(Find(probe.Get(), {probe.Entry(threshold, 2)}, level), 0, threshold);
        EXPECT_EQ(Find(probe.Get(), {probe.Entry(threshold - 1, 2)}, level).result, QORFP_FAILED);
    }
}

TEST(Search, NothingIsFoundAmongStrangers) {
    const Bytes probe = apitest::Indexed(apitest::Scatter(1, 30, 220));
    std::vector<Bytes> list;
    for (uint64_t seed = 2; seed < 22; ++seed) {
        list.push_back(apitest::Indexed(apitest::Scatter(seed, 30, 220)));
    }
    EXPECT_EQ(Find(probe, list, 1).result, QORFP_FAILED);
    for (size_t place = 0; place <= list.size(); place += 5) {
        std::vector<Bytes> withProbe = list;
        withProbe.insert(withProbe.begin() + static_cast<std::ptrdiff_t>(place), probe);
        ExpectFound(Find(probe, withProbe, 5), static_cast<uint32_t>(place), 2047);
    }
}

TEST(Search, TheBestIsFoundWhereverItStands) {
    const KnownProbe probe;
    const std::vector<Bytes> entries = {probe.Entry(170, 0), probe.Entry(200, 1),
                                        probe.Entry(155, 2)};
    std::vector<size_t> order = {0, 1, 2};
    do {
        std::vector<Bytes> list;
        for (const size_t k : order) {
            list.push_back(entries[k]);
        }
        const Found found = Find(probe.Get(), list, 1);
        // Matched by falling number of keys: 155, 200, 170; the last one's score is reported.
        ExpectFound(
            found, static_cast<uint32_t>(std::find(order.begin(), order.end(), 1u) - order.begin()),
            170);
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Search, ReportsTheScoreMatchedLastEvenBelowTheThreshold) {
    const KnownProbe probe;
    ExpectFound(Find(probe.Get(), {probe.Entry(120, 0), probe.Entry(200, 2)}, 1), 1, 120);
    ExpectFound(Find(probe.Get(), {probe.Entry(200, 2), probe.NoMatch(1)}, 4), 0, 0);
    ExpectFound(Find(probe.Get(), {probe.Entry(120, 2), probe.Entry(200, 0)}, 1), 1, 200);
}

TEST(Search, TheLevelDecides) {
    const KnownProbe probe;
    const std::vector<Bytes> list = {probe.Entry(196, 2), probe.Entry(181, 1), probe.Entry(151, 0)};
    ExpectFound(Find(probe.Get(), list, 1), 0, 151);
    ExpectFound(Find(probe.Get(), list, 4), 0, 151);
    EXPECT_EQ(Find(probe.Get(), list, 5).result, QORFP_FAILED);
}

TEST(Search, AnEqualLaterScoreDoesNotReplaceAnEarlierOne) {
    const KnownProbe probe;
    const Bytes early = probe.Entry(190, 2);
    const Bytes late = probe.Entry(190, 1);
    ExpectFound(Find(probe.Get(), {early, late}, 1), 0, 190);
    ExpectFound(Find(probe.Get(), {late, early}, 1), 1, 190);
}

TEST(Search, EndsAtTheFirstScoreOf225) {
    const KnownProbe probe;
    const Bytes best = probe.Entry(400, 0);
    // At 225 the better entry behind is not looked at; at 224 it is.
    ExpectFound(Find(probe.Get(), {best, probe.Entry(225, 2)}, 1), 1, 225);
    ExpectFound(Find(probe.Get(), {best, probe.Entry(224, 2)}, 1), 0, 400);
    // Entries before it are of no account.
    ExpectFound(Find(probe.Get(), {best, probe.Entry(225, 1), probe.Entry(210, 2)}, 1), 1, 225);
}

// The first entry matched prepares the probe. When that entry does not decode, nothing is prepared
// and every later score is 0.
TEST(Search, AnUndecodableEntryRankedFirstHidesTheOthers) {
    const KnownProbe probe;
    const Bytes same = probe.Get();
    EXPECT_EQ(Find(probe.Get(), {WithKeys(same, probe.Get(), 1), probe.Undecodable(2)}, 1).result,
              QORFP_FAILED);
    ExpectFound(Find(probe.Get(), {WithKeys(same, probe.Get(), 2), probe.Undecodable(1)}, 1), 0,
                1219);
    ExpectFound(Find(probe.Get(), {probe.Entry(200, 2), probe.Undecodable(1)}, 1), 0, 0);
    EXPECT_EQ(Find(probe.Get(), {probe.Undecodable(2)}, 1).result, QORFP_FAILED);
}

TEST(Search, AProbeThatDoesNotDecodeFindsNothing) {
    const KnownProbe known;
    Bytes probe = known.Get();
    for (const int32_t count : {0, 5, 7}) {  // the seventh minutia has type 0
        probe[apitest::kCountByte] = static_cast<uint8_t>(count);
        EXPECT_EQ(Find(probe, {known.Get(), known.Get()}, 1).result, QORFP_FAILED) << count;
    }
}

// The rule once more in plain words, with scores from the 1:1 call.
Found Expected(const Bytes& probe, const std::vector<Bytes>& list, uint32_t level) {
    std::vector<size_t> order(list.size());
    for (size_t k = 0; k < order.size(); ++k) {
        order[k] = k;
    }
    std::sort(order.begin(), order.end(), [&list](size_t a, size_t b) {
        return apitest::KeyCount(list[a]) > apitest::KeyCount(list[b]);
    });
    Found found;
    found.result = QORFP_FAILED;
    int32_t best = 0;
    for (const size_t k : order) {
        const int32_t score = ScoreOf(probe, list[k]);
        found.score = score;
        if (score < kThresholds[level]) {
            continue;
        }
        if (score > best) {
            best = score;
            found.index = static_cast<uint32_t>(k);
            found.result = QORFP_OK;
        }
        if (score >= kThresholds[6]) {
            break;
        }
    }
    return found;
}

TEST(Search, FollowsTheRule) {
    const LargeProbe probe;
    testsupport::Random random(31);
    int32_t foundOften = 0;
    int32_t scoreBelow = 0;
    for (int32_t round = 0; round < 60; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        // Different numbers of keys: no two entries rank equal.
        std::vector<int32_t> keys;
        for (int32_t k = 0; k <= 19; ++k) {
            keys.push_back(k);
        }
        std::vector<Bytes> list;
        for (int32_t count = random.Between(1, 20); count > 0; --count) {
            const size_t pick =
                static_cast<size_t>(random.Below(static_cast<int32_t>(keys.size())));
            list.push_back(random.OneIn(4) ? probe.NoMatch(keys[pick])
                                           : probe.Similar(random, keys[pick]));
            keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(pick));
        }
        const uint32_t level = static_cast<uint32_t>(random.Between(1, 5));
        const Found expected = Expected(probe.Get(), list, level);
        const Found found = Find(probe.Get(), list, level);
        ASSERT_EQ(found.result, expected.result);
        if (expected.result == QORFP_OK) {
            ASSERT_EQ(found.index, expected.index);
            ASSERT_EQ(found.score, expected.score);
            ++foundOften;
            scoreBelow += expected.score < kThresholds[level] ? 1 : 0;
        }
    }
    EXPECT_GT(foundOften, 20);
    EXPECT_LT(foundOften, 55);
    EXPECT_GT(scoreBelow, 3);
}

// Of `count` entries the first `limit` are matched in full: as many decoys rank before the one that
// matches as may stand before it, and one more hides it.
void ExpectLimit(const LargeProbe& probe, int32_t count, int32_t limit) {
    SCOPED_TRACE(std::to_string(count) + " entries");
    for (const int32_t decoys : {limit - 1, limit}) {
        std::vector<Bytes> list(static_cast<size_t>(count), probe.NoMatch(0));
        std::fill(list.begin(), list.begin() + decoys, probe.NoMatch(12));
        // Its place in the list does not matter, only its rank.
        const size_t place = static_cast<size_t>(count * 3 / 7);
        std::swap(list[place], list[static_cast<size_t>(decoys)]);
        list[place] = probe.Same(5);
        ASSERT_EQ(std::count(list.begin(), list.end(), probe.NoMatch(12)), decoys);
        const Found found = Find(probe.Get(), list, 5);
        if (decoys < limit) {
            ExpectFound(found, static_cast<uint32_t>(place), 2047);
        } else {
            EXPECT_EQ(found.result, QORFP_FAILED);
        }
    }
}

TEST(Search, MatchesSoManyEntriesInFull) {
    const LargeProbe probe;
    ExpectLimit(probe, 219, 210);
    ExpectLimit(probe, 220, 211);
    ExpectLimit(probe, 239, 211);
    ExpectLimit(probe, 1000, 250);
    ExpectLimit(probe, 5000, 450);
}

TEST(Search, MatchesAllOfAShortList) {
    const LargeProbe probe;
    for (const int32_t count : {1, 2, 50, 198, 199, 200, 201, 209, 210}) {
        std::vector<Bytes> list(static_cast<size_t>(count), probe.NoMatch(12));
        list[static_cast<size_t>(count) / 2] = probe.Same(0);
        ExpectFound(Find(probe.Get(), list, 5), static_cast<uint32_t>(count / 2), 2047);
    }
}

// From 200 entries on the limit is first above the number of entries: it ends with the list.
TEST(Search, EndsWithTheList) {
    const KnownProbe probe;
    for (const size_t count : {size_t{200}, size_t{201}, size_t{209}, size_t{210}}) {
        std::vector<Bytes> list(count, probe.NoMatch(2));
        EXPECT_EQ(Find(probe.Get(), list, 1).result, QORFP_FAILED) << count;
        list[7] = probe.Entry(170, 1);
        list[8] = probe.Entry(160, 0);
        ExpectFound(Find(probe.Get(), list, 1), 7, 160);  // the last two
    }
}

// With a limit of 211 the reported score is that of the 211th entry.
TEST(Search, TheLastOfALongListIsTheLimit) {
    const KnownProbe probe;
    std::vector<Bytes> list(220, probe.NoMatch(0));
    std::fill(list.begin() + 3, list.begin() + 3 + 209, probe.NoMatch(3));
    list[0] = probe.Entry(220, 2);
    list[1] = probe.Entry(170, 1);
    ExpectFound(Find(probe.Get(), list, 1), 0, 170);  // ranks 210 and 211
    list[1] = probe.NoMatch(3);                       // 220 is the 211th now
    ExpectFound(Find(probe.Get(), list, 1), 0, 220);
    list[2] = probe.NoMatch(3);
    EXPECT_EQ(Find(probe.Get(), list, 1).result, QORFP_FAILED);  // and the 212th now
}

// Malformed index areas cost an entry its rank, nothing else.
TEST(Search, EntriesWithoutUsableKeysRankLast) {
    const KnownProbe probe;
    Bytes tooMany = probe.Entry(190, 2);
    tooMany[apitest::kKeyCountByte] = 20;
    ExpectFound(Find(probe.Get(), {tooMany, probe.Entry(180, 1)}, 1), 0, 190);
    ExpectFound(Find(probe.Get(), {probe.Entry(180, 1), tooMany}, 1), 1, 190);
}

TEST(Search, AListOfOneTemplateManyTimes) {
    const LargeProbe probe;
    const std::vector<Bytes> list(1000, probe.Get());
    const Found found = Find(probe.Get(), list, 3);
    EXPECT_EQ(found.result, QORFP_OK);
    EXPECT_LT(found.index, 1000u);
    EXPECT_EQ(found.score, 2047);
}

TEST(Search, FindsImpressionsOfExtractedFingers) {
    const apitest::Grid finger = apitest::FingerOf(1);
    const auto window = [&finger](int32_t left, int32_t top) {
        apitest::Grid part(224, 304);
        for (int32_t y = 0; y < part.height; ++y) {
            for (int32_t x = 0; x < part.width; ++x) {
                part.At(x, y) = finger.At(left + x, top + y);
            }
        }
        const apitest::Extraction extraction = apitest::Extract(part);
        EXPECT_EQ(extraction.result, QORFP_OK);
        return extraction.bytes;
    };
    const Bytes probe = window(4, 8);
    std::vector<Bytes> list;
    for (uint64_t seed = 2; seed < 8; ++seed) {
        list.push_back(apitest::TemplateOf(seed));
    }
    EXPECT_EQ(Find(probe, list, 1).result, QORFP_FAILED);
    list.insert(list.begin() + 3, window(20, 30));
    const Found found = Find(probe, list, 3);
    ExpectFound(found, 3, ScoreOf(probe, list[3]));
}

// The probe and the list stay; a search does not disturb the next one.
TEST(Search, IsTheSameEachTime) {
    const KnownProbe probe;
    const std::vector<Bytes> list = {probe.Entry(170, 0), probe.Entry(200, 1)};
    for (int32_t round = 0; round < 3; ++round) {
        ExpectFound(Find(probe.Get(), list, 1), 1, 170);
        EXPECT_EQ(Find(probe.Get(), {probe.NoMatch(2)}, 1).result, QORFP_FAILED);
    }
}

}  // namespace
