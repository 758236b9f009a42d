// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Identify and QORFP_Search in lists of hostile entries, against the naive model; both give the
// same answer for the same list.
#include "fuzz/support/Expect.h"
#include "fuzz/support/FencedMemory.h"
#include "fuzz/support/Target.h"
#include "fuzz/support/TemplateMaker.h"
#include "fuzz/support/WorkMemory.h"
#include "include/QORFPApi.h"
#include "tests/model/ModelSearch.h"
#include "tests/model/ModelTemplateCheck.h"

namespace {

using namespace fuzz;

constexpr int32_t kMostEntries = 24;
// Lists of 200 and more are not matched whole. They repeat their entries.
constexpr int32_t kLongList = 200;
constexpr int32_t kMostMore = 30;

struct Case {
    TemplateBytes probe;
    std::vector<TemplateBytes> list;
    int32_t nullEntry = -1;  // -1: none
    uint32_t level = 0;
    bool wantsOutputs = true;
};

// Makes most entries such as a search takes: one of another kind ends it.
TemplateBytes Current(TemplateBytes bytes) {
    bytes[0] = '3';
    bytes[1] = '0';
    bytes[2] = '1';
    bytes[3] = static_cast<uint8_t>(bytes[3] % 61);
    return bytes;
}

Case ReadCase(ByteReader& reader) {
    Case search;
    TemplateMaker maker;
    const uint8_t choice = reader.Byte();
    search.level = choice < 4 ? reader.Number32() : 1 + choice % 5u;
    search.wantsOutputs = choice % 16 != 5;
    const int32_t count = reader.Below(kMostEntries + 1);
    const uint8_t damage = reader.Byte();
    search.probe = maker.Next(reader);
    search.list = maker.List(reader, count);
    if (damage % 8 != 1) {
        search.probe = Current(search.probe);
        for (TemplateBytes& entry : search.list) {
            entry = Current(entry);
        }
    }
    if (damage % 8 == 2 && count > 0) {
        search.nullEntry = reader.Below(count);
    }
    if (damage >= 252 && count > 0) {
        const size_t length = static_cast<size_t>(kLongList + reader.Below(kMostMore));
        for (size_t i = 0; search.list.size() < length; ++i) {
            search.list.push_back(search.list[i]);
        }
    }
    return search;
}

template <class Call>
Outcome Call1N(const Case& search, Fence fence, Call call) {
    Input probe(search.probe, fence);
    Output<uint32_t> index(1, fence);
    Output<int32_t> score(1, fence);
    Outcome outcome;
    outcome.code = call(probe.Data(), static_cast<uint32_t>(search.list.size()),
                        search.wantsOutputs ? index.Data() : nullptr,
                        search.wantsOutputs ? score.Data() : nullptr);
    outcome.numbers = {static_cast<int32_t>(index.Take()[0]), score.Take()[0]};
    return outcome;
}

Outcome Identify(const Case& search, Fence fence) {
    Input entries(Joined(search.list), fence);
    std::vector<const uint8_t*> pointers;
    for (size_t i = 0; i < search.list.size(); ++i) {
        pointers.push_back(entries.Data() + i * QORFP_TEMPLATE_BYTES);
    }
    if (search.nullEntry >= 0) {
        pointers[static_cast<size_t>(search.nullEntry)] = nullptr;
    }
    Output<const uint8_t*> list(pointers, fence);
    const Outcome outcome = Call1N(
        search, fence, [&](const uint8_t* probe, uint32_t count, uint32_t* index, int32_t* score) {
            return QORFP_Identify(probe, list.Data(), count, search.level, index, score);
        });
    Expect(list.Take() == pointers, "the list of pointers stays");
    return outcome;
}

Outcome Search(const Case& search, Fence fence) {
    Input entries(Joined(search.list), fence);
    return Call1N(search, fence,
                  [&](const uint8_t* probe, uint32_t count, uint32_t* index, int32_t* score) {
                      return QORFP_Search(probe, entries.Data(), count, search.level, index, score);
                  });
}

Outcome Expected(const Case& search) {
    const int32_t level = search.level <= 5 ? static_cast<int32_t>(search.level) : 6;
    const model::SearchOutcome found = model::Search(search.probe, search.list, level);
    Outcome outcome;
    outcome.code = static_cast<uint32_t>(found.result);
    outcome.numbers = {kUnwritten, kUnwritten};
    if (found.result == 0 && search.wantsOutputs) {
        outcome.numbers = {static_cast<int32_t>(found.index), found.score};
    }
    return outcome;
}

// The first entry that is refused decides: null, or not "301".
Outcome ExpectedWithNull(const Case& search) {
    Outcome outcome;
    outcome.code = QORFP_BAD_ARGUMENT;
    outcome.numbers = {kUnwritten, kUnwritten};
    bool isBad = model::CheckValidity(search.probe) != 0;
    for (int32_t i = 0; i < search.nullEntry; ++i) {
        isBad = isBad || model::CheckValidity(search.list[static_cast<size_t>(i)]) != 0;
    }
    if (isBad) {
        outcome.code = QORFP_BAD_TEMPLATE;
    }
    return outcome;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    Case search = ReadCase(reader);
    if (search.nullEntry >= 0) {
        ExpectEqual(ExpectedWithNull(search),
                    WithEachFill([&](Fence fence) { return Identify(search, fence); }),
                    "QORFP_Identify with a null entry");
        search.nullEntry = -1;
    }
    const Outcome expected = Expected(search);
    ExpectEqual(expected, WithEachFill([&](Fence fence) { return Identify(search, fence); }),
                "QORFP_Identify");
    ExpectEqual(expected, WithEachFill([&](Fence fence) { return Search(search, fence); }),
                "QORFP_Search");
    return 0;
}
