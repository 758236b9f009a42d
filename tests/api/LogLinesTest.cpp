// SPDX-License-Identifier: Apache-2.0
//
// What the calls print on standard output, byte for byte: one line of QORFP_Initial, one of a
// search that refuses a template, nothing of the others. A line ends with a newline and one blank.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "include/QORFPApi.h"
#include "tests/api/ChildProcess.h"
#include "tests/api/TestFingers.h"

namespace {

using apitest::Bytes;
using apitest::ChildOutcome;
using apitest::RunInChild;

TEST(LogLines, InitialPrintsOneLine) {
    const ChildOutcome outcome = RunInChild([] { return static_cast<int>(QORFP_Initial(0)); });
    EXPECT_TRUE(outcome.exited);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "[QOR_FPR]:QORFP_Initial_431_QORFP_Initial SUCC\n ");
}

TEST(LogLines, InitialPrintsEachTime) {
    const ChildOutcome outcome = RunInChild([] {
        QORFP_Initial(7);
        return static_cast<int>(QORFP_Initial(-1));
    });
    EXPECT_EQ(outcome.output,
              "[QOR_FPR]:QORFP_Initial_431_QORFP_Initial SUCC\n "
              "[QOR_FPR]:QORFP_Initial_431_QORFP_Initial SUCC\n ");
}

// What is printed while the two searches run over a list of pointers and over the same list back
// to back; a null entry is left out of the latter.
std::string OutputOfSearches(const uint8_t* probe, const std::vector<const uint8_t*>& list,
                             uint32_t level, bool isIdentify) {
    Bytes joined;
    for (const uint8_t* const entry : list) {
        if (entry != nullptr) {
            joined.insert(joined.end(), entry, entry + apitest::kTemplateBytes);
        }
    }
    const ChildOutcome outcome = RunInChild([&] {
        uint32_t index = 0;
        int32_t score = 0;
        const uint32_t count = static_cast<uint32_t>(list.size());
        if (isIdentify) {
            QORFP_Identify(probe, list.data(), count, level, &index, &score);
        } else {
            QORFP_Search(probe, joined.data(), count, level, &index, &score);
        }
        return 0;
    });
    EXPECT_TRUE(outcome.exited);
    return outcome.output;
}

TEST(LogLines, SearchesNameARefusedProbe) {
    const Bytes good = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    const Bytes old = apitest::WriteTemplate(apitest::Scatter(1, 20, 200), "300");
    Bytes tooMany = good;
    tooMany[apitest::kCountByte] = 61;
    for (const Bytes& bad : {old, tooMany}) {
        for (const uint32_t level : {3u, 0u}) {
            EXPECT_EQ(OutputOfSearches(bad.data(), {good.data()}, level, true),
                      "[QOR_FPR]:QORFP_Identify_662\n ");
            EXPECT_EQ(OutputOfSearches(bad.data(), {good.data()}, level, false),
                      "[QOR_FPR]:QORFP_Search_800\n ");
        }
    }
}

TEST(LogLines, SearchesNameTheFirstRefusedEntry) {
    const Bytes good = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    Bytes bad = good;
    bad[apitest::kCountByte] = 0xFA;
    Bytes worse = good;
    worse[0] = 0x00;
    worse[1] = 0x07;
    worse[2] = 0xA9;
    const std::vector<const uint8_t*> list = {good.data(), good.data(), good.data(), bad.data(),
                                              worse.data()};
    EXPECT_EQ(OutputOfSearches(good.data(), list, 3, true),
              "[QOR_FPR]:QORFP_Identify_676_3  [33][30][31][fa]\n ");
    EXPECT_EQ(OutputOfSearches(good.data(), list, 3, false),
              "[QOR_FPR]:QORFP_Search_808_3 TemplateValidity\n ");
    EXPECT_EQ(OutputOfSearches(good.data(), {worse.data()}, 3, true),
              "[QOR_FPR]:QORFP_Identify_676_0  [00][07][a9][14]\n ");
    EXPECT_EQ(OutputOfSearches(good.data(), {worse.data()}, 3, false),
              "[QOR_FPR]:QORFP_Search_808_0 TemplateValidity\n ");
    // A position of more than one digit.
    std::vector<const uint8_t*> longList(1234, good.data());
    longList.push_back(bad.data());
    EXPECT_EQ(OutputOfSearches(good.data(), longList, 3, true),
              "[QOR_FPR]:QORFP_Identify_676_1234  [33][30][31][fa]\n ");
    EXPECT_EQ(OutputOfSearches(good.data(), longList, 3, false),
              "[QOR_FPR]:QORFP_Search_808_1234 TemplateValidity\n ");
}

