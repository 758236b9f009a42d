// SPDX-License-Identifier: Apache-2.0
//
// What compares templates: one with one, and one with many.
#include <stdio.h>
#include <string.h>

#include "tools/selftest/Checks.h"
#include "tools/selftest/Report.h"

enum {
    kMaxPointers = 220,   // longest list by pointers: long enough to be matched in part only
    kMaxContiguous = 48,  // longest list back to back
    kLevel = 3,
    kCountByte = 3,
    kUntouched = 12345  // in outputs that must not be written
};

static const uint8_t* pointers[kMaxPointers];
static uint8_t contiguous[kMaxContiguous * QORFP_TEMPLATE_BYTES];

static void CheckVerification(int32_t number) {
    const struct PinnedVerification* pinned = &kPinnedVerifications[number];
    int32_t score = -1;
    char subject[64];

    snprintf(subject, sizeof subject, "row %d, template %d with %d, level %d", (int)number,
             (int)pinned->first, (int)pinned->second, (int)pinned->level);
    BeginCall("QORFP_Verify", subject);
    const uint32_t result = QORFP_Verify(PinnedTemplate(pinned->first),
                                         PinnedTemplate(pinned->second), pinned->level, &score);
    EndCall();
    ExpectNumber("score", score, pinned->score);
    ExpectResult(result, pinned->result);
}

static void CheckRefusedVerify(const char* subject, const uint8_t* t1, const uint8_t* t2,
                               int32_t level, int32_t* score, uint32_t expected) {
    BeginCall("QORFP_Verify", subject);
    const uint32_t result = QORFP_Verify(t1, t2, level, score);
    EndCall();
    ExpectResult(result, expected);
}

static void CheckVerifyArguments(const uint8_t* unknown) {
    const uint8_t* good = PinnedTemplate(0);
    int32_t score = kUntouched;
    CheckRefusedVerify("null first", NULL, good, kLevel, &score, QORFP_BAD_ARGUMENT);
    CheckRefusedVerify("null second", good, NULL, kLevel, &score, QORFP_BAD_ARGUMENT);
    CheckRefusedVerify("null score", good, good, kLevel, NULL, QORFP_BAD_ARGUMENT);
    CheckRefusedVerify("level 0", good, good, 0, &score, QORFP_BAD_ARGUMENT);
    CheckRefusedVerify("level 6", good, good, 6, &score, QORFP_BAD_ARGUMENT);
    CheckRefusedVerify("first of unknown version", unknown, good, kLevel, &score,
                       QORFP_BAD_TEMPLATE);
    CheckRefusedVerify("second of unknown version", good, unknown, kLevel, &score,
                       QORFP_BAD_TEMPLATE);
    ExpectNumber("score, which must stay,", score, kUntouched);
}

static void ExpectFound(const struct PinnedSearch* pinned, uint32_t result, uint32_t index,
                        int32_t score) {
    const int isFound = pinned->result == QORFP_OK;
    ExpectResult(result, pinned->result);
    ExpectNumber("index", index, isFound ? pinned->index : kUntouched);
    ExpectNumber("score", score, isFound ? pinned->score : kUntouched);
}

static void CheckSearchRow(int32_t number) {
    const struct PinnedSearch* pinned = &kPinnedSearches[number];
    const uint8_t* probe = PinnedTemplate(pinned->probe);
    uint32_t index = kUntouched;
    int32_t score = kUntouched;
    uint32_t result;
    char subject[64];

    for (uint32_t i = 0; i < pinned->count; ++i) {
        pointers[i] = PinnedTemplate(pinned->entries[i % pinned->entryCount]);
    }
    snprintf(subject, sizeof subject, "row %d, template %d in %d, level %d", (int)number,
             (int)pinned->probe, (int)pinned->count, (int)pinned->level);
    BeginCall("QORFP_Identify", subject);
    result = QORFP_Identify(probe, pointers, pinned->count, pinned->level, &index, &score);
    EndCall();
    ExpectFound(pinned, result, index, score);

    if (pinned->count <= kMaxContiguous) {
        for (uint32_t i = 0; i < pinned->count; ++i) {
            memcpy(contiguous + i * QORFP_TEMPLATE_BYTES, pointers[i], QORFP_TEMPLATE_BYTES);
        }
        index = kUntouched;
        score = kUntouched;
        BeginCall("QORFP_Search", subject);
        result = QORFP_Search(probe, contiguous, pinned->count, pinned->level, &index, &score);
        EndCall();
        ExpectFound(pinned, result, index, score);
    }
}

