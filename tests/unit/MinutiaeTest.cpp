// SPDX-License-Identifier: Apache-2.0
//
// Minutiae detection and CreateTemplate as wholes: every step == naive model on random, thinned
// and hostile skeletons and lists; whole images == naive model; the cases that give no template.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "engine/FPEngine.h"
#include "extract/FPExtract.h"
#include "extract/Minutiae.h"
#include "tests/model/ModelExtraction.h"
#include "tests/model/ModelMinutiae.h"
#include "tests/model/ModelOrientation.h"
#include "tests/model/ModelPreprocess.h"
#include "tests/model/ModelThinning.h"
#include "tests/support/DrawnSkeleton.h"
#include "tests/support/TestImages.h"
#include "tests/support/WorkBuffer.h"

namespace {

using model::Candidate;
using model::Candidates;
using model::Grid;
using testsupport::CandidatesOf;
using testsupport::Describe;
using testsupport::DrawnSkeleton;
using testsupport::FirstDifference;
using testsupport::ListOf;
using testsupport::NamedImage;
using testsupport::Random;
using testsupport::SeedNote;
using testsupport::WithEachFill;
using testsupport::WorkBuffer;

constexpr uint8_t kUntouched = 0xEE;

void ExpectSameSet(const model::MinutiaSet& expected, const MinutiaSet& actual) {
    ASSERT_EQ(actual.count, expected.count);
    for (size_t k = 0; k < expected.minutiae.size(); ++k) {
        ASSERT_EQ(actual.minutiae[k].attributes, expected.minutiae[k].attributes) << k;
        ASSERT_EQ(actual.minutiae[k].x, expected.minutiae[k].x) << k;
        ASSERT_EQ(actual.minutiae[k].y, expected.minutiae[k].y) << k;
        ASSERT_EQ(actual.minutiae[k].type, expected.minutiae[k].type) << k;
        ASSERT_EQ(actual.minutiae[k].direction, expected.minutiae[k].direction) << k;
    }
}

/// Runs all steps on copies of the drawing and compares the state after each.
void ExpectSameDetection(const DrawnSkeleton& drawn) {
    const model::Detection expected =
        model::DetectMinutiae(drawn.pixels, drawn.directions, drawn.periods);
    DrawnSkeleton drawing = drawn;
    Grid modelPixels = drawn.pixels;
    Candidates modelList = model::ScanCandidates(modelPixels, drawn.directions);

    qorfp::CandidateList list = ListOf({});
    qorfp::ScanCandidates(drawing.View(), &list);
    ASSERT_EQ(Describe(CandidatesOf(list)), Describe(modelList)) << "scan";
    ASSERT_EQ(FirstDifference(modelPixels, drawing.pixels), "") << "scan";

    model::RepairBrokenRidges(modelPixels, modelList);
    qorfp::RepairBrokenRidges(drawing.View(), &list);
    ASSERT_EQ(Describe(CandidatesOf(list)), Describe(modelList)) << "repair";
    ASSERT_EQ(FirstDifference(modelPixels, drawing.pixels), "") << "repair";

    model::RefineCandidates(modelPixels, drawn.directions, modelList);
    qorfp::RefineCandidates(drawing.View(), &list);
    ASSERT_EQ(Describe(CandidatesOf(list)), Describe(modelList)) << "refinement";
    ASSERT_EQ(FirstDifference(modelPixels, drawing.pixels), "") << "refinement";

    model::CompactCandidates(modelList);
    qorfp::CompactCandidates(&list);
    ASSERT_EQ(Describe(CandidatesOf(list)), Describe(modelList)) << "compaction";

    model::DeleteCrowded(modelList);
    qorfp::DeleteCrowded(&list);
    ASSERT_EQ(Describe(CandidatesOf(list)), Describe(modelList)) << "crowding";

    model::DeleteClosePairs(modelList);
    qorfp::DeleteClosePairs(&list);
    ASSERT_EQ(Describe(CandidatesOf(list)), Describe(modelList)) << "close pairs";

    MinutiaSet set;
    std::memset(&set, 0x5A, sizeof(set));
    qorfp::AssembleMinutiae(drawing.View(), list, &set);
    ExpectSameSet(model::AssembleMinutiae(modelList, drawn.directions, drawn.periods), set);
    if (drawn.directions.height >= 3) {
        ExpectSameSet(expected.set, set);
    }
    ASSERT_EQ(FirstDifference(drawn.directions, drawing.directions), "");
    ASSERT_EQ(FirstDifference(drawn.periods, drawing.periods), "");
}

/// Random orientations, a few blocks background (or none).
Grid DirectionMapFor(const Grid& pixels, Random& random) {
    Grid map((pixels.width - 1) / 4, (pixels.height - 1) / 4);
    const int32_t chances = random.OneIn(2) ? 1000000 : random.Between(10, 60);
    const int32_t base = random.Below(120);
    const int32_t spread = random.Between(1, 120);
    for (uint8_t& cell : map.cells) {
        cell = static_cast<uint8_t>((base + random.Below(spread)) % 120);
        cell = static_cast<uint8_t>(cell | (random.OneIn(chances) ? 128 : 0));
    }
    return map;
}

Grid PeriodMapFor(const Grid& pixels, Random& random) {
    Grid map((pixels.width - 1) / 4, (pixels.height - 1) / 4);
    const int32_t limit = random.OneIn(8) ? 256 : 37;
    for (uint8_t& cell : map.cells) {
        cell = static_cast<uint8_t>(random.Below(limit));
    }
    return map;
}

/// Ridge lines that wander about: many endings, forks and crossings.
Grid RandomWalks(int32_t width, int32_t height, Random& random) {
    Grid pixels(width, height, 255);
    const int32_t walks = 1 + width * height / random.Between(150, 900);
    for (int32_t walk = 0; walk < walks; ++walk) {
        int32_t x = random.Below(width);
        int32_t y = random.Below(height);
        int32_t dx = random.Between(-1, 1);
        int32_t dy = random.Between(-1, 1);
        for (int32_t step = random.Between(1, 60); step > 0; --step) {
            if (!pixels.Contains(x, y)) {
                break;
            }
            pixels.At(x, y) = 0;
            if (random.OneIn(5)) {
                dx = random.Between(-1, 1);
                dy = random.Between(-1, 1);
            }
            x += dx;
            y += dy;
        }
    }
    return pixels;
}

Grid RandomSkeleton(int32_t width, int32_t height, Random& random) {
    switch (random.Below(5)) {
        case 0:
            return testsupport::BinaryNoise(width, height, random, random.Between(5, 95));
        case 1:
            return model::Thinning(
                testsupport::BinaryNoise(width, height, random, random.Between(20, 80)));
        case 2: {  // all four values that detection works with, and others
            Grid pixels = testsupport::BinaryNoise(width, height, random, 30);
            for (uint8_t& pixel : pixels.cells) {
                const int32_t draw = random.Below(20);
                pixel = draw == 0 ? 1 : draw == 1 ? 254 : pixel;
            }
            return pixels;
        }
        default:
            return RandomWalks(width, height, random);
    }
}

// --- Detection on skeletons ---------------------------------------------------------------------

TEST(MinutiaeAgainstModel, AgreeOnRandomSkeletonsOfEverySize) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(SeedNote(seed));
    Random random(seed);
    for (int32_t height = 1; height <= 33; height += 1 + height / 12) {
        for (int32_t width = 1; width <= 33; width += 1 + width / 12) {
            SCOPED_TRACE(testing::Message() << width << " x " << height);
            const Grid pixels = RandomSkeleton(width, height, random);
            ASSERT_NO_FATAL_FAILURE(ExpectSameDetection(DrawnSkeleton(
                pixels, DirectionMapFor(pixels, random), PeriodMapFor(pixels, random))));
        }
    }
    for (int32_t round = 0; round < 60; ++round) {
        const int32_t width = random.Between(30, 170);
        const int32_t height = random.Between(30, 170);
        SCOPED_TRACE(testing::Message() << "round " << round << ": " << width << " x " << height);
        const Grid pixels = RandomSkeleton(width, height, random);
        ASSERT_NO_FATAL_FAILURE(ExpectSameDetection(
            DrawnSkeleton(pixels, DirectionMapFor(pixels, random), PeriodMapFor(pixels, random))));
    }
}

