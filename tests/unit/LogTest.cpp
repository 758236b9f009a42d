// SPDX-License-Identifier: Apache-2.0
//
// The log lines, byte for byte as they reach standard output.
#include "api/Log.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

#include "tests/support/CapturedOutput.h"

namespace {

using testsupport::OutputOf;

std::vector<uint8_t> CountingBytes(size_t length) {
    std::vector<uint8_t> bytes(length);
    std::iota(bytes.begin(), bytes.end(), uint8_t{0});
    return bytes;
}

std::string HexDump(const std::vector<uint8_t>& bytes) {
    return OutputOf(
        [&] { EXPECT_EQ(LOGHEX(1, "dump", bytes.data(), static_cast<int32_t>(bytes.size())), 0); });
}

TEST(LogLine, EndsWithNewlineAndBlank) {
    EXPECT_EQ(OutputOf([] { EXPECT_EQ(LOGEE(1, "plain"), 0); }), "[QOR_FPR]:plain\n ");
    EXPECT_EQ(OutputOf([] { LOGEE(1, "%s_%d_QORFP_Initial SUCC", "QORFP_Initial", 431); }),
              "[QOR_FPR]:QORFP_Initial_431_QORFP_Initial SUCC\n ");
    EXPECT_EQ(OutputOf([] {
                  LOGEE(1, "%s_%d_%d  [%02x][%02x][%02x][%02x]", "QORFP_Identify", 676, 3, 0x33,
                        0x30, 0x05, 0xff);
              }),
              "[QOR_FPR]:QORFP_Identify_676_3  [33][30][05][ff]\n ");
}

TEST(LogLine, FollowsTheBlankOfTheLineBefore) {
    EXPECT_EQ(OutputOf([] {
                  LOGEE(1, "first");
                  LOGEE(1, "second");
              }),
              "[QOR_FPR]:first\n [QOR_FPR]:second\n ");
}

TEST(LogLine, PrintsNothingAtLevelZeroOnly) {
    EXPECT_EQ(OutputOf([] { EXPECT_EQ(LOGEE(0, "text %d", 1), 0); }), "");
    EXPECT_EQ(OutputOf([] { EXPECT_EQ(LOGEE(2, "two"), 0); }), "[QOR_FPR]:two\n ");
    EXPECT_EQ(OutputOf([] { EXPECT_EQ(LOGEE(-1, "minus"), 0); }), "[QOR_FPR]:minus\n ");
}

TEST(LogLine, PrintsPercentSignsOfItsArgumentsAsTheyAre) {
    EXPECT_EQ(OutputOf([] { LOGEE(1, "%s", "100%d%n"); }), "[QOR_FPR]:100%d%n\n ");
}

TEST(LogLine, HoldsUpTo1023Characters) {
    const std::string text(1023, 'a');
    EXPECT_EQ(OutputOf([&] { LOGEE(1, "%s", text.c_str()); }), "[QOR_FPR]:" + text + "\n ");
    const std::string longer(5000, 'a');
    EXPECT_EQ(OutputOf([&] { EXPECT_EQ(LOGEE(1, "%s", longer.c_str()), 0); }),
              "[QOR_FPR]:" + text + "\n ");
}

TEST(LogLine, MayBeEmpty) {
    EXPECT_EQ(OutputOf([] { LOGEE(1, "%s", ""); }), "[QOR_FPR]:\n ");
}

TEST(HexDump, BreaksTheLineBeforeEvery16thByteButTheFirst) {
    const std::string first16 = "00.01.02.03.04.05.06.07.08.09.0a.0b.0c.0d.0e.0f.";
    const std::string next16 = "10.11.12.13.14.15.16.17.18.19.1a.1b.1c.1d.1e.1f.";
    EXPECT_EQ(HexDump({0xFF}), "[QOR_FPR]:dump\n ff.\n ");
    EXPECT_EQ(HexDump(CountingBytes(15)),
              "[QOR_FPR]:dump\n 00.01.02.03.04.05.06.07.08.09.0a.0b.0c.0d.0e.\n ");
    EXPECT_EQ(HexDump(CountingBytes(16)), "[QOR_FPR]:dump\n " + first16 + "\n ");
    EXPECT_EQ(HexDump(CountingBytes(17)), "[QOR_FPR]:dump\n " + first16 + "\n 10.\n ");
    EXPECT_EQ(HexDump(CountingBytes(32)), "[QOR_FPR]:dump\n " + first16 + "\n " + next16 + "\n ");
    EXPECT_EQ(HexDump(CountingBytes(33)),
              "[QOR_FPR]:dump\n " + first16 + "\n " + next16 + "\n 20.\n ");
}

TEST(HexDump, OfNothingIsTheTitleAndAnEmptyLine) {
    EXPECT_EQ(OutputOf([] { EXPECT_EQ(LOGHEX(1, "none", nullptr, 0), 0); }),
              "[QOR_FPR]:none\n \n ");
}

TEST(HexDump, PrintsNothingAtLevelZero) {
    const uint8_t byte = 7;
    EXPECT_EQ(OutputOf([&] { EXPECT_EQ(LOGHEX(0, "dump", &byte, 1), 0); }), "");
    EXPECT_EQ(OutputOf([&] { EXPECT_EQ(LOGHEX(9, "dump", &byte, 1), 0); }),
              "[QOR_FPR]:dump\n 07.\n ");
}

TEST(HexDump, PrintsItsTitleAsItIs) {
    const uint8_t byte = 0xA0;
    EXPECT_EQ(OutputOf([&] { LOGHEX(1, "%s%d", &byte, 1); }), "[QOR_FPR]:%s%d\n a0.\n ");
}

}  // namespace
