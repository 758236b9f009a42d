// SPDX-License-Identifier: Apache-2.0
//
// Interposed engine calls, see EngineRecorder.h. The linker sends the library's calls of each
// function F to __wrap_F, and __real_F is the function itself.
#include "tests/search/EngineRecorder.h"

#include <algorithm>
#include <utility>

#include "tests/search/EngineLockState.h"

extern "C" {

int32_t __real_FPM_SetIndex(const uint8_t* probe);
int32_t __real_FPM_GetScoreA(const uint8_t* list, int32_t count, int32_t* scores);
int32_t __real_FPM_GetScoreB(const uint8_t* const* list, int32_t count, int32_t* scores);
int32_t __real_FPM_Match(const uint8_t* probe, const uint8_t* candidate, int32_t* score);

int32_t __wrap_FPM_SetIndex(const uint8_t* probe);
int32_t __wrap_FPM_GetScoreA(const uint8_t* list, int32_t count, int32_t* scores);
int32_t __wrap_FPM_GetScoreB(const uint8_t* const* list, int32_t count, int32_t* scores);
int32_t __wrap_FPM_Match(const uint8_t* probe, const uint8_t* candidate, int32_t* score);

}  // extern "C"

namespace searchtest {
namespace {

EngineRecorder* current = nullptr;

/// The script's index scores, or else the real ones.
template <class Real>
int32_t GetScores(Real real, int32_t count, int32_t* scores) {
    const Script* const script = current->Answers();
    int32_t result = 0;
    if (script != nullptr) {
        std::copy(script->indexScores.begin(), script->indexScores.end(), scores);
        result = script->getScoresResult;
    } else {
        result = real();
    }
    current->Note().indexScores.assign(scores, scores + count);
    return result;
}

}  // namespace

EngineRecorder::EngineRecorder(const Script* script,
                               std::function<size_t(const uint8_t*)> positionOf)
    : script_(script), positionOf_(std::move(positionOf)) {
    current = this;
}

EngineRecorder::~EngineRecorder() {
    current = nullptr;
}

EngineRecorder* EngineRecorder::Current() {
    return current;
}

Recording& EngineRecorder::Note() {
    recording_.wasAlwaysLocked = recording_.wasAlwaysLocked && !IsEngineFree();
    return recording_;
}

}  // namespace searchtest

using searchtest::EngineRecorder;
using searchtest::Script;

int32_t __wrap_FPM_SetIndex(const uint8_t* probe) {
    EngineRecorder* const recorder = EngineRecorder::Current();
    if (recorder == nullptr) {
        return __real_FPM_SetIndex(probe);
    }
    recorder->Note().preparedProbes.push_back(probe);
    const Script* const script = recorder->Answers();
    return script != nullptr ? script->setIndexResult : __real_FPM_SetIndex(probe);
}

int32_t __wrap_FPM_GetScoreA(const uint8_t* list, int32_t count, int32_t* scores) {
    EngineRecorder* const recorder = EngineRecorder::Current();
    if (recorder == nullptr) {
        return __real_FPM_GetScoreA(list, count, scores);
    }
    ++recorder->Note().contiguousLists;
    return searchtest::GetScores([=] { return __real_FPM_GetScoreA(list, count, scores); }, count,
                                 scores);
}

int32_t __wrap_FPM_GetScoreB(const uint8_t* const* list, int32_t count, int32_t* scores) {
    EngineRecorder* const recorder = EngineRecorder::Current();
    if (recorder == nullptr) {
        return __real_FPM_GetScoreB(list, count, scores);
    }
    ++recorder->Note().pointerLists;
    return searchtest::GetScores([=] { return __real_FPM_GetScoreB(list, count, scores); }, count,
                                 scores);
}

int32_t __wrap_FPM_Match(const uint8_t* probe, const uint8_t* candidate, int32_t* score) {
    EngineRecorder* const recorder = EngineRecorder::Current();
    if (recorder == nullptr) {
        return __real_FPM_Match(probe, candidate, score);
    }
    int32_t result = 0;
    if (const Script* const script = recorder->Answers()) {
        const size_t position = recorder->PositionOf(candidate);
        *score = script->fullScores.at(position);
        result = position == script->failsAt ? 1 : 0;
    } else {
        result = __real_FPM_Match(probe, candidate, score);
    }
    recorder->Note().matches.push_back({probe, candidate, *score});
    return result;
}