TEST(MinutiaeAgainstModel, AgreeOnThinnedPatterns) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(SeedNote(seed));
    Random random(seed + 3);
    for (const NamedImage& named : testsupport::MediumImages(seed)) {
        SCOPED_TRACE(named.name);
        const Grid pixels = model::Thinning(testsupport::Binarised(named.image));
        ASSERT_NO_FATAL_FAILURE(ExpectSameDetection(
            DrawnSkeleton(pixels, DirectionMapFor(pixels, random), PeriodMapFor(pixels, random))));
    }
    // Large enough for the list of 200 to fill.
    for (const int32_t size : {200, 253}) {
        SCOPED_TRACE(size);
        const Grid pixels = RandomWalks(size, size, random);
        const Grid map((size - 1) / 4, (size - 1) / 4, 17);
        ASSERT_NO_FATAL_FAILURE(
            ExpectSameDetection(DrawnSkeleton(pixels, map, PeriodMapFor(pixels, random))));
    }
}

/// Candidates anywhere in the image, on ridges or not, in clusters, many opposite directions.
Candidates RandomCandidates(int32_t width, int32_t height, Random& random) {
    Candidates candidates;
    const int32_t count = random.OneIn(5) ? random.Below(4) : random.Below(201);
    const int32_t spanX = random.Between(1, width);
    const int32_t spanY = random.Between(1, height);
    const int32_t originX = random.Below(width - spanX + 1);
    const int32_t originY = random.Below(height - spanY + 1);
    const int32_t axis = random.Below(120);
    for (int32_t k = 0; k < count; ++k) {
        const int32_t turned = (axis + 120 * random.Below(2) + random.Between(-25, 25) + 240) % 240;
        candidates.push_back({originX + random.Below(spanX), originY + random.Below(spanY),
                              random.Between(1, 2), random.OneIn(12) ? 255 : turned});
    }
    return candidates;
}

