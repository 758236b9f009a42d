// SPDX-License-Identifier: Apache-2.0
//
// Index keys, their planes, and index scores of hostile areas, against the naive models. The three
// forms of a list give the same scores.
#include "engine/FPEngine.h"
#include "fuzz/support/Expect.h"
#include "fuzz/support/FencedMemory.h"
#include "fuzz/support/Target.h"
#include "fuzz/support/TemplateMaker.h"
#include "fuzz/support/WorkMemory.h"
#include "match/IndexWorkspace.h"
#include "tests/model/ModelIndexKeys.h"
#include "tests/model/ModelSearch.h"
#include "tests/model/ModelTriIndex.h"

namespace {

using namespace fuzz;

constexpr size_t kHeadBytes = 370;
constexpr size_t kAreaBytes = 140;
constexpr int32_t kMostCandidates = 8;

TemplateBytes HeadOf(const TemplateBytes& bytes) {
    return TemplateBytes(bytes.begin(), bytes.begin() + kHeadBytes);
}

std::vector<uint8_t> AreaOf(const TemplateBytes& bytes) {
    const auto area = bytes.begin() + kHeadBytes;
    return std::vector<uint8_t>(area, area + kAreaBytes);
}

std::vector<uint8_t> BytesOf(const model::IndexKey& key) {
    return {key.a[0], key.a[1], key.a[2], key.b[0],  key.b[1],     key.b[2],
            key.c[0], key.c[1], key.c[2], key.index, key.direction};
}

std::vector<uint8_t> BytesOf(const qorfp::WorkKey& key) {
    return {key.a[0], key.a[1], key.a[2], key.b[0],  key.b[1],     key.b[2],
            key.c[0], key.c[1], key.c[2], key.index, key.direction};
}

// The area that a template would store.
void CheckArea(WorkMemory& work, const TemplateBytes& bytes, Fill fill) {
    work.Reset(fill);
    Input head(HeadOf(bytes), Fence::kBehind);
    Output<uint8_t> area(kAreaBytes, Fence::kBehind);
    const int32_t result = ICreateIndex(work.Bytes(), head.Data(), area.Data());
    std::vector<uint8_t> expected(kAreaBytes, Output<uint8_t>::kFill);
    ExpectEqual(model::CreateIndexArea(bytes, expected), result, "result of the index area");
    ExpectEqual(expected, area.Take(), "index area");
}

void ExpectKeys(const std::vector<model::IndexKey>& expected,
                const qorfp::IndexWorkspace& workspace) {
    ExpectEqual(static_cast<int64_t>(expected.size()), workspace.keyCount, "number of keys");
    for (size_t k = 0; k < expected.size(); ++k) {
        ExpectEqual(BytesOf(expected[k]), BytesOf(workspace.keys[k]), "key of the probe");
    }
}

// Some buckets of each plane, whose numbers are taken from the probe's keys and around them.
void ExpectPlanes(const std::vector<model::IndexKey>& keys,
                  const qorfp::IndexWorkspace& workspace) {
    for (int32_t plane = 0; plane < model::kTriPlanes; ++plane) {
        const std::array<size_t, 2> slots = model::SlotsOfPlane(plane);
        for (const model::IndexKey& key : keys) {
            for (int32_t step = 0; step <= 4; ++step) {
                const int32_t first = (key.a[slots[0]] + step) % model::kTriLevels;
                const int32_t second = (key.a[slots[1]] + 2 * step) % model::kTriLevels;
                const qorfp::Plane& table = workspace.planes[plane];
                const int32_t bucket = first * model::kTriLevels + second;
                const uint8_t* entries = table.entries + table.start[bucket];
                const std::vector<int32_t> filed(entries, entries + table.size[bucket]);
                ExpectEqual(model::KeysInBucket(keys, plane, first, second), filed,
                            "keys in a bucket");
            }
        }
    }
}

void CheckScores(WorkMemory& work, const TemplateBytes& probe,
                 const std::vector<TemplateBytes>& list, Fence fence) {
    const int32_t count = static_cast<int32_t>(list.size());
    std::vector<uint8_t> areas;
    std::vector<int32_t> expected;
    for (const uint32_t score : model::IndexScores(probe, list)) {
        expected.push_back(static_cast<int32_t>(score));
    }
    for (const TemplateBytes& entry : list) {
        const std::vector<uint8_t> area = AreaOf(entry);
        areas.insert(areas.end(), area.begin(), area.end());
    }
    Input areasBackToBack(areas, fence);
    Input backToBack(Joined(list), fence);
    std::vector<const uint8_t*> pointers;
    for (size_t i = list.size(); i > 0; --i) {
        pointers.push_back(backToBack.Data() + (i - 1) * 512);
    }
    Output<int32_t> scores(list.size(), fence);
    IGetScore(work.Bytes(), areasBackToBack.Data(), count, scores.Data());
    ExpectEqual(expected, scores.Take(), "scores of areas");
    Output<int32_t> scoresA(list.size(), fence);
    IGetScoreA(work.Bytes(), backToBack.Data(), count, scoresA.Data());
    ExpectEqual(expected, scoresA.Take(), "scores of templates back to back");
    Output<int32_t> scoresB(list.size(), fence);
    IGetScoreB(work.Bytes(), pointers.data(), count, scoresB.Data());
    ExpectEqual(std::vector<int32_t>(expected.rbegin(), expected.rend()), scoresB.Take(),
                "scores of templates by pointers");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    TemplateMaker maker;
    const int32_t count = reader.Between(0, kMostCandidates);
    const TemplateBytes probe = maker.Next(reader);
    const std::vector<TemplateBytes> list = maker.List(reader, count);
    std::vector<model::IndexKey> keys;
    const int32_t result = model::CreateIndexForProbe(probe, keys);
    WorkMemory work;
    for (const Fill fill : kAllFills) {
        const Fence fence = fill == Fill::kPattern ? Fence::kBefore : Fence::kBehind;
        CheckArea(work, probe, fill);
        work.Reset(fill);
        Input head(HeadOf(probe), fence);
        ExpectEqual(result, ISetIndex(work.Bytes(), head.Data()), "result of the probe's keys");
        const auto* workspace = qorfp::WorkAt<qorfp::IndexWorkspace>(work.Bytes());
        if (result == 0) {
            ExpectKeys(keys, *workspace);
            ExpectPlanes(keys, *workspace);
        } else {
            ExpectEqual(0, workspace->keyCount, "keys of a probe that does not decode");
        }
        CheckScores(work, probe, list, fence);
    }
    return 0;
}
