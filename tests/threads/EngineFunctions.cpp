// SPDX-License-Identifier: Apache-2.0
//
// Engine functions as pieces of work, see Work.h. They take no lock: threads may run them at once,
// each in a work buffer of its own.
#include <algorithm>
#include <memory>

#include "engine/FPEngine.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/threads/Captures.h"
#include "tests/threads/Work.h"

namespace threadtest {
namespace {

using testsupport::TemplateBytes;
using testsupport::WorkBuffer;

constexpr std::ptrdiff_t kHeadBytes = 370;
constexpr size_t kAreaBytes = 140;

/// Data and buffer of one set of operations.
struct Desk {
    explicit Desk(uint64_t seed) : captures(seed) {}
    Captures captures;
    WorkBuffer buffer;
    uint8_t* Work() { return buffer.Bytes(); }
};

Bytes HeadOf(const TemplateBytes& bytes) {
    return Bytes(bytes.begin(), bytes.begin() + kHeadBytes);
}

Bytes MakeTemplate(Desk& desk) {
    const testsupport::Grid& image = desk.captures.finger;
    desk.buffer.Put(0, image);
    Bytes bytes(512, 0);
    int32_t quality = -1;
    const int32_t result =
        ICreateTemplate(desk.Work(), image.width, image.height, bytes.data(), &quality);
    return ResultBytes(result).Add(quality).Add(bytes);
}

Bytes MakeIndexArea(Desk& desk) {
    Bytes area(kAreaBytes, 0);
    const int32_t result = ICreateIndex(desk.Work(), desk.captures.genuine[1].data(), area.data());
    return ResultBytes(result).Add(area);
}

Bytes MatchMany(Desk& desk) {
    const Captures& all = desk.captures;
    int32_t score = -1;
    ResultBytes result(IMatch(desk.Work(), all.genuine[0].data(), all.genuine[2].data(), &score));
    result.Add(score);
    for (const TemplateBytes& stranger : all.strangers) {
        IMatch(desk.Work(), nullptr, stranger.data(), &score);
        result.Add(score);
    }
    return result;
}

Bytes ScoreByIndex(Desk& desk) {
    const Captures& all = desk.captures;
    Bytes list;
    std::vector<const uint8_t*> pointers;
    for (const TemplateBytes& stranger : all.strangers) {
        list.insert(list.end(), stranger.begin(), stranger.end());
        pointers.push_back(stranger.data());
    }
    const int32_t count = static_cast<int32_t>(pointers.size());
    std::vector<int32_t> contiguous(pointers.size(), -1);
    std::vector<int32_t> byPointer(pointers.size(), -1);
    int32_t own = -1;
    ResultBytes result(ISetIndex(desk.Work(), all.genuine[0].data()));
    result.Add(IGetScoreA(desk.Work(), list.data(), count, contiguous.data()));
    result.Add(IGetScoreB(desk.Work(), pointers.data(), count, byPointer.data()));
    result.Add(IGetScore(desk.Work(), all.genuine[0].data() + kHeadBytes, 1, &own));
    for (size_t i = 0; i < pointers.size(); ++i) {
        result.Add(contiguous[i]).Add(byPointer[i]);
    }
    return result.Add(own);
}

Bytes Fuse(Desk& desk) {
    Bytes heads;
    for (const TemplateBytes& capture : desk.captures.genuine) {
        heads.insert(heads.end(), capture.begin(), capture.begin() + kHeadBytes);
    }
    const int32_t result = IEnroll(desk.Work(), heads.data());
    heads.resize(static_cast<size_t>(kHeadBytes));
    return ResultBytes(result).Add(heads);
}

Bytes Improve(Desk& desk) {
    TemplateBytes enrolled = desk.captures.poorer;
    int32_t score = -1;
    int32_t improved = -1;
    IImprove(desk.Work(), desk.captures.genuine[1].data(), enrolled.data(), &score, &improved);
    return ResultBytes(improved).Add(score).Add(HeadOf(enrolled));
}

}  // namespace

std::vector<Operation> EngineFunctions(uint64_t seed) {
    const auto desk = std::make_shared<Desk>(seed);
    const auto at = [desk](Bytes (*function)(Desk&)) {
        return [desk, function] { return function(*desk); };
    };
    return {
        {"ICreateTemplate", 0, at(MakeTemplate)},
        {"ICreateIndex", 0, at(MakeIndexArea)},
        {"IMatch", 0, at(MatchMany)},
        {"ISetIndex and IGetScore", 0, at(ScoreByIndex)},
        {"IEnroll", 0, at(Fuse)},
        {"IImprove", 1, at(Improve)},
    };
}

}  // namespace threadtest
