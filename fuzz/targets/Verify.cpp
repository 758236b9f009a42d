// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Verify with two hostile templates, and the engine's match of one reference with several
// probes, against the naive model.
#include "engine/FPEngine.h"
#include "fuzz/support/Expect.h"
#include "fuzz/support/FencedMemory.h"
#include "fuzz/support/Target.h"
#include "fuzz/support/TemplateMaker.h"
#include "fuzz/support/WorkMemory.h"
#include "include/QORFPApi.h"
#include "tests/model/ModelAlignment.h"
#include "tests/model/ModelSearch.h"
#include "tests/model/ModelTemplateCheck.h"

namespace {

using namespace fuzz;

constexpr size_t kHeadBytes = 370;

Outcome Verify(const TemplateBytes& first, const TemplateBytes& second, int32_t level,
               Fence fence) {
    Input one(first, fence);
    Input other(second, fence);
    Output<int32_t> score(1, fence);
    Outcome outcome;
    outcome.code = QORFP_Verify(one.Data(), other.Data(), level, score.Data());
    outcome.numbers = score.Take();
    return outcome;
}

Outcome Check(const TemplateBytes& first, const TemplateBytes& second, int32_t level) {
    const Outcome outcome =
        WithEachFill([&](Fence fence) { return Verify(first, second, level, fence); });
    int32_t score = kUnwritten;
    ExpectEqual(model::Verify(first, second, level, score), int64_t{outcome.code},
                "result of the verification");
    ExpectEqual(score, outcome.numbers[0], "score");
    if (outcome.code == QORFP_OK || outcome.code == QORFP_FAILED) {
        Expect(score >= 0 && score <= 2047, "a score lies in 0..2047");
    }
    return outcome;
}

// Neither which of the two versions it is, nor anything behind the minutiae, has a say in the score.
TemplateBytes WithOtherTail(TemplateBytes bytes) {
    if (model::HasKnownVersion(bytes)) {
        bytes[2] ^= 1;
    }
    for (size_t i = kHeadBytes - 1; i < bytes.size(); ++i) {
        bytes[i] ^= 0x55;
    }
    return bytes;
}

// The engine with a prepared reference: heads are enough.
void CheckNext(const TemplateBytes& reference, const std::vector<TemplateBytes>& probes) {
    const auto head = [](const TemplateBytes& bytes) {
        return TemplateBytes(bytes.begin(), bytes.begin() + kHeadBytes);
    };
    for (const Fill fill : kAllFills) {
        WorkMemory work;
        work.Reset(fill);
        Input one(head(reference), Fence::kBehind);
        model::Matcher matcher;
        for (size_t i = 0; i < probes.size(); ++i) {
            Input other(head(probes[i]), Fence::kBehind);
            int32_t score = kUnwritten;
            ExpectEqual(0,
                        IMatch(work.Bytes(), i == 0 ? one.Data() : nullptr, other.Data(), &score),
                        "result of the match");
            const int32_t expected =
                i == 0 ? matcher.Match(reference, probes[i]) : matcher.MatchNext(probes[i]);
            ExpectEqual(model::ClampScore(expected), score, "score with a prepared reference");
        }
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    TemplateMaker maker;
    const int32_t choice = reader.Byte();
    const int32_t level = choice < 8 ? reader.Signed32() : 1 + choice % 5;
    const TemplateBytes first = maker.Next(reader);
    const TemplateBytes second = maker.Next(reader);
    const Outcome outcome = Check(first, second, level);
    const Outcome other = WithEachFill([&](Fence fence) {
        return Verify(WithOtherTail(first), WithOtherTail(second), level, fence);
    });
    ExpectEqual(outcome, other, "with another version and tail");
    Check(second, first, level);
    // An undecodable reference is no reference: the engine's callers never go on with one.
    model::MinutiaSet set;
    if (model::DecodeTemplate(first, set) == 0) {
        CheckNext(first, {second, first, maker.Next(reader)});
    }
    return 0;
}