TEST(MinutiaeAgainstModel, AgreeStepByStepOnAnyList) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(SeedNote(seed));
    Random random(seed + 4);
    int32_t repaired = 0;
    int32_t full = 0;
    for (int32_t round = 0; round < 120; ++round) {
        SCOPED_TRACE(round);
        const int32_t width = random.Between(20, 150);
        const int32_t height = random.Between(20, 150);
        const Grid pixels =
            random.OneIn(2) ? RandomSkeleton(width, height, random) : Grid(width, height, 255);
        DrawnSkeleton drawn(pixels, DirectionMapFor(pixels, random), PeriodMapFor(pixels, random));
        const Candidates candidates = RandomCandidates(width, height, random);

        DrawnSkeleton drawing = drawn;
        Grid modelPixels = pixels;
        Candidates expected = candidates;
        qorfp::CandidateList list = ListOf(candidates);
        model::RepairBrokenRidges(modelPixels, expected);
        qorfp::RepairBrokenRidges(drawing.View(), &list);
        ASSERT_EQ(Describe(CandidatesOf(list)), Describe(expected)) << "repair";
        ASSERT_EQ(FirstDifference(modelPixels, drawing.pixels), "") << "repair";
        repaired += expected == candidates ? 0 : 1;

        drawing = drawn;
        modelPixels = pixels;
        expected = candidates;
        list = ListOf(candidates);
        model::RefineCandidates(modelPixels, drawn.directions, expected);
        qorfp::RefineCandidates(drawing.View(), &list);
        ASSERT_EQ(Describe(CandidatesOf(list)), Describe(expected)) << "refinement";
        ASSERT_EQ(FirstDifference(modelPixels, drawing.pixels), "") << "refinement";

        expected = candidates;
        list = ListOf(candidates);
        model::CompactCandidates(expected);
        qorfp::CompactCandidates(&list);
        ASSERT_EQ(Describe(CandidatesOf(list)), Describe(expected)) << "compaction";

        Candidates crowded = expected;
        qorfp::CandidateList crowdedList = list;
        model::DeleteCrowded(crowded);
        qorfp::DeleteCrowded(&crowdedList);
        ASSERT_EQ(Describe(CandidatesOf(crowdedList)), Describe(crowded)) << "crowding";

        model::DeleteClosePairs(expected);
        qorfp::DeleteClosePairs(&list);
        ASSERT_EQ(Describe(CandidatesOf(list)), Describe(expected)) << "close pairs";

        // Only what lies inside, as the border filter leaves it, has all its blocks.
        Candidates inside;
        for (const Candidate& candidate : candidates) {
            if (candidate.x >= 8 && candidate.x <= width - 9 && candidate.y >= 8 &&
                candidate.y <= height - 9) {
                inside.push_back(candidate);
            }
        }
        MinutiaSet set;
        std::memset(&set, 0x5A, sizeof(set));
        qorfp::AssembleMinutiae(drawn.View(), ListOf(inside), &set);
        ExpectSameSet(model::AssembleMinutiae(inside, drawn.directions, drawn.periods), set);
        full += set.count == 60 ? 1 : 0;
    }
    EXPECT_GT(repaired, 20);
    EXPECT_GT(full, 5);
}

