// SPDX-License-Identifier: Apache-2.0
//
// What both searches refuse, in which order, with which log line; and templates that are valid but
// do not decode.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "tests/search/CandidatePool.h"
#include "tests/search/SearchCalls.h"

namespace {

using searchtest::Call;
using searchtest::CallerList;
using searchtest::CallOutcome;
using searchtest::CandidatePool;
using searchtest::Entry;
using searchtest::kBothCalls;
using searchtest::NameOf;
using searchtest::Oddities;
using searchtest::Pool;
using searchtest::RunCall;
using searchtest::TemplateBytes;

constexpr uint32_t kWrongLevels[] = {0, 6, 7, 255, 257, 0x80000001u, 0xFFFFFFFFu};

/// First four bytes that make a template invalid, and as they are logged.
struct BadStart {
    uint8_t bytes[4];
    const char* logged;
};

constexpr BadStart kBadStarts[] = {
    {{'3', '0', '0', 30}, "[33][30][30][1e]"},  // the older form
    {{'3', '0', '2', 6}, "[33][30][32][06]"},
    {{'3', '1', '1', 60}, "[33][31][31][3c]"},
    {{'2', '0', '1', 9}, "[32][30][31][09]"},
    {{'3', '0', '1', 61}, "[33][30][31][3d]"},  // too many minutiae
    {{'3', '0', '1', 255}, "[33][30][31][ff]"},
    {{0, 0, 0, 0}, "[00][00][00][00]"},
    {{0xFF, 0x80, 0x0A, 0x25}, "[ff][80][0a][25]"},
};

TemplateBytes Bad(const BadStart& start) {
    TemplateBytes bytes = Pool().probe;
    std::copy(std::begin(start.bytes), std::end(start.bytes), bytes.begin());
    return bytes;
}

/// A list with the finger of the probe at each position.
std::vector<TemplateBytes> GoodTemplates(size_t count) {
    return std::vector<TemplateBytes>(count, Pool().probe);
}

std::string ProbeLine(Call call) {
    return call == Call::kIdentify ? "[QOR_FPR]:QORFP_Identify_662\n "
                                   : "[QOR_FPR]:QORFP_Search_800\n ";
}

std::string EntryLine(Call call, size_t position, const BadStart& start) {
    return call == Call::kIdentify
               ? "[QOR_FPR]:QORFP_Identify_676_" + std::to_string(position) + "  " + start.logged +
                     "\n "
               : "[QOR_FPR]:QORFP_Search_808_" + std::to_string(position) + " TemplateValidity\n ";
}

/// Refused before the engine is used.
void ExpectRefused(const CallOutcome& outcome, uint32_t result, const std::string& output) {
    EXPECT_EQ(outcome.result, result);
    EXPECT_EQ(outcome.output, output);
    EXPECT_FALSE(outcome.HasWritten());
    EXPECT_TRUE(outcome.recording.preparedProbes.empty());
    EXPECT_TRUE(outcome.matched.empty());
}

/// That nothing of a refused call stays behind: the next call works.
void ExpectWorking(Call call) {
    const CallOutcome outcome = RunCall(call, Pool().probe, CallerList(GoodTemplates(2)), 5);
    EXPECT_EQ(outcome.result, 0U);
    EXPECT_EQ(outcome.index, 0U);
}

TEST(SearchArguments, NullProbeOrList) {
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        for (const size_t count : {0U, 1U, 200U}) {
            SCOPED_TRACE(count);
            const CallerList list(GoodTemplates(count));
            for (const uint32_t level : {3U, 9U}) {
                Oddities oddities;
                oddities.nullProbe = true;
                ExpectRefused(RunCall(call, Pool().probe, list, level, oddities), 5, "");
                oddities.nullList = true;
                ExpectRefused(RunCall(call, Pool().probe, list, level, oddities), 5, "");
                oddities.nullProbe = false;
                ExpectRefused(RunCall(call, Pool().probe, list, level, oddities), 5, "");
                // Tested before the probe's validity.
                ExpectRefused(RunCall(call, Bad(kBadStarts[0]), list, level, oddities), 5, "");
            }
        }
        ExpectWorking(call);
    }
}

