// SPDX-License-Identifier: Apache-2.0
//
// make_selftest_tables IMAGES FOLDER: writes the tables of qorfp-selftest, PinnedCaptures.c from
// the PGM images of one folder and PinnedResults.c from the naive models, into another. It is
// linked with the models and not with the library, so that the results do not come from the code
// that they test.
#include <array>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/model/ModelExtraction.h"
#include "tests/model/ModelFingerCheck.h"
#include "tests/model/ModelFusion.h"
#include "tests/model/ModelSearch.h"
#include "tests/model/ModelTemplate.h"
#include "tests/model/ModelTemplateCheck.h"
#include "tests/selftest/SourceFile.h"
#include "tests/support/Pgm.h"
#include "tools/selftest/Pinned.h"

namespace {

using model::Grid;
using model::TemplateBytes;
using selftest::SourceFile;

constexpr size_t kBytes = QORFP_TEMPLATE_BYTES;

// Where the captures lie in the images, and below which grey a pixel counts as ridge.
constexpr std::array<const char*, kCaptures> kImages = {"1_1.pgm", "1_2.pgm", "1_3.pgm", "2_1.pgm"};
constexpr int32_t kLeft = 40;
constexpr int32_t kTop = 80;
constexpr uint8_t kRidgeBelow = 128;

using Captures = std::array<std::vector<uint8_t>, kCaptures>;

std::vector<uint8_t> ReadCapture(const std::string& path) {
    const support::PgmImage pgm = support::ReadPgm(path);
    std::vector<uint8_t> bits(kCaptureBytes, 0);
    for (int32_t y = 0; y < kCaptureHeight; ++y) {
        for (int32_t x = 0; x < kCaptureWidth; ++x) {
            const size_t source = static_cast<size_t>((kTop + y) * pgm.width + kLeft + x);
            const size_t target = static_cast<size_t>(y * kCaptureWidth + x);
            if (pgm.pixels.at(source) < kRidgeBelow) {
                bits.at(target / 8) = static_cast<uint8_t>(bits.at(target / 8) | 128 >> target % 8);
            }
        }
    }
    return bits;
}

void WriteCaptures(const std::string& path, const Captures& captures) {
    SourceFile file(path);
    file.Begin("const CaptureBits kPinnedCaptures[kCaptures]", kCaptures);
    for (const std::vector<uint8_t>& bits : captures) {
        file.BeginRow().Bytes(bits).EndRow();
    }
    file.End();
}

Grid Paint(const Scene& scene, const Captures& captures) {
    static CaptureBits bits[kCaptures];
    for (size_t capture = 0; capture < kCaptures; ++capture) {
        std::copy(captures.at(capture).begin(), captures.at(capture).end(), bits[capture]);
    }
    Grid image(scene.width, scene.height);
    PaintScene(&scene, bits, image.cells.data());
    return image;
}

/// Writes PinnedResults.c call by call; the templates that one call makes are inputs of the others.
class ResultsWriter {
  public:
    explicit ResultsWriter(const std::string& path) : file_(path) {}

    void WriteExtractions(const Captures& captures) {
        file_.Begin("const struct PinnedExtraction kPinnedExtractions[kScenes]", kScenes);
        for (const Scene& scene : kSceneList) {
            const Grid image = Paint(scene, captures);
            const model::Creation creation = model::ExtractTemplate(image);
            TemplateBytes bytes(kBytes, 0);
            int64_t quality = 0;
            int64_t featureResult = 0;
            if (creation.result == 0) {
                bytes = creation.bytes;
                quality = model::TemplateQuality(bytes);
                int32_t isConverted = 0;
                TemplateBytes checked = bytes;
                featureResult = model::CheckFeature(checked, isConverted);
                Require(isConverted == 0 && checked == bytes, "a check that changes a template");
            }
            file_.BeginRow().Number(SumOfImage(&scene, image.cells.data()), "u");
            file_.Number(model::CheckFinger(image)).Number(creation.result);
            file_.Number(quality).Number(featureResult).Bytes(bytes).EndRow();
            templates_.push_back(bytes);
        }
        file_.End();
    }

    void WriteEnrolments(const std::vector<std::vector<TemplateNumber>>& rows) {
        file_.Begin("const struct PinnedEnrolment kPinnedEnrolments[kEnrolments]", kEnrolments);
        for (std::vector<TemplateNumber> inputs : rows) {
            std::vector<TemplateBytes> chosen;
            for (const TemplateNumber number : inputs) {
                chosen.push_back(Template(number));
            }
            const size_t count = inputs.size();
            inputs.resize(3, 0);
            TemplateBytes fused;
            int32_t quality = 0;
            const int32_t result = model::Enroll(chosen, fused, quality);
            if (result != 0) {
                fused.assign(kBytes, 0);
                quality = 0;
            }
            file_.BeginRow().Number(static_cast<int64_t>(count)).Numbers(inputs);
            file_.Number(result).Number(quality).Bytes(fused).EndRow();
            templates_.push_back(fused);
        }
        file_.End();
    }

    void WriteImprovements(
        const std::vector<std::pair<TemplateNumber, TemplateNumber>>& samplesAndEnrolled) {
        file_.Begin("const struct PinnedImprovement kPinnedImprovements[kImprovements]",
                    kImprovements);
        for (const auto& [sample, enrolled] : samplesAndEnrolled) {
            TemplateBytes bytes = Template(enrolled);
            const int32_t result = model::Improve(Template(sample), bytes);
            file_.BeginRow().Number(sample).Number(enrolled).Number(result).Bytes(bytes).EndRow();
        }
        file_.End();
    }

