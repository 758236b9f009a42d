// SPDX-License-Identifier: Apache-2.0
//
// Stands between the exported searches and the functions behind them (the program is linked with
// --wrap for each): notes every call and, with a script, answers in their place. So a test sees
// which entries are matched in full, in which order, and can give any scores it likes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace searchtest {

/// One full match, as the search asked for it.
struct FullMatch {
    const uint8_t* probe;  ///< null: goes on with the last one
    const uint8_t* candidate;
    int32_t score;
};

struct Recording {
    std::vector<const uint8_t*> preparedProbes;  ///< for index scores
    std::vector<int32_t> indexScores;            ///< of the last list scored
    int32_t contiguousLists = 0;                 ///< lists scored in each form
    int32_t pointerLists = 0;
    std::vector<FullMatch> matches;
    bool wasAlwaysLocked = true;  ///< the engine's mutex was held in each of these calls
};

/// Answers by list position, in place of the engine's.
struct Script {
    static constexpr size_t kNowhere = static_cast<size_t>(-1);

    std::vector<int32_t> indexScores;
    std::vector<int32_t> fullScores;
    size_t failsAt = kNowhere;  ///< the full match of this entry fails
    int32_t setIndexResult = 0;
    int32_t getScoresResult = 0;
};

/// While it lives, calls are recorded. One at a time, in one thread.
class EngineRecorder {
  public:
    /// @param script answers instead of the engine; null: the engine answers
    /// @param positionOf list position of a candidate, used with a script only
    EngineRecorder(const Script* script, std::function<size_t(const uint8_t*)> positionOf);
    ~EngineRecorder();
    EngineRecorder(const EngineRecorder&) = delete;
    EngineRecorder& operator=(const EngineRecorder&) = delete;

    const Recording& Recorded() const { return recording_; }

    // What the interposed functions call.
    static EngineRecorder* Current();
    const Script* Answers() const { return script_; }
    size_t PositionOf(const uint8_t* candidate) const { return positionOf_(candidate); }
    Recording& Note();

  private:
    const Script* script_;
    std::function<size_t(const uint8_t*)> positionOf_;
    Recording recording_;
};

}  // namespace searchtest