TEST(SearchArguments, Levels) {
    const CallerList list(GoodTemplates(3));
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        for (const uint32_t level : kWrongLevels) {
            SCOPED_TRACE(level);
            ExpectRefused(RunCall(call, Pool().probe, list, level), 5, "");
        }
        for (uint32_t level = 1; level <= 5; ++level) {
            SCOPED_TRACE(level);
            EXPECT_EQ(RunCall(call, Pool().probe, list, level).result, 0U);
        }
    }
}

TEST(SearchArguments, EmptyList) {
    const CallerList list({});
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        for (const uint32_t level : {0U, 1U, 5U, 6U}) {
            ExpectRefused(RunCall(call, Pool().probe, list, level), 5, "");
            ExpectRefused(RunCall(call, Bad(kBadStarts[0]), list, level), 8, ProbeLine(call));
        }
        ExpectWorking(call);
    }
}

TEST(SearchArguments, BadProbe) {
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        for (const BadStart& start : kBadStarts) {
            SCOPED_TRACE(start.logged);
            for (const size_t count : {1U, 201U}) {
                for (const uint32_t level : {1U, 6U}) {
                    ExpectRefused(
                        RunCall(call, Bad(start), CallerList(GoodTemplates(count)), level), 8,
                        ProbeLine(call));
                }
            }
            // Tested before the entries.
            CallerList list({Bad(start), Pool().probe});
            ExpectRefused(RunCall(call, Bad(start), list, 1), 8, ProbeLine(call));
            list.MakeNull(0);
            ExpectRefused(RunCall(call, Bad(start), list, 1), 8, ProbeLine(call));
        }
        ExpectWorking(call);
    }
}

TEST(SearchArguments, BadEntryAtAnyPlace) {
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        for (const size_t count : {1U, 3U, 200U, 5000U}) {
            for (const size_t position : {size_t{0}, count / 2, count - 1}) {
                SCOPED_TRACE(std::to_string(position) + " of " + std::to_string(count));
                const BadStart& start = kBadStarts[(count + position) % std::size(kBadStarts)];
                std::vector<TemplateBytes> templates = GoodTemplates(count);
                templates[position] = Bad(start);
                const CallerList list(templates);
                for (const uint32_t level : {1U, 0U}) {  // tested before the level
                    ExpectRefused(RunCall(call, Pool().probe, list, level), 8,
                                  EntryLine(call, position, start));
                }
            }
        }
        ExpectWorking(call);
    }
}

TEST(SearchArguments, EveryKindOfBadEntryAndOnlyTheFirstIsNamed) {
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        for (const BadStart& start : kBadStarts) {
            SCOPED_TRACE(start.logged);
            const std::vector<TemplateBytes> templates = {Pool().probe, Pool().probe, Bad(start),
                                                          Bad(kBadStarts[1]), Pool().probe};
            ExpectRefused(RunCall(call, Pool().probe, CallerList(templates), 2), 8,
                          EntryLine(call, 2, start));
        }
    }
}

TEST(SearchArguments, LongestLineAndLiteralLines) {
    std::vector<TemplateBytes> templates = GoodTemplates(3000);
    templates[2999] = Bad(kBadStarts[5]);
    const CallerList list(templates);
    EXPECT_EQ(RunCall(Call::kIdentify, Pool().probe, list, 1).output,
              "[QOR_FPR]:QORFP_Identify_676_2999  [33][30][31][ff]\n ");
    EXPECT_EQ(RunCall(Call::kSearch, Pool().probe, list, 1).output,
              "[QOR_FPR]:QORFP_Search_808_2999 TemplateValidity\n ");
}

TEST(SearchArguments, NullEntryAtAnyPlace) {
    for (const size_t count : {1U, 3U, 200U, 5000U}) {
        for (const size_t position : {size_t{0}, count / 2, count - 1}) {
            SCOPED_TRACE(std::to_string(position) + " of " + std::to_string(count));
            CallerList list(GoodTemplates(count));
            list.MakeNull(position);
            for (const uint32_t level : {1U, 0U}) {
                ExpectRefused(RunCall(Call::kIdentify, Pool().probe, list, level), 5, "");
            }
        }
    }
    ExpectWorking(Call::kIdentify);
}

TEST(SearchArguments, TheFirstOfANullAndABadEntryDecides) {
    std::vector<TemplateBytes> templates = GoodTemplates(4);
    templates[2] = Bad(kBadStarts[0]);
    CallerList nullFirst(templates);
    nullFirst.MakeNull(1);
    ExpectRefused(RunCall(Call::kIdentify, Pool().probe, nullFirst, 1), 5, "");
    CallerList badFirst(templates);
    badFirst.MakeNull(3);
    ExpectRefused(RunCall(Call::kIdentify, Pool().probe, badFirst, 1), 8,
                  EntryLine(Call::kIdentify, 2, kBadStarts[0]));
}

