// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Enroll: arguments, quality, and what it makes of templates that agree, that do not, and
// that cannot be used.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <string>
#include <tuple>

#include "include/QORFPApi.h"
#include "tests/api/FencedBytes.h"
#include "tests/api/GuardedBytes.h"
#include "tests/api/HandTemplate.h"
#include "tests/api/TestFingers.h"

namespace {

using apitest::Bytes;
using apitest::FencedBytes;
using apitest::GuardedBytes;
using apitest::GuardedNumber;
using apitest::HandMinutia;
using apitest::Minutiae;

Minutiae TwentyFive(uint64_t seed = 4) {
    const Minutiae minutiae = apitest::Scatter(seed, 25, 200);
    EXPECT_EQ(minutiae.size(), 25u);
    return minutiae;
}

Bytes WithQuality(Bytes bytes, uint8_t quality) {
    bytes[apitest::kQualityByte] = quality;
    return bytes;
}

struct Enrolment {
    uint32_t result = 0;
    Bytes bytes;
    int32_t quality = 0;
};

// Fuses templates that may not be written and end at unreadable memory; `n` is what the call is
// told, where it differs from their number.
Enrolment Enroll(const std::vector<Bytes>& templates, int32_t n = 0) {
    Bytes joined;
    for (const Bytes& bytes : templates) {
        joined.insert(joined.end(), bytes.begin(), bytes.end());
    }
    const FencedBytes inputs(joined);
    GuardedBytes out(apitest::kTemplateBytes);
    GuardedNumber quality;
    Enrolment enrolment;
    enrolment.result =
        QORFP_Enroll(inputs.Data(), n != 0 ? n : static_cast<int32_t>(templates.size()), out.Data(),
                     &quality.value);
    EXPECT_TRUE(out.GuardsIntact());
    EXPECT_TRUE(quality.GuardsIntact());
    EXPECT_EQ(quality.Untouched(), enrolment.result != QORFP_OK);
    enrolment.bytes = out.Copy();
    enrolment.quality = quality.value;
    return enrolment;
}

using MinutiaKey = std::tuple<int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t>;

// The minutiae in an order of their own, for comparisons where theirs does not matter.
std::vector<MinutiaKey> Sorted(const Minutiae& minutiae) {
    std::vector<MinutiaKey> keys;
    for (const HandMinutia& m : minutiae) {
        keys.emplace_back(m.x, m.y, m.type, m.direction, m.density, m.disorder, m.confidence);
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

void ExpectFinished(const Enrolment& enrolment) {
    const Bytes& bytes = enrolment.bytes;
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 3), "301");
    EXPECT_GE(bytes[apitest::kCountByte], 10);
    ASSERT_LE(bytes[apitest::kCountByte], 60);
    for (size_t k = apitest::kFirstMinutia + apitest::kMinutiaBytes * bytes[apitest::kCountByte];
         k < apitest::kQualityByte; ++k) {
        EXPECT_EQ(bytes[k], 0) << "byte " << k;
    }
    EXPECT_EQ(enrolment.quality, int32_t{bytes[apitest::kQualityByte]});
    ASSERT_LE(bytes[apitest::kKeyCountByte], 19);
    EXPECT_EQ(bytes[apitest::kKeyCountByte + 1], 0);
    for (size_t k = apitest::kFirstKey + apitest::kKeyBytes * bytes[apitest::kKeyCountByte];
         k < apitest::kChecksumByte; ++k) {
        EXPECT_EQ(bytes[k], 0) << "byte " << k;
    }
    EXPECT_EQ(bytes[510] + 256u * bytes[511], apitest::ByteSum(bytes));
}

TEST(Enroll, RefusesNullPointersAloneAndTogether) {
    Bytes inputs = apitest::WriteTemplate(TwentyFive());
    inputs.insert(inputs.end(), inputs.begin(), inputs.begin() + 512);
    for (int32_t given = 0; given < 7; ++given) {  // a bit each; all three given is the good call
        GuardedBytes out(apitest::kTemplateBytes);
        GuardedNumber quality;
        EXPECT_EQ(QORFP_Enroll((given & 1) != 0 ? inputs.data() : nullptr, 2,
                               (given & 2) != 0 ? out.Data() : nullptr,
                               (given & 4) != 0 ? &quality.value : nullptr),
                  QORFP_BAD_ARGUMENT)
            << "pointers given: " << given;
        EXPECT_TRUE(out.Untouched());
        EXPECT_TRUE(quality.Untouched());
    }
}

TEST(Enroll, RefusesFewerThanTwoTemplatesUnread) {
    for (const int32_t n : {1, 0, -1, -2, INT_MIN}) {
        GuardedBytes out(apitest::kTemplateBytes);
        GuardedNumber quality;
        EXPECT_EQ(QORFP_Enroll(apitest::UnreadableAddress(), n, out.Data(), &quality.value),
                  QORFP_BAD_ARGUMENT)
            << n;
        EXPECT_TRUE(out.Untouched());
        EXPECT_TRUE(quality.Untouched());
    }
}

TEST(Enroll, ReadsTwoOrThreeTemplatesAndNoMore) {
    const Bytes one = apitest::WriteTemplate(TwentyFive());
    EXPECT_EQ(Enroll({one, one}).result, QORFP_OK);
    const Enrolment three = Enroll({one, one, one});
    EXPECT_EQ(three.result, QORFP_OK);
    for (const int32_t n : {4, 5, 1000, INT_MAX}) {
        const Enrolment more = Enroll({one, one, one}, n);
        EXPECT_EQ(more.result, QORFP_OK) << n;
        EXPECT_EQ(more.bytes, three.bytes) << n;
    }
}

// Three equal observations of a minutia average to itself.
TEST(Enroll, OfEqualTemplatesKeepsEveryMinutia) {
    const Minutiae minutiae = TwentyFive();
    const Bytes one = apitest::WriteTemplate(minutiae);
    for (const size_t count : {size_t{2}, size_t{3}}) {
        const Enrolment enrolment = Enroll(std::vector<Bytes>(count, one));
        ASSERT_EQ(enrolment.result, QORFP_OK);
        ExpectFinished(enrolment);
        EXPECT_EQ(Sorted(apitest::ReadTemplate(enrolment.bytes)), Sorted(minutiae));
        EXPECT_GT(enrolment.bytes[apitest::kKeyCountByte], 0);
    }
}

TEST(Enroll, BringsShiftedTemplatesTogether) {
    const Minutiae minutiae = TwentyFive();
    const Enrolment enrolment =
        Enroll({apitest::WriteTemplate(minutiae),
                apitest::WriteTemplate(apitest::Shifted(minutiae, 30, -20)),
                apitest::WriteTemplate(apitest::Shifted(minutiae, -41, 7))});
    ASSERT_EQ(enrolment.result, QORFP_OK);
    ExpectFinished(enrolment);
    EXPECT_EQ(Sorted(apitest::ReadTemplate(enrolment.bytes)), Sorted(minutiae));
}

// Attributes are averaged, and every confidence is written as 8.
TEST(Enroll, AveragesAttributes) {
    Minutiae low = TwentyFive();
    Minutiae middle = low;
    Minutiae high = low;
    for (size_t k = 0; k < low.size(); ++k) {
        low[k].density = 17;
        middle[k].density = 20;
        high[k].density = 22;  // the sum of 59, and 1, over 3
        low[k].disorder = 19;
        middle[k].disorder = 20;
        high[k].disorder = 20;  // 59 as well
        low[k].confidence = 3;
        high[k].confidence = 15;
    }
    const Enrolment three = Enroll({apitest::WriteTemplate(low), apitest::WriteTemplate(middle),
                                    apitest::WriteTemplate(high)});
    ASSERT_EQ(three.result, QORFP_OK);
    Minutiae expected = middle;
    for (HandMinutia& minutia : expected) {
        minutia.density = 20;
        minutia.disorder = 20;
        minutia.confidence = 8;
    }
    EXPECT_EQ(Sorted(apitest::ReadTemplate(three.bytes)), Sorted(expected));
    // Of two, the first stands in for the third: 17, 22 and 17 give 19.
    const Enrolment two = Enroll({apitest::WriteTemplate(low), apitest::WriteTemplate(high)});
    ASSERT_EQ(two.result, QORFP_OK);
    for (HandMinutia& minutia : expected) {
        minutia.density = 19;
        minutia.disorder = 19;
    }
    EXPECT_EQ(Sorted(apitest::ReadTemplate(two.bytes)), Sorted(expected));
}

TEST(Enroll, QualityIsTheMean) {
    const Bytes one = apitest::WriteTemplate(TwentyFive());
    const auto qualityOf = [&one](const std::vector<uint8_t>& qualities) {
        std::vector<Bytes> templates;
        for (const uint8_t quality : qualities) {
            templates.push_back(WithQuality(one, quality));
        }
        const Enrolment enrolment = Enroll(templates);
        EXPECT_EQ(enrolment.result, QORFP_OK);
        return enrolment.quality;
    };
    EXPECT_EQ(qualityOf({30, 60, 92}), 60);  // 182 / 3
    EXPECT_EQ(qualityOf({100, 100, 100}), 100);
    EXPECT_EQ(qualityOf({1, 1, 1}), 1);
    EXPECT_EQ(qualityOf({30, 90}), 50);  // the first counts twice
    EXPECT_EQ(qualityOf({90, 30}), 70);
    EXPECT_EQ(qualityOf({0, 60, 90}), 68);  // 25 minutiae without a quality count as 54
}

TEST(Enroll, AnUnknownVersionCountsAsQualityZero) {
    const Bytes one = WithQuality(apitest::WriteTemplate(TwentyFive()), 90);
    Bytes unknown = one;
    unknown[2] = '9';
    const Enrolment enrolment = Enroll({one, unknown, one});
    EXPECT_EQ(enrolment.result, QORFP_OK);  // fusion does not look at the version
    EXPECT_EQ(enrolment.quality, 60);
    Bytes old = one;
    old[2] = '0';
    EXPECT_EQ(Enroll({old, old, one}).quality, 90);
}

TEST(Enroll, RefusesStrangers) {
    const Bytes one = apitest::WriteTemplate(TwentyFive(4));
    const Bytes other = apitest::WriteTemplate(TwentyFive(5));
    EXPECT_EQ(Enroll({one, other}).result, QORFP_FAILED);
    EXPECT_EQ(Enroll({one, one, other}).result, QORFP_FAILED);
    EXPECT_EQ(Enroll({one, other, one}).result, QORFP_FAILED);
    EXPECT_EQ(Enroll({other, one, one}).result, QORFP_FAILED);
    EXPECT_EQ(Enroll({one, one, one, other}).result, QORFP_OK);  // the fourth is not used
}

TEST(Enroll, RefusesUnusableTemplates) {
    const Bytes one = apitest::WriteTemplate(TwentyFive());
    for (const int32_t count : {0, 5, 26, 61, 255}) {  // the 26th minutia has type 0
        Bytes bad = one;
        bad[apitest::kCountByte] = static_cast<uint8_t>(count);
        EXPECT_EQ(Enroll({bad, one, one}).result, QORFP_FAILED) << count;
        EXPECT_EQ(Enroll({one, bad, one}).result, QORFP_FAILED) << count;
        EXPECT_EQ(Enroll({one, one, bad}).result, QORFP_FAILED) << count;
        EXPECT_EQ(Enroll({one, bad}).result, QORFP_FAILED) << count;
        EXPECT_EQ(Enroll({bad, one}).result, QORFP_FAILED) << count;
    }
}

TEST(Enroll, NeedsTenMinutiae) {
    const Bytes nine = apitest::WriteTemplate(apitest::Scatter(3, 9, 120));
    const Bytes ten = apitest::WriteTemplate(apitest::Scatter(3, 10, 120));
    EXPECT_EQ(Enroll({nine, nine, nine}).result, QORFP_FAILED);
    EXPECT_EQ(Enroll({ten, ten, ten}).result, QORFP_OK);
}

// The output may be one of the inputs. It is written before the qualities are read, so that input
// counts with the quality of its number of minutiae (54 for 25).
TEST(Enroll, MayOverwriteAnInput) {
    const Minutiae minutiae = TwentyFive();
    const Bytes one = WithQuality(apitest::WriteTemplate(minutiae), 90);
    for (size_t place = 0; place < 3; ++place) {
        Bytes joined = one;
        joined.insert(joined.end(), one.begin(), one.end());
        joined.insert(joined.end(), one.begin(), one.end());
        uint8_t* const out = joined.data() + 512 * place;
        int32_t quality = -1;
        EXPECT_EQ(QORFP_Enroll(joined.data(), 3, out, &quality), QORFP_OK);
        EXPECT_EQ(quality, (90 + 90 + 54) / 3);
        EXPECT_EQ(Sorted(apitest::ReadTemplate(Bytes(out, out + 512))), Sorted(minutiae));
    }
}

TEST(Enroll, DoesNotLookAtIndexOrChecksum) {
    const Bytes one = apitest::WriteTemplate(TwentyFive());
    Bytes changed(one.begin(), one.begin() + 370);
    changed.resize(one.size(), 0xFF);
    EXPECT_EQ(Enroll({changed, one, changed}).bytes, Enroll({one, one, one}).bytes);
}

TEST(Enroll, OfWindowsOfAFingerCoversThemAll) {
    const apitest::Grid finger = apitest::FingerOf(1);
    const auto window = [&finger](int32_t left, int32_t top) {
        apitest::Grid part(200, 280);
        for (int32_t y = 0; y < part.height; ++y) {
            for (int32_t x = 0; x < part.width; ++x) {
                part.At(x, y) = finger.At(left + x, top + y);
            }
        }
        const apitest::Extraction extraction = apitest::Extract(part);
        EXPECT_EQ(extraction.result, QORFP_OK);
        return extraction.bytes;
    };
    const std::vector<Bytes> templates = {window(28, 40), window(0, 10), window(56, 70)};
    const Enrolment enrolment = Enroll(templates);
    ASSERT_EQ(enrolment.result, QORFP_OK);
    ExpectFinished(enrolment);
    for (const Bytes& bytes : templates) {
        EXPECT_GE(enrolment.bytes[apitest::kCountByte], bytes[apitest::kCountByte]);
        int32_t score = -1;
        EXPECT_EQ(QORFP_Verify(bytes.data(), enrolment.bytes.data(), 5, &score), QORFP_OK);
    }
}

}  // namespace
