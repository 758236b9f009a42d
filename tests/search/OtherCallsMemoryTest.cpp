// SPDX-License-Identifier: Apache-2.0
//
// No exported call other than the two searches allocates memory, whether it succeeds or fails.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <new>
#include <numeric>
#include <string>
#include <vector>

#include "include/QORFPApi.h"
#include "match/FPMatch.h"
#include "tests/search/AllocationWatch.h"
#include "tests/search/CandidatePool.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/TestImages.h"

namespace {

using model::MinutiaSet;
using searchtest::AllocationWatch;
using searchtest::Pool;
using searchtest::TemplateBytes;
using testsupport::Grid;
using testsupport::Random;

/// Expects the result, and that nothing was allocated on the way to it.
void ExpectFrugal(uint32_t expectedResult, const std::function<uint32_t()>& call) {
    testsupport::OutputOf([&] {
        AllocationWatch watch({});
        const uint32_t result = call();
        watch.Stop();
        EXPECT_EQ(result, expectedResult);
        EXPECT_EQ(watch.Count(), 0U);
        EXPECT_EQ(watch.FreedAmiss(), 0U);
    });
}

/// A finger's minutiae with every confidence at `confidence`, less the last `lost`.
TemplateBytes Capture(MinutiaSet set, size_t lost, uint8_t confidence) {
    set.minutiae.resize(set.minutiae.size() - lost);
    set.confidence.assign(set.minutiae.size(), confidence);
    set.count = static_cast<int32_t>(set.minutiae.size());
    return testsupport::FinishedTemplate(set);
}

MinutiaSet SomeFinger() {
    Random random(testsupport::Seed());
    return testsupport::RandomSet(random, testsupport::Layout::kSpread, 40);
}

TEST(OtherCallsMemory, TextsAndInitialisation) {
    char text[QORFP_BUILD_TIME_BYTES];
    ExpectFrugal(0, [] { return QORFP_Initial(0); });
    ExpectFrugal(0, [&] { return QORFP_Version(text); });
    ExpectFrugal(0, [&] { return QORFP_BuildTime(text); });
    ExpectFrugal(4, [] { return QORFP_Version(nullptr); });
}

TEST(OtherCallsMemory, Extraction) {
    testsupport::OutputOf([] { QORFP_Initial(0); });
    Random random(1);
    const Grid finger = testsupport::FingerImage(256, 360, random);
    const Grid sensorFinger = testsupport::FingerImage(152, 200, random);
    const Grid white(256, 360, 255);
    TemplateBytes bytes(512);
    int32_t quality = 0;
    const auto extract = [&](const Grid& image) {
        return QORFP_Extract(image.cells.data(), image.width, image.height, bytes.data(), &quality);
    };
    ExpectFrugal(0, [&] { return extract(finger); });
    ExpectFrugal(0, [&] { return extract(sensorFinger); });
    ExpectFrugal(1, [&] { return extract(white); });
    ExpectFrugal(5, [&] { return QORFP_Extract(nullptr, 256, 360, bytes.data(), &quality); });
    ExpectFrugal(0, [&] { return QORFP_CheckFinger(finger.cells.data(), 256, 360); });
    ExpectFrugal(6, [&] { return QORFP_CheckFinger(white.cells.data(), 256, 360); });
}

TEST(OtherCallsMemory, EnrolmentAndImprovement) {
    testsupport::OutputOf([] { QORFP_Initial(0); });
    const MinutiaSet finger = SomeFinger();
    std::vector<uint8_t> captures;
    for (const size_t lost : {3U, 0U, 5U}) {
        const TemplateBytes capture = Capture(finger, lost, 8);
        captures.insert(captures.end(), capture.begin(), capture.end());
    }
    TemplateBytes out(512);
    int32_t quality = 0;
    ExpectFrugal(0, [&] { return QORFP_Enroll(captures.data(), 3, out.data(), &quality); });
    ExpectFrugal(0, [&] { return QORFP_Enroll(captures.data(), 2, out.data(), &quality); });
    ExpectFrugal(5, [&] { return QORFP_Enroll(captures.data(), 1, out.data(), &quality); });
    captures[512 + 3] = 0;
    ExpectFrugal(1, [&] { return QORFP_Enroll(captures.data(), 3, out.data(), &quality); });

    TemplateBytes enrolled = Capture(finger, 12, 8);
    const TemplateBytes sample = Capture(finger, 0, 8);
    ExpectFrugal(0, [&] { return QORFP_Improve(sample.data(), enrolled.data()); });
    enrolled = sample;
    ExpectFrugal(1, [&] { return QORFP_Improve(sample.data(), enrolled.data()); });
    ExpectFrugal(5, [&] { return QORFP_Improve(nullptr, enrolled.data()); });
}

TEST(OtherCallsMemory, VerificationAndChecks) {
    const TemplateBytes good = Pool().probe;
    const TemplateBytes stranger = Pool().TemplateOf({Pool().strangers[0], 0});
    int32_t number = 0;
    const auto verify = [&](const TemplateBytes& first, const TemplateBytes& second) {
        return QORFP_Verify(first.data(), second.data(), 3, &number);
    };
    TemplateBytes old = good;
    old[2] = '0';
    TemplateBytes unknown = good;
    unknown[0] = 'x';
    ExpectFrugal(0, [&] { return verify(good, good); });
    ExpectFrugal(1, [&] { return verify(good, stranger); });
    ExpectFrugal(8, [&] { return verify(good, unknown); });
    ExpectFrugal(0, [&] { return QORFP_CheckFeature(old.data(), &number); });
    EXPECT_EQ(number, 1);
    ExpectFrugal(0, [&] { return QORFP_CheckFeature(old.data(), &number); });
    EXPECT_EQ(number, 0);
    ExpectFrugal(8, [&] { return QORFP_CheckFeature(unknown.data(), &number); });
    ExpectFrugal(5, [&] { return QORFP_CheckFeature(nullptr, &number); });
}

TEST(OtherCallsMemory, Sorting) {
    std::vector<int32_t> keys(5000);
    std::iota(keys.rbegin(), keys.rend(), -2500);
    std::vector<int32_t> values = keys;
    int32_t scratch[40];
    ExpectFrugal(1, [&] {
        return static_cast<uint32_t>(quickSortEx(keys.data(), values.data(), 5000, scratch));
    });
    ExpectFrugal(1, [&] { return static_cast<uint32_t>(quickSort(values.data(), 5000, scratch)); });
}

// The watch sees what it should see.
TEST(OtherCallsMemory, AllocationsAreNoted) {
    AllocationWatch watch({});
    void* const first = ::operator new(100);
    void* volatile second = malloc(7);
    free(second);
    watch.Stop();
    ASSERT_EQ(watch.Count(), 2U);
    EXPECT_EQ(watch.At(0).bytes, 100U);
    EXPECT_EQ(watch.At(1).bytes, 7U);
    EXPECT_EQ(watch.Leaked(), 1U);
    ::operator delete(first);
}

}  // namespace
