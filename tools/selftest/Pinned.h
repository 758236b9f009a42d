// SPDX-License-Identifier: Apache-2.0
//
// What the self-test knows beforehand: the captures' pixels, and for each call the rows of
// arguments with their results. The two tables (PinnedCaptures.c and PinnedResults.c) are written by
// make_selftest_tables (tests/selftest), which computes the results with the naive models and
// without the library.
#ifndef QORFP_SELFTEST_PINNED_H
#define QORFP_SELFTEST_PINNED_H

#include "include/QORFPApi.h"
#include "tools/selftest/Scene.h"

enum {
    kEnrolments = 4,
    kImprovements = 4,
    kVerifications = 20,
    kSearches = 6,
    kMaxEntries = 6  // different templates in a list
};

// A template is named by a number: that of its scene, or kScenes + that of its enrolment.
typedef int32_t TemplateNumber;

// One row a scene, in the order of kSceneList. Without a template (result 1) quality, feature check
// and template are 0.
struct PinnedExtraction {
    uint32_t imageSum;
    uint32_t fingerResult;  // of QORFP_CheckFinger
    uint32_t result;
    int32_t quality;
    uint32_t featureResult;  // of QORFP_CheckFeature on the template
    uint8_t bytes[QORFP_TEMPLATE_BYTES];
};

struct PinnedEnrolment {
    int32_t count;  // 2 or 3
    TemplateNumber inputs[3];
    uint32_t result;
    int32_t quality;
    uint8_t bytes[QORFP_TEMPLATE_BYTES];
};

struct PinnedImprovement {
    TemplateNumber sample;
    TemplateNumber enrolled;
    uint32_t result;
    uint8_t bytes[QORFP_TEMPLATE_BYTES];  // the enrolled template after the call
};

struct PinnedVerification {
    TemplateNumber first;
    TemplateNumber second;
    int32_t level;
    uint32_t result;
    int32_t score;
};

// The list holds `count` entries: the template numbers of `entries` over and over.
struct PinnedSearch {
    TemplateNumber probe;
    uint32_t level;
    uint32_t count;
    uint32_t entryCount;
    TemplateNumber entries[kMaxEntries];
    uint32_t result;
    uint32_t index;
    int32_t score;
};

// A template of the older form "300" (bytes 0 to 369 of a scene's template, the others 0), and what
// QORFP_CheckFeature makes of it.
struct PinnedUpgrade {
    TemplateNumber source;
    uint8_t bytes[QORFP_TEMPLATE_BYTES];
};

extern const CaptureBits kPinnedCaptures[kCaptures];
extern const struct PinnedExtraction kPinnedExtractions[kScenes];
extern const struct PinnedEnrolment kPinnedEnrolments[kEnrolments];
extern const struct PinnedImprovement kPinnedImprovements[kImprovements];
extern const struct PinnedVerification kPinnedVerifications[kVerifications];
extern const struct PinnedSearch kPinnedSearches[kSearches];
extern const struct PinnedUpgrade kPinnedUpgrade;

#endif