/// Three straight ridges of about 25 pixels from one point.
Grid RandomFork(int32_t size, Random& random) {
    Grid pixels(size, size, 255);
    const int32_t centre = size / 2;
    for (int32_t branch = 0; branch < 3; ++branch) {
        const int32_t length = random.OneIn(4) ? random.Between(8, 14) : 25;
        const int32_t major = random.OneIn(2) ? length : -length;
        const int32_t minor = random.Between(-length, length);
        const bool isAlongX = random.OneIn(2);
        for (int32_t k = 0; k <= length; ++k) {
            const int32_t along = major * k / length;
            const int32_t across = minor * k / length;
            pixels.At(centre + (isAlongX ? along : across), centre + (isAlongX ? across : along)) =
                0;
        }
    }
    return pixels;
}

TEST(MinutiaeAgainstModel, AgreeOnForks) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(SeedNote(seed));
    Random random(seed + 6);
    int32_t forks = 0;
    for (int32_t round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        const Grid pixels = RandomFork(70, random);
        const DrawnSkeleton drawn(pixels, Grid(17, 17, 3), Grid(17, 17, 20));
        ASSERT_NO_FATAL_FAILURE(ExpectSameDetection(drawn));
        const model::Detection detection =
            model::DetectMinutiae(pixels, drawn.directions, drawn.periods);
        for (const Candidate& candidate : detection.compacted) {
            forks += candidate.type == 2 ? 1 : 0;
        }
    }
    EXPECT_GT(forks, 15);
}

// --- CreateTemplate -----------------------------------------------------------------------------

struct Made {
    int32_t result = -1;
    int32_t quality = -1;
    std::vector<uint8_t> bytes;
};

/// CreateTemplate on this image, with each fill of the buffer; the results must be the same.
Made Make(const Grid& image) {
    WorkBuffer buffer;
    std::vector<Made> results;
    WithEachFill(buffer, [&](WorkBuffer& work) {
        Made made;
        made.bytes.assign(512, kUntouched);
        work.Put(0, image);
        made.result = CreateTemplate(work.Bytes(), image.width, image.height, made.bytes.data(),
                                     &made.quality);
        results.push_back(made);
    });
    for (const Made& made : results) {
        EXPECT_EQ(made.result, results[0].result);
        EXPECT_EQ(made.quality, results[0].quality);
        EXPECT_EQ(made.bytes, results[0].bytes);
    }
    return results[0];
}

