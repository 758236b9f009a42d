// SPDX-License-Identifier: Apache-2.0
//
// The library in a process that has not called QORFP_Initial, and the step from there to ready.
// The calls run in child processes, so that no test makes the library ready for the next.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <functional>

#include "include/QORFPApi.h"
#include "tests/api/ChildProcess.h"
#include "tests/api/FencedBytes.h"
#include "tests/api/GuardedBytes.h"
#include "tests/api/HandTemplate.h"
#include "tests/api/TestFingers.h"

namespace {

using apitest::Bytes;
using apitest::ChildOutcome;
using apitest::GuardedBytes;
using apitest::GuardedNumber;
using apitest::RunInChild;

int AsStatus(uint32_t result) {
    return static_cast<int>(result);
}

// Status of a child that makes one call in the state at load.
int StatusOf(const std::function<uint32_t()>& call) {
    const ChildOutcome outcome = RunInChild([&call] { return AsStatus(call()); });
    EXPECT_TRUE(outcome.exited) << "the call ended the process";
    return outcome.status;
}

TEST(BeforeInitial, ExtractRefusesAGoodImage) {
    const apitest::Grid image = apitest::FingerOf(1);
    GuardedBytes bytes(apitest::kTemplateBytes);
    GuardedNumber quality;
    // In the parent: the refusal changes nothing, the outputs included.
    EXPECT_EQ(QORFP_Extract(image.cells.data(), 256, 360, bytes.Data(), &quality.value),
              QORFP_NOT_INITIALISED);
    EXPECT_TRUE(bytes.Untouched());
    EXPECT_TRUE(quality.Untouched());
}

TEST(BeforeInitial, ExtractReadsNothing) {
    GuardedBytes bytes(apitest::kTemplateBytes);
    GuardedNumber quality;
    EXPECT_EQ(StatusOf([&] {
                  return QORFP_Extract(apitest::UnreadableAddress(), 256, 360, bytes.Data(),
                                       &quality.value);
              }),
              QORFP_NOT_INITIALISED);
}

TEST(BeforeInitial, IsTestedBeforeTheArguments) {
    uint8_t pixel = 0;
    uint8_t bytes[apitest::kTemplateBytes];
    int32_t quality = 0;
    EXPECT_EQ(QORFP_Extract(nullptr, 256, 360, bytes, &quality), QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Extract(&pixel, 256, 360, nullptr, &quality), QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Extract(&pixel, 256, 360, bytes, nullptr), QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Extract(nullptr, 0, 0, nullptr, nullptr), QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Extract(&pixel, 260, 360, bytes, &quality), QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Extract(&pixel, 256, 361, bytes, &quality), QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Extract(&pixel, 0, 0, bytes, &quality), QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Extract(&pixel, INT_MIN, -4, bytes, &quality), QORFP_NOT_INITIALISED);
}

TEST(BeforeInitial, EnrollRefusesGoodTemplates) {
    Bytes inputs = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    inputs.insert(inputs.end(), inputs.begin(), inputs.begin() + 512);
    GuardedBytes bytes(apitest::kTemplateBytes);
    GuardedNumber quality;
    EXPECT_EQ(QORFP_Enroll(inputs.data(), 2, bytes.Data(), &quality.value), QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Enroll(apitest::UnreadableAddress(), 3, bytes.Data(), &quality.value),
              QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Enroll(nullptr, 2, bytes.Data(), &quality.value), QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Enroll(inputs.data(), 2, nullptr, &quality.value), QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Enroll(inputs.data(), 2, bytes.Data(), nullptr), QORFP_NOT_INITIALISED);
    EXPECT_EQ(QORFP_Enroll(nullptr, INT_MIN, nullptr, nullptr), QORFP_NOT_INITIALISED);
    EXPECT_TRUE(bytes.Untouched());
    EXPECT_TRUE(quality.Untouched());
}

TEST(BeforeInitial, SearchesWork) {
    const Bytes one = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    const Bytes other = apitest::WriteTemplate(apitest::Scatter(2, 20, 200));
    Bytes joined = other;
    joined.insert(joined.end(), one.begin(), one.end());
    const uint8_t* const pointers[] = {one.data(), other.data()};
    uint32_t index = 77;
    int32_t score = -1;
    EXPECT_EQ(QORFP_Search(one.data(), joined.data(), 2, 3, &index, &score), QORFP_OK);
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(QORFP_Identify(one.data(), pointers, 2, 3, &index, &score), QORFP_OK);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(QORFP_Search(one.data(), joined.data(), 1, 3, &index, &score), QORFP_FAILED);
    EXPECT_EQ(QORFP_Identify(one.data(), nullptr, 2, 3, &index, &score), QORFP_BAD_ARGUMENT);
}

TEST(BeforeInitial, ImproveWorks) {
    const Bytes sample = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    Bytes enrolled = sample;
    EXPECT_EQ(QORFP_Improve(sample.data(), enrolled.data()), QORFP_FAILED);
    enrolled[511] ^= 0x80;
    EXPECT_EQ(QORFP_Improve(sample.data(), enrolled.data()), QORFP_OK);
    EXPECT_EQ(QORFP_Improve(nullptr, enrolled.data()), QORFP_BAD_ARGUMENT);
}

TEST(BeforeInitial, CheckFeatureWorks) {
    Bytes bytes = apitest::WriteTemplate(apitest::Scatter(1, 20, 200), "300");
    int32_t converted = -1;
    EXPECT_EQ(QORFP_CheckFeature(bytes.data(), &converted), QORFP_OK);
    EXPECT_EQ(converted, 1);
    bytes[2] = '2';
    EXPECT_EQ(QORFP_CheckFeature(bytes.data(), &converted), QORFP_BAD_TEMPLATE);
    EXPECT_EQ(QORFP_CheckFeature(nullptr, &converted), QORFP_BAD_ARGUMENT);
}

TEST(BeforeInitial, VerifyWorks) {
    const Bytes one = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    const Bytes other = apitest::WriteTemplate(apitest::Scatter(2, 20, 200));
    Bytes unknown = one;
    unknown[2] = '2';
    GuardedNumber score;
    EXPECT_EQ(QORFP_Verify(one.data(), one.data(), 5, &score.value), QORFP_OK);
    EXPECT_EQ(score.value, 2047);
    EXPECT_EQ(QORFP_Verify(one.data(), other.data(), 5, &score.value), QORFP_FAILED);
    EXPECT_LT(score.value, 210);
    EXPECT_EQ(QORFP_Verify(one.data(), unknown.data(), 5, &score.value), QORFP_BAD_TEMPLATE);
    EXPECT_EQ(QORFP_Verify(one.data(), nullptr, 5, &score.value), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_Verify(one.data(), other.data(), 6, &score.value), QORFP_BAD_ARGUMENT);
}

TEST(BeforeInitial, CheckFingerWorks) {
    const apitest::Grid finger = apitest::FingerOf(1);
    const Bytes white(256 * 360, 255);
    EXPECT_EQ(QORFP_CheckFinger(finger.cells.data(), 256, 360), QORFP_OK);
    EXPECT_EQ(QORFP_CheckFinger(white.data(), 256, 360), QORFP_NO_FINGER);
    EXPECT_EQ(QORFP_CheckFinger(white.data(), 260, 360), QORFP_BAD_ARGUMENT);
}

TEST(BeforeInitial, TextsWork) {
    GuardedBytes version(QORFP_VERSION_BYTES);
    GuardedBytes buildTime(QORFP_BUILD_TIME_BYTES);
    EXPECT_EQ(QORFP_Version(version.Text()), QORFP_OK);
    EXPECT_STREQ(version.Text(), "MEL_FPR_AI3_V1.1.3");
    EXPECT_EQ(QORFP_BuildTime(buildTime.Text()), QORFP_OK);
    EXPECT_STREQ(buildTime.Text(), "2020-08-20 15:23:14");
    EXPECT_EQ(QORFP_Version(nullptr), QORFP_NULL_OUTPUT);
    EXPECT_EQ(QORFP_BuildTime(nullptr), QORFP_NULL_OUTPUT);
}

TEST(BeforeInitial, OtherCallsDoNotMakeTheLibraryReady) {
    const apitest::Grid image = apitest::FingerOf(1);
    const Bytes bytes = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    EXPECT_EQ(StatusOf([&] {
                  char text[QORFP_BUILD_TIME_BYTES];
                  int32_t number = 0;
                  uint8_t out[apitest::kTemplateBytes];
                  QORFP_Version(text);
                  QORFP_BuildTime(text);
                  QORFP_Verify(bytes.data(), bytes.data(), 1, &number);
                  QORFP_CheckFinger(image.cells.data(), 256, 360);
                  QORFP_Search(bytes.data(), bytes.data(), 1, 3, nullptr, nullptr);
                  QORFP_CheckFeature(Bytes(bytes).data(), &number);
                  return QORFP_Extract(image.cells.data(), 256, 360, out, &number);
              }),
              QORFP_NOT_INITIALISED);
}

TEST(Initial, MakesExtractReadyWhateverItsArgument) {
    const apitest::Grid image = apitest::FingerOf(1);
    for (const int32_t reserved : {0, 1, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(StatusOf([&]() -> uint32_t {
                      if (QORFP_Initial(reserved) != QORFP_OK) {
                          return 99;
                      }
                      uint8_t out[apitest::kTemplateBytes];
                      int32_t quality = 0;
                      return QORFP_Extract(image.cells.data(), 256, 360, out, &quality);
                  }),
                  QORFP_OK)
            << reserved;
    }
}

TEST(Initial, MayBeCalledAgain) {
    const apitest::Grid image = apitest::FingerOf(1);
    EXPECT_EQ(StatusOf([&]() -> uint32_t {
                  uint8_t first[apitest::kTemplateBytes];
                  uint8_t second[apitest::kTemplateBytes];
                  int32_t quality = 0;
                  if (QORFP_Initial(0) != QORFP_OK ||
                      QORFP_Extract(image.cells.data(), 256, 360, first, &quality) != QORFP_OK ||
                      QORFP_Initial(0) != QORFP_OK ||
                      QORFP_Extract(image.cells.data(), 256, 360, second, &quality) != QORFP_OK) {
                      return 99;
                  }
                  return std::equal(first, first + sizeof(first), second) ? 0 : 98;
              }),
              0);
}

}  // namespace
