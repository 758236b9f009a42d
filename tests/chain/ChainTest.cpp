// SPDX-License-Identifier: Apache-2.0
//
// The whole chain on the images of the repository: every stage of extraction, templates, scores,
// fusion, improvement and search agree with the pinned tables.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "include/QORFPApi.h"
#include "tests/vectors/Table.h"

namespace {

using vectors::ReadTable;
using vectors::Row;

const vectors::Folders kFolders = {QORFP_PINNED_FOLDER, QORFP_IMAGE_FOLDER};

class Chain : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { QORFP_Initial(0); }

    static std::set<std::string> ImageNames() {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(QORFP_IMAGE_FOLDER)) {
            if (entry.path().extension() == ".pgm") {
                names.insert(entry.path().filename().string());
            }
        }
        return names;
    }

    // How often each value of a column stands in a table.
    static std::map<std::string, size_t> Counts(const std::string& table,
                                                const std::string& column) {
        std::map<std::string, size_t> counts;
        for (const Row& row : ReadTable(kFolders.TablePath(table))) {
            ++counts[row.Text(column)];
        }
        return counts;
    }
};

TEST_F(Chain, EveryImageIsInTheTables) {
    const std::set<std::string> names = ImageNames();
    ASSERT_GE(names.size(), 12u);
    const std::map<std::string, size_t> rowsAnImage = {
        {"stages.tsv", 1}, {"templates.tsv", 1}, {"scaled.tsv", 1}, {"finger.tsv", 6}};
    for (const auto& table : rowsAnImage) {
        const std::map<std::string, size_t> counts = Counts(table.first, "image");
        EXPECT_EQ(counts.size(), names.size()) << table.first;
        for (const std::string& name : names) {
            EXPECT_EQ(counts.count(name) == 0 ? 0 : counts.at(name), table.second)
                << name << " in " << table.first;
        }
    }
    const std::map<std::string, size_t> references = Counts("scores.tsv", "reference");
    EXPECT_EQ(references.size(), names.size());
    for (const auto& reference : references) {
        EXPECT_EQ(reference.second, names.size()) << reference.first;
    }
    EXPECT_EQ(Counts("search.tsv", "probe").size(), names.size());
}

// Both outcomes of every decision occur, so that agreement means something.
TEST_F(Chain, TablesHoldBothOutcomes) {
    for (const char* const table : {"enroll.tsv", "improve.tsv"}) {
        const std::map<std::string, size_t> results = Counts(table, "result");
        EXPECT_GE(results.count("0") == 0 ? 0u : results.at("0"), 4u) << table;
        EXPECT_GE(results.count("1") == 0 ? 0u : results.at("1"), 4u) << table;
    }
    const std::map<std::string, size_t> fingers = Counts("finger.tsv", "result");
    EXPECT_EQ(fingers.count("0") + fingers.count("6"), 2u);
    size_t accepted = 0;
    for (const Row& row : ReadTable(kFolders.TablePath("scores.tsv"))) {
        const bool isGenuine = row.Text("reference")[0] == row.Text("probe")[0];
        EXPECT_EQ(row.Number("score") >= 180, isGenuine)
            << row.Text("reference") << " and " << row.Text("probe");
        accepted += isGenuine ? 1 : 0;
    }
    EXPECT_GE(accepted, 36u);
}

TEST_F(Chain, Stages) {
    EXPECT_TRUE(vectors::CompareStages(kFolders));
}

TEST_F(Chain, Templates) {
    EXPECT_TRUE(vectors::CompareTemplates(kFolders));
}

TEST_F(Chain, SmallSensorTemplates) {
    EXPECT_TRUE(vectors::CompareScaled(kFolders));
}

TEST_F(Chain, FingerChecks) {
    EXPECT_TRUE(vectors::CompareFinger(kFolders));
}

TEST_F(Chain, Scores) {
    EXPECT_TRUE(vectors::CompareScores(kFolders));
}

TEST_F(Chain, Enrolments) {
    EXPECT_TRUE(vectors::CompareEnrolments(kFolders));
}

TEST_F(Chain, Improvements) {
    EXPECT_TRUE(vectors::CompareImprovements(kFolders));
}

TEST_F(Chain, Searches) {
    EXPECT_TRUE(vectors::CompareSearches(kFolders));
}

}  // namespace