void ExpectLikeModel(const Made& made, const model::Creation& expected) {
    EXPECT_EQ(made.result, expected.result);
    EXPECT_EQ(made.quality, expected.quality);
    std::vector<uint8_t> bytes(512, kUntouched);
    if (expected.result == 0) {
        std::copy(expected.bytes.begin(), expected.bytes.begin() + 370, bytes.begin());
    }
    EXPECT_EQ(made.bytes, bytes);
}

TEST(CreateTemplate, MakesNoneOfFewerThanThreeBlockRows) {
    // 12 rows: two block rows. The quality is written all the same. (Wide enough for the histogram
    // to have contrast left when its ends are cut.)
    const Grid image = testsupport::StripeImage(256, 12, 9.0, 0, 0, 255);
    const int32_t quality = model::CalcDirA(model::SmoothImage(image, 1)).quality;
    EXPECT_GT(quality, 0);
    const Made made = Make(image);
    EXPECT_EQ(made.result, 1);
    EXPECT_EQ(made.quality, quality);
    EXPECT_EQ(made.bytes, std::vector<uint8_t>(512, kUntouched));
}

TEST(CreateTemplate, MakesNoneOfAnImageWithoutRidges) {
    for (const int32_t grey : {0, 128, 255}) {
        const Made made = Make(testsupport::UniformImage(128, 128, static_cast<uint8_t>(grey)));
        EXPECT_EQ(made.result, 1);
        EXPECT_EQ(made.quality, 0);
        EXPECT_EQ(made.bytes, std::vector<uint8_t>(512, kUntouched));
    }
    // Straight stripes have no minutiae, but a good orientation.
    const Made stripes = Make(testsupport::StripeImage(128, 128, 9.0, 0, 0, 255));
    EXPECT_EQ(stripes.result, 1);
    EXPECT_GT(stripes.quality, 50);
    EXPECT_EQ(stripes.bytes, std::vector<uint8_t>(512, kUntouched));
}

TEST(CreateTemplateAgainstModel, AgreesOnTinyImages) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(SeedNote(seed));
    for (const NamedImage& named : testsupport::TinyImages(seed)) {
        SCOPED_TRACE(named.name);
        ASSERT_NO_FATAL_FAILURE(
            ExpectLikeModel(Make(named.image), model::CreateTemplate(named.image)));
        if (HasFailure()) {
            return;
        }
    }
}

TEST(CreateTemplateAgainstModel, AgreesOnImagesOfAllKinds) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(SeedNote(seed));
    for (const NamedImage& named : testsupport::MediumImages(seed)) {
        SCOPED_TRACE(named.name);
        ExpectLikeModel(Make(named.image), model::CreateTemplate(named.image));
    }
}

TEST(CreateTemplateAgainstModel, AgreesOnLargeImages) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(SeedNote(seed));
    int32_t templates = 0;
    for (const NamedImage& named : testsupport::LargeImages(seed)) {
        SCOPED_TRACE(named.name);
        const model::Creation expected = model::CreateTemplate(named.image);
        ExpectLikeModel(Make(named.image), expected);
        templates += expected.result == 0 ? 1 : 0;
    }
    EXPECT_GT(templates, 0) << "no image made a template";
}

TEST(CreateTemplateAgainstModel, AgreesBehindPreprocessing) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(SeedNote(seed));
    Random random(seed + 5);
    for (int32_t round = 0; round < 3; ++round) {
        const Grid image = testsupport::FingerImage(200 + 4 * round, 240 - 4 * round, random);
        const model::Creation expected = model::CreateTemplate(model::Preprocess(image));
        WorkBuffer buffer;
        WithEachFill(buffer, [&](WorkBuffer& work) {
            Made made;
            made.bytes.assign(512, kUntouched);
            work.Put(0, image);
            made.result = ICreateTemplate(work.Bytes(), image.width, image.height,
                                          made.bytes.data(), &made.quality);
            ExpectLikeModel(made, expected);
        });
    }
}

}  // namespace
