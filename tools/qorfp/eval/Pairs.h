// SPDX-License-Identifier: Apache-2.0
//
// Which captures are compared with which.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorfp::cli {

enum class Protocol {
    kFvc,  // impostors: the first captures of every two fingers
    kAll,  // impostors: all captures of every two fingers
};

/// Positions in the list of captures; the first, which comes earlier there, is the first argument of
/// the comparison, whose score is not exactly the same the other way round.
struct Pair {
    uint32_t first = 0;
    uint32_t second = 0;
};

struct PairLists {
    std::vector<Pair> genuine;   // every two captures of a finger
    std::vector<Pair> impostor;  // by the protocol
};

/// `fingers` names the finger of each capture by a number; captures of a finger stand together. The
/// pairs are sorted by first and second.
PairLists MakePairs(const std::vector<size_t>& fingers, Protocol protocol);

}  // namespace qorfp::cli