// Both calls with the same arguments, on a list of the probe itself and one more template.
static void CheckBothSearches(const char* subject, const uint8_t* probe, uint32_t count,
                              uint32_t level, uint32_t expected, const char* identifyLog,
                              const char* searchLog) {
    uint32_t result;
    BeginCall("QORFP_Identify", subject);
    result = QORFP_Identify(probe, pointers, count, level, NULL, NULL);
    EndCall();
    ExpectResult(result, expected);
    ExpectLog(identifyLog);

    BeginCall("QORFP_Search", subject);
    result = QORFP_Search(probe, contiguous, count, level, NULL, NULL);
    EndCall();
    ExpectResult(result, expected);
    ExpectLog(searchLog);
}

static void CheckSearchArguments(const uint8_t* unknown) {
    const uint8_t* good = PinnedTemplate(0);
    uint32_t result;

    for (uint32_t i = 0; i < 2; ++i) {
        pointers[i] = PinnedTemplate((TemplateNumber)i);
        memcpy(contiguous + i * QORFP_TEMPLATE_BYTES, pointers[i], QORFP_TEMPLATE_BYTES);
    }
    CheckBothSearches("null outputs", good, 2, kLevel, QORFP_OK, "", "");
    CheckBothSearches("null probe", NULL, 2, kLevel, QORFP_BAD_ARGUMENT, "", "");
    CheckBothSearches("empty list", good, 0, kLevel, QORFP_BAD_ARGUMENT, "", "");
    CheckBothSearches("level 0", good, 2, 0, QORFP_BAD_ARGUMENT, "", "");
    CheckBothSearches("level 6", good, 2, 6, QORFP_BAD_ARGUMENT, "", "");
    CheckBothSearches("probe of unknown version", unknown, 2, kLevel, QORFP_BAD_TEMPLATE,
                      "[QOR_FPR]:QORFP_Identify_662\n ", "[QOR_FPR]:QORFP_Search_800\n ");

    pointers[1] = unknown;
    contiguous[QORFP_TEMPLATE_BYTES + kCountByte] = 61;
    CheckBothSearches("damaged entry", good, 2, kLevel, QORFP_BAD_TEMPLATE,
                      "[QOR_FPR]:QORFP_Identify_676_1  [33][30][39][3d]\n ",
                      "[QOR_FPR]:QORFP_Search_808_1 TemplateValidity\n ");

    pointers[1] = NULL;
    BeginCall("QORFP_Identify", "null entry");
    result = QORFP_Identify(good, pointers, 2, kLevel, NULL, NULL);
    EndCall();
    ExpectResult(result, QORFP_BAD_ARGUMENT);
    BeginCall("QORFP_Identify", "null list");
    result = QORFP_Identify(good, NULL, 2, kLevel, NULL, NULL);
    EndCall();
    ExpectResult(result, QORFP_BAD_ARGUMENT);
    BeginCall("QORFP_Search", "null list");
    result = QORFP_Search(good, NULL, 2, kLevel, NULL, NULL);
    EndCall();
    ExpectResult(result, QORFP_BAD_ARGUMENT);
}

void CheckMatching(void) {
    uint8_t unknown[QORFP_TEMPLATE_BYTES];
    memcpy(unknown, PinnedTemplate(0), sizeof unknown);
    unknown[2] = '9';
    unknown[kCountByte] = 61;
    for (int32_t row = 0; row < kVerifications && !HasFailed(); ++row) {
        CheckVerification(row);
    }
    CheckVerifyArguments(unknown);
    for (int32_t row = 0; row < kSearches && !HasFailed(); ++row) {
        CheckSearchRow(row);
    }
    CheckSearchArguments(unknown);
}
