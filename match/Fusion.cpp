// SPDX-License-Identifier: Apache-2.0
//
// Enrolment: three templates of one finger fused into one. Minutiae on which captures agree are
// averaged; minutiae that a single capture saw outside the common area widen it.

#include <string.h>

#include "engine/StageMemory.h"
#include "engine/Template.h"
#include "extract/FixedMath.h"
#include "match/FPMatch.h"
#include "match/MinutiaMean.h"
#include "match/Thresholds.h"

namespace {

using namespace qorfp;

constexpr int32_t kCannotFuse = 1;
constexpr int32_t kNobody = -1;
constexpr int32_t kFewMinutiae = 9;  // a result of no more is filled up
constexpr int32_t kFilledUp = 12;

// A minutia of the first template is too near to one in the result when it lies this close, or
// fairly close with a similar direction; one of the other templates simply when it lies close.
constexpr int32_t kFirstNearSquared = 40;
constexpr int32_t kFirstAlikeSquared = 226;  // not reached
constexpr int32_t kFirstAlikeAngle = 13;     // not reached, 1.5 degrees a step
constexpr int32_t kOtherNearSquared = 145;   // not reached

// Roles of the inputs in a fusion: the base comes first, the others in input order.
struct Roles {
    int32_t input[kFusedTemplates];
};

// Number of the record of an ordered pair of inputs.
int32_t PairIndex(int32_t i, int32_t j) {
    return 2 * i + (j < i ? j : j - 1);
}

MatchResult* PairOf(FusionWork* work, int32_t i, int32_t j) {
    return &work->pairs[PairIndex(i, j)];
}

// Aligns every input with both others; a reference without bars leaves its pairs empty.
void AlignAllPairs(FusionWork* work) {
    MatchContext* context = &work->match.context;
    memset(work->pairs, 0, sizeof(work->pairs));
    for (int32_t i = 0; i < kFusedTemplates; ++i) {
        context->reference = work->inputs[i];
        if (MakeFirstInfo(context) == 0) {
            continue;
        }
        for (int32_t j = 0; j < kFusedTemplates; ++j) {
            if (j != i) {
                context->probe = work->inputs[j];
                Alignment(context, PairOf(work, i, j), 1);
            }
        }
    }
}

void ReconcileAllPairs(FusionWork* work) {
    for (int32_t i = 0; i < kFusedTemplates; ++i) {
        for (int32_t j = i + 1; j < kFusedTemplates; ++j) {
            ArrangeMinutiaIndex(&work->arrange, PairOf(work, j, i), PairOf(work, i, j),
                                &work->conflicts[0], &work->conflicts[1]);
        }
    }
}

// The input that matches both others best, or kNobody; the earlier among equals.
int32_t ChooseBase(FusionWork* work) {
    const int32_t threshold = gnMatchThr[kFusionThreshold];
    int32_t base = kNobody;
    int32_t bestSum = 0;
    for (int32_t b = 0; b < kFusedTemplates; ++b) {
        const int32_t one = PairOf(work, b, b == 0 ? 1 : 0)->score;
        const int32_t other = PairOf(work, b, b == 2 ? 1 : 2)->score;
        if (one >= threshold && other >= threshold && one + other > bestSum) {
            base = b;
            bestSum = one + other;
        }
    }
    return base;
}

Roles RolesWithBase(int32_t base) {
    return {{base, base == 0 ? 1 : 0, base == 2 ? 1 : 2}};
}

// Moves the second and third input into the base's frame. Minutiae keep their numbers.
void MoveIntoBaseFrame(FusionWork* work, const Roles& roles) {
    MatchContext* context = &work->match.context;
    context->reference = work->inputs[roles.input[0]];
    MakeFirstInfo(context);
    for (int32_t role = 1; role < kFusedTemplates; ++role) {
        MinutiaSet* moved = &work->inputs[roles.input[role]];
        context->probe = *moved;
        if (Alignment(context, &work->match.result, 1) >= 0) {
            *moved = context->probe;
        }
    }
}

bool IsFull(const FusionWork& work) {
    return work.result.count >= kMaxMinutiae;
}

void AddMinutia(FusionWork* work, const Minutia& minutia) {
    work->result.minutiae[work->result.count] = minutia;
    ++work->result.count;
}

// The partner of a first-column number in a pair list, or kNobody.
int32_t FindPartner(const MatchResult& pairs, int32_t number) {
    for (int32_t k = 0; k < pairs.pairCount; ++k) {
        if (pairs.referenceIndices[k] == number) {
            return pairs.probeIndices[k];
        }
    }
    return kNobody;
}

const Minutia* MinutiaOf(const FusionWork& work, const Roles& roles, int32_t role, int32_t number) {
    return &work.inputs[roles.input[role]].minutiae[number];
}

// Pairs of the first and second template, with the third's minutia where the first has one there.
void MergeFirstAndSecond(FusionWork* work, const Roles& roles) {
    const MatchResult& pairs = *PairOf(work, roles.input[0], roles.input[1]);
    const MatchResult& withThird = *PairOf(work, roles.input[0], roles.input[2]);
    for (int32_t k = 0; k < pairs.pairCount && !IsFull(*work); ++k) {
        const int32_t a = pairs.referenceIndices[k];
        const int32_t b = pairs.probeIndices[k];
        const int32_t c = FindPartner(withThird, a);
        work->isUsed[0][a] = 1;
        work->isUsed[1][b] = 1;
        const Minutia* merged[] = {MinutiaOf(*work, roles, 0, a), MinutiaOf(*work, roles, 1, b),
                                   nullptr};
        int32_t count = 2;
        if (c != kNobody) {
            work->isUsed[2][c] = 1;
            merged[2] = MinutiaOf(*work, roles, 2, c);
            count = 3;
        }
        AddMinutia(work, MeanOf(merged, count));
    }
}

void MergeFirstAndThird(FusionWork* work, const Roles& roles) {
    const MatchResult& pairs = *PairOf(work, roles.input[0], roles.input[2]);
    for (int32_t k = 0; k < pairs.pairCount && !IsFull(*work); ++k) {
        const int32_t a = pairs.referenceIndices[k];
        const int32_t c = pairs.probeIndices[k];
        if (work->isUsed[0][a] != 0) {
            continue;
        }
        work->isUsed[0][a] = 1;
        work->isUsed[2][c] = 1;
        const Minutia* merged[] = {MinutiaOf(*work, roles, 0, a), MinutiaOf(*work, roles, 2, c)};
        AddMinutia(work, MeanOf(merged, 2));
    }
}

void MergeSecondAndThird(FusionWork* work, const Roles& roles) {
    const MatchResult& pairs = *PairOf(work, roles.input[1], roles.input[2]);
    for (int32_t k = 0; k < pairs.pairCount && !IsFull(*work); ++k) {
        const int32_t b = pairs.referenceIndices[k];
        const int32_t c = pairs.probeIndices[k];
        const bool isKnown = work->isUsed[1][b] != 0 || work->isUsed[2][c] != 0;
        work->isUsed[1][b] = 1;
        work->isUsed[2][c] = 1;
        if (!isKnown) {
            const Minutia* merged[] = {MinutiaOf(*work, roles, 1, b),
                                       MinutiaOf(*work, roles, 2, c)};
            AddMinutia(work, MeanOf(merged, 2));
        }
    }
}

// Adds the result's minutiae from `first` on to the outline.
void WidenHull(FusionWork* work, int32_t first) {
    HullContext* hull = &work->hull;
    for (int32_t i = first; i < work->result.count; ++i) {
        hull->x[hull->count] = work->result.minutiae[i].x;
        hull->y[hull->count] = work->result.minutiae[i].y;
        ++hull->count;
    }
    GetConvexHull(hull);
}

int32_t DistSquared(const Minutia& p, const Minutia& q) {
    return Square(p.x - q.x) + Square(p.y - q.y);
}

// Deliberate: the base's own minutiae are tested with the direction, the others' without.
bool IsTooNear(const Minutia& minutia, const Minutia& present, int32_t role) {
    const int32_t distSquared = DistSquared(minutia, present);
    if (role != 0) {
        return distSquared < kOtherNearSquared;
    }
    return distSquared <= kFirstNearSquared ||
           (distSquared < kFirstAlikeSquared &&
            AngleDistance240(minutia.direction, present.direction) < kFirstAlikeAngle);
}

// Copies the unused minutiae of a template that lie outside the outline and not too near to one
// that was in the result before.
void AddOutside(FusionWork* work, const Roles& roles, int32_t role) {
    const MinutiaSet& set = work->inputs[roles.input[role]];
    const int32_t present = work->result.count;
    for (int32_t i = 0; i < set.count && !IsFull(*work); ++i) {
        const Minutia& minutia = set.minutiae[i];
        if (work->isUsed[role][i] != 0 ||
            GetDistFromPolygon(&work->hull, minutia.x, minutia.y) < 1) {
            continue;
        }
        bool isRejected = false;
        for (int32_t k = 0; k < present && !isRejected; ++k) {
            isRejected = IsTooNear(minutia, work->result.minutiae[k], role);
        }
        if (!isRejected) {
            AddMinutia(work, minutia);
            work->isUsed[role][i] = 1;
        }
    }
}

// Fills a poor result up with minutiae of the base, whatever they are.
void FillUp(FusionWork* work, const Roles& roles) {
    const MinutiaSet& set = work->inputs[roles.input[0]];
    for (int32_t i = 0; i < set.count && work->result.count < kFilledUp; ++i) {
        if (work->isUsed[0][i] == 0) {
            AddMinutia(work, set.minutiae[i]);
        }
    }
}

void Merge(FusionWork* work, const Roles& roles) {
    memset(work->isUsed, 0, sizeof(work->isUsed));
    memset(&work->result, 0, sizeof(work->result));
    work->hull.count = 0;
    MergeFirstAndSecond(work, roles);
    MergeFirstAndThird(work, roles);
    MergeSecondAndThird(work, roles);
    int32_t inHull = 0;
    for (int32_t role = 0; role < kFusedTemplates; ++role) {
        WidenHull(work, inHull);
        inHull = work->result.count;
        AddOutside(work, roles, role);
    }
    if (work->result.count <= kFewMinutiae) {
        FillUp(work, roles);
    }
}

}  // namespace

int32_t GeneralizeTemplate(uint8_t* work, uint8_t* templates) {
    const StageMemory memory(work, {ScratchOf<FusionWork>(0)});
    FusionWork* fusion = WorkAt<FusionWork>(work);
    for (int32_t i = 0; i < kFusedTemplates; ++i) {
        const int32_t error =
            DecodeTemplate(templates + i * kTemplateHeadBytes, &fusion->inputs[i], nullptr);
        if (error != 0) {
            return error;
        }
    }
    AlignAllPairs(fusion);
    ReconcileAllPairs(fusion);
    const int32_t base = ChooseBase(fusion);
    if (base == kNobody) {
        return kCannotFuse;
    }
    const Roles roles = RolesWithBase(base);
    MoveIntoBaseFrame(fusion, roles);
    Merge(fusion, roles);
    if (fusion->result.count <= kFewMinutiae) {
        return kCannotFuse;
    }
    return EncodeTemplate(&fusion->result, nullptr, templates);
}
