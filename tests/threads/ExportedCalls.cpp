// SPDX-License-Identifier: Apache-2.0
//
// The exported calls as pieces of work, see Work.h. QORFP_Initial is not among them: it is to be
// called once, before other threads use the library.
#include <memory>
#include <numeric>

#include "include/QORFPApi.h"
#include "match/FPMatch.h"
#include "tests/threads/Captures.h"
#include "tests/threads/Work.h"

namespace threadtest {
namespace {

using testsupport::Grid;
using testsupport::TemplateBytes;

constexpr size_t kTemplateBytes = 512;
constexpr uint32_t kListCount = 230;

class CallMaker {
  public:
    explicit CallMaker(uint64_t seed) : captures_(std::make_shared<const Captures>(seed)) {}

    std::vector<Operation> Make() {
        AddImageCalls();
        AddVerifications();
        AddEnrolments();
        AddTemplateCalls();
        AddSearches();
        AddTexts();
        AddSorts();
        return operations_;
    }

  private:
    void Add(const std::string& name, int64_t code, std::function<Bytes()> run) {
        operations_.push_back({name, code, std::move(run)});
    }

    void AddExtraction(const std::string& name, uint32_t code, const Grid& image) {
        Add("extract " + name, code, [image] {
            Bytes bytes(kTemplateBytes, 0);
            int32_t quality = -1;
            const uint32_t result = QORFP_Extract(image.cells.data(), image.width, image.height,
                                                  bytes.data(), &quality);
            if (result != QORFP_OK) {
                bytes.clear();  // may be partly written
            }
            return ResultBytes(result).Add(quality).Add(bytes);
        });
        Add("check finger " + name, code == QORFP_OK ? QORFP_OK : QORFP_NO_FINGER, [image] {
            return ResultBytes(QORFP_CheckFinger(image.cells.data(),
                                                 static_cast<uint32_t>(image.width), image.height));
        });
    }

    void AddImageCalls() {
        AddExtraction("finger", QORFP_OK, captures_->finger);
        AddExtraction("small sensor's finger", QORFP_OK, captures_->sensorFinger);
        AddExtraction("white", QORFP_FAILED, Grid(160, 160, 255));
    }

    void AddVerification(const std::string& name, uint32_t code, TemplateBytes first,
                         TemplateBytes second) {
        Add("verify " + name, code, [first, second] {
            int32_t score = -1;
            const uint32_t result = QORFP_Verify(first.data(), second.data(), 3, &score);
            return ResultBytes(result).Add(score);
        });
    }

    void AddVerifications() {
        const Captures& all = *captures_;
        TemplateBytes unknown = all.genuine[0];
        unknown.at(2) = '9';
        AddVerification("genuine", QORFP_OK, all.genuine[0], all.genuine[2]);
        AddVerification("impostor", QORFP_FAILED, all.genuine[0], all.strangers[4]);
        AddVerification("undecodable", QORFP_FAILED, all.genuine[0], all.undecodable);
        AddVerification("unknown version", QORFP_BAD_TEMPLATE, all.genuine[0], unknown);
    }

    void AddEnrolment(const std::string& name, uint32_t code,
                      const std::vector<TemplateBytes>& captures) {
        Bytes joined;
        for (const TemplateBytes& capture : captures) {
            joined.insert(joined.end(), capture.begin(), capture.end());
        }
        const int32_t count = static_cast<int32_t>(captures.size());
        Add("enrol " + name, code, [joined, count] {
            Bytes bytes(kTemplateBytes, 0);
            int32_t quality = -1;
            const uint32_t result = QORFP_Enroll(joined.data(), count, bytes.data(), &quality);
            if (result != QORFP_OK) {
                bytes.clear();
            }
            return ResultBytes(result).Add(quality).Add(bytes);
        });
    }

    void AddEnrolments() {
        const Captures& all = *captures_;
        AddEnrolment("three", QORFP_OK, {all.genuine[0], all.genuine[1], all.genuine[2]});
        AddEnrolment("two", QORFP_OK, {all.genuine[1], all.genuine[2]});
        AddEnrolment("different fingers", QORFP_FAILED,
                     {all.genuine[0], all.strangers[5], all.strangers[6]});
        AddEnrolment("one", QORFP_BAD_ARGUMENT, {all.genuine[0]});
    }

    void AddImprovement(const std::string& name, uint32_t code, TemplateBytes sample,
                        TemplateBytes enrolled) {
        Add("improve " + name, code, [sample, enrolled] {
            TemplateBytes updated = enrolled;
            const uint32_t result = QORFP_Improve(sample.data(), updated.data());
            return ResultBytes(result).Add(updated);
        });
    }

