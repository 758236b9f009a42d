// SPDX-License-Identifier: Apache-2.0
//
// Pinned tables of matching, fusion, improvement and search, see Pinned.h.
#include "tests/chain/Pinned.h"
#include "tests/model/ModelFusion.h"
#include "tests/model/ModelSearch.h"

namespace pinned {

namespace {

// Impressions of a finger lie one after the other in the list of templates.
constexpr size_t kImpressions = 3;

std::vector<TemplateBytes> BytesOf(const std::vector<NamedTemplate>& templates) {
    std::vector<TemplateBytes> bytes;
    for (const NamedTemplate& named : templates) {
        bytes.push_back(named.bytes);
    }
    return bytes;
}

void WriteScores(const std::string& folder, const std::vector<NamedTemplate>& templates) {
    TableFile table(folder, "scores.tsv", {"reference", "probe", "score", "indexScore"});
    for (const NamedTemplate& reference : templates) {
        const std::vector<uint32_t> indexScores =
            model::IndexScores(reference.bytes, BytesOf(templates));
        for (size_t k = 0; k < templates.size(); ++k) {
            int32_t score = 0;
            model::Verify(reference.bytes, templates[k].bytes, 1, score);
            table.Add(reference.image).Add(templates[k].image).Add(score).Add(indexScores.at(k));
            table.EndRow();
        }
    }
}

void AddEnrolment(TableFile& table, const std::vector<NamedTemplate>& inputs) {
    std::string names;
    for (const NamedTemplate& input : inputs) {
        names += (names.empty() ? "" : ",") + input.image;
    }
    TemplateBytes fused;
    int32_t quality = 0;
    const int32_t result = model::Enroll(BytesOf(inputs), fused, quality);
    if (result != 0) {
        fused.assign(512, 0);
        quality = 0;
    }
    table.Add(names).Add(result).Add(quality).AddHex(fused).EndRow();
}

void WriteEnrolments(const std::string& folder, const std::vector<NamedTemplate>& templates) {
    TableFile table(folder, "enroll.tsv", {"images", "result", "quality", "template"});
    for (size_t k = 0; k + kImpressions <= templates.size(); k += kImpressions) {
        const NamedTemplate& a = templates[k];
        const NamedTemplate& b = templates[k + 1];
        const NamedTemplate& c = templates[k + 2];
        const NamedTemplate& stranger = templates[(k + kImpressions) % templates.size()];
        AddEnrolment(table, {a, b, c});
        AddEnrolment(table, {c, a, b});
        AddEnrolment(table, {a, b});
        AddEnrolment(table, {b, a});
        AddEnrolment(table, {b, c, a, stranger});  // the fourth is not looked at
        AddEnrolment(table, {a, a, a});
        AddEnrolment(table, {a, b, stranger});
        AddEnrolment(table, {a, stranger});
    }
}

void WriteImprovements(const std::string& folder, const std::vector<NamedTemplate>& templates) {
    TableFile table(folder, "improve.tsv", {"enrolled", "sample", "result", "enrolledAfter"});
    for (size_t k = 0; k + kImpressions <= templates.size(); k += kImpressions) {
        // One chain a finger: the other impressions, a stranger, and the others once more.
        const size_t first = k / kImpressions % kImpressions;
        const size_t second = k + (first + 1) % kImpressions;
        const size_t third = k + (first + 2) % kImpressions;
        const size_t stranger = (k + kImpressions) % templates.size();
        TemplateBytes enrolled = templates[k + first].bytes;
        for (const size_t sample : {second, third, stranger, second, third}) {
            const int32_t result = model::Improve(templates[sample].bytes, enrolled);
            table.Add(templates[k + first].image + "+").Add(templates[sample].image);
            table.Add(result).AddHex(enrolled).EndRow();
        }
    }
}

void WriteSearches(const std::string& folder, const std::vector<NamedTemplate>& templates) {
    TableFile table(folder, "search.tsv", {"probe", "level", "list", "result", "index", "score"});
    for (size_t k = 0; k < templates.size(); ++k) {
        std::vector<TemplateBytes> once;
        for (size_t other = 0; other < templates.size(); ++other) {
            if (other != k && templates[other].result == 0) {
                once.push_back(templates[other].bytes);
            }
        }
        std::vector<TemplateBytes> list;
        for (const int32_t copies : {1, 5}) {
            while (list.size() < once.size() * static_cast<size_t>(copies)) {
                list.insert(list.end(), once.begin(), once.end());
            }
            for (const int32_t level : {1, 3, 5}) {
                const model::SearchOutcome outcome = model::Search(templates[k].bytes, list, level);
                const bool isFound = outcome.result == 0;
                table.Add(templates[k].image).Add(level).Add(copies == 1 ? "1x" : "5x");
                table.Add(outcome.result).Add(isFound ? outcome.index : 0u);
                table.Add(isFound ? outcome.score : 0).EndRow();
            }
        }
    }
}

}  // namespace

void WriteMatchingTables(const std::string& folder, const std::vector<NamedTemplate>& templates) {
    WriteScores(folder, templates);
    WriteEnrolments(folder, templates);
    WriteImprovements(folder, templates);
    WriteSearches(folder, templates);
}

}  // namespace pinned
