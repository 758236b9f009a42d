// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Improve: arguments, the score from which it updates, and what an update changes.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "include/QORFPApi.h"
#include "tests/api/FencedBytes.h"
#include "tests/api/GuardedBytes.h"
#include "tests/api/HandTemplate.h"
#include "tests/api/KnownScores.h"
#include "tests/api/TestFingers.h"

namespace {

using apitest::Bytes;
using apitest::HandMinutia;
using apitest::Minutiae;

struct Improvement {
    uint32_t result = 0;
    Bytes bytes;  ///< the enrolled template afterwards
};

Improvement Improve(const Bytes& sample, const Bytes& enrolled) {
    const apitest::FencedBytes fresh(sample);
    apitest::GuardedBytes room(enrolled.size());
    std::copy(enrolled.begin(), enrolled.end(), room.Data());
    Improvement improvement;
    improvement.result = QORFP_Improve(fresh.Data(), room.Data());
    EXPECT_TRUE(room.GuardsIntact());
    improvement.bytes = room.Copy();
    return improvement;
}

void ExpectUnchanged(const Bytes& sample, const Bytes& enrolled, uint32_t result) {
    const Improvement improvement = Improve(sample, enrolled);
    EXPECT_EQ(improvement.result, result);
    EXPECT_EQ(improvement.bytes, enrolled);
}

Minutiae WithConfidence(Minutiae minutiae, int32_t confidence) {
    for (HandMinutia& minutia : minutiae) {
        minutia.confidence = confidence;
    }
    return minutiae;
}

// Twenty-five minutiae of which each lies in a bar.
Minutiae TwentyFive() {
    return apitest::Scatter(4, 25, 200);
}

// The same minutiae, but not the same 512 bytes.
Bytes AsSample(const Minutiae& minutiae) {
    Bytes bytes = apitest::WriteTemplate(minutiae);
    bytes[511] ^= 0x80;
    return bytes;
}

TEST(Improve, RefusesNullPointers) {
    Bytes bytes = apitest::WriteTemplate(TwentyFive());
    const Bytes before = bytes;
    EXPECT_EQ(QORFP_Improve(nullptr, nullptr), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_Improve(nullptr, bytes.data()), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_Improve(bytes.data(), nullptr), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(bytes, before);
}

TEST(Improve, RefusesUnusableSamples) {
    const Bytes enrolled = apitest::WriteTemplate(TwentyFive());
    Bytes sample = AsSample(TwentyFive());
    for (const char* const version : {"300", "302", "299", "201"}) {
        std::copy(version, version + 3, sample.begin());
        ExpectUnchanged(sample, enrolled, QORFP_BAD_TEMPLATE);
    }
    sample = AsSample(TwentyFive());
    for (const int32_t count : {61, 100, 255}) {
        sample[apitest::kCountByte] = static_cast<uint8_t>(count);
        ExpectUnchanged(sample, enrolled, QORFP_BAD_TEMPLATE);
    }
    // Refused before it is seen that nothing can be learnt.
    const Bytes old = apitest::WriteTemplate(TwentyFive(), "300");
    ExpectUnchanged(old, old, QORFP_BAD_TEMPLATE);
}

TEST(Improve, SamplesThatDoNotDecodeChangeNothing) {
    const Bytes enrolled = apitest::WriteTemplate(TwentyFive());
    for (const int32_t count : {0, 5, 26}) {  // the 26th minutia has type 0
        Bytes sample = AsSample(TwentyFive());
        sample[apitest::kCountByte] = static_cast<uint8_t>(count);
        ExpectUnchanged(sample, enrolled, QORFP_FAILED);
    }
}

TEST(Improve, EnrolledTemplatesThatDoNotDecodeStay) {
    const Bytes sample = AsSample(TwentyFive());
    for (const int32_t count : {0, 5, 26, 61, 255}) {
        Bytes enrolled = apitest::WriteTemplate(TwentyFive());
        enrolled[apitest::kCountByte] = static_cast<uint8_t>(count);
        ExpectUnchanged(sample, enrolled, QORFP_FAILED);
    }
}

TEST(Improve, EqualBytesTeachNothing) {
    const Bytes bytes = apitest::WriteTemplate(TwentyFive());
    ExpectUnchanged(bytes, bytes, QORFP_FAILED);
    Bytes same = bytes;
    EXPECT_EQ(QORFP_Improve(same.data(), same.data()), QORFP_FAILED);
    EXPECT_EQ(same, bytes);
}

TEST(Improve, StrangersTeachNothing) {
    ExpectUnchanged(apitest::WriteTemplate(apitest::Scatter(5, 25, 200)),
                    apitest::WriteTemplate(TwentyFive()), QORFP_FAILED);
}

// A sample with the same minutiae confirms each of them: confidence 8 becomes 11, 14 and 15 (the
// most). The last step lifts the sum by 25, and after it there is nothing left to lift.
TEST(Improve, ConfirmationsLiftTheConfidence) {
    const Minutiae minutiae = TwentyFive();
    ASSERT_EQ(minutiae.size(), 25u);
    const Bytes sample = AsSample(minutiae);
    Bytes enrolled = apitest::WriteTemplate(minutiae);
    enrolled[apitest::kQualityByte] = 77;
    for (const int32_t confidence : {11, 14, 15}) {
        const Improvement improvement = Improve(sample, enrolled);
        ASSERT_EQ(improvement.result, QORFP_OK) << confidence;
        Bytes expected = apitest::WriteTemplate(WithConfidence(minutiae, confidence));
        EXPECT_TRUE(std::equal(expected.begin(), expected.begin() + 369, improvement.bytes.begin()))
            << confidence;
        EXPECT_EQ(improvement.bytes[apitest::kQualityByte], 77);  // stays
        EXPECT_EQ(improvement.bytes[510], enrolled[510]);         // not renewed
        EXPECT_EQ(improvement.bytes[511], enrolled[511]);
        enrolled = improvement.bytes;
    }
    ExpectUnchanged(sample, enrolled, QORFP_FAILED);
}

// An update is kept only when it adds minutiae or lifts the sum of the confidences by 5 or more.
TEST(Improve, ASmallGainIsNotEnough) {
    const Minutiae minutiae = TwentyFive();
    const Bytes sample = AsSample(minutiae);
    Minutiae enrolled = WithConfidence(minutiae, 15);
    enrolled[3].confidence = 14;
    enrolled[9].confidence = 12;
    ExpectUnchanged(sample, apitest::WriteTemplate(enrolled), QORFP_FAILED);  // 1 + 3
    enrolled[20].confidence = 14;                                             // 1 + 3 + 1
    const Improvement improvement = Improve(sample, apitest::WriteTemplate(enrolled));
    EXPECT_EQ(improvement.result, QORFP_OK);
    for (const HandMinutia& minutia : apitest::ReadTemplate(improvement.bytes)) {
        EXPECT_EQ(minutia.confidence, 15);
    }
}

TEST(Improve, RebuildsTheIndex) {
    const Minutiae minutiae = TwentyFive();
    Bytes enrolled = apitest::WriteTemplate(minutiae);
    std::fill(enrolled.begin() + 370, enrolled.begin() + 510, uint8_t{0xEE});
    const Improvement improvement = Improve(AsSample(minutiae), enrolled);
    ASSERT_EQ(improvement.result, QORFP_OK);
    Bytes old = apitest::WriteTemplate(minutiae, "300");  // whose upgrade has the same index
    int32_t converted = 0;
    ASSERT_EQ(QORFP_CheckFeature(old.data(), &converted), QORFP_OK);
    EXPECT_GT(old[apitest::kKeyCountByte], 0);
    EXPECT_TRUE(std::equal(old.begin() + 370, old.begin() + 510, improvement.bytes.begin() + 370));
}

TEST(Improve, AMissingQualityIsFilledIn) {
    Bytes enrolled = apitest::WriteTemplate(TwentyFive());
    enrolled[apitest::kQualityByte] = 0;
    const Improvement improvement = Improve(AsSample(TwentyFive()), enrolled);
    ASSERT_EQ(improvement.result, QORFP_OK);
    EXPECT_EQ(improvement.bytes[apitest::kQualityByte], 54);  // by 25 minutiae
}

TEST(Improve, TheEnrolledVersionIsNotTested) {
    for (const char* const version : {"300", "999"}) {
        Bytes enrolled = apitest::WriteTemplate(TwentyFive(), version);
        enrolled[apitest::kQualityByte] = 66;
        const Improvement improvement = Improve(AsSample(TwentyFive()), enrolled);
        ASSERT_EQ(improvement.result, QORFP_OK) << version;
        EXPECT_EQ(std::string(improvement.bytes.begin(), improvement.bytes.begin() + 3), "301");
        // An unknown version has no quality.
        EXPECT_EQ(improvement.bytes[apitest::kQualityByte], version[0] == '3' ? 66 : 0);
    }
}

TEST(Improve, UpdatesFromAScoreOf225On) {
    const Minutiae minutiae = apitest::UnmistakableSet(6);
    const Bytes sample = AsSample(minutiae);
    const Bytes below = apitest::WriteTemplate(apitest::CopyScoring(minutiae, 224));
    const Bytes at = apitest::WriteTemplate(apitest::CopyScoring(minutiae, 225));
    int32_t score = -1;
    QORFP_Verify(sample.data(), below.data(), 1, &score);
    EXPECT_EQ(score, 224);
    ExpectUnchanged(sample, below, QORFP_FAILED);
    QORFP_Verify(sample.data(), at.data(), 1, &score);
    EXPECT_EQ(score, 225);
    EXPECT_EQ(Improve(sample, at).result, QORFP_OK);
}

// Attributes move by a quarter towards the sample: (3 x 20 + 26 + 2) / 4.
TEST(Improve, AttributesMoveTowardsTheSample) {
    const Minutiae minutiae = TwentyFive();
    Minutiae other = minutiae;
    for (HandMinutia& minutia : other) {
        minutia.density = 26;
        minutia.disorder = 17;
    }
    const Improvement improvement =
        Improve(apitest::WriteTemplate(other), apitest::WriteTemplate(minutiae));
    ASSERT_EQ(improvement.result, QORFP_OK);
    for (const HandMinutia& minutia : apitest::ReadTemplate(improvement.bytes)) {
        EXPECT_EQ(minutia.density, 22);
        EXPECT_EQ(minutia.disorder, 19);  // (60 + 17 + 2) / 4
        EXPECT_EQ(minutia.confidence, 11);
    }
}

// Minutiae that only the sample has are added when they lie outside the enrolled area, with
// confidence 4.
TEST(Improve, NewAreaIsAdded) {
    const Minutiae minutiae = TwentyFive();
    Minutiae more = minutiae;
    for (int32_t k = 0; k < 4; ++k) {
        HandMinutia minutia;
        minutia.x = 300 + 30 * k;
        minutia.y = 100 + 25 * k;
        minutia.direction = 20 * k;
        more.push_back(minutia);
    }
    const Improvement improvement =
        Improve(apitest::WriteTemplate(more), apitest::WriteTemplate(minutiae));
    ASSERT_EQ(improvement.result, QORFP_OK);
    const Minutiae result = apitest::ReadTemplate(improvement.bytes);
    ASSERT_EQ(result.size(), 29u);
    for (size_t k = 25; k < 29; ++k) {
        EXPECT_EQ(result[k].x, more[k].x);
        EXPECT_EQ(result[k].y, more[k].y);
        EXPECT_EQ(result[k].confidence, 4);
    }
}

TEST(Improve, ExtractedStrangersTeachNothing) {
    ExpectUnchanged(apitest::TemplateOf(2), apitest::TemplateOf(1), QORFP_FAILED);
}

}  // namespace
