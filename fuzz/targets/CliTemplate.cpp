// SPDX-License-Identifier: Apache-2.0
//
// The command line's readers of stored templates: files of any length, the fields of a template, and
// the judgement of what a template is worth, against the naive model.
#include <algorithm>
#include <optional>
#include <string>

#include "fuzz/support/Expect.h"
#include "fuzz/support/Target.h"
#include "fuzz/support/TemplateMaker.h"
#include "tests/model/ModelIndexScore.h"
#include "tests/model/ModelTemplateCheck.h"
#include "tools/qorfp/Gallery.h"
#include "tools/qorfp/Stored.h"
#include "tools/qorfp/ToolError.h"

namespace {

using namespace fuzz;

constexpr int32_t kMostTemplates = 6;
using qorfp::cli::Bytes;
using qorfp::cli::StoredState;
using qorfp::cli::TemplateView;

const std::string kPath = "store";

template <class Read>
auto Try(Read read) -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (const qorfp::cli::ToolError& error) {
        const std::string text = error.what();
        Expect(text.compare(0, kPath.size(), kPath) == 0 && text.size() > kPath.size() + 2,
               "a refusal names the file and a reason");
        return std::nullopt;
    }
}

qorfp::cli::TemplateBytes ArrayOf(const TemplateBytes& bytes) {
    qorfp::cli::TemplateBytes array = {};
    std::copy(bytes.begin(), bytes.end(), array.begin());
    return array;
}

void ExpectMinutiae(const TemplateBytes& bytes, const TemplateView& view) {
    model::MinutiaSet set;
    const bool isDecoded = model::DecodeTemplate(bytes, set) == 0;
    Expect(isDecoded == view.problem.empty(), "a problem is named where there is one");
    ExpectEqual(int64_t{bytes[3]}, static_cast<int64_t>(view.minutiae.size()),
                "number of minutiae shown");
    for (size_t i = 0; isDecoded && i < set.minutiae.size(); ++i) {
        const model::Minutia& expected = set.minutiae[i];
        const qorfp::cli::MinutiaView& shown = view.minutiae[i];
        ExpectEqual(expected.x, shown.x, "x shown");
        ExpectEqual(expected.y, shown.y, "y shown");
        ExpectEqual(expected.type, shown.type, "type shown");
        ExpectEqual(expected.direction, shown.direction, "direction shown");
        ExpectEqual(set.confidence[i], shown.confidence, "confidence shown");
        ExpectEqual(expected.attributes, shown.ridgePeriod * 64 + shown.disorder,
                    "attributes shown");
    }
}

void ExpectKeys(const TemplateBytes& bytes, const TemplateView& view) {
    if (!view.hasIndex) {
        Expect(view.keys.empty(), "an old template has no keys");
        return;
    }
    ExpectEqual(model::Checksum(bytes), view.computedChecksum, "checksum computed");
    ExpectEqual(bytes[510] + 256 * bytes[511], view.storedChecksum, "checksum shown");
    const std::vector<model::IndexKey> keys =
        model::UnpackIndexArea({bytes.begin() + 370, bytes.begin() + 510});
    if (view.keyCount > qorfp::cli::kMaxKeys) {
        return;  // which the model takes for none
    }
    ExpectEqual(static_cast<int64_t>(keys.size()), static_cast<int64_t>(view.keys.size()),
                "number of keys shown");
    for (size_t k = 0; k < keys.size(); ++k) {
        for (size_t slot = 0; slot < 3; ++slot) {
            ExpectEqual(keys[k].a[slot], view.keys[k].neighbourDirection[slot], "key shown");
            ExpectEqual(keys[k].b[slot], view.keys[k].bearing[slot], "key shown");
            ExpectEqual(keys[k].c[slot], view.keys[k].distance[slot], "key shown");
        }
    }
}

void CheckView(const TemplateBytes& bytes) {
    const auto checked = Try([&] { return qorfp::cli::CheckTemplate(kPath, bytes); });
    const bool isShown = model::HasKnownVersion(bytes) && bytes[3] <= 60;
    Expect(checked.has_value() == isShown, "what has a version and a count is shown");
    if (!checked) {
        return;
    }
    const TemplateView view = qorfp::cli::ReadTemplate(*checked);
    ExpectMinutiae(bytes, view);
    ExpectKeys(bytes, view);
}

void CheckJudgement(const TemplateBytes& bytes) {
    const qorfp::cli::Judgement judgement = qorfp::cli::JudgeTemplate(ArrayOf(bytes));
    TemplateBytes checked = bytes;
    int32_t isConverted = 0;
    model::MinutiaSet set;
    const bool isDecoded = model::HasKnownVersion(bytes) && model::DecodeTemplate(bytes, set) == 0;
    const bool isPassed = isDecoded && model::CheckFeature(checked, isConverted) == 0;
    TemplateBytes again = checked;
    int32_t isConvertedAgain = 0;
    const bool isUsable = isPassed && model::CheckFeature(again, isConvertedAgain) == 0;
    const StoredState expected = !isUsable          ? StoredState::kInvalid
                                 : isConverted != 0 ? StoredState::kOld
                                                    : StoredState::kUsable;
    ExpectEqual(static_cast<int64_t>(expected), static_cast<int64_t>(judgement.state),
                "what a template is worth");
    Expect(judgement.reason.empty() == isUsable, "a reason is given where it is refused");
    ExpectEqual(checked, TemplateBytes(judgement.bytes.begin(), judgement.bytes.end()),
                "template after the judgement");
}

void CheckFile(const Bytes& bytes) {
    Expect(qorfp::cli::LooksLikeTemplate(bytes) ==
               (bytes.size() == 512 && model::HasKnownVersion(bytes)),
           "length and version make a template");
    const auto templates = Try([&] { return qorfp::cli::SplitTemplates(kPath, bytes); });
    Expect(templates.has_value() == (!bytes.empty() && bytes.size() % 512 == 0),
           "a file of templates is a multiple of 512 bytes");
    if (bytes.size() != 512) {
        Expect(!Try([&] { return qorfp::cli::CheckTemplate(kPath, bytes); }).has_value(),
               "a template is 512 bytes");
    }
    size_t at = 0;
    for (const auto& one : templates.value_or(std::vector<qorfp::cli::TemplateBytes>())) {
        const TemplateBytes entry(one.begin(), one.end());
        const uint8_t* const from = bytes.data() + at;
        ExpectEqual(TemplateBytes(from, from + 512), entry, "entry of a file");
        CheckView(entry);
        CheckJudgement(entry);
        at += 512;
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    if (reader.Flag()) {
        CheckFile(reader.Rest());
        return 0;
    }
    TemplateMaker maker;
    int32_t count = 0;
    do {
        const TemplateBytes bytes = maker.Next(reader);
        CheckView(bytes);
        CheckJudgement(bytes);
    } while (reader.Left() > 0 && ++count < kMostTemplates);
    return 0;
}