TEST(LogLines, OtherOutcomesOfSearchesPrintNothing) {
    const Bytes good = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    const Bytes other = apitest::WriteTemplate(apitest::Scatter(2, 20, 200));
    for (const bool isIdentify : {true, false}) {
        EXPECT_EQ(OutputOfSearches(good.data(), {good.data()}, 3, isIdentify), "");
        EXPECT_EQ(OutputOfSearches(good.data(), {other.data()}, 3, isIdentify), "");
        EXPECT_EQ(OutputOfSearches(good.data(), {other.data()}, 6, isIdentify), "");
        EXPECT_EQ(OutputOfSearches(good.data(), {}, 3, isIdentify), "");
        EXPECT_EQ(OutputOfSearches(nullptr, {good.data()}, 3, isIdentify), "");
    }
    EXPECT_EQ(OutputOfSearches(good.data(), {good.data(), nullptr}, 3, true), "");
}

TEST(LogLines, TheRestPrintsNothing) {
    const apitest::Grid finger = apitest::FingerOf(1);
    const apitest::Grid white(256, 360, 255);
    const Bytes good = apitest::TemplateOf(1);
    Bytes unknown = good;
    unknown[2] = '2';
    Bytes damaged = good;
    damaged[apitest::kCountByte] = 200;
    const ChildOutcome outcome = RunInChild([&] {
        char text[QORFP_BUILD_TIME_BYTES];
        uint8_t out[apitest::kTemplateBytes];
        int32_t number = 0;
        QORFP_Version(text);
        QORFP_Version(nullptr);
        QORFP_BuildTime(text);
        QORFP_BuildTime(nullptr);
        QORFP_Extract(finger.cells.data(), 256, 360, out, &number);
        QORFP_Extract(white.cells.data(), 256, 360, out, &number);
        QORFP_Extract(nullptr, 256, 360, out, &number);
        QORFP_Verify(good.data(), good.data(), 3, &number);
        QORFP_Verify(good.data(), unknown.data(), 3, &number);
        QORFP_Verify(good.data(), damaged.data(), 3, &number);
        QORFP_Verify(good.data(), nullptr, 3, &number);
        Bytes enrolled = good;
        enrolled[511] ^= 1;
        QORFP_Improve(good.data(), enrolled.data());
        QORFP_Improve(unknown.data(), enrolled.data());
        QORFP_Improve(nullptr, enrolled.data());
        QORFP_CheckFeature(enrolled.data(), &number);
        QORFP_CheckFeature(unknown.data(), &number);
        QORFP_CheckFeature(damaged.data(), &number);
        QORFP_CheckFeature(nullptr, &number);
        Bytes three = good;
        three.insert(three.end(), good.begin(), good.end());
        three.insert(three.end(), unknown.begin(), unknown.end());
        QORFP_Enroll(three.data(), 3, out, &number);
        QORFP_Enroll(three.data(), 1, out, &number);
        QORFP_CheckFinger(finger.cells.data(), 256, 360);
        QORFP_CheckFinger(white.cells.data(), 256, 360);
        QORFP_CheckFinger(nullptr, 256, 360);
        return 0;
    });
    EXPECT_TRUE(outcome.exited);
    EXPECT_EQ(outcome.output, "");
}

}  // namespace