    void WriteVerifications(const std::vector<std::array<int32_t, 3>>& rows) {
        file_.Begin("const struct PinnedVerification kPinnedVerifications[kVerifications]",
                    kVerifications);
        for (const auto& [first, second, level] : rows) {
            int32_t score = 0;
            const int32_t result = model::Verify(Template(first), Template(second), level, score);
            file_.BeginRow().Number(first).Number(second).Number(level);
            file_.Number(result).Number(score).EndRow();
        }
        file_.End();
    }

    struct SearchInput {
        TemplateNumber probe;
        int32_t level;
        size_t count;
        std::vector<TemplateNumber> entries;
    };

    void WriteSearches(const std::vector<SearchInput>& rows) {
        file_.Begin("const struct PinnedSearch kPinnedSearches[kSearches]", kSearches);
        for (SearchInput row : rows) {
            const size_t entryCount = row.entries.size();
            std::vector<TemplateBytes> list;
            for (size_t i = 0; i < row.count; ++i) {
                list.push_back(Template(row.entries.at(i % entryCount)));
            }
            const model::SearchOutcome outcome =
                model::Search(Template(row.probe), list, row.level);
            const bool isFound = outcome.result == 0;
            row.entries.resize(kMaxEntries, 0);
            file_.BeginRow().Number(row.probe).Number(row.level);
            file_.Number(static_cast<int64_t>(row.count));
            file_.Number(static_cast<int64_t>(entryCount)).Numbers(row.entries);
            file_.Number(outcome.result).Number(isFound ? outcome.index : 0);
            file_.Number(isFound ? outcome.score : 0).EndRow();
        }
        file_.End();
    }

    void WriteUpgrade(TemplateNumber source) {
        TemplateBytes bytes = Template(source);
        bytes.at(2) = '0';
        std::fill(bytes.begin() + 370, bytes.end(), uint8_t{0});
        int32_t isConverted = 0;
        const int32_t result = model::CheckFeature(bytes, isConverted);
        Require(result == 0 && isConverted == 1, "an upgrade that fails");
        file_.BeginSingle("const struct PinnedUpgrade kPinnedUpgrade");
        file_.Number(source).Bytes(bytes);
        file_.EndSingle();
    }

  private:
    static void Require(bool condition, const char* otherwise) {
        if (!condition) {
            throw std::runtime_error(otherwise);
        }
    }

    const TemplateBytes& Template(TemplateNumber number) const {
        return templates_.at(static_cast<size_t>(number));
    }

    SourceFile file_;
    std::vector<TemplateBytes> templates_;  // by number: the scenes', then the enrolments'
};

void WriteResults(const std::string& path, const Captures& captures) {
    // Scenes: 0 to 2 captures of one finger, 3 another finger, 4 a part of 0, 5 the largest image,
    // 6 the 256 x 288 image, 7 without a template. Enrolments follow from kScenes on.
    constexpr TemplateNumber kEnrolled = kScenes;
    ResultsWriter writer(path);
    writer.WriteExtractions(captures);
    writer.WriteEnrolments({{0, 1, 2}, {1, 2}, {0, 3}, {3, 3, 3}});
    writer.WriteImprovements({{0, kEnrolled + 1}, {1, 0}, {3, kEnrolled}, {2, 2}});
    writer.WriteVerifications({
        {0, 0, 5},
        {0, 1, 3},
        {1, 0, 3},
        {0, 2, 3},
        {2, 1, 5},
        {0, 3, 1},
        {3, 0, 1},
        {1, 4, 3},
        {4, 2, 5},
        {5, 0, 3},
        {5, 1, 3},
        {5, 3, 3},
        // Scores between two thresholds, each at both levels.
        {6, 5, 3},
        {6, 5, 4},
        {0, 6, 1},
        {0, 6, 2},
        {kEnrolled, 0, 5},
        {2, kEnrolled, 5},
        {kEnrolled + 1, 0, 4},
        {3, kEnrolled, 1},
    });
    writer.WriteSearches({
        {1, 3, 6, {3, 6, 4, 2, 0, kEnrolled}},
        {2, 5, 48, {3, 5, 6, 1, kEnrolled + 1}},
        // No certain match: the search runs to its end.
        {6, 1, 3, {5, 0, 3}},
        {6, 3, 5, {0, 4, 3, 5, 0}},
        {6, 4, 4, {4, 3, 5, 0}},
        {3, 1, 220, {0, 1, 2, 4, 6, kEnrolled}},
    });
    writer.WriteUpgrade(0);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) {
        std::cerr << "usage: make_selftest_tables IMAGES FOLDER\n";
        return 2;
    }
    try {
        Captures captures;
        for (size_t k = 0; k < kImages.size(); ++k) {
            captures.at(k) = ReadCapture(std::string(arguments[1]) + "/" + kImages.at(k));
        }
        const std::string folder = arguments[2];
        WriteCaptures(folder + "/PinnedCaptures.c", captures);
        WriteResults(folder + "/PinnedResults.c", captures);
    } catch (const std::exception& error) {
        std::cerr << "make_selftest_tables: " << error.what() << "\n";
        return 2;
    }
    return 0;
}