    void AddCheck(const std::string& name, uint32_t code, TemplateBytes stored) {
        Add("check " + name, code, [stored] {
            TemplateBytes checked = stored;
            int32_t converted = -1;
            const uint32_t result = QORFP_CheckFeature(checked.data(), &converted);
            return ResultBytes(result).Add(converted).Add(checked);
        });
    }

    void AddTemplateCalls() {
        const Captures& all = *captures_;
        AddImprovement("better sample", QORFP_OK, all.genuine[1], all.poorer);
        AddImprovement("same sample", QORFP_FAILED, all.genuine[1], all.genuine[1]);
        AddImprovement("stranger", QORFP_FAILED, all.strangers[3], all.genuine[1]);
        TemplateBytes old = all.genuine[1];
        old.at(2) = '0';
        AddCheck("current", QORFP_OK, all.genuine[1]);
        AddCheck("older form", QORFP_OK, old);
        old.at(3) = 0;
        AddCheck("empty", QORFP_BAD_TEMPLATE, old);
    }

    void AddSearch(const std::string& name, uint32_t code, TemplateBytes probe,
                   const std::vector<TemplateBytes>& list) {
        const uint32_t count = static_cast<uint32_t>(list.size());
        Add("identify " + name, code, [probe, list, count] {
            std::vector<const uint8_t*> pointers;
            for (const TemplateBytes& entry : list) {
                pointers.push_back(entry.data());
            }
            uint32_t index = 0;
            int32_t score = -1;
            const uint32_t result =
                QORFP_Identify(probe.data(), pointers.data(), count, 2, &index, &score);
            return ResultBytes(result).Add(index).Add(score);
        });
        Bytes joined;
        for (const TemplateBytes& entry : list) {
            joined.insert(joined.end(), entry.begin(), entry.end());
        }
        Add("search " + name, code, [probe, joined, count] {
            uint32_t index = 0;
            int32_t score = -1;
            const uint32_t result =
                QORFP_Search(probe.data(), joined.data(), count, 2, &index, &score);
            return ResultBytes(result).Add(index).Add(score);
        });
    }

    void AddSearches() {
        const Captures& all = *captures_;
        std::vector<TemplateBytes> list;
        while (list.size() < kListCount) {
            list.push_back(all.strangers[list.size() % all.strangers.size()]);
        }
        AddSearch("stranger", QORFP_FAILED, all.genuine[0], list);
        list[kListCount / 2] = all.genuine[2];
        AddSearch("genuine", QORFP_OK, all.genuine[0], list);
        AddSearch("undecodable probe", QORFP_FAILED, all.undecodable, list);
        list.resize(20);
        list.back().at(3) = 61;
        AddSearch("bad entry", QORFP_BAD_TEMPLATE, all.genuine[0], list);
        AddSearch("empty list", QORFP_BAD_ARGUMENT, all.genuine[0], {});
    }

    void AddTexts() {
        Add("texts", QORFP_OK, [] {
            Bytes version(QORFP_VERSION_BYTES);
            Bytes buildTime(QORFP_BUILD_TIME_BYTES);
            const uint32_t first = QORFP_Version(reinterpret_cast<char*>(version.data()));
            const uint32_t second = QORFP_BuildTime(reinterpret_cast<char*>(buildTime.data()));
            return ResultBytes(first).Add(second).Add(version).Add(buildTime);
        });
        Add("null text", QORFP_NULL_OUTPUT, [] { return ResultBytes(QORFP_Version(nullptr)); });
    }

    void AddSorts() {
        std::vector<int32_t> keys(1000);
        for (size_t i = 0; i < keys.size(); ++i) {
            keys[i] = static_cast<int32_t>(i * 7919 % 301);
        }
        Add("sorts", 1, [keys] {
            std::vector<int32_t> sorted = keys;
            std::vector<int32_t> withValues = keys;
            std::vector<int32_t> values(keys.size());
            std::iota(values.begin(), values.end(), 0);
            const int32_t count = static_cast<int32_t>(keys.size());
            int32_t scratch[40];
            ResultBytes result(quickSort(sorted.data(), count, scratch));
            result.Add(quickSortEx(withValues.data(), values.data(), count, scratch));
            for (size_t i = 0; i < keys.size(); ++i) {
                result.Add(sorted[i]).Add(withValues[i]).Add(values[i]);
            }
            return result;
        });
    }

    std::shared_ptr<const Captures> captures_;
    std::vector<Operation> operations_;
};

}  // namespace

std::vector<Operation> ExportedCalls(uint64_t seed) {
    return CallMaker(seed).Make();
}

}  // namespace threadtest