TEST(SearchArguments, NullOutputsAreNotWritten) {
    const CallerList list(
        {Pool().TemplateOf({Pool().strangers[0], Pool().areaWithoutKeys}), Pool().probe});
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        const CallOutcome both = RunCall(call, Pool().probe, list, 5);
        EXPECT_EQ(both.result, 0U);
        EXPECT_EQ(both.index, 1U);
        EXPECT_GE(both.score, 225);
        Oddities oddities;
        oddities.nullIndex = true;
        const CallOutcome scoreOnly = RunCall(call, Pool().probe, list, 5, oddities);
        EXPECT_EQ(scoreOnly.result, 0U);
        EXPECT_EQ(scoreOnly.score, both.score);
        oddities.nullScore = true;
        EXPECT_EQ(RunCall(call, Pool().probe, list, 5, oddities).result, 0U);
        oddities.nullIndex = false;
        const CallOutcome indexOnly = RunCall(call, Pool().probe, list, 5, oddities);
        EXPECT_EQ(indexOnly.result, 0U);
        EXPECT_EQ(indexOnly.index, 1U);
    }
}

// A probe of no or too few minutiae is valid but does not decode: no keys, no scores.
TEST(SearchArguments, UndecodableProbeFindsNothing) {
    for (const size_t head : Pool().undecodable) {
        const TemplateBytes probe = Pool().TemplateOf({head, Pool().areaOfProbe});
        SCOPED_TRACE("count " + std::to_string(probe[3]));
        for (const size_t count : {1U, 3U, 220U}) {
            std::vector<TemplateBytes> templates = GoodTemplates(count);
            templates.back() = probe;
            const CallerList list(templates);
            for (const Call call : kBothCalls) {
                SCOPED_TRACE(NameOf(call));
                const CallOutcome outcome = RunCall(call, probe, list, 1);
                EXPECT_EQ(outcome.result, 1U);
                EXPECT_FALSE(outcome.HasWritten());
                EXPECT_EQ(outcome.output, "");
                EXPECT_EQ(outcome.recording.indexScores, std::vector<int32_t>(count, 0));
                EXPECT_EQ(outcome.scores, std::vector<int32_t>(count == 220 ? 211 : count, 0));
                EXPECT_EQ(outcome.matched.front(), 0U);
                EXPECT_EQ(outcome.matched.back(), count == 220 ? 210 : count - 1);
            }
        }
    }
}

// When the entry that is matched first does not decode, nothing is prepared for the others.
TEST(SearchArguments, UndecodableFirstRankedEntrySpoilsTheSearch) {
    const CandidatePool& pool = Pool();
    const TemplateBytes genuine = pool.TemplateOf({pool.certain.front(), pool.areaWithoutKeys});
    for (const size_t head : pool.undecodable) {
        const TemplateBytes spoiler = pool.TemplateOf({head, pool.areaOfProbe});
        const TemplateBytes harmless = pool.TemplateOf({head, pool.areaWithoutKeys});
        const TemplateBytes stranger = pool.TemplateOf({pool.strangers[1], pool.areaOfProbe});
        SCOPED_TRACE("count " + std::to_string(spoiler[3]));
        for (const Call call : kBothCalls) {
            SCOPED_TRACE(NameOf(call));
            const CallOutcome spoilt =
                RunCall(call, pool.probe, CallerList({genuine, genuine, spoiler}), 1);
            EXPECT_EQ(spoilt.result, 1U);
            EXPECT_FALSE(spoilt.HasWritten());
            EXPECT_EQ(spoilt.scores, (std::vector<int32_t>{0, 0, 0}));
            EXPECT_EQ(spoilt.matched.front(), 2U);
            // In a later place it costs nothing but its own score.
            const CallOutcome found =
                RunCall(call, pool.probe, CallerList({harmless, genuine, stranger}), 1);
            EXPECT_EQ(found.result, 0U);
            EXPECT_EQ(found.index, 1U);
            EXPECT_EQ(found.matched.front(), 2U);
            EXPECT_EQ(found.score, pool.heads[pool.certain.front()].score);
        }
    }
}

}  // namespace
