// SPDX-License-Identifier: Apache-2.0
//
// Enrolment and searches. The searches are the public call; the rank comes from the steps it makes.
#include "tools/qorfp/eval/Searching.h"

#include <algorithm>
#include <chrono>

#include "tools/qorfp/ProgressBar.h"
#include "tools/qorfp/Stored.h"
#include "tools/qorfp/ToolError.h"
#include "tools/qorfp/eval/WorkEngine.h"

namespace qorfp::cli {
namespace {

using Templates = std::vector<TemplateBytes>;

struct Enrolled {
    Templates gallery;
    std::vector<size_t> fingers;  // of the entries
    std::vector<size_t> probes;   // captures
    std::vector<size_t> mates;    // entry of each probe
    size_t refused = 0;
};

// The template of the first captures of a finger, if all have one and they can be fused.
std::optional<TemplateBytes> EnrolCaptures(const FingerSet& set, size_t first, size_t count) {
    Templates captures;
    for (size_t i = first; i < first + count; ++i) {
        if (!set.extractions[i].isDone) {
            return std::nullopt;
        }
        captures.push_back(set.extractions[i].bytes);
    }
    if (count == 1) {
        return captures.front();
    }
    const Enrolment enrolment = Enroll(captures);
    return enrolment.isDone ? std::optional<TemplateBytes>(enrolment.bytes) : std::nullopt;
}

Enrolled EnrolFingers(const FingerSet& set, size_t count) {
    Enrolled enrolled;
    for (size_t first = 0; first < set.captures.size();) {
        size_t end = first;
        while (end < set.captures.size() && set.fingers[end] == set.fingers[first]) {
            ++end;
        }
        const std::optional<TemplateBytes> bytes =
            end - first >= count ? EnrolCaptures(set, first, count) : std::nullopt;
        if (bytes) {
            enrolled.gallery.push_back(*bytes);
            enrolled.fingers.push_back(set.fingers[first]);
            for (size_t i = first + count; i < end; ++i) {
                if (set.extractions[i].isDone) {
                    enrolled.probes.push_back(i);
                    enrolled.mates.push_back(enrolled.gallery.size() - 1);
                }
            }
        } else {
            ++enrolled.refused;
        }
        first = end;
    }
    return enrolled;
}

size_t RankOf(WorkEngine& engine, const TemplateBytes& probe, const Templates& gallery,
              size_t mate) {
    const std::vector<int32_t> order = engine.RankList(probe, gallery);
    const auto place = std::find(order.begin(), order.end(), static_cast<int32_t>(mate));
    return static_cast<size_t>(place - order.begin()) + 1;
}

SearchResult SearchOne(WorkEngine& engine, const TemplateBytes& probe, Templates& gallery,
                       size_t mate, int level) {
    SearchResult result;
    result.mate = mate;
    result.rank = RankOf(engine, probe, gallery, mate);
    const auto start = std::chrono::steady_clock::now();
    result.hit = Search(probe, gallery, level);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    result.seconds = time.count();
    if (gallery.size() > 1) {
        const auto place = gallery.begin() + static_cast<std::ptrdiff_t>(mate);
        const TemplateBytes own = *place;
        gallery.erase(place);
        result.falseHit = Search(probe, gallery, level);
        gallery.insert(gallery.begin() + static_cast<std::ptrdiff_t>(mate), own);
        if (result.falseHit && *result.falseHit >= mate) {
            ++*result.falseHit;
        }
    }
    return result;
}

template <class Condition>
Share Count(const std::vector<SearchResult>& results, const Condition& condition) {
    return {std::count_if(results.begin(), results.end(), condition),
            static_cast<int64_t>(results.size())};
}

template <class Value>
double Mean(const std::vector<SearchResult>& results, const Value& value) {
    double sum = 0;
    for (const SearchResult& result : results) {
        sum += value(result);
    }
    return sum / static_cast<double>(results.size());
}

}  // namespace

Share SearchEvaluation::FoundWithin(size_t rank) const {
    return Count(results, [rank](const SearchResult& r) { return r.rank <= rank; });
}

Share SearchEvaluation::Hits() const {
    return Count(results, [](const SearchResult& r) { return r.hit && *r.hit == r.mate; });
}

Share SearchEvaluation::WrongHits() const {
    return Count(results, [](const SearchResult& r) { return r.hit && *r.hit != r.mate; });
}

Share SearchEvaluation::Misses() const {
    return Count(results, [](const SearchResult& r) { return !r.hit; });
}

Share SearchEvaluation::FalseHits() const {
    if (enrolled.size() < 2) {
        return {};
    }
    return Count(results, [](const SearchResult& r) { return r.falseHit.has_value(); });
}

double SearchEvaluation::MeanRank() const {
    return Mean(results, [](const SearchResult& r) { return static_cast<double>(r.rank); });
}

double SearchEvaluation::MeanSeconds() const {
    return Mean(results, [](const SearchResult& r) { return r.seconds; });
}

size_t MatchLimit(size_t galleryCount) {
    constexpr size_t kWholeGallery = 200;
    constexpr size_t kShareOfRest = 20;
    return std::min(galleryCount, galleryCount / kShareOfRest + kWholeGallery);
}

SearchEvaluation EvaluateSearch(const SearchOptions& options) {
    SearchEvaluation evaluation;
    evaluation.options = options;
    evaluation.set = LoadFingerSet(options.set);
    Enrolled enrolled = EnrolFingers(evaluation.set, static_cast<size_t>(options.captures));
    if (enrolled.probes.empty()) {
        throw ToolError(options.set.folder,
                        "holds no finger to enrol with another capture to search for");
    }
    WorkEngine engine;
    ProgressBar bar("Searching", enrolled.probes.size());
    for (size_t i = 0; i < enrolled.probes.size(); ++i) {
        const TemplateBytes& probe = evaluation.set.extractions[enrolled.probes[i]].bytes;
        evaluation.results.push_back(
            SearchOne(engine, probe, enrolled.gallery, enrolled.mates[i], options.level));
        evaluation.results.back().probe = enrolled.probes[i];
        bar.Advance();
    }
    evaluation.enrolled = enrolled.fingers;
    evaluation.notEnrolled = enrolled.refused;
    return evaluation;
}

}  // namespace qorfp::cli
